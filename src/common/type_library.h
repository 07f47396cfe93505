#pragma once
// The description of the BrevView type library, written once as data: the library,
// its three control classes with their ProgIDs, default and event interfaces, the
// slots of each default interface in their fixed order with DISPID, kind, argument
// names and types, the alias interfaces of earlier versions and the enumerations.
// Hosts that bind by dispatch identifier reach members through InvokeByDispId.

#include <QVariant>
#include <QVariantList>
#include <QtGlobal>

class QObject;

namespace BrevView::detail {

enum class MemberKind { Get, Let, Method };

struct ArgDesc {
    const char* name;
    const char* type;  // automation type: "Long", "Double", "Currency", "Boolean", an enum name
    bool byRef = false;
};

struct SlotDesc {
    int slot;  // 1-based position in the interface
    quint32 dispId;
    const char* member;
    MemberKind kind;
    std::initializer_list<ArgDesc> args;
    const char* result;  // "" when the member returns nothing
};

struct AliasDesc {
    const char* name;
    const char* guid;
    int major, minor;
};

struct InterfaceDesc {
    const char* name;
    const char* guid;
    int major, minor;
    const SlotDesc* members;
    int slotCount;
};

struct EventDesc {
    quint32 dispId;
    const char* name;
    const char* argName;
    const char* argType;
};

struct ClassDesc {
    const char* name;
    const char* progId;
    const char* guid;
    int toolboxBitmap;  // resource id of its 16 x 15 toolbox picture
    InterfaceDesc defaultInterface;
    const char* eventInterfaceName;
    const char* eventInterfaceGuid;
    const AliasDesc* aliases;
    int aliasCount;
};

struct EnumMemberDesc {
    const char* name;
    qint32 value;
};

struct EnumDesc {
    const char* name;
    const char* guid;
    const EnumMemberDesc* members;
    int memberCount;
};

struct TypeLibraryDesc {
    const char* name;
    const char* description;
    const char* guid;
    int major, minor;
    int lcid;
    const char* moduleName;
    const char* fileVersion;
    const char* versionString;
    const ClassDesc* classes;
    int classCount;
    const EventDesc* events;
    int eventCount;
    const EnumDesc* enums;
    int enumCount;
};

const TypeLibraryDesc& TypeLibrary();
// The class whose ProgID or name is `nameOrProgId`, or nullptr.
const ClassDesc* FindClass(const QString& nameOrProgId);
// The class a control object belongs to (by its meta-object class name), or nullptr.
const ClassDesc* ClassOf(const QObject* control);

// Calls the member that the control's default interface (or, given an alias name, that
// alias) holds under `dispId` with `kind`: reads or writes the property, or invokes the
// method with `args`. Error 438 when the interface has no such member, 449 for a
// missing argument.
QVariant InvokeByDispId(QObject* control, quint32 dispId, MemberKind kind, const QVariantList& args = {},
                        const char* interfaceName = nullptr);

}  // namespace BrevView::detail

#include "common/type_library.h"

#include <QMetaMethod>
#include <QMetaObject>
#include <QObject>

#include "automation/runtime_error.h"

namespace BrevView::detail {
namespace {

using K = MemberKind;

const SlotDesc kPrioritySlots[] = {
    {1, 0x68030003, "FlexGridHWnd", K::Get, {}, "Long"},
    {2, 0x60030006, "SaveViewPreferences", K::Method, {}, ""},
    {3, 0x60030007, "LoadViewPreferences", K::Method, {}, ""},
    {4, 0x68030002, "SalesCycleRangeValue", K::Let, {{"lRange", "Long"}}, ""},
    {5, 0x68030002, "SalesCycleRangeValue", K::Get, {}, "Long"},
    {6, 0x68030001, "SalesCycleRangeUnits", K::Let, {{"eUnits", "SalesCycleUnitsEnum"}}, ""},
    {7, 0x68030001, "SalesCycleRangeUnits", K::Get, {}, "SalesCycleUnitsEnum"},
    {8, 0x68030000, "GetSelection", K::Get, {}, "Variant"},
    {9, 0x60030009, "GotoIBO", K::Method, {{"lIboID", "Long"}}, ""},
    {10, 0x6003000a, "ExpandAllNodes", K::Method, {}, ""},
    {11, 0x6003000b, "CollapseAllNodes", K::Method, {}, ""},
    {12, 0x6003001a, "AddOutlineTotal", K::Method, {{"curTotal", "Currency", true}, {"dValue", "Double"}}, "Currency"},
    {13, 0x6003001b, "Refresh", K::Method, {}, ""},
    {14, 0x6003001c, "PrintView", K::Method, {}, ""},
    {15, 0x6003001d, "SetupViewForPrint", K::Method, {}, ""},
    {16, 0x6003001e, "RestoreViewAfterPrint", K::Method, {}, ""},
};

const SlotDesc kForecastSlots[] = {
    {1, 0x60030001, "SaveViewPreferences", K::Method, {}, ""},
    {2, 0x60030002, "LoadViewPreferences", K::Method, {}, ""},
    {3, 0x68030000, "ForecastMode", K::Let, {{"eMode", "ForecastModeEnum"}}, ""},
    {4, 0x68030000, "ForecastMode", K::Get, {}, "ForecastModeEnum"},
    {5, 0x60030003, "PrintView", K::Method, {}, ""},
    {6, 0x60030004, "GotoIBO", K::Method, {{"lIboID", "Long"}}, ""},
    {7, 0x60030005, "ExpandAllNodes", K::Method, {}, ""},
    {8, 0x60030006, "CollapseAllNodes", K::Method, {}, ""},
    {9, 0x6003001a, "Refresh", K::Method, {}, ""},
    {10, 0x6803001b, "FlexGridHWnd", K::Get, {}, "Long"},
    {11, 0x6003001c, "SetupViewForPrint", K::Method, {}, ""},
    {12, 0x6003001d, "RestoreViewAfterPrint", K::Method, {}, ""},
    {13, 0x6803001e, "GetSelection", K::Get, {}, "Variant"},
    {14, 0x68030020, "ShowWonIBOs", K::Get, {}, "Boolean"},
    {15, 0x68030020, "ShowWonIBOs", K::Let, {{"bShowWon", "Boolean"}}, ""},
    {16, 0x6803001f, "ShowWonDateRange", K::Get, {}, "Long"},
    {17, 0x6803001f, "ShowWonDateRange", K::Let, {{"lShowWonRange", "Long"}}, ""},
};

const SlotDesc kFlatSlots[] = {
    {1, 0x68030001, "ViewSource", K::Let, {{"eSource", "FlatViewSourceEnum"}}, ""},
    {2, 0x68030001, "ViewSource", K::Get, {}, "FlatViewSourceEnum"},
    {3, 0x68030000, "Filter", K::Let, {{"eFilter", "FlatViewFilterEnum"}}, ""},
    {4, 0x68030000, "Filter", K::Get, {}, "FlatViewFilterEnum"},
    {5, 0x60030002, "SaveViewPreferences", K::Method, {{"eViewSource", "FlatViewSourceEnum"}}, ""},
    {6, 0x60030003, "LoadViewPreferences", K::Method, {{"eViewSource", "FlatViewSourceEnum"}}, ""},
    {7, 0x60030004, "PrintView", K::Method, {}, ""},
    {8, 0x60030005, "GotoIBO", K::Method, {{"lIboID", "Long"}}, ""},
    {9, 0x6003000f, "Refresh", K::Method, {}, ""},
    {10, 0x68030010, "FlexGridHWnd", K::Get, {}, "Long"},
    {11, 0x60030011, "SetupViewForPrint", K::Method, {}, ""},
    {12, 0x60030012, "RestoreViewAfterPrint", K::Method, {}, ""},
    {13, 0x68030013, "GetSelection", K::Get, {}, "Variant"},
};

const AliasDesc kPriorityAliases[] = {
    {"PriorityView___v0", "{9AA3FA22-C234-4E02-B399-3F47659CBF95}", 1, 0},
    {"PriorityView___v1", "{2A768A58-F61C-4DDE-B07A-06FA474D705E}", 1, 1},
};
const AliasDesc kForecastAliases[] = {
    {"ForecastView___v0", "{A060EB25-BCE6-434D-9CFD-C50AB0641C14}", 1, 0},
    {"ForecastView___v1", "{C611FD08-7118-439B-80B7-6B569C5DEAA6}", 1, 1},
    {"ForecastView___v2", "{E053865B-B103-4E1E-AA3C-3B4003023560}", 1, 2},
    {"ForecastView___v3", "{BF17D47A-3CAD-4B80-AB4D-21468C576F29}", 1, 3},
};
const AliasDesc kFlatAliases[] = {
    {"FlatView___v0", "{92E745BE-E6C2-4F81-A7D1-875C8BD65B41}", 1, 0},
    {"FlatView___v1", "{3268E456-18C0-4CC0-B9E8-28574DB45FD2}", 1, 1},
    {"FlatView___v2", "{88C0C465-0DBA-49BE-83C3-109EE97CE552}", 1, 2},
    {"FlatView___v3", "{28954C5E-C164-4FE7-BD68-598AA750604B}", 1, 3},
};

template <class T, int N>
constexpr int Count(const T (&)[N])
{
    return N;
}

const ClassDesc kClasses[] = {
    {"PriorityView",
     "BrevView.PriorityView",
     "{D62444E2-4BA7-46AF-9034-0512439D41EC}",
     30000,
     {"_PriorityView", "{455EDD01-66DA-4550-9557-E9D87405F9EA}", 1, 2, kPrioritySlots, Count(kPrioritySlots)},
     "__PriorityView",
     "{D4C2CE09-AD20-47F2-AF59-056BF5D4469C}",
     kPriorityAliases,
     Count(kPriorityAliases)},
    {"ForecastView",
     "BrevView.ForecastView",
     "{11DC179A-03EB-4C79-ABBA-0AD2841FA0F5}",
     30001,
     {"_ForecastView", "{15386307-2DA1-4600-986E-21BA670EF245}", 1, 4, kForecastSlots, Count(kForecastSlots)},
     "__ForecastView",
     "{49B0FF28-2E54-46BF-9AA7-9F602AC74A5E}",
     kForecastAliases,
     Count(kForecastAliases)},
    {"FlatView",
     "BrevView.FlatView",
     "{10A51574-7DDE-4F4A-A7B2-E6A31D44C9F7}",
     30002,
     {"_FlatView", "{D052CC96-D3F6-43F9-9CCE-10E8E71574D3}", 1, 4, kFlatSlots, Count(kFlatSlots)},
     "__FlatView",
     "{4770978C-09AA-48AE-8C0F-B12CEA36B863}",
     kFlatAliases,
     Count(kFlatAliases)},
};

const EventDesc kEvents[] = {
    {1, "IboEdit", "IboID", "Long"},
    {2, "RightClick", "IboID", "Long"},
};

const EnumMemberDesc kUnits[] = {
    {"eSalesCycleUnitDays", 0}, {"eSalesCycleUnitWeeks", 1}, {"eSalesCycleUnitMonths", 2}, {"eSalesCycleUnitYears", 3}};
const EnumMemberDesc kModes[] = {{"eUnweightedForecast", 0}, {"eWeightedForecast", 1}};
const EnumMemberDesc kSources[] = {{"eViewMainTable", 0}, {"eViewArchiveTable", 1}};
const EnumMemberDesc kFilters[] = {{"eFilterShowNone", 0},
                                   {"eFilterShowOpen", 1},
                                   {"eFilterShowWon", 2},
                                   {"eFilterShowLost", 4},
                                   {"eFilterShowCancelled", 8}};

const EnumDesc kEnums[] = {
    {"SalesCycleUnitsEnum", "{C3E10C73-AEE3-4A49-B239-021E05FBAEE3}", kUnits, Count(kUnits)},
    {"ForecastModeEnum", "{F7BFFFD3-C80C-4B31-B9B0-CCD4C6B5A7A3}", kModes, Count(kModes)},
    {"FlatViewSourceEnum", "{75263444-56CC-4C61-AD76-B081FA0FEA20}", kSources, Count(kSources)},
    {"FlatViewFilterEnum", "{CF419C3C-2198-4F80-967C-2083661A5BDC}", kFilters, Count(kFilters)},
};

const TypeLibraryDesc kLibrary = {
    "BrevView",
    "Brev View Controls Library 2.1",
    "{55092F9A-4616-4F7D-BF50-53DF3B5DCD3B}",
    3,
    7,
    0x409,
    "BrevView.ocx",
    "2.1.0.93",
    "2.01.0093",
    kClasses,
    Count(kClasses),
    kEvents,
    Count(kEvents),
    kEnums,
    Count(kEnums),
};

[[noreturn]] void Unknown(quint32 dispId, const char* itf)
{
    automation::Raise(438, QStringLiteral("BrevView"),
                      QStringLiteral("Object doesn't support this property or method (DISPID 0x%1 of %2)")
                          .arg(dispId, 8, 16, QLatin1Char('0'))
                          .arg(QLatin1String(itf)));
}

}  // namespace

const TypeLibraryDesc& TypeLibrary()
{
    return kLibrary;
}

const ClassDesc* FindClass(const QString& nameOrProgId)
{
    for (const ClassDesc& c : kClasses) {
        if (nameOrProgId.compare(QLatin1String(c.progId), Qt::CaseInsensitive) == 0 ||
            nameOrProgId.compare(QLatin1String(c.name), Qt::CaseInsensitive) == 0)
            return &c;
    }
    return nullptr;
}

const ClassDesc* ClassOf(const QObject* control)
{
    if (!control)
        return nullptr;
    QString name = QString::fromLatin1(control->metaObject()->className());
    name = name.mid(name.lastIndexOf(QLatin1Char(':')) + 1);
    return FindClass(name);
}

QVariant InvokeByDispId(QObject* control, quint32 dispId, MemberKind kind, const QVariantList& args,
                        const char* interfaceName)
{
    const ClassDesc* cls = ClassOf(control);
    if (!cls)
        automation::Raise(automation::ErrCantCreateObject, QStringLiteral("BrevView"),
                          QStringLiteral("Not a BrevView control"));
    const char* itf = cls->defaultInterface.name;
    if (interfaceName) {
        // An alias of an earlier version binds to the same slots as the current interface.
        bool known = qstrcmp(interfaceName, itf) == 0;
        for (int i = 0; i < cls->aliasCount && !known; ++i)
            known = qstrcmp(interfaceName, cls->aliases[i].name) == 0;
        if (!known)
            automation::Raise(
                automation::ErrTypeMismatch, QStringLiteral("BrevView"),
                QStringLiteral("%1 does not implement %2").arg(QLatin1String(cls->name), QLatin1String(interfaceName)));
        itf = interfaceName;
    }
    const SlotDesc* found = nullptr;
    for (int i = 0; i < cls->defaultInterface.slotCount; ++i) {
        const SlotDesc& s = cls->defaultInterface.members[i];
        if (s.dispId == dispId && s.kind == kind)
            found = &s;
    }
    if (!found)
        Unknown(dispId, itf);
    if (int(found->args.size()) != args.size())
        automation::Raise(449, QStringLiteral("BrevView"),
                          QStringLiteral("Argument not optional (%1 takes %2)")
                              .arg(QLatin1String(found->member))
                              .arg(found->args.size()));
    const QMetaObject* mo = control->metaObject();
    if (kind == MemberKind::Get || kind == MemberKind::Let) {
        const int index = mo->indexOfProperty(found->member);
        if (index < 0)
            Unknown(dispId, itf);
        QMetaProperty prop = mo->property(index);
        if (kind == MemberKind::Get)
            return prop.read(control);
        QVariant value = args.at(0);
        value.convert(prop.metaType());
        if (!prop.write(control, value))
            automation::Raise(automation::ErrTypeMismatch, QStringLiteral("BrevView"),
                              QStringLiteral("Cannot set %1").arg(QLatin1String(found->member)));
        return QVariant();
    }
    for (int m = mo->methodOffset() - 1; m < mo->methodCount(); ++m) {
        if (m < 0)
            continue;
        QMetaMethod method = mo->method(m);
        if (method.name() != found->member || method.parameterCount() != args.size())
            continue;
        QVariantList converted = args;
        QGenericArgument a[10];
        for (int i = 0; i < converted.size() && i < 10; ++i) {
            converted[i].convert(method.parameterMetaType(i));
            a[i] = QGenericArgument(method.parameterMetaType(i).name(), converted[i].constData());
        }
        QVariant result;
        bool ok = false;
        if (method.returnMetaType().id() == QMetaType::Void) {
            ok = method.invoke(control, Qt::DirectConnection, a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8],
                               a[9]);
        } else {
            result = QVariant(method.returnMetaType());
            ok = method.invoke(control, Qt::DirectConnection,
                               QGenericReturnArgument(method.returnMetaType().name(), result.data()), a[0], a[1], a[2],
                               a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
        }
        if (!ok)
            automation::Raise(automation::ErrMethodFailed, QStringLiteral("BrevView"),
                              QStringLiteral("Could not call %1").arg(QLatin1String(found->member)));
        return result;
    }
    Unknown(dispId, itf);
}

}  // namespace BrevView::detail

#include "host/object_factory.h"

#include <map>
#include <mutex>

#include "host/default_objects.h"

namespace BrevView::host {
namespace {

struct Registry {
    std::mutex mutex;
    std::map<QString, ObjectCreator> creators;
    bool defaultsLoaded = false;
};

Registry& TheRegistry()
{
    static Registry r;
    return r;
}

void LoadDefaults(Registry& r)
{
    r.creators[QString::fromLatin1(kProgIdTrace)] = [] { return std::make_shared<DefaultTrace>(); };
    r.creators[QString::fromLatin1(kProgIdDatabase)] = [] { return std::make_shared<DefaultDatabaseSettings>(); };
    r.creators[QString::fromLatin1(kProgIdSetting)] = [] { return std::make_shared<DefaultSettingStore>(); };
    r.creators[QString::fromLatin1(kProgIdConfig)] = [] { return std::make_shared<DefaultConfig>(); };
    r.defaultsLoaded = true;
}

}  // namespace

void ObjectFactory::Register(const QString& progId, ObjectCreator creator)
{
    Registry& r = TheRegistry();
    std::lock_guard lock(r.mutex);
    if (!r.defaultsLoaded)
        LoadDefaults(r);
    if (creator)
        r.creators[progId] = std::move(creator);
    else
        r.creators.erase(progId);
}

void ObjectFactory::RestoreDefaults()
{
    Registry& r = TheRegistry();
    std::lock_guard lock(r.mutex);
    r.creators.clear();
    LoadDefaults(r);
}

std::shared_ptr<AutomationObject> ObjectFactory::Create(const QString& progId)
{
    ObjectCreator creator;
    {
        Registry& r = TheRegistry();
        std::lock_guard lock(r.mutex);
        if (!r.defaultsLoaded)
            LoadDefaults(r);
        auto it = r.creators.find(progId);
        if (it != r.creators.end())
            creator = it->second;
    }
    const QString what = QStringLiteral("Can't create object \"%1\"").arg(progId);
    if (!creator)
        automation::Raise(automation::ErrCantCreateObject, progId, what);
    std::shared_ptr<AutomationObject> obj;
    try {
        obj = creator();
    } catch (const RuntimeError& e) {
        automation::Raise(automation::ErrCantCreateObject, progId, what + QStringLiteral(": ") + e.description());
    } catch (const std::exception& e) {
        automation::Raise(automation::ErrCantCreateObject, progId,
                          what + QStringLiteral(": ") + QString::fromLocal8Bit(e.what()));
    }
    if (!obj)
        automation::Raise(automation::ErrCantCreateObject, progId, what);
    return obj;
}

}  // namespace BrevView::host

namespace BrevView {

HostObject::~HostObject() = default;

void RegisterHostObject(const QString& progId, HostObjectCreator creator)
{
    host::ObjectFactory::Register(progId, std::move(creator));
}

void RestoreDefaultHostObjects()
{
    host::ObjectFactory::RestoreDefaults();
}

}  // namespace BrevView

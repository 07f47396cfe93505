#include "common/view_preferences.h"

#include "automation/runtime_error.h"
#include "common/traced.h"
#include "host/object_factory.h"

namespace BrevView::detail {

QString LoadResString(int id)
{
    switch (id) {
    case 101:
        return QStringLiteral("2;3;10;480;495;780;885;870;780;525;450;315;345;1500;2760;960;780;780");
    case 102:
        return QStringLiteral("0;0;0;960;960;960;960;960;960;960;960;960;960;960;960;960;960;960;960;960");
    case 103:
    case 104:  // the live and the archived list share their widths
        return QStringLiteral("15;480;885;780;885;870;1275;525;450;315;960;1500");
    default:
        automation::Raise(326, QStringLiteral("BrevView"),
                          QStringLiteral("Resource with identifier '%1' not found").arg(id));
    }
}

QString GetViewPreference(const QString& key)
{
    auto store = host::ObjectFactory::CreateAs<host::ISettingStore>(QString::fromLatin1(host::kProgIdSetting));
    return store->ReadSetting(key);
}

void SaveViewPreference(const QString& key, const QString& value)
{
    auto store = host::ObjectFactory::CreateAs<host::ISettingStore>(QString::fromLatin1(host::kProgIdSetting));
    store->WriteSetting(key, value);
}

QString JoinPreferenceFields(const QStringList& fields, const QString& source)
{
    QString joined = fields.join(QLatin1Char(';'));
    if (joined.size() > 255)
        RaiseWithLastErrorNumber(source, QStringLiteral("View preference info string is too long (max is 255 chars)."));
    return joined;
}

}  // namespace BrevView::detail

// libFuzzer target: the view-preference strings of the three views. The first byte
// picks the view; the rest is the stored text. Any text must load, fall back, or fail
// with a numbered error, never crash.

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <brevview/brevview.h>

#include "common/ibo_schema.h"
#include "host/app_settings.h"
#include "host/object_factory.h"

namespace {

QString g_text;

class FuzzStore : public BrevView::ISettingStore {
public:
    QString ReadSetting(const QString&) override { return g_text; }
    void WriteSetting(const QString&, const QString&) override {}
};

BrevView::FlatView* g_flat = nullptr;
BrevView::ForecastView* g_forecast = nullptr;
BrevView::PriorityView* g_priority = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // The settings file is written often: keep it in memory where the system offers that.
    static QTemporaryDir dir(QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm/brevview-fuzz-XXXXXX")
                                                                       : QString());
    qputenv("XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config")).toLocal8Bit());
    static QApplication app(*argc, *argv);
    BrevView::RegisterHostObject(QStringLiteral("BrevData.Setting"), [] { return std::make_shared<FuzzStore>(); });
    // The priority view opens its database when it is made: an empty one.
    const QString db = dir.filePath(QStringLiteral("empty.db"));
    {
        QFile f(db);
        f.open(QIODevice::WriteOnly);
    }
    qputenv("BREV_DATABASE", db.toLocal8Bit());
    g_flat = new BrevView::FlatView;
    g_forecast = new BrevView::ForecastView;
    g_priority = new BrevView::PriorityView;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    // The priority view's values live in the settings file, which is slow to write: one
    // input in eight goes there, the rest to the two preference strings.
    const int which = (data[0] & 7) == 7 ? 2 : (data[0] & 1);
    g_text = QString::fromUtf8(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    try {
        if (which == 0) {
            g_flat->LoadViewPreferences(data[0] & 2 ? 1 : 0);
        } else if (which == 1) {
            g_forecast->LoadViewPreferences();
        } else {
            // The priority view keeps separate values: the text is split over its keys.
            const QStringList parts = g_text.split(QLatin1Char(';'));
            const QString app = QStringLiteral("Brev"), section = QStringLiteral("PriorityView");
            BrevView::settings::SaveSetting(app, section, QStringLiteral("SCRangeUnits"), parts.value(0));
            BrevView::settings::SaveSetting(app, section, QStringLiteral("SCRangeValue"), parts.value(1));
            BrevView::settings::SaveSetting(
                app, section, QStringLiteral("ColWidth") + QString::number(1 + data[0] % 15), parts.value(2));
            g_priority->LoadViewPreferences();
        }
    } catch (const BrevView::RuntimeError& e) {
        if (e.number() <= 0)
            __builtin_trap();
    }
    // The grids post their layout work; an event loop would run it.
    static int runs = 0;
    if (++runs % 64 == 0)
        QCoreApplication::processEvents();
    return 0;
}

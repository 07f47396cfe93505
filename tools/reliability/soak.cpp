// Soak: refreshes each view many times over a sample database and compares the resident
// memory after the first 100 refreshes with the memory at the end (goal: within 5 %).
// Usage: brevview-soak [--refreshes N] [--ibos N]; prints "soak: ok" or exits 1.

#include <malloc.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

#include <QApplication>
#include <QCommandLineParser>
#include <QTemporaryDir>

#include <brevview/brevview.h>

#include "sample_process.h"

namespace {

double ResidentMiB()
{
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return double(resident) * double(sysconf(_SC_PAGESIZE)) / 1048576.0;
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("brevview-soak"));
    QApplication::setApplicationVersion(QStringLiteral(BREVVIEW_VERSION_STRING));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Refreshes each view many times over a sample database and compares the resident memory after the "
        "first 100 refreshes with the memory at the end (goal: within 5 %). Prints \"soak: ok\" or exits 1."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption refreshesOption(QStringLiteral("refreshes"),
                                             QStringLiteral("Refreshes of each view (default 10000)."),
                                             QStringLiteral("N"), QStringLiteral("10000"));
    const QCommandLineOption ibosOption(QStringLiteral("ibos"),
                                        QStringLiteral("IBOs in the sample database (default 1000)."),
                                        QStringLiteral("N"), QStringLiteral("1000"));
    const QCommandLineOption everyOption(QStringLiteral("every"),
                                         QStringLiteral("Print the memory every N refreshes (default: never)."),
                                         QStringLiteral("N"), QStringLiteral("0"));
    parser.addOptions({refreshesOption, ibosOption, everyOption});
    parser.process(app);
    const int refreshes = parser.value(refreshesOption).toInt();
    const int ibos = parser.value(ibosOption).toInt();
    const int every = parser.value(everyOption).toInt();
    QTemporaryDir dir;
    qputenv("XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config")).toLocal8Bit());
    const QString db = dir.filePath(QStringLiteral("soak.db"));
    if (!BrevView::sample::GenerateWithProgram(db, ibos).isEmpty())
        return 2;
    qputenv("BREV_DATABASE", db.toLocal8Bit());
    BrevView::FlatView flat;
    BrevView::PriorityView priority;
    BrevView::ForecastView forecast;
    double after100 = 0;
    for (int i = 1; i <= refreshes; ++i) {
        // BREV_SOAK_ONLY=flat|priority|forecast narrows a run to one view, to find what grows.
        const QByteArray only = qgetenv("BREV_SOAK_ONLY");
        if (only.isEmpty() || only == "flat")
            flat.Refresh();
        if (only.isEmpty() || only == "priority")
            priority.Refresh();
        if (only.isEmpty() || only == "forecast")
            forecast.Refresh();
        // As in a host, the event loop runs between refreshes (the grid posts its layout work).
        QCoreApplication::processEvents();
        if (i == std::min(100, refreshes))
            after100 = ResidentMiB();
        if (every > 0 && i % every == 0)
            std::printf("  after %d: resident %.1f MiB, heap in use %.2f MiB, of which SQLite %.2f MiB\n", i,
                        ResidentMiB(), double(mallinfo2().uordblks) / 1048576.0,
                        double(sqlite3_memory_used()) / 1048576.0);
    }
    const double end = ResidentMiB();
    // BREV_SOAK_KEEP=1 ends without tearing the views down, so that a heap profiler sees
    // everything they hold at the end as still allocated.
    if (!qgetenv("BREV_SOAK_KEEP").isEmpty())
        std::_Exit(0);
    const double growth = (end - after100) / after100;
    std::printf(
        "soak: %d refreshes of each view over %d IBOs; resident %.1f MiB after 100, %.1f MiB at the end (%+.2f %%)\n",
        refreshes, ibos, after100, end, growth * 100);
    if (growth > 0.05) {
        std::printf("soak: FAILED (more than 5 %%)\n");
        return 1;
    }
    std::printf("soak: ok\n");
    return 0;
}

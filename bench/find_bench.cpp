// The demo's find-as-you-type on a flat view of many IBOs: how long input is held up. Each
// keystroke starts the search anew; between its slices the event loop takes the keyboard. The
// measure is the longest stretch without the event loop: the keystroke's own call, any one
// slice of the search, and the move to the match. Exits 1 when it passes 50 ms.

#include <cstdio>

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>

#include <brevview/brevview.h>

#include "incremental_find.h"
#include "sample_process.h"

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir tmp;
    qputenv("XDG_CONFIG_HOME", tmp.filePath(QStringLiteral("config")).toLocal8Bit());
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Measures how long the demo's find holds up typing; exits 1 past 50 ms."));
    parser.addHelpOption();
    const QCommandLineOption ibosOption(QStringLiteral("ibos"), QStringLiteral("IBOs in the list (default 1000000)."),
                                        QStringLiteral("N"), QStringLiteral("1000000"));
    const QCommandLineOption dirOption(
        QStringLiteral("dir"), QStringLiteral("Keep the sample database in DIR between runs."), QStringLiteral("DIR"));
    parser.addOption(ibosOption);
    parser.addOption(dirOption);
    parser.process(app);
    const int ibos = parser.value(ibosOption).toInt();
    const QString dir = parser.isSet(dirOption) ? parser.value(dirOption) : tmp.path();
    const QString file = dir + QStringLiteral("/find_%1.db").arg(ibos);
    if (!QFile::exists(file)) {
        const QString error = BrevView::sample::GenerateWithProgram(file, ibos, 0);
        if (!error.isEmpty()) {
            std::fprintf(stderr, "find_bench: %s\n", qPrintable(error));
            return 2;
        }
    }
    qputenv("BREV_DATABASE", file.toLocal8Bit());
    BrevView::FlatView view;
    view.setFilter(BrevView::eFilterShowOpen | BrevView::eFilterShowWon | BrevView::eFilterShowLost |
                   BrevView::eFilterShowCancelled);
    view.resize(1200, 800);
    view.Refresh();
    std::printf("find_bench: %d rows in the flat view\n", view.model()->rowCount());

    IncrementalFind finder;
    qint64 longestGoto = 0;
    QEventLoop loop;
    int found = 0, missed = 0;
    QObject::connect(&finder, &IncrementalFind::Found, [&](const QString&, const QVariant& id) {
        QElapsedTimer t;
        t.start();
        view.GotoIBO(id.toInt());
        longestGoto = std::max(longestGoto, t.elapsed());
        ++found;
        loop.quit();
    });
    QObject::connect(&finder, &IncrementalFind::NotFound, [&] {
        ++missed;
        loop.quit();
    });
    // Typed one key at a time: a name found at once, a company, an IBO number near the end of
    // the list, and text that matches nothing (the whole list searched).
    const QString lastNumber = view.model()->index(view.model()->rowCount() - 1, 0).data().toString();
    qint64 longestStart = 0;
    QElapsedTimer all;
    all.start();
    for (const QString& word :
         {QStringLiteral("Johnson"), QStringLiteral("Quartz"), lastNumber, QStringLiteral("zzqx")}) {
        for (int n = 1; n <= word.size(); ++n) {
            QElapsedTimer t;
            t.start();
            finder.Start(view.model(), word.left(n), false);
            longestStart = std::max(longestStart, t.elapsed());
            if (finder.Running())
                loop.exec();
        }
    }
    const qint64 longest = std::max({longestStart, finder.LongestSliceMs(), longestGoto});
    std::printf("find_bench: %d keystrokes found, %d found nothing, %.1f s in all\n", found, missed,
                all.elapsed() / 1000.0);
    std::printf(
        "find_bench: longest hold on input %lld ms (keystroke %lld, slice %lld, go to the match %lld); goal <= 50 ms\n",
        static_cast<long long>(longest), static_cast<long long>(longestStart),
        static_cast<long long>(finder.LongestSliceMs()), static_cast<long long>(longestGoto));
    if (missed == 0 || found == 0) {
        std::printf("find_bench: the words did not both find and miss\n");
        return 2;
    }
    return longest <= 50 ? 0 : 1;
}

// brevview-demo: a host application with the three BrevView controls on a database.
// Usage: brevview-demo [--database PATH|postgresql://...] [--view priority|forecast|flat] [--screenshot DIR]

#include <cstdio>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QTimer>

#include <brevview/version.h>

#include "ibo_store.h"
#include "main_window.h"

int main(int argc, char** argv)
{
    // Screenshots, --help and --version need no display; a window does, and says so plainly
    // rather than aborting in the platform plugin.
    bool needsDisplay = true;
    for (int i = 1; i < argc; ++i) {
        const QByteArray arg(argv[i]);
        if (arg == "--screenshot" || arg.startsWith("--screenshot=") || arg == "--help" || arg == "-h" ||
            arg == "--help-all" || arg == "--version" || arg == "-v")
            needsDisplay = false;
    }
    if (!needsDisplay) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    } else if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
               qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        std::fprintf(stderr, "brevview-demo: no display (DISPLAY and WAYLAND_DISPLAY are unset); "
                             "use --screenshot DIR to render the views into pictures\n");
        return 2;
    }
    QApplication app(argc, argv);
    // Where the demo keeps its settings (the window's place, the views' preferences).
    QApplication::setOrganizationName(QStringLiteral("BrevView"));
    QApplication::setApplicationName(QStringLiteral("brevview-demo"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("BrevView demo host"));
    QApplication::setApplicationVersion(QStringLiteral(BREVVIEW_VERSION_STRING));
    parser.addHelpOption();
    parser.addVersionOption();
    QCommandLineOption database(QStringLiteral("database"), QStringLiteral("The IBO database to show."),
                                QStringLiteral("path"), QStringLiteral("sample/brevview-sample.db"));
    QCommandLineOption screenshot(QStringLiteral("screenshot"), QStringLiteral("Render each view to DIR and exit."),
                                  QStringLiteral("dir"));
    QCommandLineOption view(QStringLiteral("view"), QStringLiteral("The tab shown first: priority, forecast or flat."),
                            QStringLiteral("name"), QStringLiteral("priority"));
    parser.addOption(database);
    parser.addOption(screenshot);
    parser.addOption(view);
    parser.process(app);
    // A postgresql:// URI names a database on a server (the user and the password come from
    // libpq's own sources: PGUSER, ~/.pgpass, PGPASSFILE); anything else is an SQLite file.
    const QString value = parser.value(database);
    const bool onServer = IboStore::IsServerUri(value);
    const QString path = onServer ? value : QDir(value).absolutePath();
    if (!onServer && !QFile::exists(path)) {
        std::fprintf(stderr, "brevview-demo: no database at %s (make one with brevview-sampledb)\n", qPrintable(path));
        return 1;
    }
    try {
        MainWindow window(path);
        if (parser.isSet(screenshot)) {
            window.resize(1400, 700);
            const QStringList files = window.SaveScreenshots(parser.value(screenshot));
            for (const QString& f : files)
                std::printf("screenshot: %s\n", qPrintable(f));
            return 0;
        }
        window.ShowView(parser.value(view));
        window.show();
        // The window is drawn, saying "Loading…", before the first refresh reads the IBOs.
        QTimer::singleShot(100, &window, [&window] { window.RefreshAll(); });
        return app.exec();
    } catch (const BrevView::RuntimeError& e) {
        std::fprintf(stderr, "brevview-demo: error %d (%s): %s\n", e.number(), qPrintable(e.source()),
                     qPrintable(e.description()));
        return 1;
    }
}

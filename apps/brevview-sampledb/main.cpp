// brevview-sampledb: writes a sample database of IBOs.
// Usage: brevview-sampledb [--count N] [--seed S] [--today yyyy-MM-dd] [--archive-percent P] [--replace]
//                          FILE|postgresql://...

#include <cstdio>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDate>

#include <brevview/version.h>

#include "data/engine.h"
#include "sample_generator.h"

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("brevview-sampledb"));
    QCoreApplication::setApplicationVersion(QStringLiteral(BREVVIEW_VERSION_STRING));
    BrevView::sample::Options options;
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Writes a deterministic sample database of IBOs (the tables IboMain and IboArchive with their indexes)."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption count(QStringLiteral("count"),
                                   QStringLiteral("How many IBOs to write (default %1).").arg(options.count),
                                   QStringLiteral("N"));
    const QCommandLineOption seed(QStringLiteral("seed"),
                                  QStringLiteral("The seed of the generator (default %1).").arg(options.seed),
                                  QStringLiteral("S"));
    const QCommandLineOption today(QStringLiteral("today"),
                                   QStringLiteral("The day the dates are spread around (default: the real today)."),
                                   QStringLiteral("yyyy-MM-dd"));
    const QCommandLineOption replace(
        QStringLiteral("replace"),
        QStringLiteral("On a PostgreSQL server: empty IboMain and IboArchive when they already hold IBOs."));
    const QCommandLineOption archive(
        QStringLiteral("archive-percent"),
        QStringLiteral("Extra rows in IboArchive, as a share of the count (default %1).").arg(options.archivePercent),
        QStringLiteral("P"));
    parser.addOption(archive);
    parser.addOption(count);
    parser.addOption(replace);
    parser.addOption(seed);
    parser.addOption(today);
    parser.addPositionalArgument(
        QStringLiteral("FILE"),
        QStringLiteral("The SQLite database file to write, or a postgresql:// URI of a database on a server."));
    parser.process(app);

    bool ok = true;
    if (parser.isSet(count))
        options.count = parser.value(count).toInt(&ok);
    if (ok && parser.isSet(archive))
        options.archivePercent = parser.value(archive).toInt(&ok);
    if (ok && parser.isSet(seed))
        options.seed = parser.value(seed).toUInt(&ok);
    if (ok && parser.isSet(today)) {
        options.today = QDate::fromString(parser.value(today), QStringLiteral("yyyy-MM-dd"));
        ok = options.today.isValid();
    }
    options.replace = parser.isSet(replace);
    const QStringList files = parser.positionalArguments();
    if (!ok || files.size() != 1 || options.count < 0 || options.archivePercent < 0 || options.archivePercent > 100) {
        std::fprintf(stderr, "%s\n", qPrintable(parser.helpText()));
        return 2;
    }
    const QString error = BrevView::sample::Generate(files.front(), options);
    if (!error.isEmpty()) {
        std::fprintf(stderr, "brevview-sampledb: %s\n", qPrintable(error));
        return 1;
    }
    std::printf("wrote %d IBOs to %s\n", options.count, qPrintable(BrevView::data::DisplayPath(files.front())));
    return 0;
}

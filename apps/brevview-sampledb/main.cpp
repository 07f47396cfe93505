// brevview-sampledb: writes a sample database of IBOs.
// Usage: brevview-sampledb [--count N] [--seed S] [--today yyyy-MM-dd] FILE

#include <cstdio>

#include <QCoreApplication>
#include <QStringList>

#include "sample_generator.h"

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    BrevView::sample::Options options;
    QString path;
    const QStringList args = app.arguments().mid(1);
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if (a == QLatin1String("--count") && i + 1 < args.size())
            options.count = args[++i].toInt();
        else if (a == QLatin1String("--seed") && i + 1 < args.size())
            options.seed = args[++i].toUInt();
        else if (a == QLatin1String("--today") && i + 1 < args.size())
            options.today = QDate::fromString(args[++i], QStringLiteral("yyyy-MM-dd"));
        else if (!a.startsWith(QLatin1String("--")))
            path = a;
        else {
            std::fprintf(stderr, "unknown option %s\n", qPrintable(a));
            return 2;
        }
    }
    if (path.isEmpty() || options.count < 0) {
        std::fprintf(stderr, "usage: brevview-sampledb [--count N] [--seed S] [--today yyyy-MM-dd] FILE\n");
        return 2;
    }
    const QString error = BrevView::sample::Generate(path, options);
    if (!error.isEmpty()) {
        std::fprintf(stderr, "brevview-sampledb: %s\n", qPrintable(error));
        return 1;
    }
    std::printf("wrote %d IBOs to %s\n", options.count, qPrintable(path));
    return 0;
}

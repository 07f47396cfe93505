// Test entry point: one QApplication on the offscreen platform for every test.

#include <QApplication>
#include <gtest/gtest.h>

#include "support/child_process.h"

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM",
            qgetenv("QT_QPA_PLATFORM").isEmpty() ? QByteArray("offscreen") : qgetenv("QT_QPA_PLATFORM"));
    ::testing::InitGoogleTest(&argc, argv);
    // --pg-info=FILE: the PostgreSQL test server for the suites' "PostgreSQL/..." instances
    // (the same as $BREV_TEST_PG_INFO); without one they are skipped.
    for (int i = 1; i < argc; ++i) {
        const QByteArray arg(argv[i]);
        if (arg.startsWith("--pg-info="))
            qputenv("BREV_TEST_PG_INFO", arg.mid(10));
    }
    QApplication app(argc, argv);
    // --child=NAME: another process of a test (see child_process.h), not the test run.
    if (const int code = BrevView::test::RunChildModeIfAsked(argc, argv); code >= 0)
        return code;
    return RUN_ALL_TESTS();
}

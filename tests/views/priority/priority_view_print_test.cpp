#include <QDir>
#include <QFile>
#include <QProcess>

#include "priority_view_fixture.h"

namespace BrevView::test {
namespace {

TEST_P(PriorityViewTest, SetupViewForPrintUsesHelveticaAndRestoreGivesTheScreenBack)
{
    Add(Ibo::Open(1, Day(4)));
    View().Refresh();
    QDir().mkpath(TempPath(QStringLiteral("install")));
    const QString before = Grid().Cell(grid::flexcpFontName, 2, 3).toString();
    View().SetupViewForPrint();
    EXPECT_EQ(Grid().Cell(grid::flexcpFontName, 2, 3).toString(), QStringLiteral("Helvetica"));
    EXPECT_EQ(Grid().Cell(grid::flexcpBackColor, 1, 3).toInt(), 0xFFFFFF);
    View().RestoreViewAfterPrint();
    EXPECT_EQ(Grid().Cell(grid::flexcpFontName, 2, 3).toString(), before);
    EXPECT_EQ(Grid().Cell(grid::flexcpBackColor, 1, 3).toInt(), 0xFFF1E0);
    EXPECT_FALSE(QFile::exists(TempPath(QStringLiteral("install/view.tmp"))));
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("EXIT BrevView.PriorityView::SetupViewForPrint")));
}

TEST_P(PriorityViewTest, PrintViewPrintsTheNodesAndTheBars)
{
    Add(Ibo::Open(1, Day(4)));
    View().Refresh();
    View().ExpandAllNodes();
    const QString pdf = TempPath(QStringLiteral("p.pdf"));
    qputenv("BREV_PRINT_TO_PDF", pdf.toLocal8Bit());
    View().PrintView();
    qunsetenv("BREV_PRINT_TO_PDF");
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {pdf, QStringLiteral("-")});
    p.waitForFinished(30000);
    const QString text = QString::fromUtf8(p.readAllStandardOutput());
    EXPECT_TRUE(text.contains(QStringLiteral("Review First")));
    EXPECT_TRUE(text.contains(QStringLiteral("IBO-1")));
    EXPECT_TRUE(QFile::exists(QDir::tempPath() + QStringLiteral("/tempgrid.fg")));
    EXPECT_EQ(Grid().IsCollapsed(NodeRow(1)), 0);  // the outline state is back
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("EXIT BrevView.PriorityView::PrintView")));
}

}  // namespace
}  // namespace BrevView::test

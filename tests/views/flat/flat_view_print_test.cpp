#include <QDir>
#include <QFile>
#include <QProcess>

#include "common/view_printing.h"
#include "flat_view_fixture.h"
#include "support/pdf_tools.h"

namespace BrevView::test {
namespace {

QString Snapshot(grid::FlexGrid& g, const QString& path)
{
    g.SaveGrid(path, 0, true);
    QFile f(path);
    f.open(QIODevice::ReadOnly);
    return QString::fromLatin1(f.readAll().toBase64());
}

class FlatViewPrintTest : public FlatViewTest {
protected:
    void SetUp() override
    {
        FlatViewTest::SetUp();
        Add(Ibo::Open(1, QStringLiteral("2026-03-09 00:00:00")));
        Add(Ibo::Open(2, QStringLiteral("2026-03-10 00:00:00"))
                .Text(QStringLiteral("ConLastName"), QStringLiteral("Müller-Łukasz")));
        View().Refresh();
        pdf_ = TempPath(QStringLiteral("out.pdf"));
        qputenv("BREV_PRINT_TO_PDF", pdf_.toLocal8Bit());
    }
    void TearDown() override
    {
        qunsetenv("BREV_PRINT_TO_PDF");
        FlatViewTest::TearDown();
    }
    QString pdf_;
};

TEST_P(FlatViewPrintTest, PrintViewPrintsAndGivesBackExactlyTheScreenLook)
{
    QFile::remove(detail::PrintSnapshotPath());
    Grid().setColWidth(3, 1700);
    const QString before = Snapshot(Grid(), TempPath(QStringLiteral("before.fg")));
    trace_->lines.clear();
    View().PrintView();
    EXPECT_EQ(Snapshot(Grid(), TempPath(QStringLiteral("after.fg"))), before);
    EXPECT_TRUE(QFile::exists(QDir::tempPath() + QStringLiteral("/tempgrid.fg")));
    const QString text = PdfText(pdf_);
    EXPECT_TRUE(text.contains(QStringLiteral("IBO-2")));
    EXPECT_TRUE(text.contains(QStringLiteral("Müller-Łukasz")));
    EXPECT_TRUE(PdfInfo(pdf_).contains(QStringLiteral("User:Narg")));
    EXPECT_EQ(trace_->lines, (QStringList{QStringLiteral("ENTER BrevView.FlatView::PrintView"),
                                          QStringLiteral("EXIT BrevView.FlatView::PrintView")}));
}

TEST_P(FlatViewPrintTest, SetupThenRestoreGivesBackTheLookAndDeletesTheFile)
{
    const QString before = Snapshot(Grid(), TempPath(QStringLiteral("before.fg")));
    const QString file = TempPath(QStringLiteral("install/view.tmp"));
    QDir().mkpath(TempPath(QStringLiteral("install")));
    trace_->lines.clear();
    View().SetupViewForPrint();
    EXPECT_TRUE(QFile::exists(file));
    // The print look: white cells, black text, bold header, light grey lines, flat.
    EXPECT_EQ(Grid().Cell(grid::flexcpBackColor, 1, 3).toInt(), 0xFFFFFF);
    EXPECT_EQ(Grid().Cell(grid::flexcpForeColor, 1, 6).toInt(), 0);
    EXPECT_TRUE(Grid().Cell(grid::flexcpFontBold, 0, 5).toBool());
    EXPECT_EQ(Grid().GridColor(), 0xE0E0E0);
    EXPECT_EQ(Grid().Appearance(), 0);
    EXPECT_EQ(Grid().BackColor(), 0xFFFFFF);
    EXPECT_EQ(Grid().Cell(grid::flexcpFontName, 1, 1).toString(), QString());  // Helvetica is the priority view's
    QFile::setPermissions(file, QFile::ReadOwner);                             // deleted even when read-only
    View().RestoreViewAfterPrint();
    EXPECT_FALSE(QFile::exists(file));
    EXPECT_EQ(Snapshot(Grid(), TempPath(QStringLiteral("after.fg"))), before);
    EXPECT_EQ(trace_->lines, (QStringList{QStringLiteral("ENTER BrevView.FlatView::SetupViewForPrint"),
                                          QStringLiteral("EXIT BrevView.FlatView::SetupViewForPrint"),
                                          QStringLiteral("ENTER BrevView.FlatView::SetupViewForPrint"),
                                          QStringLiteral("EXIT BrevView.FlatView::SetupViewForPrint")}));
}

TEST_P(FlatViewPrintTest, RestoreWithoutSetupFails)
{
    QDir().mkpath(TempPath(QStringLiteral("install")));
    EXPECT_RUNTIME_ERROR(View().RestoreViewAfterPrint(), 53);
}

TEST_P(FlatViewPrintTest, InstallPathWithoutSeparatorPutsTheFileBesideTheFolder)
{
    host::ObjectFactory::Register(QStringLiteral("BrevConf.Config"), [this] {
        struct NoSlash : host::IConfig {
            QString path;
            QString GetValue(const QString&) override { return path; }
        };
        auto c = std::make_shared<NoSlash>();
        c->path = TempPath(QStringLiteral("brev"));
        return c;
    });
    View().SetupViewForPrint();
    EXPECT_TRUE(QFile::exists(TempPath(QStringLiteral("brevview.tmp"))));
    View().RestoreViewAfterPrint();
    EXPECT_FALSE(QFile::exists(TempPath(QStringLiteral("brevview.tmp"))));
}

TEST_P(FlatViewPrintTest, HeaderOnlyGridPrintsABoldHeaderAndNothingElse)
{
    View().setFilter(eFilterShowNone);
    View().Refresh();
    View().PrintView();
    const QString text = PdfText(pdf_);
    EXPECT_TRUE(text.contains(QStringLiteral("IBO#")));
    EXPECT_FALSE(text.contains(QStringLiteral("IBO-1")));
    QProcess fonts;
    fonts.start(QStringLiteral("pdffonts"), {pdf_});
    fonts.waitForFinished(30000);
    EXPECT_TRUE(QString::fromUtf8(fonts.readAllStandardOutput()).contains(QStringLiteral("Bold")));
}

BREV_ON_BOTH_ENGINES(FlatViewPrintTest);

}  // namespace
}  // namespace BrevView::test

#include <QGuiApplication>

#include "data/workspace.h"
#include "flat_view_fixture.h"
#include "host/mouse_pointer.h"

namespace BrevView::test {
namespace {

TEST_P(FlatViewTest, RefreshFillsEveryColumnInTheMainTablesDateOrder)
{
    Add(Ibo::Open(7, QStringLiteral("2026-03-09 17:45:00"))
            .Set(QStringLiteral("DescriptorUwih"), QStringLiteral("2"))
            .Set(QStringLiteral("DescriptorUwwgi"), QStringLiteral("0"))
            .Set(QStringLiteral("IboValueNumeric"), QStringLiteral("1234"))
            .Set(QStringLiteral("IboValueDecimal"), QStringLiteral("56")));
    Add(Ibo::Open(3, QStringLiteral("2026-03-01 00:00:00"))
            .Set(QStringLiteral("DescriptorStatus"), QStringLiteral("2")));
    Add(Ibo::Open(9, QStringLiteral("2026-02-01 00:00:00"))
            .Set(QStringLiteral("RecStatusArchive"), QStringLiteral("1")));
    View().Refresh();
    grid::FlexGrid& g = Grid();
    ASSERT_EQ(g.Rows(), 3);
    EXPECT_EQ(g.RowDataValue(1), automation::Variant(qint32(3)));
    EXPECT_EQ(g.RowDataValue(2), automation::Variant(qint32(7)));
    const QStringList row2 = [&] {
        QStringList cells;
        for (int c = 0; c < 12; ++c)
            cells << g.TextMatrix(2, c);
        return cells;
    }();
    EXPECT_EQ(row2, (QStringList{QStringLiteral("IBO-7"), QStringLiteral("Open"), QStringLiteral("3/9/26"),
                                 QStringLiteral("Last7"), QStringLiteral("First7"), QStringLiteral("Company7"),
                                 QStringLiteral("High"), QStringLiteral("Low"), QStringLiteral("25"),
                                 QStringLiteral("Widget"), QStringLiteral("1234.56"), QStringLiteral("note 7")}));
    EXPECT_EQ(g.DisplayText(2, 10), QStringLiteral("$1,235"));
    EXPECT_EQ(g.TextMatrix(1, 1), QStringLiteral("Won"));
    EXPECT_EQ(g.Cell(grid::flexcpForeColor, 1, 6).toInt(), 16711680);
    EXPECT_EQ(g.Cell(grid::flexcpForeColor, 2, 7).toInt(), 16711680);
    EXPECT_EQ(g.Cell(grid::flexcpForeColor, 2, 8).toInt(), -1);
    EXPECT_EQ(g.Redraw(), 1);
}

TEST_P(FlatViewTest, RefreshFollowsItsOrderInTheTrace)
{
    Add(Ibo::Open(1, QStringLiteral("2026-03-09 00:00:00")));
    View();
    trace_->lines.clear();
    View().Refresh();
    EXPECT_EQ(trace_->lines, (QStringList{
                                 QStringLiteral("ENTER BrevView.FlatView::Refresh"),
                                 QStringLiteral("ENTER BrevView.FlatView::SetupDataAccess"),
                                 QStringLiteral("EXIT BrevView.FlatView::SetupDataAccess"),
                                 QStringLiteral("ENTER BrevView.FlatView::GetFilterString"),
                                 QStringLiteral("EXIT BrevView.FlatView::GetFilterString"),
                                 QStringLiteral("EXIT BrevView.FlatView::Refresh"),
                             }));
}

TEST_P(FlatViewTest, FilterZeroShowsAnEmptyGridNotAllRows)
{
    Add(Ibo::Open(1, QStringLiteral("2026-03-09 00:00:00")));
    View().setFilter(eFilterShowNone);
    View().Refresh();
    EXPECT_EQ(Grid().Rows(), 1);
    // No colour is set on an empty grid.
    EXPECT_EQ(Grid().Cell(grid::flexcpForeColor, 0, 6).toInt(), -1);
}

TEST_P(FlatViewTest, FilterTenShowsWonAndCancelledThroughTwoTerms)
{
    for (int status = 1; status <= 4; ++status)
        Add(Ibo::Open(status, QStringLiteral("2026-03-0%1 00:00:00").arg(status))
                .Set(QStringLiteral("DescriptorStatus"), QString::number(status)));
    View().setFilter(eFilterShowWon | eFilterShowCancelled);
    View().Refresh();
    EXPECT_EQ(Column(1), (QStringList{QStringLiteral("Won"), QStringLiteral("Cancelled")}));
    // The filter text itself, built from the open recordset's field name.
    Private().da.recordset = Private().da.database->OpenRecordset(detail::FlatViewFromMainSql(), data::dbOpenSnapshot);
    EXPECT_EQ(Private().GetFilterString(), QStringLiteral("(DescriptorStatus=2) OR (DescriptorStatus=4)"));
    View().setFilter(eFilterShowNone);
    EXPECT_EQ(Private().GetFilterString(), QStringLiteral("(DescriptorStatus=99)"));
    View().setFilter(eFilterShowOpen | eFilterShowLost);
    EXPECT_EQ(Private().GetFilterString(), QStringLiteral("(DescriptorStatus=1) OR (DescriptorStatus=3)"));
    Private().da.recordset.reset();
    EXPECT_EQ(Private().GetFilterString(), QString());
}

TEST_P(FlatViewTest, CombinedFilterIsALegalValue)
{
    View().setFilter(eFilterShowOpen | eFilterShowWon);
    EXPECT_EQ(View().Filter(), 3);
    EXPECT_EQ(View().property("Filter").toInt(), 3);
}

TEST_P(FlatViewTest, EmptyTableLeavesOnlyTheHeader)
{
    View().Refresh();
    EXPECT_EQ(Grid().Rows(), 1);
    EXPECT_EQ(Grid().TextMatrix(0, 0), QStringLiteral("IBO#"));
}

TEST_P(FlatViewTest, ArchiveListsEveryRowAndChangingSourceWaitsForRefresh)
{
    Add(Ibo::Open(1, QStringLiteral("2026-03-09 00:00:00")));
    Add(Ibo::Open(20, QStringLiteral("2026-03-01 00:00:00"))
            .Set(QStringLiteral("RecStatusDelete"), QStringLiteral("1")),
        QStringLiteral("IboArchive"));
    Add(Ibo::Open(21, QStringLiteral("2025-03-01 00:00:00")), QStringLiteral("IboArchive"));
    View().Refresh();
    EXPECT_EQ(Column(0), QStringList{QStringLiteral("IBO-1")});
    SaveViewPreference(QStringLiteral("PrefIBOArchiveView"),
                       QStringLiteral("15;500;501;502;503;504;505;506;507;508;509;510;511"));
    View().setViewSource(eViewArchiveTable);
    EXPECT_EQ(Column(0), QStringList{QStringLiteral("IBO-1")});  // no refresh yet
    EXPECT_EQ(Grid().ColWidth(3), 503);                          // the archive's own widths
    View().Refresh();
    QStringList ids = Column(0);
    ids.sort();
    EXPECT_EQ(ids, (QStringList{QStringLiteral("IBO-20"), QStringLiteral("IBO-21")}));
}

TEST_P(FlatViewTest, SecondRefreshOpensNoSecondWorkspace)
{
    ForgetStoredQueries(db_);
    View().Refresh();
    const int open = data::DBEngine::ForThisThread()->OpenWorkspaceCount();
    View().Refresh();
    EXPECT_EQ(data::DBEngine::ForThisThread()->OpenWorkspaceCount(), open);
    EXPECT_EQ(QueryText(db_, QStringLiteral("SELECT Name FROM BrevQueryDefs")),
              QStringLiteral("V21_GetIbosForFlatViewFromMain"));
}

TEST_P(FlatViewTest, NullInARequiredFieldStopsWithError94AndKeepsTheRowsSoFar)
{
    Add(Ibo::Open(1, QStringLiteral("2026-03-01 00:00:00")));
    Add(Ibo::Open(2, QStringLiteral("2026-03-02 00:00:00")).Set(QStringLiteral("IboNumber"), QStringLiteral("NULL")));
    Add(Ibo::Open(3, QStringLiteral("2026-03-03 00:00:00")));
    View();
    host::ScreenMousePointer::Set(0);
    EXPECT_RUNTIME_ERROR(View().Refresh(), 94);
    EXPECT_EQ(Grid().Rows(), 3);  // row 1 complete, row 2 begun
    EXPECT_EQ(Grid().TextMatrix(1, 0), QStringLiteral("IBO-1"));
    EXPECT_EQ(Grid().Redraw(), 0);  // the error tail leaves redraw off
    EXPECT_EQ(host::ScreenMousePointer::Get(), 0);
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_FALSE(Private().da.recordset);
    EXPECT_FALSE(Private().filtered);
    EXPECT_TRUE(trace_->lines.contains(QStringLiteral("HANDLE 94")));
}

TEST_P(FlatViewTest, NullInEachRequiredFieldIsError94)
{
    for (const char* field : {"IboID", "ConLastName", "ConFirstName", "ConCompany", "Product", "IboValueNumeric",
                              "IboValueDecimal", "Note"}) {
        // A server's IboMain keys its rows by IboID: it holds no row without one.
        if (OnPostgreSQL() && qstrcmp(field, "IboID") == 0)
            continue;
        Exec(db_, QStringLiteral("DELETE FROM IboMain"));
        Add(Ibo::Open(1, QStringLiteral("2026-03-01 00:00:00"))
                .Set(QString::fromLatin1(field), QStringLiteral("NULL")));
        EXPECT_RUNTIME_ERROR(View().Refresh(), 94);
    }
}

TEST_P(FlatViewTest, OutOfRangeCodesShowErrAndTheRefreshGoesOn)
{
    Add(Ibo::Open(1, QStringLiteral("2026-03-01 00:00:00"))
            .Set(QStringLiteral("DescriptorStatus"), QStringLiteral("1"))
            .Set(QStringLiteral("DescriptorUwih"), QStringLiteral("7"))
            .Set(QStringLiteral("DescriptorUwwgi"), QStringLiteral("-1")));
    Add(Ibo::Open(2, QStringLiteral("2026-03-02 00:00:00"))
            .Set(QStringLiteral("DescriptorStatus"), QStringLiteral("NULL")));
    View().setFilter(15);
    View().Refresh();
    ASSERT_EQ(Grid().Rows(), 2);  // a Null status matches no filter term
    EXPECT_EQ(Grid().TextMatrix(1, 6), QStringLiteral("ERR"));
    EXPECT_EQ(Grid().TextMatrix(1, 7), QStringLiteral("ERR"));
    EXPECT_EQ(Grid().TextMatrix(1, 8), QStringLiteral("10"));
    Exec(db_, QStringLiteral("UPDATE IboMain SET DescriptorStatus = 9 WHERE IboID = 1"));
    View().setFilter(eFilterShowNone);
    View().Refresh();
    EXPECT_EQ(Grid().Rows(), 1);
}

TEST_P(FlatViewTest, MissingSQLiteFileFailsAndTheNextRefreshTriesAgain)
{
    const QString elsewhere = TempPath(QStringLiteral("later.db"));
    qputenv("BREV_DATABASE", elsewhere.toLocal8Bit());
    EXPECT_RUNTIME_ERROR(View().Refresh(), 3024);
    EXPECT_FALSE(Private().da.ready);
    QFile::copy(db_, elsewhere);
    Exec(elsewhere, Ibo::Open(5, QStringLiteral("2026-03-01 00:00:00")).InsertSql());
    View().Refresh();
    EXPECT_EQ(Grid().Rows(), 2);
}

TEST_P(FlatViewTest, NullDateShowsTheZeroDate)
{
    Add(Ibo::Open(1, QStringLiteral("x")).Set(QStringLiteral("DateWWIH"), QStringLiteral("NULL")));
    View().Refresh();
    EXPECT_EQ(Grid().TextMatrix(1, 2), QStringLiteral("12/30/99"));
}

TEST_P(FlatViewTest, RowsSharingAClosingDateAndTheRowsAfterThemEachShowTheirOwnDay)
{
    Add(Ibo::Open(1, QStringLiteral("2026-03-01 00:00:00")));
    Add(Ibo::Open(2, QStringLiteral("2026-03-01 00:00:00")));
    Add(Ibo::Open(3, QStringLiteral("2026-03-01 09:30:00")));
    Add(Ibo::Open(4, QStringLiteral("2026-03-02 00:00:00")));
    Add(Ibo::Open(5, QStringLiteral("x")).Set(QStringLiteral("DateWWIH"), QStringLiteral("NULL")));
    Add(Ibo::Open(6, QStringLiteral("2026-03-02 00:00:00")));
    Add(Ibo::Open(7, QStringLiteral("2026-04-02 00:00:00")));
    View().Refresh();
    // In closing-date order, the Null first (rows of one date in any order).
    EXPECT_EQ(Column(2), (QStringList{"12/30/99", "3/1/26", "3/1/26", "3/1/26", "3/2/26", "3/2/26", "4/2/26"}));
    const QStringList numbers = Column(0), days = Column(2);
    const QStringList expected{"3/1/26", "3/1/26", "3/1/26", "3/2/26", "12/30/99", "3/2/26", "4/2/26"};
    for (int id = 1; id <= 7; ++id) {
        const qsizetype at = numbers.indexOf(QStringLiteral("IBO-%1").arg(id));
        ASSERT_GE(at, 0) << id;
        EXPECT_EQ(days[at], expected[id - 1]) << id;
    }
}

TEST_P(FlatViewTest, ProductAndValueCellsShowTheFirstEntryAndTheAmountWhateverTheStoredText)
{
    const QString long300 = QString(300, QLatin1Char('p'));
    const QString accentedLong = QStringLiteral("\u00e9") + QString(299, QLatin1Char('q'));
    const struct {
        const char* product;  // an SQL literal
        QString shown;
        const char* numeric;
        const char* decimal;
        const char* value;
    } rows[] = {
        {"'Widget~Gadget~Gizmo'", QStringLiteral("Widget"), "1234", "56", "1234.56"},
        {"'~Gadget'", QString(), "0", "0", "0"},
        {"''", QString(), "-250", "0", "-250"},
        {"'Plain'", QStringLiteral("Plain"), "1000000", "0", "1000000"},
        {nullptr, long300.left(255), "7", "50", "7.5"},
        {"'Ma\u00f1ana~Tarde'", QStringLiteral("Ma\u00f1ana"), "12", "25", "12.25"},
        {nullptr, accentedLong.left(255), "1E+16", "0", "1E+16"},
        {"42", QStringLiteral("42"), "5", "150", "5.5"},
    };
    int id = 1;
    for (const auto& r : rows) {
        const QString product = r.product ? QString::fromUtf8(r.product)
                                          : QLatin1Char('\'') + (id == 5 ? long300 : accentedLong) + QLatin1Char('\'');
        Add(Ibo::Open(id, QStringLiteral("2026-03-%1 00:00:00").arg(id, 2, 10, QLatin1Char('0')))
                .Set(QStringLiteral("Product"), product)
                .Set(QStringLiteral("IboValueNumeric"), QString::fromLatin1(r.numeric))
                .Set(QStringLiteral("IboValueDecimal"), QString::fromLatin1(r.decimal)));
        ++id;
    }
    View().Refresh();
    ASSERT_EQ(Grid().Rows(), int(std::size(rows)) + 1);
    for (int i = 0; i < int(std::size(rows)); ++i) {
        EXPECT_EQ(Grid().TextMatrix(i + 1, 9), rows[i].shown) << i;
        EXPECT_EQ(Grid().TextMatrix(i + 1, 10), QString::fromLatin1(rows[i].value)) << i;
    }
}

BREV_ON_BOTH_ENGINES(FlatViewTest);

}  // namespace
}  // namespace BrevView::test

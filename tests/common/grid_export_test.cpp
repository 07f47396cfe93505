// What a salesperson takes out of a view: the selected rows on the clipboard (text and
// HTML, header first), a CSV file of the list (RFC 4180, UTF-8, summable amounts), and the
// search of the shown texts.

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QRegularExpression>
#include <QTest>

#include "support/three_views.h"

namespace BrevView::test {
namespace {

template <class V>
class GridExportTest : public ThreeViewsTest<V> {
protected:
    void SetUp() override
    {
        ThreeViewsTest<V>::SetUp();
        // A company with a comma, quotes, a line break and letters beyond ASCII.
        this->Exec(this->db_, Ibo::Open(7, QStringLiteral("2026-03-25 00:00:00"))
                                  .Text(QStringLiteral("ConCompany"), QStringLiteral("Crédit \"Rhône\", S.A.\nLyon"))
                                  .Text(QStringLiteral("ConLastName"), QStringLiteral("Ødegård"))
                                  .InsertSql());
        this->View().Refresh();
    }
};
TYPED_TEST_SUITE(GridExportTest, AllViews);

// An RFC 4180 reader: records of fields, quotes doubled inside quoted fields.
std::vector<QStringList> ReadCsv(const QString& text)
{
    std::vector<QStringList> records;
    QStringList record;
    QString field;
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (quoted) {
            if (c == QLatin1Char('"') && i + 1 < text.size() && text[i + 1] == QLatin1Char('"')) {
                field += c;
                ++i;
            } else if (c == QLatin1Char('"')) {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == QLatin1Char('"')) {
            quoted = true;
        } else if (c == QLatin1Char(',')) {
            record << field;
            field.clear();
        } else if (c == QLatin1Char('\r') && i + 1 < text.size() && text[i + 1] == QLatin1Char('\n')) {
            record << field;
            records.push_back(record);
            record.clear();
            field.clear();
            ++i;
        } else {
            field += c;
        }
    }
    EXPECT_FALSE(quoted);
    EXPECT_TRUE(field.isEmpty() && record.isEmpty()) << "the last record ends with CRLF";
    return records;
}

TYPED_TEST(GridExportTest, CopyPutsTheSelectedRowsAsTextAndHtmlWithTheHeaderRow)
{
    grid::FlexGrid& g = this->Grid();
    QMetaObject::invokeMethod(&this->View(), "ExpandAllNodes");
    const int a = this->RowOf(2), b = this->RowOf(4);
    g.SelectRows({b, a});
    this->View().copySelection();
    const QMimeData* mime = QGuiApplication::clipboard()->mimeData();
    ASSERT_NE(mime, nullptr);
    const std::vector<int> cols = this->ShownCols();
    const QStringList lines = mime->text().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3);
    QStringList header;
    for (int c : cols)
        header << g.TextMatrix(0, c).replace(QLatin1Char('\r'), QLatin1Char(' '));
    EXPECT_EQ(lines[0], header.join(QLatin1Char('\t')));
    // Columns that never show (hidden ones, the priority view's placeholder "P") are left out:
    // every column copied has a caption.
    for (const QString& caption : lines[0].split(QLatin1Char('\t')))
        EXPECT_FALSE(caption.isEmpty() || caption == QLatin1String("P")) << qPrintable(lines[0]);
    // In the order shown, whatever the order of selection.
    for (int i = 0; i < 2; ++i) {
        const int r = std::min(a, b) == a ? (i == 0 ? a : b) : (i == 0 ? b : a);
        QStringList cells;
        for (int c : cols)
            cells << g.DisplayText(r, c);
        EXPECT_EQ(lines[i + 1], cells.join(QLatin1Char('\t')));
    }
    // The HTML table has the same cells.
    ASSERT_TRUE(mime->hasHtml());
    QStringList htmlCells;
    static const QRegularExpression cell(QStringLiteral("<t[dh]>(.*?)</t[dh]>"));
    for (auto it = cell.globalMatch(mime->html()); it.hasNext();)
        htmlCells << it.next().captured(1);
    QStringList textCells;
    for (const QString& line : lines)
        textCells << line.split(QLatin1Char('\t'));
    for (QString& s : textCells)
        s = s.toHtmlEscaped();
    EXPECT_EQ(htmlCells, textCells);
    // Ctrl+C does the same.
    QGuiApplication::clipboard()->clear();
    QTest::keyClick(&g, Qt::Key_C, Qt::ControlModifier);
    ASSERT_NE(QGuiApplication::clipboard()->mimeData(), nullptr);
    EXPECT_EQ(QGuiApplication::clipboard()->mimeData()->text(), lines.join(QLatin1Char('\n')) + QLatin1Char('\n'));
}

TYPED_TEST(GridExportTest, ExportWritesRfc4180Utf8WithSummableAmountsAndReadsBackTheShownTexts)
{
    grid::FlexGrid& g = this->Grid();
    const QString file = this->TempPath(QStringLiteral("list.csv"));
    std::vector<std::pair<qint64, qint64>> calls;
    ASSERT_TRUE(this->View().exportCsv(file, true, [&](qint64 done, qint64 total) {
        calls.emplace_back(done, total);
        return true;
    }));
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.back().first, calls.back().second);
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const std::vector<QStringList> records = ReadCsv(QString::fromUtf8(f.readAll()));
    ASSERT_EQ(int(records.size()), g.Rows());  // the header and every row
    const std::vector<int> cols = this->ShownCols();
    int moneyAt = -1;
    for (int k = 0, field = 0; k < int(cols.size()); ++k, ++field) {
        EXPECT_EQ(records[0][field], g.TextMatrix(0, cols[size_t(k)]).replace(QLatin1Char('\r'), QLatin1Char(' ')));
        if (g.ColDataType(cols[size_t(k)]) == grid::flexDTCurrency) {
            moneyAt = field;
            ++field;
        }
    }
    ASSERT_GE(moneyAt, 0);
    EXPECT_TRUE(records[0][moneyAt + 1].endsWith(QStringLiteral("(number)")));
    double ibos = 0;
    bool sawCompany = false;
    for (int r = 1; r < g.Rows(); ++r) {
        const QStringList& rec = records[size_t(r)];
        // A node's caption is in the first field, even where it sits in a column never shown.
        if (g.IsSubtotal(r)) {
            EXPECT_FALSE(rec[0].isEmpty()) << "node row " << r;
        }
        int field = 0;
        for (int c : cols) {
            EXPECT_EQ(rec[field], g.DisplayText(r, g.TextColOf(r, c))) << "row " << r << " column " << c;
            if (rec[field] == QStringLiteral("Crédit \"Rhône\", S.A.\nLyon"))
                sawCompany = true;
            if (g.ColDataType(c) == grid::flexDTCurrency) {
                ++field;
                bool ok = false;
                const double v = rec[field].toDouble(&ok);
                EXPECT_TRUE(ok || rec[field].isEmpty()) << qPrintable(rec[field]);
                if (ok && !g.IsSubtotal(r))
                    ibos += v;
            }
            ++field;
        }
    }
    EXPECT_TRUE(sawCompany);
    // The plain numbers sum to the IBOs' values (1,140,381 + 1,000 for each other row on show).
    double expected = 0;
    for (int r = 1; r < g.Rows(); ++r) {
        for (int c : cols) {
            if (g.ColDataType(c) == grid::flexDTCurrency && !g.IsSubtotal(r))
                expected += g.TextMatrix(r, c).toDouble();
        }
    }
    EXPECT_GT(ibos, 1140381);
    EXPECT_DOUBLE_EQ(ibos, expected);
}

TYPED_TEST(GridExportTest, ExportOfTheRowsOnShowFollowsTheCollapsedNodesAndACancelLeavesNoFile)
{
    grid::FlexGrid& g = this->Grid();
    const QString file = this->TempPath(QStringLiteral("shown.csv"));
    ASSERT_TRUE(this->View().exportCsv(file));
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(int(ReadCsv(QString::fromUtf8(f.readAll())).size()), int(g.VisibleRows().size()) + 1);
    const QString cancelled = this->TempPath(QStringLiteral("cancelled.csv"));
    // A grid this small reports once, at the end; a cancel there still writes nothing.
    bool asked = false;
    EXPECT_FALSE(this->View().exportCsv(cancelled, true, [&](qint64, qint64) {
        asked = true;
        return false;
    }));
    EXPECT_TRUE(asked);
    EXPECT_FALSE(QFile::exists(cancelled));
    EXPECT_RUNTIME_ERROR(this->View().exportCsv(this->TempPath(QStringLiteral("no/such/folder/x.csv"))), 75);
}

TYPED_TEST(GridExportTest, FindRevealsARowInsideACollapsedNodeWrapsAndSaysWhenNothingMatches)
{
    grid::FlexGrid& g = this->Grid();
    QMetaObject::invokeMethod(&this->View(), "CollapseAllNodes");
    const int target = this->RowOf(7);
    ASSERT_TRUE(this->View().findNext(QStringLiteral("ødegÅrd")));  // case-insensitive, beyond ASCII
    EXPECT_EQ(g.Row(), target);
    EXPECT_TRUE(g.RowIsVisible(target));
    EXPECT_EQ(this->View().GetSelection().template value<QList<qint32>>(), QList<qint32>{7});
    // The next match of "Last" after the last one is the first one again.
    ASSERT_TRUE(this->View().findNext(QStringLiteral("Last1")));
    const int first = g.Row();
    ASSERT_TRUE(this->View().findNext(QStringLiteral("Last1")));
    EXPECT_EQ(g.Row(), first);
    EXPECT_FALSE(this->View().findNext(QStringLiteral("no such customer")));
    EXPECT_EQ(g.Row(), first);
    EXPECT_FALSE(this->View().findNext(QStringLiteral("last1"), QTextDocument::FindCaseSensitively));
    EXPECT_TRUE(this->View().findNext(QStringLiteral("Last1"), QTextDocument::FindWholeWords));
}

}  // namespace
}  // namespace BrevView::test

#include "grid/grid_export.h"

#include <QMimeData>
#include <QSaveFile>

#include "automation/conversions.h"
#include "automation/runtime_error.h"
#include "grid/flex_grid.h"

namespace BrevView::grid {
namespace {

std::vector<int> ShownColumns(const FlexGrid& grid)
{
    return grid.ShownCols();
}

// What a cell shows: its text, or the node caption that runs on over it.
QString ShownText(const FlexGrid& grid, int row, int col)
{
    return grid.DisplayText(row, grid.TextColOf(row, col));
}

QString HeaderText(const FlexGrid& grid, int col)
{
    QString text = grid.FixedRows() > 0 ? grid.TextMatrix(0, col) : QString();
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    return text;
}

// Every data row in the order it is shown, with the rows of collapsed nodes where they
// would be shown if their nodes were open.
std::vector<int> RowsInShownOrder(const FlexGrid& grid)
{
    return grid.DisplayOrder();
}

// A field quoted as RFC 4180 quotes it, where it holds the separator, a quote or a line
// break (tab-separated text for the clipboard is quoted the same way).
QString Quoted(const QString& field, QChar separator)
{
    if (!field.contains(separator) && !field.contains(QLatin1Char('"')) && !field.contains(QLatin1Char('\n')) &&
        !field.contains(QLatin1Char('\r')))
        return field;
    QString quoted = field;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString Csv(const QString& field)
{
    return Quoted(field, QLatin1Char(','));
}

QString Tsv(const QString& field)
{
    return Quoted(field, QLatin1Char('\t'));
}

}  // namespace

QMimeData* SelectedRowsAsMime(const FlexGrid& grid)
{
    const std::vector<int> cols = ShownColumns(grid);
    QString text, html = QStringLiteral("<table>\n<tr>");
    for (size_t i = 0; i < cols.size(); ++i) {
        const QString h = HeaderText(grid, cols[i]);
        text += (i ? QStringLiteral("\t") : QString()) + Tsv(h);
        html += QStringLiteral("<th>") + h.toHtmlEscaped() + QStringLiteral("</th>");
    }
    text += QLatin1Char('\n');
    html += QStringLiteral("</tr>\n");
    for (int r : RowsInShownOrder(grid)) {
        if (!grid.RowIsSelected(r))
            continue;
        html += QStringLiteral("<tr>");
        for (size_t i = 0; i < cols.size(); ++i) {
            const QString cell = ShownText(grid, r, cols[i]);
            text += (i ? QStringLiteral("\t") : QString()) + Tsv(cell);
            html += QStringLiteral("<td>") + cell.toHtmlEscaped().replace(QLatin1Char('\n'), QStringLiteral("<br>")) +
                    QStringLiteral("</td>");
        }
        text += QLatin1Char('\n');
        html += QStringLiteral("</tr>\n");
    }
    html += QStringLiteral("</table>\n");
    auto* mime = new QMimeData;
    mime->setText(text);
    mime->setHtml(html);
    return mime;
}

bool ExportCsv(const FlexGrid& grid, const QString& fileName, bool allRows, const ExportProgress& progress,
               const QString& source)
{
    const std::vector<int> cols = ShownColumns(grid);
    std::vector<int> rows;
    if (allRows) {
        rows = RowsInShownOrder(grid);
    } else {
        for (int r : grid.VisibleRows())
            rows.push_back(r);
    }
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        automation::Raise(automation::ErrPathFileAccess, source,
                          QStringLiteral("Cannot write %1: %2").arg(fileName, file.errorString()));
    // The header, with a plain-number column after each money column.
    QString line;
    for (size_t i = 0; i < cols.size(); ++i) {
        const QString h = HeaderText(grid, cols[i]);
        line += (i ? QStringLiteral(",") : QString()) + Csv(h);
        if (grid.ColDataType(cols[i]) == flexDTCurrency)
            line += QLatin1Char(',') + Csv(h + QStringLiteral(" (number)"));
    }
    line += QStringLiteral("\r\n");
    QByteArray chunk = line.toUtf8();
    const qint64 total = qint64(rows.size());
    qint64 done = 0;
    for (int r : rows) {
        line.clear();
        for (size_t i = 0; i < cols.size(); ++i) {
            const QString shown = ShownText(grid, r, cols[i]);
            line += (i ? QStringLiteral(",") : QString()) + Csv(shown);
            if (grid.ColDataType(cols[i]) == flexDTCurrency) {
                // The stored text of an amount is its plain number ("1140381.25"); a total
                // that overflowed ("**********") or any other text gives an empty field.
                const QString stored = grid.TextMatrix(r, cols[i]).trimmed();
                double value = 0;
                bool number = false;
                try {
                    number = !stored.isEmpty() && automation::ParseNumber(stored, &value);
                } catch (const std::exception&) {
                    number = false;
                }
                line += QLatin1Char(',') + (number ? QString::number(value, 'f', -1) : QString());
            }
        }
        line += QStringLiteral("\r\n");
        chunk += line.toUtf8();
        ++done;
        if (chunk.size() > (1 << 20)) {
            if (file.write(chunk) != chunk.size())
                automation::Raise(automation::ErrPathFileAccess, source,
                                  QStringLiteral("Cannot write %1: %2").arg(fileName, file.errorString()));
            chunk.clear();
        }
        if (progress && (done % 4096) == 0 && !progress(done, total)) {
            file.cancelWriting();
            return false;
        }
    }
    // The last word is the caller's too: a cancel at the very end still writes nothing.
    if (progress && !progress(total, total)) {
        file.cancelWriting();
        return false;
    }
    if (file.write(chunk) != chunk.size() || !file.commit())
        automation::Raise(automation::ErrPathFileAccess, source,
                          QStringLiteral("Cannot write %1: %2").arg(fileName, file.errorString()));
    return true;
}

int FindText(const FlexGrid& grid, const QString& text, int from, bool caseSensitive, bool wholeText, bool backward)
{
    if (text.isEmpty())
        return -1;
    const std::vector<int> cols = ShownColumns(grid);
    const std::vector<int> rows = RowsInShownOrder(grid);
    if (rows.empty())
        return -1;
    const Qt::CaseSensitivity cs = caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive;
    auto matches = [&](int r) {
        for (int c : cols) {
            const QString shown = ShownText(grid, r, c);
            if (wholeText ? shown.compare(text, cs) == 0 : shown.contains(text, cs))
                return true;
        }
        return false;
    };
    const auto n = qsizetype(rows.size());
    qsizetype start = -1;
    for (qsizetype i = 0; i < n; ++i) {
        if (rows[size_t(i)] == from) {
            start = i;
            break;
        }
    }
    for (qsizetype k = 1; k <= n; ++k) {
        qsizetype i = backward ? start - k : start + k;
        i = ((i % n) + n) % n;
        if (matches(rows[size_t(i)]))
            return rows[size_t(i)];
    }
    return -1;
}

}  // namespace BrevView::grid

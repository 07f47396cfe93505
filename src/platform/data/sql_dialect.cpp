#include "sql_dialect.h"

#include <QRegularExpression>

#include "../automation/ole_date.h"
#include "../automation/runtime_error.h"

namespace BrevView::data {
namespace {

[[noreturn]] void Fail(const QString& why, const QString& sql)
{
    automation::Raise(automation::ErrInvalidSql, QStringLiteral("BrevView.Data"),
                      QStringLiteral("Invalid SQL statement: %1 in \"%2\"").arg(why, sql.left(200)));
}

bool IsIdentStart(QChar c) { return c.isLetter() || c == QLatin1Char('_'); }
bool IsIdentChar(QChar c) { return c.isLetterOrNumber() || c == QLatin1Char('_'); }

QString Quote(const QString& name)
{
    QString q = name;
    q.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + q + QLatin1Char('"');
}

// #m/d/yyyy# with an optional time "h:mm[:ss] [AM|PM]".
QString DateLiteral(const QString& body, const QString& sql)
{
    static const QRegularExpression re(QStringLiteral(
        R"(^\s*(\d{1,2})/(\d{1,2})/(\d{1,4})(?:\s+(\d{1,2}):(\d{2})(?::(\d{2}))?\s*(AM|PM|am|pm)?)?\s*$)"));
    const QRegularExpressionMatch m = re.match(body);
    if (!m.hasMatch())
        Fail(QStringLiteral("date literal #%1# is not a date").arg(body), sql);
    int year = m.captured(3).toInt();
    if (m.captured(3).size() <= 2)
        year += year < 30 ? 2000 : 1900;
    int hour = m.captured(4).isEmpty() ? 0 : m.captured(4).toInt();
    const int minute = m.captured(5).isEmpty() ? 0 : m.captured(5).toInt();
    const int second = m.captured(6).isEmpty() ? 0 : m.captured(6).toInt();
    const QString ampm = m.captured(7).toUpper();
    if (ampm == QLatin1String("PM") && hour < 12)
        hour += 12;
    if (ampm == QLatin1String("AM") && hour == 12)
        hour = 0;
    const int month = m.captured(1).toInt();
    const int day = m.captured(2).toInt();
    if (!QDate(year, month, day).isValid() || year < 100 || hour > 23 || minute > 59 || second > 59)
        Fail(QStringLiteral("date literal #%1# is not a date").arg(body), sql);
    const automation::Date d = automation::Date::FromParts(year, month, day, hour, minute, second);
    return QLatin1Char('\'') + d.ToCanonicalText() + QLatin1Char('\'');
}

// Reads one name at `i`: a bare word or a [bracketed] name. Returns false at anything else.
bool ReadName(const QString& s, qsizetype& i, QString* name, bool* bracketed)
{
    const qsizetype n = s.size();
    if (i < n && s[i] == QLatin1Char('[')) {
        const qsizetype close = s.indexOf(QLatin1Char(']'), i + 1);
        if (close < 0)
            Fail(QStringLiteral("unclosed ["), s);
        *name = s.mid(i + 1, close - i - 1);
        *bracketed = true;
        i = close + 1;
        return true;
    }
    if (i < n && IsIdentStart(s[i])) {
        const qsizetype start = i;
        while (i < n && IsIdentChar(s[i]))
            ++i;
        *name = s.mid(start, i - start);
        *bracketed = false;
        return true;
    }
    return false;
}

QString FunctionName(const QString& word)
{
    static const char* const kMap[][2] = {
        {"date", "brev_date"}, {"now", "brev_now"}, {"year", "brev_year"},
        {"month", "brev_month"}, {"day", "brev_day"},
    };
    const QString lower = word.toLower();
    for (const auto& entry : kMap) {
        if (lower == QLatin1String(entry[0]))
            return QString::fromLatin1(entry[1]);
    }
    return QString();
}

}  // namespace

QString TranslateJetSql(const QString& sql)
{
    QString out;
    out.reserve(sql.size() + 16);
    const qsizetype n = sql.size();
    qsizetype i = 0;
    while (i < n) {
        const QChar c = sql[i];
        if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            // A string literal; Jet accepts both quotes, SQLite wants single ones.
            QString text;
            qsizetype j = i + 1;
            bool closed = false;
            while (j < n) {
                if (sql[j] == c) {
                    if (j + 1 < n && sql[j + 1] == c) {
                        text += c;
                        j += 2;
                        continue;
                    }
                    closed = true;
                    break;
                }
                text += sql[j++];
            }
            if (!closed)
                Fail(QStringLiteral("unclosed string"), sql);
            text.replace(QLatin1Char('\''), QStringLiteral("''"));
            out += QLatin1Char('\'') + text + QLatin1Char('\'');
            i = j + 1;
        } else if (c == QLatin1Char('#')) {
            const qsizetype close = sql.indexOf(QLatin1Char('#'), i + 1);
            if (close < 0)
                Fail(QStringLiteral("unclosed date literal"), sql);
            out += DateLiteral(sql.mid(i + 1, close - i - 1), sql);
            i = close + 1;
        } else if (c == QLatin1Char('@') || c == QLatin1Char(':') || c == QLatin1Char('$')) {
            // A named parameter: keep it whole so that its name is not translated.
            out += c;
            ++i;
            while (i < n && IsIdentChar(sql[i]))
                out += sql[i++];
        } else if (c == QLatin1Char('[') || IsIdentStart(c)) {
            QString name;
            bool bracketed = false;
            ReadName(sql, i, &name, &bracketed);
            // Table.Field and [Table].[Field]: keep the last part only; the views'
            // queries read one table at a time.
            while (i + 1 < n && sql[i] == QLatin1Char('.') &&
                   (sql[i + 1] == QLatin1Char('[') || IsIdentStart(sql[i + 1]))) {
                ++i;
                ReadName(sql, i, &name, &bracketed);
            }
            if (bracketed) {
                out += Quote(name);
                continue;
            }
            qsizetype k = i;
            while (k < n && sql[k].isSpace())
                ++k;
            const bool call = k < n && sql[k] == QLatin1Char('(');
            const QString fn = call ? FunctionName(name) : QString();
            if (!fn.isEmpty())
                out += fn;
            else if (name.compare(QLatin1String("True"), Qt::CaseInsensitive) == 0)
                out += QLatin1Char('1');
            else if (name.compare(QLatin1String("False"), Qt::CaseInsensitive) == 0)
                out += QLatin1Char('0');
            else if (name.compare(QLatin1String("Mod"), Qt::CaseInsensitive) == 0)
                out += QLatin1Char('%');
            else
                out += name;
        } else if (c.isDigit()) {
            while (i < n && (sql[i].isLetterOrNumber() || sql[i] == QLatin1Char('.')))
                out += sql[i++];
        } else if (c == QLatin1Char('&')) {
            out += QStringLiteral("||");
            ++i;
        } else {
            out += c;
            ++i;
        }
    }
    // A trailing ";" (and blanks) would stop the text being wrapped as a sub-query.
    while (!out.isEmpty() && (out.back().isSpace() || out.back() == QLatin1Char(';')))
        out.chop(1);
    return out;
}

}  // namespace BrevView::data

#include "data/sql_dialect.h"

#include <QRegularExpression>

#include "automation/ole_date.h"
#include "automation/runtime_error.h"
#include "host/clock.h"

namespace BrevView::data {
namespace {

[[noreturn]] void Fail(const QString& why, const QString& sql)
{
    automation::Raise(automation::ErrInvalidSql, QStringLiteral("BrevView.Data"),
                      QStringLiteral("Invalid SQL statement: %1 in \"%2\"").arg(why, sql.left(200)));
}

bool IsIdentStart(QChar c)
{
    return c.isLetter() || c == QLatin1Char('_');
}
bool IsIdentChar(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

QString TimestampLiteral(const automation::Date& d, Dialect dialect)
{
    const QString text = QLatin1Char('\'') + d.ToCanonicalText() + QLatin1Char('\'');
    return dialect == Dialect::PostgreSQL ? QStringLiteral("TIMESTAMP ") + text : text;
}

// #m/d/yyyy# with an optional time "h:mm[:ss] [AM|PM]", as the engine's literal.
QString DateLiteral(const QString& body, const QString& sql, Dialect dialect)
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
    return TimestampLiteral(d, dialect);
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

// A name for PostgreSQL: bare (folded to lower case, as the tables were made) when it is a
// plain word, else quoted in lower case.
QString PgName(const QString& name)
{
    bool plain = !name.isEmpty() && IsIdentStart(name[0]);
    for (QChar c : name)
        plain = plain && IsIdentChar(c) && c.unicode() < 128;
    return plain ? name : QuoteIdentifier(name.toLower());
}

bool IsWord(const QString& s, qsizetype at, QLatin1String word)
{
    if (at < 0 || at + word.size() > s.size() ||
        QStringView(s).mid(at, word.size()).compare(word, Qt::CaseInsensitive) != 0)
        return false;
    const bool before = at == 0 || !IsIdentChar(s[at - 1]);
    const bool after = at + word.size() == s.size() || !IsIdentChar(s[at + word.size()]);
    return before && after;
}

// Adds NULLS FIRST to each ascending term and NULLS LAST to each descending one of an
// ORDER BY list (translated text), up to a LIMIT or OFFSET at the same depth.
QString WithNullOrder(const QString& list)
{
    QString out;
    QString term;
    int depth = 0;
    bool inString = false;
    qsizetype i = 0;
    auto flush = [&] {
        const QString t = term.trimmed();
        if (!t.isEmpty()) {
            const bool desc = t.size() >= 4 && IsWord(t, t.size() - 4, QLatin1String("DESC"));
            out += t + (desc ? QStringLiteral(" NULLS LAST") : QStringLiteral(" NULLS FIRST"));
        }
        term.clear();
    };
    for (; i < list.size(); ++i) {
        const QChar c = list[i];
        if (c == QLatin1Char('\'') && !inString) {
            inString = true;
        } else if (c == QLatin1Char('\'') && inString) {
            inString = false;
        } else if (!inString && c == QLatin1Char('(')) {
            ++depth;
        } else if (!inString && c == QLatin1Char(')')) {
            --depth;
        } else if (!inString && depth == 0 && c == QLatin1Char(',')) {
            flush();
            out += QStringLiteral(", ");
            continue;
        } else if (!inString && depth == 0 &&
                   (IsWord(list, i, QLatin1String("LIMIT")) || IsWord(list, i, QLatin1String("OFFSET")))) {
            break;
        }
        term += c;
    }
    flush();
    if (i < list.size())
        out += QLatin1Char(' ') + list.mid(i);
    return out;
}

// Where the statement's own ORDER BY list starts (after the keywords), at the outermost
// level; -1 when it has none.
qsizetype OrderListStart(const QString& sql)
{
    int depth = 0;
    bool inString = false;
    for (qsizetype i = 0; i < sql.size(); ++i) {
        const QChar c = sql[i];
        if (c == QLatin1Char('\''))
            inString = !inString;
        else if (inString)
            continue;
        else if (c == QLatin1Char('('))
            ++depth;
        else if (c == QLatin1Char(')'))
            --depth;
        else if (depth == 0 && IsWord(sql, i, QLatin1String("ORDER"))) {
            qsizetype k = i + 5;
            while (k < sql.size() && sql[k].isSpace())
                ++k;
            if (IsWord(sql, k, QLatin1String("BY")))
                return k + 2;
        }
    }
    return -1;
}

QString FunctionName(const QString& word)
{
    static const char* const kMap[][2] = {
        {"date", "brev_date"}, {"now", "brev_now"}, {"year", "brev_year"}, {"month", "brev_month"}, {"day", "brev_day"},
    };
    const QString lower = word.toLower();
    for (const auto& entry : kMap) {
        if (lower == QLatin1String(entry[0]))
            return QString::fromLatin1(entry[1]);
    }
    return QString();
}

}  // namespace

QString QuoteIdentifier(const QString& name)
{
    QString q = name;
    q.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + q + QLatin1Char('"');
}

TranslatedSql TranslateJetSql(const QString& sql, Dialect dialect)
{
    const bool pg = dialect == Dialect::PostgreSQL;
    TranslatedSql result;
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
            out += DateLiteral(sql.mid(i + 1, close - i - 1), sql, dialect);
            i = close + 1;
        } else if (c == QLatin1Char('@') || c == QLatin1Char(':') || c == QLatin1Char('$')) {
            // A named parameter: keep it whole so that its name is not translated.
            QString name = c;
            ++i;
            while (i < n && IsIdentChar(sql[i]))
                name += sql[i++];
            if (pg) {
                // PostgreSQL numbers its parameters; one name is one number.
                qsizetype k = 0;
                while (k < result.parameters.size() && result.parameters[k].compare(name, Qt::CaseInsensitive) != 0)
                    ++k;
                if (k == result.parameters.size())
                    result.parameters.append(name);
                out += QLatin1Char('$') + QString::number(k + 1);
            } else {
                out += name;
            }
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
            if (pg && !result.names.contains(name))
                result.names.append(name);
            if (bracketed) {
                out += pg ? PgName(name) : QuoteIdentifier(name);
                continue;
            }
            qsizetype k = i;
            while (k < n && sql[k].isSpace())
                ++k;
            const bool call = k < n && sql[k] == QLatin1Char('(');
            const QString fn = call ? FunctionName(name) : QString();
            if (!fn.isEmpty() && pg) {
                // extract(year from x) for Year(x) (a whole number, as Jet's Year() gives);
                // Date() and Now() as the clock reads now.
                const QString part = fn.mid(5);
                i = k + 1;
                if (part == QLatin1String("date") || part == QLatin1String("now")) {
                    qsizetype close = i;
                    while (close < n && sql[close].isSpace())
                        ++close;
                    if (close >= n || sql[close] != QLatin1Char(')'))
                        Fail(QStringLiteral("%1() takes no argument").arg(name), sql);
                    i = close + 1;
                    out += TimestampLiteral(part == QLatin1String("date") ? host::Clock::Today() : host::Clock::Now(),
                                            dialect);
                } else {
                    out += QStringLiteral("extract(%1 from ").arg(part);
                }
            } else if (!fn.isEmpty())
                out += fn;
            else if (name.compare(QLatin1String("True"), Qt::CaseInsensitive) == 0)
                out += pg ? QStringLiteral("true") : QStringLiteral("1");
            else if (name.compare(QLatin1String("False"), Qt::CaseInsensitive) == 0)
                out += pg ? QStringLiteral("false") : QStringLiteral("0");
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
    if (pg) {
        const qsizetype order = OrderListStart(out);
        if (order >= 0)
            out = out.left(order) + QLatin1Char(' ') + WithNullOrder(out.mid(order));
    }
    result.text = out;
    return result;
}

QString TranslateJetSql(const QString& sql)
{
    return TranslateJetSql(sql, Dialect::SQLite).text;
}

QString TranslateJetOrder(const QString& order, Dialect dialect)
{
    const QString text = TranslateJetSql(order, dialect).text;
    return dialect == Dialect::PostgreSQL ? WithNullOrder(text) : text;
}

}  // namespace BrevView::data

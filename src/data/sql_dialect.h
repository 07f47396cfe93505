#pragma once
// Translates the query dialect the views are written in (Jet SQL) into SQL that the
// engine runs, in one place. For SQLite:
//   #05/10/2024#, #5/10/2024 17:45#     -> '2024-05-10 00:00:00', '2024-05-10 17:45:00'
//   [Name], [Table].[Field], Table.Field -> "Name", "Field", "Field"
//   "text" (a Jet string literal)        -> 'text'
//   True / False                         -> 1 / 0
//   Date(), Now(), Year(x), Month(x), Day(x) -> brev_date(), brev_now(), brev_year(x), ...
//   Mod, &                               -> %, ||
//   a trailing ";"                       -> removed
// Named parameters (@Priority) and ORDER BY lists with DESC pass through unchanged.
// Dates are stored as text in the canonical form "yyyy-MM-dd HH:mm:ss", so that text
// comparison orders them: a value at 17:45 on 10 May 2024 is >= #05/10/2024# and
// < #05/11/2024#.
//
// For PostgreSQL, whose tables are made with unquoted (so lower-case) names and typed
// columns (timestamp, boolean):
//   #05/10/2024#                         -> TIMESTAMP '2024-05-10 00:00:00'
//   [Name], [Table].[Field]              -> Name, Field (a name that needs quotes: "name")
//   True / False                         -> true / false
//   Date(), Now()                        -> the library clock's day or time, as a TIMESTAMP
//                                           literal (a statement is translated when it is run)
//   Year(x), Month(x), Day(x)            -> extract(year from x), ...
//   @Priority                            -> $1 (the names in TranslatedSql::parameters)
//   ORDER BY a, b DESC                   -> ORDER BY a NULLS FIRST, b DESC NULLS LAST
// so that Null sorts before every value, as in Jet and in SQLite.

#include <QString>
#include <QStringList>

#include "data/engine.h"

namespace BrevView::data {

struct TranslatedSql {
    QString text;
    // The names of $1, $2, ... (PostgreSQL); empty for SQLite, whose statements keep them.
    QStringList parameters;
    // The names the text uses, as it spells them (PostgreSQL): the server folds them to lower
    // case, and a column read back takes its spelling from here again.
    QStringList names;
};

// Error 3129 (with the reason) for a text the translator cannot read: an unclosed
// string, bracket or date literal, or a date literal that is not a date.
// `name` in double quotes, a double quote inside it doubled: a name that reaches SQL only so.
QString QuoteIdentifier(const QString& name);

TranslatedSql TranslateJetSql(const QString& jetSql, Dialect dialect);
// The SQLite translation.
QString TranslateJetSql(const QString& jetSql);
// A sort order as a recordset's Sort holds it (an ORDER BY list without the keywords).
QString TranslateJetOrder(const QString& jetOrder, Dialect dialect);

}  // namespace BrevView::data

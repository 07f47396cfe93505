#pragma once
// Translates the query dialect the views are written in (Jet SQL) into SQL that
// SQLite runs, in one place:
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

#include <QString>

namespace BrevView::data {

// Error 3129 (with the reason) for a text the translator cannot read: an unclosed
// string, bracket or date literal, or a date literal that is not a date.
QString TranslateJetSql(const QString& jetSql);

}  // namespace BrevView::data

#pragma once
// The conversions of the automation runtime that the views rely on: Null-aware,
// rounding half to even, raising numbered errors (94 for Null, 13 for a value
// that is not a number, 6 for one out of range).

#include <QString>
#include <QtGlobal>

#include "automation/currency.h"
#include "automation/ole_date.h"
#include "automation/variant.h"

namespace BrevView::automation {

// Round half to even to a whole number (the automation rule for every integer conversion).
double RoundHalfEven(double value);

// Shortest decimal form that reads back as the same double; scientific ("1E+15",
// "1E-05") for exponents below -4 or from 15 up, as the automation runtime writes it.
QString DoubleToText(double value);
// The same text as ASCII in `out` (room for kDoubleTextMax bytes); returns its length.
constexpr int kDoubleTextMax = 64;
int DoubleToChars(double value, char* out);

// Text the way a cell or a message shows it. Dates use the locale's short date
// form (with the time when it has one). Error 94 for Null.
QString ToText(const Variant& v);
// 32-bit Long: error 94 Null, 13 not numeric, 6 out of range.
qint32 ToLong(const Variant& v);
qint32 ToLong(double value);
double ToDouble(const Variant& v);
Currency ToCurrency(const Variant& v);
// Dates from dates, numbers (serials) and texts in the canonical or the locale's short form.
Date ToDate(const Variant& v);
bool ToBool(const Variant& v);

// True for a text that reads as a number ("42", "-7", " 2.5 ", "1E3"), for numbers and
// for Empty; false for Null, "N3", "" and any other text.
bool IsNumeric(const Variant& v);
bool IsNumericText(const QString& text);

// Parses a numeric text; returns false when it is not one.
bool ParseNumber(const QString& text, double* out);

}  // namespace BrevView::automation

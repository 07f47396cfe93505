#include "automation/conversions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include "automation/locale_info.h"
#include "automation/runtime_error.h"

namespace BrevView::automation {
namespace {

[[noreturn]] void RaiseNull()
{
    Raise(ErrInvalidUseOfNull);
}
[[noreturn]] void RaiseMismatch(const QString& text)
{
    Raise(ErrTypeMismatch, {}, QStringLiteral("Type mismatch: \"%1\" is not a number").arg(text.left(64)));
}

// "HH:mm:ss" of a second of the day.
QString TimeText(int secs)
{
    const int parts[3] = {secs / 3600, secs / 60 % 60, secs % 60};
    QString text(8, QLatin1Char(':'));
    for (int i = 0; i < 3; ++i) {
        text[3 * i] = QLatin1Char(char('0' + parts[i] / 10));
        text[3 * i + 1] = QLatin1Char(char('0' + parts[i] % 10));
    }
    return text;
}

QString DateToText(const Date& d)
{
    const int secs = d.SecondsOfDay();
    if (secs == 0)
        return automation::FormatShortDate(d.ToQDate());
    if (d.serial() >= 0 && d.serial() < 1)
        return TimeText(secs);  // a time without a date
    return automation::FormatShortDate(d.ToQDate()) + QLatin1Char(' ') + TimeText(secs);
}

}  // namespace

double RoundHalfEven(double value)
{
    return std::nearbyint(value);  // default rounding mode: to nearest, ties to even
}

int DoubleToChars(double value, char* out)
{
    auto literal = [out](const char* text) {
        const int n = int(std::strlen(text));
        std::memcpy(out, text, size_t(n));
        return n;
    };
    if (value == 0)
        return literal("0");
    if (!std::isfinite(value))
        return literal(std::isnan(value) ? "NaN" : (value > 0 ? "Infinity" : "-Infinity"));
    // Whole numbers below 1e15 (most money amounts) print as integers.
    if (std::fabs(value) < 1e15 && value == std::trunc(value))
        return int(std::to_chars(out, out + kDoubleTextMax, qint64(value)).ptr - out);
    // Amounts with cents: when value is exactly the double nearest to cents / 100, that
    // decimal (at most 15 digits) is the shortest text that reads back as value, so it is
    // written directly instead of searching for the shortest digits.
    if (std::fabs(value) < 1e13) {
        const qint64 cents = std::llround(value * 100);
        if (double(cents) / 100 == value) {
            int n = 0;
            qint64 a = cents < 0 ? -cents : cents;
            const int fraction = int(a % 100);
            a /= 100;
            char whole[20];
            int w = 0;
            do {
                whole[w++] = char('0' + a % 10);
                a /= 10;
            } while (a > 0);
            if (cents < 0)
                out[n++] = '-';
            while (w > 0)
                out[n++] = whole[--w];
            out[n++] = '.';
            out[n++] = char('0' + fraction / 10);
            if (fraction % 10 != 0)
                out[n++] = char('0' + fraction % 10);
            return n;
        }
    }
    char buf[64];
    // Shortest round-trip digits in scientific form: d.dddde[+-]x
    const auto res = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::scientific);
    const char* p = buf;
    const bool negative = *p == '-';
    if (negative)
        ++p;
    const char* end = res.ptr;
    const char* e = std::find(p, end, 'e');
    int exponent = 0;
    std::from_chars(e + 1 + (e[1] == '+' ? 1 : 0), end, exponent);
    char digits[32];
    int nd = 0;
    for (const char* q = p; q < e; ++q) {
        if (*q != '.')
            digits[nd++] = *q;
    }
    int n = 0;
    if (negative)
        out[n++] = '-';
    if (exponent >= 15 || exponent < -4) {
        out[n++] = digits[0];
        if (nd > 1) {
            out[n++] = '.';
            for (int i = 1; i < nd; ++i)
                out[n++] = digits[i];
        }
        n +=
            std::snprintf(out + n, size_t(kDoubleTextMax - n), "E%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
    } else if (exponent >= 0) {
        for (int i = 0; i <= exponent; ++i)
            out[n++] = i < nd ? digits[i] : '0';
        if (nd > exponent + 1) {
            out[n++] = '.';
            for (int i = exponent + 1; i < nd; ++i)
                out[n++] = digits[i];
        }
    } else {
        out[n++] = '0';
        out[n++] = '.';
        for (int i = 0; i < -exponent - 1; ++i)
            out[n++] = '0';
        for (int i = 0; i < nd; ++i)
            out[n++] = digits[i];
    }
    return n;
}

QString DoubleToText(double value)
{
    char text[kDoubleTextMax];
    return QString::fromLatin1(text, DoubleToChars(value, text));
}

bool ParseNumber(const QString& text, double* out)
{
    const QByteArray utf8 = text.trimmed().toUtf8();
    const char* p = utf8.constData();
    const char* end = p + utf8.size();
    if (p == end)
        return false;
    // Validate the shape first: sign, digits with at most one point, optional exponent.
    const char* q = p;
    if (*q == '+' || *q == '-')
        ++q;
    bool digits = false;
    while (q < end && *q >= '0' && *q <= '9') {
        ++q;
        digits = true;
    }
    if (q < end && *q == '.') {
        ++q;
        while (q < end && *q >= '0' && *q <= '9') {
            ++q;
            digits = true;
        }
    }
    if (!digits)
        return false;
    if (q < end && (*q == 'e' || *q == 'E')) {
        ++q;
        if (q < end && (*q == '+' || *q == '-'))
            ++q;
        bool expDigits = false;
        while (q < end && *q >= '0' && *q <= '9') {
            ++q;
            expDigits = true;
        }
        if (!expDigits)
            return false;
    }
    if (q != end)
        return false;
    const char* start = (*p == '+') ? p + 1 : p;
    double v = 0;
    const auto res = std::from_chars(start, end, v);
    if (res.ec == std::errc::result_out_of_range) {
        Raise(ErrOverflow);
    }
    if (res.ec != std::errc() || res.ptr != end)
        return false;
    *out = v;
    return true;
}

bool IsNumericText(const QString& text)
{
    double v = 0;
    try {
        return ParseNumber(text, &v);
    } catch (const RuntimeError&) {
        return true;  // a number, only too large for a double
    }
}

bool IsNumeric(const Variant& v)
{
    switch (v.type()) {
    case VarType::Null:
        return false;
    case VarType::String:
        return IsNumericText(v.stringValue());
    case VarType::Date:
        return false;
    default:
        return true;
    }
}

QString ToText(const Variant& v)
{
    switch (v.type()) {
    case VarType::Empty:
        return QString();
    case VarType::Null:
        RaiseNull();
    case VarType::Boolean:
        return v.boolValue() ? QStringLiteral("True") : QStringLiteral("False");
    case VarType::Long:
        return QString::number(v.longValue());
    case VarType::Double:
        return DoubleToText(v.doubleValue());
    case VarType::Currency:
        return v.currencyValue().ToText();
    case VarType::Date:
        return DateToText(v.dateValue());
    case VarType::String:
        return v.stringValue();
    }
    return QString();
}

qint32 ToLong(double value)
{
    if (!std::isfinite(value))
        Raise(ErrOverflow);
    const double r = RoundHalfEven(value);
    if (r < double(std::numeric_limits<qint32>::min()) || r > double(std::numeric_limits<qint32>::max()))
        Raise(ErrOverflow);
    return static_cast<qint32>(r);
}

double ToDouble(const Variant& v)
{
    switch (v.type()) {
    case VarType::Empty:
        return 0;
    case VarType::Null:
        RaiseNull();
    case VarType::Boolean:
        return v.boolValue() ? -1 : 0;
    case VarType::Long:
        return v.longValue();
    case VarType::Double:
        return v.doubleValue();
    case VarType::Currency:
        return v.currencyValue().ToDouble();
    case VarType::Date:
        return v.dateValue().serial();
    case VarType::String: {
        double d = 0;
        if (!ParseNumber(v.stringValue(), &d))
            RaiseMismatch(v.stringValue());
        return d;
    }
    }
    return 0;
}

qint32 ToLong(const Variant& v)
{
    switch (v.type()) {
    case VarType::Long:
        return v.longValue();
    case VarType::Currency: {
        // Round the exact ten-thousandths half to even without going through a double.
        const qint64 t = v.currencyValue().ticks();
        qint64 q = t / Currency::kScale;
        const qint64 r = t % Currency::kScale;
        if (r * 2 > Currency::kScale || (r * 2 == Currency::kScale && (q & 1)))
            ++q;
        else if (r * 2 < -Currency::kScale || (r * 2 == -Currency::kScale && (q & 1)))
            --q;
        if (q < std::numeric_limits<qint32>::min() || q > std::numeric_limits<qint32>::max())
            Raise(ErrOverflow);
        return static_cast<qint32>(q);
    }
    default:
        return ToLong(ToDouble(v));
    }
}

Currency ToCurrency(const Variant& v)
{
    switch (v.type()) {
    case VarType::Currency:
        return v.currencyValue();
    case VarType::Long:
        return Currency::FromLong(v.longValue());
    default:
        return Currency::FromDouble(ToDouble(v));
    }
}

Date ToDate(const Variant& v)
{
    switch (v.type()) {
    case VarType::Null:
        RaiseNull();
    case VarType::Date:
        return v.dateValue();
    case VarType::String: {
        Date d;
        if (Date::FromCanonicalText(v.stringValue(), &d))
            return d;
        QDate day;
        if (automation::ParseShortDate(v.stringValue(), &day))
            return Date::FromQDate(day);
        // A short date followed by a time, as DateToText writes it.
        const QString t = v.stringValue().trimmed();
        const qsizetype space = t.lastIndexOf(QLatin1Char(' '));
        if (space > 0 && automation::ParseShortDate(t.left(space), &day)) {
            const QTime time = QTime::fromString(t.mid(space + 1), QStringLiteral("HH:mm:ss"));
            if (time.isValid())
                return Date::FromParts(day.year(), day.month(), day.day(), time.hour(), time.minute(), time.second());
        }
        Raise(ErrTypeMismatch, {}, QStringLiteral("Type mismatch: \"%1\" is not a date").arg(v.stringValue().left(64)));
    }
    default: {
        const double serial = ToDouble(v);
        // The automation date range: years 100 to 9999.
        if (!(serial >= -657434.0 && serial < 2958466.0))
            Raise(ErrOverflow);
        return Date::FromSerial(serial);
    }
    }
}

bool ToBool(const Variant& v)
{
    switch (v.type()) {
    case VarType::Boolean:
        return v.boolValue();
    case VarType::String: {
        const QString s = v.stringValue().trimmed();
        if (s.compare(QStringLiteral("True"), Qt::CaseInsensitive) == 0)
            return true;
        if (s.compare(QStringLiteral("False"), Qt::CaseInsensitive) == 0)
            return false;
        return ToDouble(v) != 0;
    }
    default:
        return ToDouble(v) != 0;
    }
}

bool operator==(const Variant& a, const Variant& b)
{
    if (a.type() != b.type())
        return false;
    switch (a.type()) {
    case VarType::Empty:
    case VarType::Null:
        return true;
    case VarType::Boolean:
        return a.boolValue() == b.boolValue();
    case VarType::Long:
        return a.longValue() == b.longValue();
    case VarType::Double:
        return a.doubleValue() == b.doubleValue();
    case VarType::Currency:
        return a.currencyValue() == b.currencyValue();
    case VarType::Date:
        return a.dateValue() == b.dateValue();
    case VarType::String:
        return a.stringValue() == b.stringValue();
    }
    return false;
}

}  // namespace BrevView::automation

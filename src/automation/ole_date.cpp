#include "automation/ole_date.h"

#include <cmath>
#include <cstdio>

#include "automation/runtime_error.h"

namespace BrevView::automation {
namespace {

const qint64 kEpochJulianDay = QDate(1899, 12, 30).toJulianDay();

// Splits a serial into whole days (toward zero) and seconds of the day. Negative
// serials keep the time as a positive fraction: -1.25 is 29 Dec 1899 06:00.
void Split(double serial, qint64* days, int* seconds)
{
    double whole = std::trunc(serial);
    double frac = std::fabs(serial - whole);
    long long secs = std::llround(frac * 86400.0);
    if (secs >= 86400) {
        secs = 0;
        whole += serial < 0 ? -1 : 1;
    }
    *days = static_cast<qint64>(whole);
    *seconds = static_cast<int>(secs);
}

int Digits(const char* p, int n)
{
    int v = 0;
    for (int i = 0; i < n; ++i) {
        if (p[i] < '0' || p[i] > '9')
            return -1;
        v = v * 10 + (p[i] - '0');
    }
    return v;
}

// A day of the proleptic Gregorian calendar (as QDate counts it) as days after 1899-12-30,
// the serials' day zero, without building a QDate: dates are read for every IBO row.
bool IsCivilDay(int year, int month, int day)
{
    static const int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12 || day < 1)
        return false;
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return day <= kDays[month - 1] + (month == 2 && leap ? 1 : 0);
}

qint64 SerialDay(int year, int month, int day)
{
    const qint64 y = qint64(year) - (month <= 2 ? 1 : 0);
    const qint64 era = (y >= 0 ? y : y - 399) / 400;
    const qint64 yoe = y - era * 400;
    const qint64 doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const qint64 doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468 + 25569;  // days after 1970-01-01, then after 1899-12-30
}

}  // namespace

Date Date::FromParts(int year, int month, int day, int hour, int minute, int second)
{
    if (!IsCivilDay(year, month, day) || year < 100 || year > 9999)
        Raise(ErrOverflow, {},
              QStringLiteral("Overflow: %1-%2-%3 is not a date from year 100 to 9999").arg(year).arg(month).arg(day));
    const qint64 days = SerialDay(year, month, day);
    const double frac = (hour * 3600 + minute * 60 + second) / 86400.0;
    return FromSerial(days >= 0 ? double(days) + frac : double(days) - frac);
}

Date Date::FromQDate(const QDate& date)
{
    return FromParts(date.year(), date.month(), date.day());
}

Date Date::FromQDateTime(const QDateTime& dateTime)
{
    const QDate d = dateTime.date();
    const QTime t = dateTime.time();
    return FromParts(d.year(), d.month(), d.day(), t.hour(), t.minute(), t.second());
}

bool Date::FromCanonicalUtf8(const char* p, int n, Date* out)
{
    if (n != 10 && n != 19)
        return false;
    if (p[4] != '-' || p[7] != '-')
        return false;
    const int y = Digits(p, 4), mo = Digits(p + 5, 2), d = Digits(p + 8, 2);
    int h = 0, mi = 0, s = 0;
    if (n == 19) {
        if ((p[10] != ' ' && p[10] != 'T') || p[13] != ':' || p[16] != ':')
            return false;
        h = Digits(p + 11, 2);
        mi = Digits(p + 14, 2);
        s = Digits(p + 17, 2);
    }
    if (y < 100 || mo < 1 || d < 1 || h < 0 || h > 23 || mi < 0 || mi > 59 || s < 0 || s > 59)
        return false;
    if (!IsCivilDay(y, mo, d))
        return false;
    *out = FromParts(y, mo, d, h, mi, s);
    return true;
}

bool Date::FromCanonicalText(const QString& text, Date* out)
{
    const QByteArray utf8 = text.trimmed().toUtf8();
    return FromCanonicalUtf8(utf8.constData(), int(utf8.size()), out);
}

QDate Date::ToQDate() const
{
    qint64 days = 0;
    int secs = 0;
    Split(serial_, &days, &secs);
    return QDate::fromJulianDay(kEpochJulianDay + days);
}

int Date::SecondsOfDay() const
{
    qint64 days = 0;
    int secs = 0;
    Split(serial_, &days, &secs);
    return secs;
}

QDateTime Date::ToQDateTime() const
{
    return QDateTime(ToQDate(), QTime(0, 0).addSecs(SecondsOfDay()));
}

Date Date::AddDays(qint64 days) const
{
    const QDate d = ToQDate().addDays(days);
    const int s = SecondsOfDay();
    return FromParts(d.year(), d.month(), d.day(), s / 3600, (s / 60) % 60, s % 60);
}

qint64 Date::DaysTo(const Date& other) const
{
    return ToQDate().daysTo(other.ToQDate());
}

QString Date::ToCanonicalText() const
{
    const QDate d = ToQDate();
    const int secs = SecondsOfDay();
    char buf[32];
    const int n = std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", d.year(), d.month(), d.day(),
                                secs / 3600, (secs / 60) % 60, secs % 60);
    return QString::fromLatin1(buf, n);
}

bool operator<(const Date& a, const Date& b)
{
    const QDate da = a.ToQDate(), db = b.ToQDate();
    if (da != db)
        return da < db;
    return a.SecondsOfDay() < b.SecondsOfDay();
}

}  // namespace BrevView::automation

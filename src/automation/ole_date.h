#pragma once
// The automation Date: days since 30 December 1899 as a double, the fraction
// being the time of day. Calendar arithmetic works on whole days.

#include <QDate>
#include <QDateTime>
#include <QString>

namespace BrevView::automation {

class Date {
public:
    constexpr Date() = default;  // the zero date, 30 December 1899 00:00
    static constexpr Date FromSerial(double serial)
    {
        Date d;
        d.serial_ = serial;
        return d;
    }
    // Error 6 outside the years 100 to 9999.
    static Date FromParts(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);
    static Date FromQDate(const QDate& date);
    static Date FromQDateTime(const QDateTime& dateTime);
    // Reads the canonical storage form "yyyy-MM-dd HH:mm:ss" (also "yyyy-MM-dd" and
    // "yyyy-MM-ddTHH:mm:ss"); returns false when the text is not such a date.
    static bool FromCanonicalText(const QString& text, Date* out);
    static bool FromCanonicalUtf8(const char* text, int length, Date* out);

    constexpr double serial() const { return serial_; }
    QDate ToQDate() const;
    QDateTime ToQDateTime() const;
    int SecondsOfDay() const;
    bool HasTime() const { return SecondsOfDay() != 0; }
    int Year() const { return ToQDate().year(); }
    int Month() const { return ToQDate().month(); }
    int Day() const { return ToQDate().day(); }

    // The same calendar day at midnight.
    Date DateOnly() const { return FromQDate(ToQDate()); }
    Date AddDays(qint64 days) const;
    // Midnights crossed from this date to `other` (negative when `other` is earlier).
    qint64 DaysTo(const Date& other) const;
    // "yyyy-MM-dd HH:mm:ss", the form dates are stored in.
    QString ToCanonicalText() const;

    friend constexpr bool operator==(const Date& a, const Date& b) { return a.serial_ == b.serial_; }
    friend bool operator<(const Date& a, const Date& b);
    friend bool operator<=(const Date& a, const Date& b) { return !(b < a); }
    friend bool operator>(const Date& a, const Date& b) { return b < a; }
    friend bool operator>=(const Date& a, const Date& b) { return !(a < b); }

private:
    double serial_ = 0.0;
};

}  // namespace BrevView::automation

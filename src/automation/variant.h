#pragma once
// An automation Variant: Empty, Null, Boolean, Long, Double, Currency, Date or
// String, with the conversions of the automation runtime (see conversions.h).

#include <QString>
#include <QtGlobal>

#include "automation/currency.h"
#include "automation/ole_date.h"

namespace BrevView::automation {

enum class VarType { Empty, Null, Boolean, Long, Double, Currency, Date, String };

class Variant {
public:
    Variant() = default;
    static Variant Null()
    {
        Variant v;
        v.type_ = VarType::Null;
        return v;
    }
    Variant(bool b) : type_(VarType::Boolean) { u_.b = b; }
    Variant(qint32 l) : type_(VarType::Long) { u_.l = l; }
    Variant(double d) : type_(VarType::Double) { u_.d = d; }
    Variant(Currency c) : type_(VarType::Currency) { u_.c = c.ticks(); }
    Variant(Date d) : type_(VarType::Date) { u_.d = d.serial(); }
    Variant(QString s) : type_(VarType::String), s_(std::move(s)) {}
    Variant(const char* s) : type_(VarType::String), s_(QString::fromUtf8(s)) {}

    VarType type() const { return type_; }
    bool IsNull() const { return type_ == VarType::Null; }
    bool IsEmpty() const { return type_ == VarType::Empty; }

    // Raw access; only valid for the matching type.
    bool boolValue() const { return u_.b; }
    qint32 longValue() const { return u_.l; }
    double doubleValue() const { return u_.d; }
    Currency currencyValue() const { return Currency::FromTicks(u_.c); }
    Date dateValue() const { return Date::FromSerial(u_.d); }
    const QString& stringValue() const { return s_; }

    friend bool operator==(const Variant& a, const Variant& b);

private:
    VarType type_ = VarType::Empty;
    union {
        bool b;
        qint32 l;
        double d;
        qint64 c;
    } u_{};
    QString s_;
};

}  // namespace BrevView::automation

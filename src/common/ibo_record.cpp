#include "common/ibo_record.h"

#include "automation/conversions.h"
#include "automation/runtime_error.h"

namespace BrevView::detail {
namespace {

// A code as a Long; false for Null, true with the code otherwise. Raises for text
// that is not a number (the caller's ignore-errors handling catches it).
bool ReadCode(const automation::Variant& code, qint32* out)
{
    if (code.IsNull())
        return false;
    *out = automation::ToLong(code);
    return true;
}

template <size_t N>
QString Lookup(const automation::Variant& code, const QString (&labels)[N], qint32 first)
{
    static const QString kErr = QStringLiteral("ERR");
    try {
        qint32 c = 0;
        if (!ReadCode(code, &c))
            return kErr;
        if (c >= first && c < first + qint32(N))
            return labels[c - first];
        return kErr;
    } catch (const RuntimeError&) {
        return QString();
    }
}

}  // namespace

void FlatFieldIndices::Init()
{
    IboID = 0;
    IboNumber = 1;
    DateWWIH = 2;
    ConFirstName = 3;
    ConLastName = 4;
    ConCompany = 5;
    DescriptorUwwgi = 6;
    DescriptorUwih = 7;
    Product = 8;
    IboValueNumeric = 9;
    IboValueDecimal = 10;
    DescriptorStatus = 11;
    Note = 12;
}

void PriorityFieldIndices::Init()
{
    DateWWIH = 0;
    ConFirstName = 1;
    ConLastName = 2;
    ConCompany = 3;
    DescriptorUwwgi = 4;
    DescriptorUwih = 5;
    IboValueNumeric = 6;
    IboValueDecimal = 7;
    Product = 8;
    DateQualified = 9;
    IboID = 10;
    DescriptorPriority = 11;
    IboNumber = 12;
    Note = 13;
}

void ForecastFieldIndices::Init()
{
    IboID = 0;
    IboNumber = 1;
    DateWWIH = 2;
    ConFirstName = 3;
    ConLastName = 4;
    ConCompany = 5;
    DescriptorUwwgi = 6;
    DescriptorUwih = 7;
    Product = 8;
    IboValueNumeric = 9;
    IboValueDecimal = 10;
    Note = 13;
}

QString DescriptorLabel(const automation::Variant& code)
{
    static const QString kLabels[] = {QStringLiteral("Low"), QStringLiteral("Med"), QStringLiteral("High")};
    return Lookup(code, kLabels, 0);
}

QString StatusLabel(const automation::Variant& code)
{
    static const QString kLabels[] = {QStringLiteral("Open"), QStringLiteral("Won"), QStringLiteral("Lost"),
                                      QStringLiteral("Cancelled")};
    return Lookup(code, kLabels, 1);
}

QString ProductDisplayText(const QString& product)
{
    const qsizetype tilde = product.indexOf(QLatin1Char('~'));
    if (tilde >= 0)
        return product.left(tilde);
    if (product.size() < kProductDisplayMax)
        return product;
    return product.left(kProductDisplayMax);
}

automation::Variant IboValue(double numeric, double decimal)
{
    try {
        double cents = 0;
        // Any hundredths part from 0 up to (not including) 100 is taken as it is,
        // fractions too: 99.4 stays 99.4.
        if (decimal >= 0 && decimal < 100) {
            cents = decimal;
        } else {
            // Mod works on Longs: the remainder takes the dividend's sign.
            const qint32 whole = automation::ToLong(decimal);
            cents = whole % 100;
        }
        return automation::Variant(numeric + cents / 100.0);
    } catch (const RuntimeError&) {
        return automation::Variant(qint32(0));
    }
}

}  // namespace BrevView::detail

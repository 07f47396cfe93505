#pragma once
// The IBO record as the views read it: the field positions of each view's query,
// the descriptor and status labels, the product display text and the IBO value.

#include <QString>
#include <QtGlobal>

#include "automation/variant.h"

namespace BrevView::detail {

// Field positions of the flat view's two queries (their select order).
struct FlatFieldIndices {
    qint32 IboID = 0, IboNumber = 0, DateWWIH = 0, ConFirstName = 0, ConLastName = 0, ConCompany = 0,
           DescriptorUwwgi = 0, DescriptorUwih = 0, Product = 0, IboValueNumeric = 0, IboValueDecimal = 0,
           DescriptorStatus = 0, Note = 0;
    void Init();
};

// Field positions of the priority view's two queries.
struct PriorityFieldIndices {
    qint32 DateWWIH = 0, ConFirstName = 0, ConLastName = 0, ConCompany = 0, DescriptorUwwgi = 0, DescriptorUwih = 0,
           IboValueNumeric = 0, IboValueDecimal = 0, Product = 0, DateQualified = 0, IboID = 0, DescriptorPriority = 0,
           IboNumber = 0, Note = 0;
    void Init();
};

// Field positions of the forecast view's statement (DescriptorStatus and
// DateWonLostCancel are read by name).
struct ForecastFieldIndices {
    qint32 IboID = 0, IboNumber = 0, DateWWIH = 0, ConFirstName = 0, ConLastName = 0, ConCompany = 0,
           DescriptorUwwgi = 0, DescriptorUwih = 0, Product = 0, IboValueNumeric = 0, IboValueDecimal = 0, Note = 0;
    void Init();
};

// "Low", "Med", "High" for 0..2, "ERR" for any other code and for Null; an empty
// text when the code cannot be read as a number at all (the look-up ignores errors).
QString DescriptorLabel(const automation::Variant& code);
// "Open", "Won", "Lost", "Cancelled" for 1..4, "ERR" otherwise, as above.
QString StatusLabel(const automation::Variant& code);

// The part before the first "~"; without "~", the text itself cut to 255 characters.
constexpr int kProductDisplayMax = 255;
QString ProductDisplayText(const QString& product);

// IboValueNumeric + cents / 100, cents being IboValueDecimal when it lies in 0..99 (99.4
// included),
// else its Long conversion modulo 100 (sign of the dividend). A Double, or the Long
// 0 when the computation fails (a decimal part too large for a Long).
automation::Variant IboValue(double numeric, double decimal);

}  // namespace BrevView::detail

#include "common/probability.h"

#include "automation/conversions.h"
#include "automation/runtime_error.h"

namespace BrevView::detail {

void ProbabilityMatrix::Init()
{
    values_ = {10, 15, 25, 15, 40, 60, 25, 60, 80};
}

qint32 ProbabilityMatrix::Lookup(qint32 a, qint32 b) const
{
    // k = a * 3 + b + 1 with overflow checking; a failing step leaves k at 0.
    qint32 k = 0;
    qint32 t = 0;
    if (!__builtin_mul_overflow(a, 3, &t) && !__builtin_add_overflow(t, b, &t) && !__builtin_add_overflow(t, 1, &t))
        k = t;
    if (k < 1 || k > 9)
        return values_[0];
    return values_[size_t(k - 1)];
}

qint32 ProbabilityMatrix::Lookup(const automation::Variant& a, const automation::Variant& b) const
{
    try {
        return Lookup(automation::ToLong(a), automation::ToLong(b));
    } catch (const RuntimeError&) {
        return values_[0];
    }
}

QString PercentText(qint32 percent)
{
    static const std::array<QString, 101> kTexts = [] {
        std::array<QString, 101> texts;
        for (int i = 0; i <= 100; ++i)
            texts[size_t(i)] = QString::number(i);
        return texts;
    }();
    if (percent >= 0 && percent <= 100)
        return kTexts[size_t(percent)];
    return QString::number(percent);
}

automation::Currency WeightedValue(qint32 probability, double value)
{
    return automation::Currency::FromDouble(double(probability) / 100.0 * value);
}

}  // namespace BrevView::detail

#include "views/forecast/monthly_totals.h"

#include <QStringList>

#include "automation/runtime_error.h"

namespace BrevView::detail {

using automation::Currency;

namespace {
const Currency kOverflowed = Currency::FromTicks(-Currency::kScale);
}

void MonthlyTotals::Clear()
{
    rows_.clear();
    index_.clear();
}

void MonthlyTotals::AddMonth(const automation::Date& firstOfMonth, const QStringList& monthNames)
{
    const QDate d = firstOfMonth.ToQDate();
    MonthRow row;
    row.RowID = d.year() * 100 + d.month();
    row.Label =
        monthNames.value(d.month() - 1) + QStringLiteral(" - ") + QString::number(d.year()) + QStringLiteral("    ");
    index_.insert(row.RowID, int(rows_.size()));
    rows_.push_back(row);
}

MonthRow* MonthlyTotals::Find(qint32 rowId)
{
    const auto it = index_.constFind(rowId);
    return it == index_.constEnd() ? nullptr : &rows_[size_t(it.value())];
}

qint32 CalcRowIDFromDate(const automation::Date& d)
{
    const QDate day = d.ToQDate();
    return day.year() * 100 + day.month();
}

Currency AddToTotal(Currency total, double value)
{
    try {
        return total + Currency::FromDouble(value);
    } catch (const RuntimeError&) {
        return kOverflowed;
    }
}

Currency AddWeightedToTotal(Currency total, double value, qint32 percent)
{
    try {
        return total + Currency::FromDouble(double(percent) / 100.0 * value);
    } catch (const RuntimeError&) {
        return kOverflowed;
    }
}

void AddToGrand(Currency& grand, double value)
{
    if (grand.IsNegative())
        return;
    grand = AddToTotal(grand, value);
}

namespace {

// One plain and one weighted pair of a month: a negative field marks its grand total
// and is left as it is.
void AddPair(Currency& unweighted, Currency& weighted, Currency& grandUnweighted, Currency& grandWeighted, double value,
             qint32 percent)
{
    if (unweighted.IsNegative()) {
        grandUnweighted = kOverflowed;
    } else {
        unweighted = AddToTotal(unweighted, value);
        AddToGrand(grandUnweighted, value);
    }
    if (weighted.IsNegative()) {
        grandWeighted = kOverflowed;
    } else {
        weighted = AddWeightedToTotal(weighted, value, percent);
        AddToGrand(grandWeighted, double(percent) / 100.0 * value);
    }
}

}  // namespace

void AccumulateOpen(MonthRow& month, GrandTotals& grand, double value, qint32 probability)
{
    month.IboCount += 1;
    AddPair(month.UnweightedValTotal, month.WeightedValTotal, grand.unweightedOpen, grand.weightedOpen, value,
            probability);
    month.IboCountWon += 1;
    AddPair(month.UnweightedWonValTotal, month.WeightedWonValTotal, grand.unweightedOpenWon, grand.weightedOpenWon,
            value, probability);
}

void AccumulateWon(MonthRow& month, GrandTotals& grand, double value)
{
    month.IboCountWon += 1;
    AddPair(month.UnweightedWonValTotal, month.WeightedWonValTotal, grand.unweightedOpenWon, grand.weightedOpenWon,
            value, 100);
}

}  // namespace BrevView::detail

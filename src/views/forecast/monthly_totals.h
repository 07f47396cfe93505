#pragma once
// The forecast view's monthly totals table: one row per month from the first to the
// last month shown, in month order, found by RowID (year x 100 + month), with open
// and open-and-won counts and values, plain and weighted. A total that overflowed is
// -1 and stays -1.

#include <vector>

#include <QHash>
#include <QString>

#include "automation/currency.h"
#include "automation/ole_date.h"

namespace BrevView::detail {

struct MonthRow {
    qint32 RowID = 0;
    QString Label;
    qint32 IboCount = 0;
    automation::Currency UnweightedValTotal;
    automation::Currency WeightedValTotal;
    automation::Currency UnweightedWonValTotal;
    automation::Currency WeightedWonValTotal;
    qint32 IboCountWon = 0;
};

// The four grand totals over all months.
struct GrandTotals {
    automation::Currency unweightedOpen;
    automation::Currency weightedOpen;
    automation::Currency unweightedOpenWon;
    automation::Currency weightedOpenWon;
};

class MonthlyTotals {
public:
    void Clear();
    // Adds the month of `firstOfMonth` with zero figures.
    void AddMonth(const automation::Date& firstOfMonth, const QStringList& monthNames);
    // The row of `rowId`, or nullptr when the table has no such month.
    MonthRow* Find(qint32 rowId);
    const std::vector<MonthRow>& rows() const { return rows_; }
    bool empty() const { return rows_.empty(); }

private:
    std::vector<MonthRow> rows_;
    QHash<qint32, int> index_;
};

// year x 100 + month.
qint32 CalcRowIDFromDate(const automation::Date& d);
// total + value as Currency; -1 when the sum fails.
automation::Currency AddToTotal(automation::Currency total, double value);
// total + percent / 100 x value as Currency; -1 when it fails.
automation::Currency AddWeightedToTotal(automation::Currency total, double value, qint32 percent);
// Adds to a grand total only while it is not negative; -1 when the sum fails.
void AddToGrand(automation::Currency& grand, double value);

// Adds an open IBO (value, probability) to a month and to the grand totals.
void AccumulateOpen(MonthRow& month, GrandTotals& grand, double value, qint32 probability);
// Adds a won IBO (weighted at 100 percent) to the month's open-and-won figures.
void AccumulateWon(MonthRow& month, GrandTotals& grand, double value);

}  // namespace BrevView::detail

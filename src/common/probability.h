#pragma once
// The probability matrix: the chance in percent that an IBO closes, from its
// "Will It Happen?" (row) and "Will We Get It?" (column) codes.

#include <array>

#include <QString>
#include <QtGlobal>

#include "automation/currency.h"
#include "automation/variant.h"

namespace BrevView::detail {

class ProbabilityMatrix {
public:
    // Stores 10, 15, 25, 15, 40, 60, 25, 60, 80 in index order.
    void Init();
    // Element k - 1 for k = a * 3 + b + 1 in 1..9, element 0 (10) otherwise, also when
    // k overflows or a code cannot be read. An out-of-range pair whose k lands in
    // 1..9 reads that cell: (0, 3) is 15, (1, -1) is 25.
    qint32 Lookup(qint32 a, qint32 b) const;
    qint32 Lookup(const automation::Variant& a, const automation::Variant& b) const;
    const std::array<qint32, 9>& values() const { return values_; }

private:
    std::array<qint32, 9> values_{};
};

// A probability as the grids show it (its decimal text); the texts of 0 to 100 are made once.
QString PercentText(qint32 percent);

// probability / 100 * value in double precision, then to Currency (error 6 beyond its range).
automation::Currency WeightedValue(qint32 probability, double value);

}  // namespace BrevView::detail

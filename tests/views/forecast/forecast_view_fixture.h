#pragma once
// A ForecastView on a temporary database ($BREV_DATABASE), today pinned to 10 May 2024.

#include <memory>

#include <brevview/forecast_view.h>

#include "automation/conversions.h"
#include "grid/flex_grid.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"
#include "support/view_fixture.h"
#include "views/forecast/forecast_view_private.h"

namespace BrevView::test {

class ForecastViewTest : public ViewTest<ForecastView, ForecastViewPrivate>, public OnBothEngines {
protected:
    void SetUp() override
    {
        ViewTest::SetUp();
        PinToday(2024, 5, 10);
    }
    static Ibo Won(int id, const QString& wonDate)
    {
        return Ibo::Open(id, QStringLiteral("2030-01-01 00:00:00"))
            .Set(QStringLiteral("DescriptorStatus"), QStringLiteral("2"))
            .Text(QStringLiteral("DateWonLostCancel"), wonDate);
    }
    int Node(const QString& key) { return Grid().GetNode(key); }
    // The month keys of the month rows, top to bottom.
    QStringList MonthKeys()
    {
        QStringList keys;
        for (int r = 1; r < Grid().Rows(); ++r) {
            if (Grid().IsSubtotal(r) && Grid().RowOutlineLevel(r) == 1)
                keys << automation::ToText(Grid().RowDataValue(r)).mid(1);
        }
        return keys;
    }
};

}  // namespace BrevView::test

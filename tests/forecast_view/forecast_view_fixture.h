#pragma once
// A ForecastView on a temporary database ($BREV_DATABASE), today pinned to 10 May 2024.

#include <memory>

#include <brevview/forecast_view.h>

#include "forecast_view/forecast_view_private.h"
#include "platform/automation/conversions.h"
#include "platform/grid/flex_grid.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {

class ForecastViewTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        PinToday(2024, 5, 10);
        db_ = CreateIboDatabase();
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        UseRecordingTrace();
    }
    void TearDown() override
    {
        view_.reset();
        TestEnv::TearDown();
    }
    ForecastView& View()
    {
        if (!view_) {
            view_ = std::make_unique<ForecastView>();
            view_->resize(1300, 500);
        }
        return *view_;
    }
    grid::FlexGrid& Grid() { return *View().findChild<grid::FlexGrid*>(QStringLiteral("flexGrid")); }
    ForecastViewPrivate& Private() { return *ForecastViewPrivate::Of(&View()); }
    void Add(const Ibo& ibo) { Exec(db_, ibo.InsertSql()); }
    static Ibo Won(int id, const QString& wonDate)
    {
        return Ibo::Open(id, QStringLiteral("2030-01-01 00:00:00"))
            .Set(QStringLiteral("DescriptorStatus"), QStringLiteral("2"))
            .Text(QStringLiteral("DateWonLostCancel"), wonDate);
    }
    int RowOf(qint32 id) { return Grid().FindRowValue(automation::Variant(id)); }
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

    QString db_;
    std::unique_ptr<ForecastView> view_;
};

}  // namespace BrevView::test

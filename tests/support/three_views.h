#pragma once
// The three controls on one small pipeline, for the tests of what they share: a database
// with open IBOs of several priorities and months (one overdue), a won one and a lost one,
// today pinned to 5 March 2026, and the view made, sized and refreshed.

#include <memory>

#include <QDate>

#include <brevview/brevview.h>

#include "grid/flex_grid.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {

template <class V>
class ThreeViewsTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        PinToday(2026, 3, 5);
        db_ = CreateIboDatabase();
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        UseRecordingTrace();
        auto day = [](int days) {
            return QDate(2026, 3, 5).addDays(days).toString(QStringLiteral("yyyy-MM-dd 00:00:00"));
        };
        Exec(db_, Ibo::Open(1, day(-3)).InsertSql());  // overdue
        Exec(db_, Ibo::Open(2, day(10)).Set(QStringLiteral("IboValueNumeric"), QStringLiteral("1140381")).InsertSql());
        Exec(db_, Ibo::Open(3, day(40)).Set(QStringLiteral("DescriptorPriority"), QStringLiteral("2")).InsertSql());
        Exec(db_, Ibo::Open(4, day(70)).Set(QStringLiteral("DescriptorPriority"), QStringLiteral("3")).InsertSql());
        Exec(db_, Ibo::Open(5, day(12))
                      .Set(QStringLiteral("DescriptorStatus"), QStringLiteral("2"))
                      .Text(QStringLiteral("DateWonLostCancel"), day(-2))
                      .InsertSql());
        Exec(db_, Ibo::Open(6, day(20)).Set(QStringLiteral("DescriptorStatus"), QStringLiteral("3")).InsertSql());
        view_ = std::make_unique<V>();
        view_->resize(1300, 500);
        view_->Refresh();
    }
    void TearDown() override
    {
        view_.reset();
        TestEnv::TearDown();
    }
    V& View() { return *view_; }
    grid::FlexGrid& Grid() { return *view_->template findChild<grid::FlexGrid*>(QStringLiteral("flexGrid")); }
    int RowOf(qint32 id) { return Grid().FindRowValue(automation::Variant(id)); }
    // The first node row, or -1 (the flat view has none).
    int FirstNode()
    {
        for (int r = 1; r < Grid().Rows(); ++r) {
            if (Grid().IsSubtotal(r))
                return r;
        }
        return -1;
    }
    bool Outline() const { return !std::is_same_v<V, FlatView>; }
    // The columns a user sees: not hidden, not a placeholder.
    std::vector<int> ShownCols() { return Grid().ShownCols(); }

    QString db_;
    std::unique_ptr<V> view_;
};

using AllViews = ::testing::Types<FlatView, ForecastView, PriorityView>;

}  // namespace BrevView::test

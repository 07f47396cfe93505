#pragma once
// A PriorityView on a temporary database ($BREV_DATABASE), today pinned to 5 March 2026.

#include <memory>

#include <brevview/priority_view.h>

#include "platform/grid/flex_grid.h"
#include "priority_view/priority_view_private.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {

class PriorityViewTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        db_ = CreateIboDatabase();
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        UseRecordingTrace();
    }
    void TearDown() override
    {
        view_.reset();
        TestEnv::TearDown();
    }
    PriorityView& View()
    {
        if (!view_) {
            view_ = std::make_unique<PriorityView>();
            view_->resize(1400, 500);
        }
        return *view_;
    }
    grid::FlexGrid& Grid() { return *View().findChild<grid::FlexGrid*>(QStringLiteral("flexGrid")); }
    PriorityViewPrivate& Private() { return *PriorityViewPrivate::Of(&View()); }
    void Add(const Ibo& ibo) { Exec(db_, ibo.InsertSql()); }
    // "2026-03-05 00:00:00" shifted by `days`.
    static QString Day(int days, const QString& time = QStringLiteral("00:00:00"))
    {
        return QDate(2026, 3, 5).addDays(days).toString(QStringLiteral("yyyy-MM-dd ")) + time;
    }
    int RowOf(qint32 id) { return Grid().FindRowValue(automation::Variant(id)); }
    int NodeRow(int group) { return Grid().GetNode(QStringLiteral("N%1").arg(group)); }

    QString db_;
    std::unique_ptr<PriorityView> view_;
};

}  // namespace BrevView::test

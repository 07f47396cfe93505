#pragma once
// A PriorityView on a temporary database ($BREV_DATABASE), today pinned to 5 March 2026.

#include <memory>

#include <brevview/priority_view.h>

#include "grid/flex_grid.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"
#include "support/view_fixture.h"
#include "views/priority/priority_view_private.h"

namespace BrevView::test {

class PriorityViewTest : public ViewTest<PriorityView, PriorityViewPrivate>, public OnBothEngines {
protected:
    // "2026-03-05 00:00:00" shifted by `days`.
    static QString Day(int days, const QString& time = QStringLiteral("00:00:00"))
    {
        return QDate(2026, 3, 5).addDays(days).toString(QStringLiteral("yyyy-MM-dd ")) + time;
    }
    int NodeRow(int group) { return Grid().GetNode(QStringLiteral("N%1").arg(group)); }
};

}  // namespace BrevView::test

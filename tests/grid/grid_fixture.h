#pragma once
// A small outlined grid for the grid tests:
//   row 0 header; row 1 node "N0" (level 0); rows 2-3 data; row 4 node "N1" (level 0);
//   row 5 node "N11" (level 1); rows 6-7 data; row 8 data under N1.

#include <QApplication>

#include "grid/flex_grid.h"
#include "support/test_env.h"

namespace BrevView::test {

class GridTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        grid_ = std::make_unique<grid::FlexGrid>();
        grid_->resize(480, 320);
    }

    void FillOutline()
    {
        grid::FlexGrid& g = *grid_;
        g.setCols(3);
        g.setRows(9);
        g.setFixedRows(1);
        const char* header[] = {"Name", "Count", "Value"};
        for (int c = 0; c < 3; ++c)
            g.setTextMatrix(0, c, QString::fromLatin1(header[c]));
        auto node = [&](int r, const QString& key, const QString& text, int level) {
            g.setIsSubtotal(r, true);
            g.setRowOutlineLevel(r, level);
            g.setRowDataValue(r, automation::Variant(key));
            g.setTextMatrix(r, 0, text);
        };
        node(1, QStringLiteral("N0"), QStringLiteral("Overdues"), 0);
        node(4, QStringLiteral("N1"), QStringLiteral("Review First"), 0);
        node(5, QStringLiteral("N11"), QStringLiteral("Sub"), 1);
        for (int r : {2, 3, 6, 7, 8}) {
            g.setRowDataValue(r, automation::Variant(qint32(100 + r)));
            g.setTextMatrix(r, 0, QStringLiteral("Row %1").arg(r));
            g.setTextMatrix(r, 2, QString::number(r * 1000.5));
        }
    }

    std::unique_ptr<grid::FlexGrid> grid_;
};

}  // namespace BrevView::test

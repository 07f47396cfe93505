#pragma once
// What the view tests share: a temporary IBO database named through $BREV_DATABASE, a
// recording trace, and the view under test (made on first use) with its grid and its
// private members.

#include <memory>

#include "grid/flex_grid.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {

template <class V, class P>
class ViewTest : public TestEnv {
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
    V& View()
    {
        if (!view_) {
            view_ = std::make_unique<V>();
            view_->resize(1300, 500);
        }
        return *view_;
    }
    grid::FlexGrid& Grid() { return *View().template findChild<grid::FlexGrid*>(QStringLiteral("flexGrid")); }
    P& Private() { return *P::Of(&View()); }
    void Add(const Ibo& ibo, const QString& table = QStringLiteral("IboMain")) { Exec(db_, ibo.InsertSql(table)); }
    int RowOf(qint32 id) { return Grid().FindRowValue(automation::Variant(id)); }

    QString db_;
    std::unique_ptr<V> view_;
};

}  // namespace BrevView::test

#pragma once
// A FlatView on a temporary database named through $BREV_DATABASE, with a recording trace.

#include <memory>

#include <brevview/flat_view.h>

#include "flat_view/flat_view_private.h"
#include "platform/grid/flex_grid.h"
#include "platform/host/default_objects.h"
#include "platform/host/object_factory.h"
#include "common/view_preferences.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {

class FlatViewTest : public TestEnv {
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
    FlatView& View()
    {
        if (!view_) {
            view_ = std::make_unique<FlatView>();
            view_->resize(900, 400);
        }
        return *view_;
    }
    grid::FlexGrid& Grid() { return *View().findChild<grid::FlexGrid*>(QStringLiteral("flexGrid")); }
    FlatViewPrivate& Private() { return *FlatViewPrivate::Of(&View()); }
    // Counts the "BrevData.Setting" objects created from now on (in settingsCreated_).
    void CountSettingObjects()
    {
        host::ObjectFactory::Register(QStringLiteral("BrevData.Setting"), [this] {
            ++settingsCreated_;
            return std::make_shared<host::DefaultSettingStore>();
        });
    }
    static void SaveViewPreference(const QString& key, const QString& value) { detail::SaveViewPreference(key, value); }
    void Add(const Ibo& ibo, const QString& table = QStringLiteral("IboMain")) { Exec(db_, ibo.InsertSql(table)); }
    QStringList Column(int col)
    {
        QStringList out;
        for (int r = 1; r < Grid().Rows(); ++r)
            out << Grid().TextMatrix(r, col);
        return out;
    }

    QString db_;
    int settingsCreated_ = 0;
    std::unique_ptr<FlatView> view_;
};

}  // namespace BrevView::test

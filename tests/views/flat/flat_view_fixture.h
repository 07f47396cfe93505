#pragma once
// A FlatView on a temporary database named through $BREV_DATABASE, with a recording trace.

#include <memory>

#include <brevview/flat_view.h>

#include "common/view_preferences.h"
#include "grid/flex_grid.h"
#include "host/default_objects.h"
#include "host/object_factory.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"
#include "support/view_fixture.h"
#include "views/flat/flat_view_private.h"

namespace BrevView::test {

class FlatViewTest : public ViewTest<FlatView, FlatViewPrivate>, public OnBothEngines {
protected:
    // Counts the "BrevData.Setting" objects created from now on (in settingsCreated_).
    void CountSettingObjects()
    {
        host::ObjectFactory::Register(QStringLiteral("BrevData.Setting"), [this] {
            ++settingsCreated_;
            return std::make_shared<host::DefaultSettingStore>();
        });
    }
    static void SaveViewPreference(const QString& key, const QString& value) { detail::SaveViewPreference(key, value); }
    QStringList Column(int col)
    {
        QStringList out;
        for (int r = 1; r < Grid().Rows(); ++r)
            out << Grid().TextMatrix(r, col);
        return out;
    }

    int settingsCreated_ = 0;
};

}  // namespace BrevView::test

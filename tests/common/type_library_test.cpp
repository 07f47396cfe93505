#include <QMetaEnum>
#include <QRegularExpression>
#include <QSet>

#include <brevview/brevview.h>

#include "common/type_library.h"
#include "grid/flex_grid.h"
#include "views/flat/flat_view_fixture.h"

namespace BrevView::test {
namespace {

using detail::MemberKind;

class ControlInterfaceTest : public FlatViewTest {};

TEST(TypeLibraryTest, LibraryFacts)
{
    const auto& lib = detail::TypeLibrary();
    EXPECT_STREQ(lib.name, "BrevView");
    EXPECT_STREQ(lib.description, "Brev View Controls Library 2.1");
    EXPECT_EQ(lib.major, 3);
    EXPECT_EQ(lib.minor, 7);
    EXPECT_EQ(lib.lcid, 0x409);
    EXPECT_STREQ(lib.moduleName, "BrevView.ocx");
    EXPECT_STREQ(lib.fileVersion, "2.1.0.93");
    EXPECT_STREQ(lib.versionString, "2.01.0093");
    ASSERT_EQ(lib.classCount, 3);
    ASSERT_EQ(lib.eventCount, 2);
    EXPECT_EQ(lib.events[0].dispId, 1u);
    EXPECT_STREQ(lib.events[0].name, "IboEdit");
    EXPECT_EQ(lib.events[1].dispId, 2u);
    EXPECT_STREQ(lib.events[1].name, "RightClick");
}

TEST(TypeLibraryTest, EveryGuidIsDistinctAndWellFormed)
{
    const auto& lib = detail::TypeLibrary();
    QStringList guids{QString::fromLatin1(lib.guid)};
    for (int c = 0; c < lib.classCount; ++c) {
        const auto& cls = lib.classes[c];
        guids << QString::fromLatin1(cls.guid) << QString::fromLatin1(cls.defaultInterface.guid)
              << QString::fromLatin1(cls.eventInterfaceGuid);
        for (int a = 0; a < cls.aliasCount; ++a)
            guids << QString::fromLatin1(cls.aliases[a].guid);
    }
    for (int e = 0; e < lib.enumCount; ++e)
        guids << QString::fromLatin1(lib.enums[e].guid);
    EXPECT_EQ(guids.size(), 24);
    EXPECT_EQ(QSet<QString>(guids.begin(), guids.end()).size(), guids.size());
    const QRegularExpression re(QStringLiteral("^\\{[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\}$"));
    for (const QString& g : guids)
        EXPECT_TRUE(re.match(g).hasMatch()) << g.toStdString();
}

TEST(TypeLibraryTest, SlotOrdersAreConsecutiveAndVersionsAsReleased)
{
    const auto& lib = detail::TypeLibrary();
    const int expectedSlots[] = {16, 17, 13};
    const int expectedAliases[] = {2, 4, 4};
    for (int c = 0; c < lib.classCount; ++c) {
        const auto& itf = lib.classes[c].defaultInterface;
        ASSERT_EQ(itf.slotCount, expectedSlots[c]) << itf.name;
        for (int s = 0; s < itf.slotCount; ++s)
            EXPECT_EQ(itf.members[s].slot, s + 1) << itf.name;
        ASSERT_EQ(lib.classes[c].aliasCount, expectedAliases[c]);
        for (int a = 0; a < lib.classes[c].aliasCount; ++a) {
            EXPECT_EQ(lib.classes[c].aliases[a].major, 1);
            EXPECT_EQ(lib.classes[c].aliases[a].minor, a);
        }
    }
    EXPECT_STREQ(lib.classes[2].defaultInterface.members[10].member, "SetupViewForPrint");  // slot 11 of _FlatView
    EXPECT_STREQ(lib.classes[0].defaultInterface.members[14].member, "SetupViewForPrint");  // slot 15 of _PriorityView
}

TEST(TypeLibraryTest, EnumerationsMatchTheRegisteredOnes)
{
    const auto& lib = detail::TypeLibrary();
    const QMetaObject& mo = BrevView::staticMetaObject;
    for (int e = 0; e < lib.enumCount; ++e) {
        const int index = mo.indexOfEnumerator(lib.enums[e].name);
        ASSERT_GE(index, 0) << lib.enums[e].name;
        const QMetaEnum me = mo.enumerator(index);
        ASSERT_EQ(me.keyCount(), lib.enums[e].memberCount);
        for (int m = 0; m < lib.enums[e].memberCount; ++m) {
            EXPECT_STREQ(me.key(m), lib.enums[e].members[m].name);
            EXPECT_EQ(me.value(m), lib.enums[e].members[m].value);
        }
    }
    EXPECT_TRUE(mo.enumerator(mo.indexOfEnumerator("FlatViewFilterEnum")).isFlag());
    EXPECT_EQ(eFilterShowCancelled, 8);
    EXPECT_EQ(eWeightedForecast, 1);
    EXPECT_EQ(eSalesCycleUnitYears, 3);
}

TEST_F(ControlInterfaceTest, CreateControlByProgIdAndUnknownIsError429)
{
    std::unique_ptr<QWidget> w(CreateControl(QStringLiteral("BrevView.FlatView")));
    ASSERT_NE(qobject_cast<FlatView*>(w.get()), nullptr);
    EXPECT_NE(w->findChild<grid::FlexGrid*>(QStringLiteral("flexGrid")), nullptr);
    EXPECT_RUNTIME_ERROR(CreateControl(QStringLiteral("BrevView.NoSuchView")), 429);
}

// Walks the whole table for every control that can be created: each DISPID reaches
// the member of its name, through the current interface and through every alias.
TEST_F(ControlInterfaceTest, EveryDispIdReachesTheMemberOfItsName)
{
    Add(Ibo::Open(5, QStringLiteral("2026-03-09 00:00:00")));
    const auto& lib = detail::TypeLibrary();
    int walked = 0;
    for (int c = 0; c < lib.classCount; ++c) {
        const auto& cls = lib.classes[c];
        std::unique_ptr<QWidget> control;
        try {
            control.reset(CreateControl(QString::fromLatin1(cls.progId)));
        } catch (const RuntimeError& e) {
            ASSERT_EQ(e.number(), 429);
            continue;  // a control that is not built yet
        }
        control->resize(600, 300);
        ++walked;
        const QMetaObject* mo = control->metaObject();
        std::vector<const char*> interfaces{nullptr};
        for (int a = 0; a < cls.aliasCount; ++a)
            interfaces.push_back(cls.aliases[a].name);
        for (const char* itf : interfaces) {
            for (int s = 0; s < cls.defaultInterface.slotCount; ++s) {
                const detail::SlotDesc& slot = cls.defaultInterface.members[s];
                if (slot.kind == MemberKind::Method) {
                    bool found = false;
                    for (int m = 0; m < mo->methodCount(); ++m)
                        found = found || mo->method(m).name() == slot.member;
                    EXPECT_TRUE(found) << slot.member;
                } else {
                    const int p = mo->indexOfProperty(slot.member);
                    ASSERT_GE(p, 0) << slot.member;
                    if (slot.kind == MemberKind::Let) {
                        EXPECT_TRUE(mo->property(p).isWritable()) << slot.member;
                    }
                }
                // Read every property through its DISPID; writes and calls that are safe here too.
                if (slot.kind == MemberKind::Get) {
                    const QVariant viaDispId =
                        detail::InvokeByDispId(control.get(), slot.dispId, MemberKind::Get, {}, itf);
                    const QVariant viaName = control->property(slot.member);
                    EXPECT_EQ(viaDispId, viaName) << slot.member;
                }
            }
        }
        if (cls.name == QLatin1String("FlatView")) {
            // Let Filter = 10 through DISPID 0x68030000, read it back by name and by DISPID.
            detail::InvokeByDispId(control.get(), 0x68030000, MemberKind::Let, {10}, "FlatView___v2");
            EXPECT_EQ(control->property("Filter").toInt(), 10);
            EXPECT_EQ(detail::InvokeByDispId(control.get(), 0x68030000, MemberKind::Get).toInt(), 10);
            // Refresh (0x6003000f) and GotoIBO (0x60030005) by DISPID.
            detail::InvokeByDispId(control.get(), 0x60030004 + 11, MemberKind::Method);
            auto* grid = control->findChild<grid::FlexGrid*>(QStringLiteral("flexGrid"));
            EXPECT_EQ(grid->Rows(), 1);  // filter 10: no open IBO
            detail::InvokeByDispId(control.get(), 0x68030000, MemberKind::Let, {1});
            detail::InvokeByDispId(control.get(), 0x6003000f, MemberKind::Method);
            EXPECT_EQ(grid->Rows(), 2);
            detail::InvokeByDispId(control.get(), 0x60030005, MemberKind::Method, {5});
            EXPECT_EQ(grid->Row(), 1);
            EXPECT_RUNTIME_ERROR(detail::InvokeByDispId(control.get(), 0x6003000a, MemberKind::Method), 438);
            EXPECT_RUNTIME_ERROR(detail::InvokeByDispId(control.get(), 0x60030005, MemberKind::Method), 449);
            EXPECT_RUNTIME_ERROR(
                detail::InvokeByDispId(control.get(), 0x60030005, MemberKind::Method, {5}, "_PriorityView"), 13);
        }
    }
    EXPECT_GE(walked, 1);
}

TEST_F(ControlInterfaceTest, FlexGridHandleIsZeroBeforeTheWindowExists)
{
    EXPECT_EQ(View().FlexGridHWnd(), 0);
    View().show();
    EXPECT_NE(View().FlexGridHWnd(), 0);
}

}  // namespace
}  // namespace BrevView::test

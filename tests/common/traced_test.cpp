#include <thread>

#include "common/mod_init.h"
#include "common/traced.h"
#include "host/message_box.h"
#include "host/object_factory.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

using detail::Traced;

class TracedTest : public TestEnv {};

TEST_F(TracedTest, NormalPathEntersRunsAndExits)
{
    RecordingTrace& t = UseRecordingTrace();
    const int r = Traced(QStringLiteral("BrevView.FlatView::Refresh"), [&] {
        t.lines.append(QStringLiteral("body"));
        return 7;
    });
    EXPECT_EQ(r, 7);
    EXPECT_EQ(t.lines, (QStringList{QStringLiteral("ENTER BrevView.FlatView::Refresh"), QStringLiteral("body"),
                                    QStringLiteral("EXIT BrevView.FlatView::Refresh")}));
}

TEST_F(TracedTest, ErrorPathHandlesCleansUpAndRaisesAgainWithoutExit)
{
    RecordingTrace& t = UseRecordingTrace();
    try {
        Traced(
            QStringLiteral("BrevView.FlatView::Refresh"),
            [&] {
                t.lines.append(QStringLiteral("body"));
                throw RuntimeError(94, QStringLiteral("BrevView.Data"), QStringLiteral("Invalid use of Null"));
            },
            [&] { t.lines.append(QStringLiteral("cleanup")); });
        FAIL() << "no error raised";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 94);
        EXPECT_EQ(e.description(), QStringLiteral("Invalid use of Null"));
        EXPECT_EQ(e.source(), QStringLiteral("BrevView.Data"));
    }
    EXPECT_EQ(t.lines, (QStringList{QStringLiteral("ENTER BrevView.FlatView::Refresh"), QStringLiteral("body"),
                                    QStringLiteral("HANDLE 94"), QStringLiteral("cleanup")}));
}

TEST_F(TracedTest, ErrorIsRaisedAgainWithTheTracesLastErrorNumber)
{
    RecordingTrace& t = UseRecordingTrace();
    t.overrideLastError = 3024;
    EXPECT_RUNTIME_ERROR(Traced(QStringLiteral("p"), [] { throw RuntimeError(13); }), 3024);
}

TEST_F(TracedTest, NestedProceduresEachReportTheError)
{
    RecordingTrace& t = UseRecordingTrace();
    EXPECT_RUNTIME_ERROR(
        Traced(QStringLiteral("outer"), [] { Traced(QStringLiteral("inner"), [] { throw RuntimeError(6); }); }), 6);
    EXPECT_EQ(t.lines, (QStringList{QStringLiteral("ENTER outer"), QStringLiteral("ENTER inner"),
                                    QStringLiteral("HANDLE 6"), QStringLiteral("HANDLE 6")}));
}

TEST_F(TracedTest, OtherExceptionsBecomeNumberedErrors)
{
    UseRecordingTrace();
    EXPECT_RUNTIME_ERROR(Traced(QStringLiteral("p"), [] { throw std::bad_alloc(); }), 7);
    EXPECT_RUNTIME_ERROR(Traced(QStringLiteral("p"), [] { throw std::runtime_error("boom"); }), 51);
}

TEST_F(TracedTest, MainShowsTheMessageBoxAndRaisesAgainWhenTheTraceCannotBeCreated)
{
    std::vector<host::MessageBoxRequest> boxes;
    host::SetMessageBoxHandler([&](const host::MessageBoxRequest& r) { boxes.push_back(r); });
    host::ObjectFactory::Register(QStringLiteral("BrevTWrp.Trace"), {});
    modInit::ResetForTesting();
    EXPECT_RUNTIME_ERROR(modInit::Main(), 429);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].text, QStringLiteral("Could not create trace object. Module:BrevView.modInit::Main"));
    EXPECT_EQ(boxes[0].title, QStringLiteral("Automation error"));
    EXPECT_EQ(boxes[0].icon, host::MessageBoxIcon::Exclamation);
    EXPECT_TRUE(boxes[0].okButtonOnly);
    // No retry: every traced procedure now fails at its first trace call.
    bool ran = false;
    EXPECT_RUNTIME_ERROR(Traced(QStringLiteral("BrevView.FlatView::Refresh"), [&] { ran = true; }), 91);
    EXPECT_FALSE(ran);
    EXPECT_EQ(boxes.size(), 1u);
}

TEST_F(TracedTest, EachThreadGetsItsOwnTraceObject)
{
    int created = 0;
    host::ObjectFactory::Register(QStringLiteral("BrevTWrp.Trace"), [&] {
        ++created;
        return std::make_shared<RecordingTrace>();
    });
    modInit::ResetForTesting();
    host::ITrace* mine = modInit::TraceObject();
    EXPECT_EQ(modInit::TraceObject(), mine);
    host::ITrace* theirs = nullptr;
    std::thread worker([&] { theirs = modInit::TraceObject(); });
    worker.join();
    EXPECT_NE(theirs, nullptr);
    EXPECT_NE(theirs, mine);
    EXPECT_EQ(created, 2);
}

}  // namespace
}  // namespace BrevView::test

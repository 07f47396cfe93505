// A control's members called by Qt (queued calls, timers, connected signals) report their
// errors through ErrorRaised and lastError() instead of throwing into the event loop; the
// same members called directly still raise to their caller.

#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <brevview/brevview.h>

#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

template <class V>
class CallBoundaryTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        database_ = TempPath(QStringLiteral("later.db"));
        qputenv("BREV_DATABASE", database_.toLocal8Bit());  // not there yet
        UseRecordingTrace();
        view_ = std::make_unique<V>();
        view_->resize(900, 400);
        // The priority view reports its failed opening from the event loop: let it pass.
        QCoreApplication::processEvents();
    }
    void TearDown() override
    {
        view_.reset();
        TestEnv::TearDown();
    }
    void MakeDatabase()
    {
        const QString made = CreateIboDatabase(QStringLiteral("made.db"));
        Exec(made, Ibo::Open(7, QStringLiteral("2026-03-20 00:00:00")).InsertSql());
        ASSERT_TRUE(QFile::copy(made, database_));
    }
    // Runs the event loop until `spy` has a signal or a second has passed.
    static void WaitFor(QSignalSpy& spy)
    {
        for (int i = 0; i < 100 && spy.isEmpty(); ++i)
            QTest::qWait(10);
    }
    // The trace's lines from the last ENTER of `name` on.
    QStringList LinesFrom(const QString& name) const
    {
        const int at = int(trace_->lines.lastIndexOf(QStringLiteral("ENTER ") + name));
        return at < 0 ? QStringList() : trace_->lines.mid(at);
    }
    QString Name(const char* member) const
    {
        return QStringLiteral("BrevView.%1::%2")
            .arg(QString::fromLatin1(V::staticMetaObject.className()).section(QLatin1String("::"), -1),
                 QString::fromLatin1(member));
    }

    QString database_;
    std::unique_ptr<V> view_;
};

using Views = ::testing::Types<FlatView, ForecastView, PriorityView>;
TYPED_TEST_SUITE(CallBoundaryTest, Views);

TYPED_TEST(CallBoundaryTest, AQueuedRefreshOnAMissingDatabaseIsReportedAndTheNextCallWorks)
{
    TypeParam& view = *this->view_;
    QSignalSpy errors(&view, &TypeParam::ErrorRaised);
    ASSERT_TRUE(QMetaObject::invokeMethod(&view, "Refresh", Qt::QueuedConnection));
    this->WaitFor(errors);
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(errors.front().at(0).toInt(), 3024);
    EXPECT_FALSE(errors.front().at(2).toString().isEmpty());
    ASSERT_TRUE(view.lastError().has_value());
    EXPECT_EQ(view.lastError()->number(), 3024);
    // The trace says what a direct call's failure says: entered, handled, never left.
    const QStringList queued = this->LinesFrom(this->Name("Refresh"));
    EXPECT_FALSE(queued.contains(QStringLiteral("EXIT ") + this->Name("Refresh")));
    EXPECT_TRUE(queued.contains(QStringLiteral("HANDLE 3024")));
    EXPECT_RUNTIME_ERROR(view.Refresh(), 3024);
    EXPECT_EQ(this->LinesFrom(this->Name("Refresh")), queued);

    this->MakeDatabase();
    errors.clear();
    ASSERT_TRUE(QMetaObject::invokeMethod(&view, "Refresh", Qt::QueuedConnection));
    QCoreApplication::processEvents();
    EXPECT_TRUE(errors.isEmpty());
    EXPECT_FALSE(view.lastError().has_value());
    EXPECT_TRUE(this->trace_->lines.contains(QStringLiteral("EXIT ") + this->Name("Refresh")));
}

TYPED_TEST(CallBoundaryTest, SingleShotTimersOfRefreshAreReportedWithOrWithoutAnInterval)
{
    TypeParam& view = *this->view_;
    QSignalSpy errors(&view, &TypeParam::ErrorRaised);
    QTimer::singleShot(0, &view, &TypeParam::Refresh);
    this->WaitFor(errors);
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(errors.front().at(0).toInt(), 3024);

    errors.clear();
    QTimer::singleShot(5, &view, &TypeParam::Refresh);
    this->WaitFor(errors);
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(errors.front().at(0).toInt(), 3024);

    errors.clear();
    QTimer::singleShot(5, &view, SLOT(Refresh()));
    this->WaitFor(errors);
    ASSERT_EQ(errors.count(), 1);
}

TYPED_TEST(CallBoundaryTest, ASlotConnectedToASignalReportsInsteadOfThrowing)
{
    TypeParam& view = *this->view_;
    QSignalSpy errors(&view, &TypeParam::ErrorRaised);
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &view, &TypeParam::Refresh);
    timer.start(0);
    this->WaitFor(errors);
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(errors.front().at(0).toInt(), 3024);
}

TYPED_TEST(CallBoundaryTest, ADirectCallFromALambdaOfTheHostStillThrowsToIt)
{
    TypeParam& view = *this->view_;
    QSignalSpy errors(&view, &TypeParam::ErrorRaised);
    int caught = 0;
    QObject host;
    // The host's own slot calls the member and catches: the error reaches its catch.
    QTimer::singleShot(0, &host, [&] {
        try {
            view.Refresh();
        } catch (const RuntimeError& e) {
            caught = e.number();
        }
    });
    for (int i = 0; i < 100 && caught == 0; ++i)
        QTest::qWait(10);
    EXPECT_EQ(caught, 3024);
    EXPECT_TRUE(errors.isEmpty());
}

TYPED_TEST(CallBoundaryTest, QueuedPrintViewAndGotoIboSurviveAndTheNextCallWorks)
{
    TypeParam& view = *this->view_;
    qputenv("BREV_PRINT_TO_PDF", this->TempPath(QStringLiteral("print.pdf")).toLocal8Bit());
    QSignalSpy errors(&view, &TypeParam::ErrorRaised);
    this->trace_->failOn = this->Name("PrintView");
    ASSERT_TRUE(QMetaObject::invokeMethod(&view, "PrintView", Qt::QueuedConnection));
    this->WaitFor(errors);
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(errors.front().at(0).toInt(), 70);
    EXPECT_EQ(view.lastError()->number(), 70);
    this->trace_->failOn.clear();
    EXPECT_NO_THROW(view.PrintView());
    EXPECT_FALSE(view.lastError().has_value());
    EXPECT_TRUE(QFile::exists(this->TempPath(QStringLiteral("print.pdf"))));

    // GotoIBO ignores its errors: queued on a control without rows it does nothing at all.
    errors.clear();
    ASSERT_TRUE(QMetaObject::invokeMethod(&view, "GotoIBO", Qt::QueuedConnection, Q_ARG(qint32, 7)));
    QCoreApplication::processEvents();
    EXPECT_TRUE(errors.isEmpty());
    this->MakeDatabase();
    view.Refresh();
    ASSERT_TRUE(QMetaObject::invokeMethod(&view, "GotoIBO", Qt::QueuedConnection, Q_ARG(qint32, 7)));
    QCoreApplication::processEvents();
    EXPECT_EQ(view.GetSelection().template value<QList<qint32>>(), QList<qint32>{7});
    qunsetenv("BREV_PRINT_TO_PDF");
}

// Each property setter, made to fail by its own trace entry (or, for the flat view's
// filter, which is not traced, by the preferences it saves).
struct Setter {
    const char* property;
    QVariant value;
    const char* failingProcedure;
};

std::vector<Setter> SettersOf(const QObject& view)
{
    const QString name = QString::fromLatin1(view.metaObject()->className());
    if (name.endsWith(QLatin1String("FlatView")))
        return {{"ViewSource", 1, "ViewSource.PropertyLet"}, {"Filter", 3, "SaveViewPreferences"}};
    if (name.endsWith(QLatin1String("ForecastView")))
        return {{"ForecastMode", 1, "PropLet:ForecastMode"},
                {"ShowWonIBOs", true, "ShowWonIBOs"},
                {"ShowWonDateRange", 2, "ShowWonDateRange"}};
    return {{"SalesCycleRangeValue", 5, "PropertyLet:SalesCycleRangeValue"},
            {"SalesCycleRangeUnits", 1, "PropertyLet:SalesCycleRangeUnits"}};
}

TYPED_TEST(CallBoundaryTest, EveryPropertySetterCalledFromTheEventLoopReportsItsError)
{
    TypeParam& view = *this->view_;
    QSignalSpy errors(&view, &TypeParam::ErrorRaised);
    for (const Setter& s : SettersOf(view)) {
        SCOPED_TRACE(s.property);
        errors.clear();
        this->trace_->failOn = this->Name(s.failingProcedure);
        QTimer::singleShot(0, &view, [&view, s] { view.setProperty(s.property, s.value); });
        this->WaitFor(errors);
        ASSERT_EQ(errors.count(), 1);
        EXPECT_EQ(errors.front().at(0).toInt(), 70);
        EXPECT_EQ(view.lastError()->number(), 70);
        // Called directly, the same failure reaches the caller.
        EXPECT_RUNTIME_ERROR(view.setProperty(s.property, s.value), 70);
        // And once the cause has gone, the setter works again.
        this->trace_->failOn.clear();
        errors.clear();
        ASSERT_TRUE(QMetaObject::invokeMethod(
            &view, [&view, s] { view.setProperty(s.property, s.value); }, Qt::QueuedConnection));
        QCoreApplication::processEvents();
        EXPECT_TRUE(errors.isEmpty());
        EXPECT_EQ(view.property(s.property), s.value);
        EXPECT_FALSE(view.lastError().has_value());
    }
}

TEST(CallBoundaryFactory, APriorityViewMadeByCreateControlOnAMissingDatabaseIsMadeAndReports)
{
    QTemporaryDir dir;
    qputenv("XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config")).toLocal8Bit());
    qputenv("BREV_DATABASE", dir.filePath(QStringLiteral("none.db")).toLocal8Bit());
    std::unique_ptr<QWidget> control;
    EXPECT_NO_THROW(control.reset(CreateControl(QStringLiteral("BrevView.PriorityView"))));
    auto* view = qobject_cast<PriorityView*>(control.get());
    ASSERT_NE(view, nullptr);
    QSignalSpy errors(view, &PriorityView::ErrorRaised);
    QCoreApplication::processEvents();
    ASSERT_EQ(errors.count(), 1);
    EXPECT_EQ(errors.front().at(0).toInt(), 3024);
    EXPECT_EQ(view->lastError()->number(), 3024);
    qunsetenv("BREV_DATABASE");
}

}  // namespace
}  // namespace BrevView::test

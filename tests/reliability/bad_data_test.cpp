#include <brevview/brevview.h>

#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

class BadDataTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        PinToday(2026, 3, 5);
        db_ = CreateIboDatabase();
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        UseRecordingTrace();
    }
    void Add(const Ibo& ibo) { Exec(db_, ibo.InsertSql()); }
    static QWidget* Grid(QWidget& view) { return view.findChild<QWidget*>(QStringLiteral("flexGrid")); }
    static QString Text(QWidget& view, int row, int col)
    {
        QString t;
        QMetaObject::invokeMethod(Grid(view), "TextMatrix", Q_RETURN_ARG(QString, t), Q_ARG(int, row), Q_ARG(int, col));
        return t;
    }
    static int Rows(QWidget& view) { return Grid(view)->property("Rows").toInt(); }
    QString db_;
};

TEST_F(BadDataTest, NullInEveryFieldGivesLabelsOrNumberedErrorsNeverACrash)
{
    const QStringList fields{
        "IboID",      "IboNumber",       "DateWWIH",        "ConFirstName",       "ConLastName",
        "ConCompany", "DescriptorUwwgi", "DescriptorUwih",  "DescriptorPriority", "DescriptorStatus",
        "Product",    "IboValueNumeric", "IboValueDecimal", "DateQualified",      "DateWonLostCancel",
        "Note"};
    for (const QString& field : fields) {
        Exec(db_, QStringLiteral("DELETE FROM IboMain"));
        Add(Ibo::Open(1, QStringLiteral("2026-04-01 00:00:00")).Set(field, QStringLiteral("NULL")));
        for (const char* progId : {"BrevView.FlatView", "BrevView.PriorityView", "BrevView.ForecastView"}) {
            std::unique_ptr<QWidget> view(CreateControl(QString::fromLatin1(progId)));
            try {
                QMetaObject::invokeMethod(view.get(), "Refresh");
            } catch (const RuntimeError& e) {
                EXPECT_TRUE(e.number() == 94 || e.number() == 13)
                    << progId << " " << field.toStdString() << ": " << e.number();
            }
        }
    }
    // The descriptors show ERR when Null.
    Exec(db_, QStringLiteral("DELETE FROM IboMain"));
    Add(Ibo::Open(1, QStringLiteral("2026-04-01 00:00:00"))
            .Set(QStringLiteral("DescriptorUwih"), QStringLiteral("NULL")));
    FlatView flat;
    flat.Refresh();
    EXPECT_EQ(Text(flat, 1, 6), QStringLiteral("ERR"));
}

TEST_F(BadDataTest, HugeAndNonAsciiTextsAreShownWhole)
{
    const QString note = QString(300000, QLatin1Char('n')) + QStringLiteral(" Ærøskøbing ✓ 東京");
    Add(Ibo::Open(1, QStringLiteral("2026-04-01 00:00:00"))
            .Text(QStringLiteral("Note"), note)
            .Text(QStringLiteral("Product"), QString(5000, QLatin1Char('p')))
            .Text(QStringLiteral("ConLastName"), QStringLiteral("Øster-Łęcka")));
    FlatView flat;
    flat.Refresh();
    EXPECT_EQ(Text(flat, 1, 11), note);
    EXPECT_EQ(Text(flat, 1, 9).size(), 255);
    EXPECT_EQ(Text(flat, 1, 3), QStringLiteral("Øster-Łęcka"));
}

TEST_F(BadDataTest, DatesAtYear100And9999)
{
    Add(Ibo::Open(1, QStringLiteral("0100-01-01 00:00:00"))
            .Text(QStringLiteral("DateQualified"), QStringLiteral("0100-01-01 00:00:00")));
    Add(Ibo::Open(2, QStringLiteral("9999-12-31 00:00:00")));
    FlatView flat;
    flat.Refresh();
    ASSERT_EQ(Rows(flat), 3);
    EXPECT_EQ(Text(flat, 1, 2), QStringLiteral("1/1/00"));
    PriorityView priority;
    priority.Refresh();
    priority.ExpandAllNodes();
    EXPECT_EQ(Rows(priority), 9);
}

TEST_F(BadDataTest, ValuesAtTheCurrencyLimitsOverflowIntoTheMarker)
{
    Add(Ibo::Open(1, QStringLiteral("2026-04-01 00:00:00"))
            .Set(QStringLiteral("IboValueNumeric"), QStringLiteral("922337203685477"))
            .Set(QStringLiteral("IboValueDecimal"), QStringLiteral("58")));
    Add(Ibo::Open(2, QStringLiteral("2026-04-02 00:00:00"))
            .Set(QStringLiteral("IboValueNumeric"), QStringLiteral("-922337203685477")));
    Add(Ibo::Open(3, QStringLiteral("2026-04-03 00:00:00"))
            .Set(QStringLiteral("IboValueNumeric"), QStringLiteral("900000000000000")));
    PriorityView priority;
    priority.Refresh();  // no crash; the first group's total is the marker
    bool marked = false;
    for (int r = 1; r < Rows(priority); ++r)
        marked = marked || Text(priority, r, 11) == QStringLiteral("**********");
    EXPECT_TRUE(marked);
    ForecastView forecast;
    try {
        forecast.Refresh();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 6);  // a weighted amount beyond the Currency range
    }
}

TEST_F(BadDataTest, DuplicateIboIdsAreBothShownAndGotoFindsTheFirst)
{
    Add(Ibo::Open(7, QStringLiteral("2026-04-01 00:00:00")));
    Add(Ibo::Open(7, QStringLiteral("2026-04-02 00:00:00")).Text(QStringLiteral("IboNumber"), QStringLiteral("TWIN")));
    FlatView flat;
    flat.Refresh();
    EXPECT_EQ(Rows(flat), 3);
    flat.GotoIBO(7);
    EXPECT_EQ(Grid(flat)->property("Row").toInt(), 1);
    EXPECT_EQ(flat.GetSelection().value<QList<qint32>>(), QList<qint32>{7});
}

}  // namespace
}  // namespace BrevView::test

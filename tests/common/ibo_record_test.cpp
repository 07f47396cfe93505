#include "common/ibo_record.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

using automation::Variant;
using detail::DescriptorLabel;
using detail::IboValue;
using detail::ProductDisplayText;
using detail::StatusLabel;

TEST(IboRecordTest, DescriptorLabelsAndOutOfRangeCodesShowErr)
{
    EXPECT_EQ(DescriptorLabel(Variant(qint32(0))), QStringLiteral("Low"));
    EXPECT_EQ(DescriptorLabel(Variant(qint32(1))), QStringLiteral("Med"));
    EXPECT_EQ(DescriptorLabel(Variant(qint32(2))), QStringLiteral("High"));
    EXPECT_EQ(DescriptorLabel(Variant(qint32(3))), QStringLiteral("ERR"));
    EXPECT_EQ(DescriptorLabel(Variant(qint32(-1))), QStringLiteral("ERR"));
    EXPECT_EQ(DescriptorLabel(Variant::Null()), QStringLiteral("ERR"));
    // A code that is no number makes the look-up's statement fail: an empty result.
    EXPECT_EQ(DescriptorLabel(Variant("x")), QString());
}

TEST(IboRecordTest, StatusLabelsAndOutOfRangeCodesShowErr)
{
    EXPECT_EQ(StatusLabel(Variant(qint32(1))), QStringLiteral("Open"));
    EXPECT_EQ(StatusLabel(Variant(qint32(2))), QStringLiteral("Won"));
    EXPECT_EQ(StatusLabel(Variant(qint32(3))), QStringLiteral("Lost"));
    EXPECT_EQ(StatusLabel(Variant(qint32(4))), QStringLiteral("Cancelled"));
    EXPECT_EQ(StatusLabel(Variant(qint32(0))), QStringLiteral("ERR"));
    EXPECT_EQ(StatusLabel(Variant(qint32(5))), QStringLiteral("ERR"));
    EXPECT_EQ(StatusLabel(Variant(qint32(99))), QStringLiteral("ERR"));
}

TEST(IboRecordTest, ProductDisplayTextTakesTheFirstEntry)
{
    EXPECT_EQ(ProductDisplayText(QStringLiteral("Widget~Gadget~Gizmo")), QStringLiteral("Widget"));
    EXPECT_EQ(ProductDisplayText(QStringLiteral("~Gadget")), QString());
    EXPECT_EQ(ProductDisplayText(QStringLiteral("Plain")), QStringLiteral("Plain"));
    const QString long300(300, QLatin1Char('p'));
    EXPECT_EQ(ProductDisplayText(long300), long300.left(255));
    EXPECT_EQ(ProductDisplayText(QString(254, QLatin1Char('q'))).size(), 254);
    // The 255 limit applies only without "~".
    const QString longWithTilde = QString(300, QLatin1Char('a')) + QStringLiteral("~b");
    EXPECT_EQ(ProductDisplayText(longWithTilde).size(), 300);
}

TEST(IboRecordTest, IboValueCents)
{
    EXPECT_EQ(IboValue(1000, 50), Variant(1000.5));
    EXPECT_EQ(IboValue(10, 150), Variant(10.5));              // 150 mod 100 = 50
    EXPECT_EQ(IboValue(10, 3e12), Variant(qint32(0)));        // the Long conversion overflows
    EXPECT_EQ(IboValue(10, 99.4), Variant(10 + 99.4 / 100));  // within 0..99: kept as it is
    EXPECT_EQ(IboValue(10, -5), Variant(10 - 0.05));          // -5 mod 100 = -5
    EXPECT_EQ(IboValue(10, 100.5), Variant(10.0));            // 100.5 -> 100 (half to even) mod 100 = 0
    EXPECT_EQ(IboValue(10, 250.5), Variant(10.5));            // 250.5 -> 250 (half to even) mod 100 = 50
    EXPECT_EQ(IboValue(0, 0).type(), automation::VarType::Double);
}

TEST(IboRecordTest, FieldIndicesFollowEachViewsQuery)
{
    detail::FlatFieldIndices flat;
    flat.Init();
    EXPECT_EQ(flat.IboID, 0);
    EXPECT_EQ(flat.DateWWIH, 2);
    EXPECT_EQ(flat.DescriptorUwih, 7);
    EXPECT_EQ(flat.DescriptorStatus, 11);
    EXPECT_EQ(flat.Note, 12);
    detail::PriorityFieldIndices pri;
    pri.Init();
    EXPECT_EQ(pri.DateWWIH, 0);
    EXPECT_EQ(pri.DateQualified, 9);
    EXPECT_EQ(pri.IboID, 10);
    EXPECT_EQ(pri.Note, 13);
    detail::ForecastFieldIndices fc;
    fc.Init();
    EXPECT_EQ(fc.IboValueDecimal, 10);
    EXPECT_EQ(fc.Note, 13);
}

}  // namespace
}  // namespace BrevView::test

#include "data/sql_dialect.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

using data::TranslateJetSql;

TEST(SqlDialectTest, DateLiteralsBecomeCanonicalText)
{
    EXPECT_EQ(TranslateJetSql(QStringLiteral("DateWWIH>=#05/10/2024#")),
              QStringLiteral("DateWWIH>='2024-05-10 00:00:00'"));
    EXPECT_EQ(TranslateJetSql(QStringLiteral("d < #5/1/2024 5:45 PM#")), QStringLiteral("d < '2024-05-01 17:45:00'"));
    EXPECT_RUNTIME_ERROR(TranslateJetSql(QStringLiteral("d < #13/45/2024#")), 3129);
    EXPECT_RUNTIME_ERROR(TranslateJetSql(QStringLiteral("d < #05/10/2024")), 3129);
}

TEST(SqlDialectTest, BracketedAndQualifiedNames)
{
    EXPECT_EQ(TranslateJetSql(QStringLiteral("[IboMain].[DescriptorUwih] DESC")),
              QStringLiteral("\"DescriptorUwih\" DESC"));
    EXPECT_EQ(TranslateJetSql(QStringLiteral("IboMain.DescriptorUwwgi DESC")), QStringLiteral("DescriptorUwwgi DESC"));
    EXPECT_EQ(TranslateJetSql(QStringLiteral("[Weird Name]")), QStringLiteral("\"Weird Name\""));
    EXPECT_EQ(TranslateJetSql(QStringLiteral("x = 1.5")), QStringLiteral("x = 1.5"));
}

TEST(SqlDialectTest, BooleansFunctionsOperatorsAndStrings)
{
    EXPECT_EQ(TranslateJetSql(QStringLiteral("((RecStatusArchive = False) And (RecStatusDelete = True))")),
              QStringLiteral("((RecStatusArchive = 0) And (RecStatusDelete = 1))"));
    EXPECT_EQ(TranslateJetSql(QStringLiteral("Year([DateWWIH])*12+Month(DateWWIH)")),
              QStringLiteral("brev_year(\"DateWWIH\")*12+brev_month(DateWWIH)"));
    EXPECT_EQ(TranslateJetSql(QStringLiteral("DateWWIH < Date()")), QStringLiteral("DateWWIH < brev_date()"));
    EXPECT_EQ(TranslateJetSql(QStringLiteral("a Mod 3 & \"x\"")), QStringLiteral("a % 3 || 'x'"));
    EXPECT_EQ(TranslateJetSql(QStringLiteral("n = 'it''s [not] #a# date'")),
              QStringLiteral("n = 'it''s [not] #a# date'"));
    EXPECT_EQ(TranslateJetSql(QStringLiteral("n = \"say \"\"hi\"\" it's\"")), QStringLiteral("n = 'say \"hi\" it''s'"));
    EXPECT_RUNTIME_ERROR(TranslateJetSql(QStringLiteral("n = 'open")), 3129);
}

TEST(SqlDialectTest, ParametersAndTrailingSemicolon)
{
    EXPECT_EQ(TranslateJetSql(QStringLiteral("WHERE DescriptorPriority = @Priority ORDER BY DateWWIH;  ")),
              QStringLiteral("WHERE DescriptorPriority = @Priority ORDER BY DateWWIH"));
    // A parameter whose name is a function's is not translated.
    EXPECT_EQ(TranslateJetSql(QStringLiteral("x = @Date")), QStringLiteral("x = @Date"));
}

TEST(SqlDialectTest, ForecastSortTranslates)
{
    const QString sort = QStringLiteral(
        "((Year([DateWWIH])*12)+Month([DateWWIH])), ([DescriptorUwwgi]*[IboMain].[DescriptorUwih] + "
        "(([DescriptorStatus]-1)*20) ) DESC , IboMain.DescriptorUwih DESC , IboMain.DescriptorUwwgi DESC , "
        "IboMain.IboValueNumeric DESC");
    EXPECT_EQ(TranslateJetSql(sort),
              QStringLiteral(
                  "((brev_year(\"DateWWIH\")*12)+brev_month(\"DateWWIH\")), (\"DescriptorUwwgi\"*\"DescriptorUwih\" + "
                  "((\"DescriptorStatus\"-1)*20) ) DESC , DescriptorUwih DESC , DescriptorUwwgi DESC , "
                  "IboValueNumeric DESC"));
}

}  // namespace
}  // namespace BrevView::test

#include <sqlite3.h>

#include "data/engines/sqlite/sqlite_connection.h"
#include "data_fixture.h"

namespace BrevView::test {
namespace {

using data::dbOpenDynaset;
using data::dbOpenForwardOnly;
using data::dbOpenSnapshot;

QList<int> Ids(data::Recordset& rs, int field = 0)
{
    QList<int> ids;
    for (; !rs.Eof(); rs.MoveNext())
        ids.append(rs.Field(field).longValue());
    return ids;
}

TEST_P(DataTest, SnapshotNavigation)
{
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT IboID, IboNumber FROM IboMain ORDER BY IboID"), dbOpenSnapshot);
    EXPECT_FALSE(rs->Bof());
    EXPECT_FALSE(rs->Eof());
    EXPECT_EQ(rs->Field(0).longValue(), 1);
    rs->MoveLast();
    EXPECT_EQ(rs->Field(QStringLiteral("IboNumber")).stringValue(), QStringLiteral("A-5"));
    EXPECT_EQ(rs->RecordCount(), 5);
    rs->MoveNext();
    EXPECT_TRUE(rs->Eof());
    EXPECT_RUNTIME_ERROR(rs->Field(0), 3021);
    EXPECT_RUNTIME_ERROR(rs->MoveNext(), 3021);
    rs->MoveFirst();
    EXPECT_EQ(rs->Field(0).longValue(), 1);
    rs->MovePrevious();
    EXPECT_TRUE(rs->Bof());
}

// Counts its calls: a statement ordered by it calls it once per row each time it runs.
void CountingKey(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    ++*static_cast<int*>(sqlite3_user_data(ctx));
    sqlite3_result_value(ctx, argv[0]);
}

TEST_P(DataTest, SnapshotGoingToItsLastRecordFromTheFirstRunsTheStatementOnceCountedByAnSQLiteFunction)
{
    int calls = 0;
    sqlite3_create_function(static_cast<data::SqliteConnection&>(*db_->connection()).handle(), "counting_key", 1,
                            SQLITE_UTF8, &calls, CountingKey, nullptr, nullptr);
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain ORDER BY counting_key(IboNumber) DESC"),
                                 dbOpenSnapshot);
    EXPECT_EQ(rs->Field(0).longValue(), 5);
    rs->MoveLast();
    EXPECT_EQ(rs->Field(0).longValue(), 1);
    rs->MoveFirst();
    EXPECT_EQ(Ids(*rs), (QList<int>{5, 4, 3, 2, 1}));
    EXPECT_EQ(calls, 5);

    // Once records have been passed without being kept, going back reads the statement again.
    calls = 0;
    auto again = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain ORDER BY counting_key(IboNumber)"),
                                    dbOpenSnapshot);
    again->MoveNext();
    again->MoveNext();
    EXPECT_EQ(again->Field(0).longValue(), 3);
    again->MoveFirst();
    EXPECT_EQ(Ids(*again), (QList<int>{1, 2, 3, 4, 5}));
    EXPECT_EQ(calls, 10);
}

TEST_P(DataTest, EmptyRecordsetIsAtBothEnds)
{
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain WHERE IboID > 99"), dbOpenSnapshot);
    EXPECT_TRUE(rs->Bof());
    EXPECT_TRUE(rs->Eof());
    EXPECT_RUNTIME_ERROR(rs->MoveFirst(), 3021);
}

TEST_P(DataTest, FieldsByPositionAndNameWithTypes)
{
    auto rs = db_->OpenRecordset(
        QStringLiteral(
            "SELECT IboID, DateWWIH, ConLastName, IboValueNumeric, RecStatusArchive FROM IboMain WHERE IboID = 5"),
        dbOpenSnapshot);
    EXPECT_EQ(rs->FieldCount(), 5);
    EXPECT_EQ(rs->FieldName(2), QStringLiteral("ConLastName"));
    EXPECT_EQ(rs->Field(0).type(), automation::VarType::Long);
    EXPECT_EQ(rs->Field(1).type(), automation::VarType::Date);
    EXPECT_EQ(rs->Field(1).dateValue(), automation::Date::FromParts(2024, 5, 8, 9, 0));
    EXPECT_TRUE(rs->Field(QStringLiteral("conlastname")).IsNull());
    EXPECT_EQ(rs->Field(4).type(), automation::VarType::Boolean);
    EXPECT_RUNTIME_ERROR(rs->Field(5), 3265);
    EXPECT_RUNTIME_ERROR(rs->FieldName(-1), 3265);
    EXPECT_RUNTIME_ERROR(rs->Field(QStringLiteral("Nope")), 3265);
}

TEST_P(DataTest, FilterThenOpenRecordsetNarrowsTheNewRecordsetOnly)
{
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT IboID, DescriptorStatus FROM IboMain ORDER BY DateWWIH;"),
                                 dbOpenSnapshot);
    rs->SetFilter(QStringLiteral("(DescriptorStatus=1) OR (DescriptorStatus=4)"));
    auto filtered = rs->OpenRecordset();
    rs->SetFilter(QString());
    EXPECT_EQ(filtered->Type(), dbOpenSnapshot);
    // The base order (by DateWWIH) is kept under the filter.
    EXPECT_EQ(Ids(*filtered), (QList<int>{5, 4, 1}));
    EXPECT_EQ(Ids(*rs), (QList<int>{5, 4, 2, 3, 1}));
}

TEST_P(DataTest, SortThenOpenRecordsetOrdersAndFiltersStack)
{
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT IboID, IboValueNumeric FROM IboMain"), dbOpenSnapshot);
    rs->SetSort(QStringLiteral("IboMain.IboValueNumeric DESC"));
    auto sorted = rs->OpenRecordset();
    sorted->SetFilter(QStringLiteral("IboValueNumeric < 4000"));
    auto both = sorted->OpenRecordset();
    EXPECT_EQ(Ids(*both), (QList<int>{3, 2, 1}));
}

TEST_P(DataTest, SnapshotOfAFilteredAndSortedDynasetKeepsFilterAndOrder)
{
    auto dyn = db_->OpenRecordset(QStringLiteral("SELECT IboID, IboValueNumeric FROM IboMain"), dbOpenDynaset);
    dyn->SetSort(QStringLiteral("IboValueNumeric DESC"));
    auto sorted = dyn->OpenRecordset();
    sorted->SetFilter(QStringLiteral("IboValueNumeric <= 3000"));
    auto snap = sorted->OpenRecordset(dbOpenSnapshot);
    EXPECT_EQ(snap->Type(), dbOpenSnapshot);
    EXPECT_EQ(snap->FieldCount(), 2);
    EXPECT_EQ(Ids(*snap), (QList<int>{3, 2, 1}));
    // Going back reads the rows again and keeps them.
    snap->MoveFirst();
    EXPECT_EQ(snap->Field(0).longValue(), 3);
    snap->MoveLast();
    EXPECT_EQ(snap->Field(0).longValue(), 1);
    snap->MovePrevious();
    EXPECT_EQ(snap->Field(0).longValue(), 2);
}

TEST_P(DataTest, DynasetEditAndUpdateWriteTheTable)
{
    auto rs = db_->OpenRecordset(
        QStringLiteral(
            "SELECT IboID, DateWWIH, DateWonLostCancel, DescriptorStatus FROM IboMain WHERE DescriptorStatus = 2"),
        dbOpenDynaset);
    EXPECT_EQ(rs->FieldCount(), 4);  // the row id stays hidden
    ASSERT_FALSE(rs->Eof());
    rs->Edit();
    rs->SetField(QStringLiteral("DateWWIH"), rs->Field(QStringLiteral("DateWonLostCancel")));
    rs->Update();
    EXPECT_EQ(rs->Field(1).dateValue(), automation::Date::FromParts(2024, 4, 1));
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT DateWWIH FROM IboMain WHERE IboID = 2")),
              QStringLiteral("2024-04-01 00:00:00"));
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT count(*) FROM IboMain WHERE DateWWIH = '2024-04-01 00:00:00'")),
              QStringLiteral("1"));
}

TEST_P(DataTest, UpdateWithoutEditAndEditOfSnapshotFail)
{
    auto dyn = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain"), dbOpenDynaset);
    EXPECT_RUNTIME_ERROR(dyn->Update(), 3020);
    EXPECT_RUNTIME_ERROR(dyn->SetField(0, automation::Variant(qint32(9))), 3020);
    auto snap = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain"), dbOpenSnapshot);
    EXPECT_RUNTIME_ERROR(snap->Edit(), 3027);
}

TEST_P(DataTest, ForwardOnlyReadsOnceWithoutGoingBack)
{
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain ORDER BY IboID"), dbOpenForwardOnly);
    rs->MoveFirst();  // allowed before moving
    EXPECT_EQ(Ids(*rs), (QList<int>{1, 2, 3, 4, 5}));
    EXPECT_RUNTIME_ERROR(rs->MoveFirst(), 3251);
    EXPECT_RUNTIME_ERROR(rs->MoveLast(), 3251);
}

TEST_P(DataTest, QueryParametersByName)
{
    auto q = db_->CreateQueryDef(
        QStringLiteral("ByPriority"),
        QStringLiteral("SELECT IboID FROM IboMain WHERE DescriptorPriority = @Priority ORDER BY IboID;"));
    EXPECT_EQ(q->ParameterNames(), QStringList{QStringLiteral("@Priority")});
    EXPECT_RUNTIME_ERROR(q->OpenRecordset(dbOpenForwardOnly), 3061);
    EXPECT_RUNTIME_ERROR(q->SetParameter(QStringLiteral("@Nope"), automation::Variant(qint32(1))), 3265);
    q->SetParameter(QStringLiteral("@Priority"), automation::Variant(qint32(1)));
    auto rs = q->OpenRecordset(dbOpenForwardOnly);
    EXPECT_EQ(Ids(*rs), (QList<int>{1, 3, 4}));
    q->SetParameter(QStringLiteral("@priority"), automation::Variant(qint32(3)));
    rs = q->OpenRecordset(dbOpenForwardOnly);
    EXPECT_EQ(Ids(*rs), (QList<int>{5}));
}

TEST_P(DataTest, ClosedRecordsetRefusesAccess)
{
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain"), dbOpenSnapshot);
    rs->Close();
    EXPECT_FALSE(rs->IsOpen());
    EXPECT_RUNTIME_ERROR(rs->Eof(), 3420);
}

TEST_P(DataTest, RecordsetOutlivesItsClosedDatabase)
{
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT IboID FROM IboMain ORDER BY IboID"), dbOpenSnapshot);
    db_->Close();
    EXPECT_EQ(Ids(*rs), (QList<int>{1, 2, 3, 4, 5}));
    EXPECT_RUNTIME_ERROR(db_->OpenRecordset(QStringLiteral("SELECT 1")), 3420);
}

TEST_P(DataTest, ARecordsetWhoseFirstReadFailsIsAtItsEndWithNoCurrentRecord)
{
    // Prepares, then fails on its first row.
    const QString failing = OnPostgreSQL()
                                ? QStringLiteral("SELECT 1 / (IboID - IboID) AS x FROM IboMain")
                                : QStringLiteral("SELECT abs(-9223372036854775807 - IboID) AS x FROM IboMain");
    auto rs = db_->OpenRecordset(failing, data::dbOpenSnapshot);
    EXPECT_THROW(rs->Eof(), RuntimeError);
    EXPECT_TRUE(rs->Eof());
    EXPECT_TRUE(rs->Bof());
    EXPECT_RUNTIME_ERROR(rs->Field(0), 3021);
}

TEST_P(DataTest, AnSQLiteColumnWhoseNameHoldsADoubleQuoteIsWrittenByUpdate)
{
    if (OnPostgreSQL())
        GTEST_SKIP() << "SQLite's quoted names";
    Exec(path_,
         QStringLiteral(
             "CREATE TABLE Odd (Id INTEGER PRIMARY KEY, \"Say \"\"hi\"\"\" TEXT); INSERT INTO Odd VALUES (1, 'no')"));
    auto rs = db_->OpenRecordset(QStringLiteral("SELECT [Say \"hi\"] FROM Odd"), data::dbOpenDynaset);
    ASSERT_FALSE(rs->Eof());
    rs->Edit();
    rs->SetField(0, automation::Variant(QStringLiteral("yes")));
    rs->Update();
    EXPECT_EQ(QueryText(path_, QStringLiteral("SELECT \"Say \"\"hi\"\"\" FROM Odd")), QStringLiteral("yes"));
}

}  // namespace
}  // namespace BrevView::test

#include <QDir>
#include <QFile>

#include "automation/runtime_error.h"
#include "host/app_settings.h"
#include "host/default_objects.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

class DefaultObjectsTest : public TestEnv {};

QStringList ReadLines(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(f.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

TEST_F(DefaultObjectsTest, TraceWritesOneLinePerCallToTheNamedFile)
{
    const QString path = TempPath(QStringLiteral("trace.log"));
    qputenv("BREV_TRACE", path.toLocal8Bit());
    host::DefaultTrace trace;
    trace.EnterProc(QStringLiteral("BrevView.FlatView::Refresh"));
    trace.EnterProc(QStringLiteral("BrevView.FlatView::SetupDataAccess"));
    trace.ExitProc(QStringLiteral("BrevView.FlatView::SetupDataAccess"));
    automation::Err().Set(RuntimeError(94, QStringLiteral("BrevView.Data"), QStringLiteral("Invalid use of Null")));
    trace.HandleError(QString());
    EXPECT_EQ(trace.LastErrorNumber(), 94);
    EXPECT_EQ(ReadLines(path), (QStringList{
                                   QStringLiteral("ENTER BrevView.FlatView::Refresh"),
                                   QStringLiteral("ENTER BrevView.FlatView::SetupDataAccess"),
                                   QStringLiteral("EXIT BrevView.FlatView::SetupDataAccess"),
                                   QStringLiteral("ERROR 94 BrevView.FlatView::Refresh: Invalid use of Null"),
                               }));
}

TEST_F(DefaultObjectsTest, TraceRecordsNothingWithoutTheVariable)
{
    host::DefaultTrace trace;
    trace.EnterProc(QStringLiteral("x"));
    trace.ExitProc(QStringLiteral("x"));
    EXPECT_TRUE(QDir(TempPath(QString())).entryList(QDir::Files).isEmpty());
}

TEST_F(DefaultObjectsTest, DatabaseSettingsPreferTheEnvironment)
{
    settings::SaveSetting(QStringLiteral("Brev"), QStringLiteral("Database"), QStringLiteral("DatabasePath"),
                          QStringLiteral("/from/settings.db"));
    settings::SaveSetting(QStringLiteral("Brev"), QStringLiteral("Database"), QStringLiteral("UserName"),
                          QStringLiteral("settings-user"));
    settings::SaveSetting(QStringLiteral("Brev"), QStringLiteral("Database"), QStringLiteral("AuxiliaryInfo"),
                          QStringLiteral("aux"));
    host::DefaultDatabaseSettings db;
    EXPECT_EQ(db.DatabasePath(), QStringLiteral("/from/settings.db"));
    EXPECT_EQ(db.UserName(), QStringLiteral("settings-user"));
    EXPECT_EQ(db.AuxiliaryInfo(), QStringLiteral("aux"));
    EXPECT_EQ(db.Password(), QString());
    qputenv("BREV_DATABASE", "/from/env.db");
    qputenv("BREV_USER", "env-user");
    qputenv("BREV_PASSWORD", "s3cret");
    EXPECT_EQ(db.DatabasePath(), QStringLiteral("/from/env.db"));
    EXPECT_EQ(db.UserName(), QStringLiteral("env-user"));
    EXPECT_EQ(db.Password(), QStringLiteral("s3cret"));
}

TEST_F(DefaultObjectsTest, SettingStoreReadsEmptyForMissingKeyAndKeepsWrites)
{
    host::DefaultSettingStore store;
    EXPECT_EQ(store.ReadSetting(QStringLiteral("PrefIBOListView")), QString());
    store.WriteSetting(QStringLiteral("PrefIBOListView"), QStringLiteral("15;900"));
    host::DefaultSettingStore other;
    EXPECT_EQ(other.ReadSetting(QStringLiteral("PrefIBOListView")), QStringLiteral("15;900"));
    EXPECT_TRUE(QFile::exists(TempPath(QStringLiteral("config/Brev/settings.ini"))));
}

TEST_F(DefaultObjectsTest, AppSettingsReturnTheDefaultForAMissingKey)
{
    EXPECT_EQ(settings::GetSetting(QStringLiteral("Brev"), QStringLiteral("PriorityView"),
                                   QStringLiteral("SCRangeUnits"), QStringLiteral("2")),
              QStringLiteral("2"));
    settings::SaveSetting(QStringLiteral("Brev"), QStringLiteral("PriorityView"), QStringLiteral("SCRangeUnits"),
                          QStringLiteral("7"));
    EXPECT_EQ(settings::GetSetting(QStringLiteral("Brev"), QStringLiteral("PriorityView"),
                                   QStringLiteral("SCRangeUnits"), QStringLiteral("2")),
              QStringLiteral("7"));
}

TEST_F(DefaultObjectsTest, ConfigInstallPathEndsWithASeparator)
{
    host::DefaultConfig config;
    EXPECT_EQ(config.GetValue(QStringLiteral("InstallPath")), TempPath(QStringLiteral("install")) + QLatin1Char('/'));
    qputenv("BREV_INSTALL_PATH", TempPath(QStringLiteral("noslash")).toLocal8Bit());
    EXPECT_EQ(config.GetValue(QStringLiteral("InstallPath")), TempPath(QStringLiteral("noslash")) + QLatin1Char('/'));
    qunsetenv("BREV_INSTALL_PATH");
    const QString fallback = config.GetValue(QStringLiteral("InstallPath"));
    EXPECT_EQ(fallback, TempPath(QStringLiteral("data/Brev/")));
    EXPECT_TRUE(QDir(fallback).exists());
}

}  // namespace
}  // namespace BrevView::test

#include "host/object_factory.h"
#include "host/default_objects.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

using host::ObjectFactory;

class ObjectFactoryTest : public TestEnv {};

class FixedConfig : public host::IConfig {
public:
    QString GetValue(const QString&) override { return QStringLiteral("/opt/brev/"); }
};

TEST_F(ObjectFactoryTest, CreatesTheDefaultObjectsByProgId)
{
    EXPECT_NE(ObjectFactory::CreateAs<host::ITrace>(QStringLiteral("BrevTWrp.Trace")), nullptr);
    EXPECT_NE(ObjectFactory::CreateAs<host::IDatabaseSettings>(QStringLiteral("BrevData.Database")), nullptr);
    EXPECT_NE(ObjectFactory::CreateAs<host::ISettingStore>(QStringLiteral("BrevData.Setting")), nullptr);
    EXPECT_NE(ObjectFactory::CreateAs<host::IConfig>(QStringLiteral("BrevConf.Config")), nullptr);
}

TEST_F(ObjectFactoryTest, UnknownProgIdIsError429)
{
    EXPECT_RUNTIME_ERROR(ObjectFactory::Create(QStringLiteral("BrevData.Nothing")), 429);
}

TEST_F(ObjectFactoryTest, FailingOrEmptyCreatorIsError429)
{
    ObjectFactory::Register(QStringLiteral("BrevConf.Config"),
                            []() -> std::shared_ptr<host::AutomationObject> { throw RuntimeError(70); });
    EXPECT_RUNTIME_ERROR(ObjectFactory::Create(QStringLiteral("BrevConf.Config")), 429);
    ObjectFactory::Register(QStringLiteral("BrevConf.Config"),
                            [] { return std::shared_ptr<host::AutomationObject>(); });
    EXPECT_RUNTIME_ERROR(ObjectFactory::Create(QStringLiteral("BrevConf.Config")), 429);
}

TEST_F(ObjectFactoryTest, HostRegisteredCreatorReplacesTheDefault)
{
    ObjectFactory::Register(QStringLiteral("BrevConf.Config"), [] { return std::make_shared<FixedConfig>(); });
    EXPECT_EQ(ObjectFactory::CreateAs<host::IConfig>(QStringLiteral("BrevConf.Config"))
                  ->GetValue(QStringLiteral("InstallPath")),
              QStringLiteral("/opt/brev/"));
    ObjectFactory::RestoreDefaults();
    EXPECT_NE(ObjectFactory::CreateAs<host::IConfig>(QStringLiteral("BrevConf.Config"))
                  ->GetValue(QStringLiteral("InstallPath")),
              QStringLiteral("/opt/brev/"));
}

TEST_F(ObjectFactoryTest, ObjectWithoutTheInterfaceIsTypeMismatch)
{
    EXPECT_RUNTIME_ERROR(ObjectFactory::CreateAs<host::IConfig>(QStringLiteral("BrevData.Setting")), 13);
}

}  // namespace
}  // namespace BrevView::test

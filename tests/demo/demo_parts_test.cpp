// What the demo host does beside the controls: where it prints without a printer, how its
// edit dialog shows a product, its find-as-you-type, and the sample IBOs it generates.

#include <QEventLoop>
#include <QLineEdit>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTimer>

#include <brevview/brevview.h>

#include "ibo_edit_dialog.h"
#include "incremental_find.h"
#include "print_target.h"
#include "sample_generator.h"
#include "support/ibo_builder.h"
#include "support/test_env.h"

namespace BrevView::test {
namespace {

class DemoPartsTest : public TestEnv {};

TEST_F(DemoPartsTest, PrintWithoutAPrinterGoesIntoAFolderThatExists)
{
    const QString home = TempPath(QStringLiteral("home"));
    ASSERT_TRUE(QDir().mkpath(home));
    const QByteArray oldHome = qgetenv("HOME"), oldConfig = qgetenv("XDG_CONFIG_HOME");
    qputenv("HOME", home.toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home + QStringLiteral("/.config")).toLocal8Bit());
    // No documents folder: the home folder.
    const QString withoutDocuments = BrevViewDemo::PrintPdfPath(QStringLiteral("F&lat list"));
    EXPECT_EQ(QFileInfo(withoutDocuments).absolutePath(), QDir(home).absolutePath());
    EXPECT_EQ(QFileInfo(withoutDocuments).fileName(), QStringLiteral("Flat-list.pdf"));
    // With one: there.
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    ASSERT_TRUE(QDir().mkpath(documents));
    EXPECT_EQ(QFileInfo(BrevViewDemo::PrintPdfPath(QStringLiteral("&Priority"))).absolutePath(),
              QDir(documents).absolutePath());
    qputenv("HOME", oldHome);
    qputenv("XDG_CONFIG_HOME", oldConfig);
}

TEST_F(DemoPartsTest, EditDialogShowsTheProductAsTheViewsDoAndKeepsItsDetail)
{
    IboRecord ibo;
    ibo.id = 7;
    ibo.number = QStringLiteral("2025-000007");
    ibo.product = QStringLiteral("Data Center Rack~Cabling");
    IboEditDialog dialog(ibo);
    auto* product = dialog.findChild<QLineEdit*>(QStringLiteral("product"));
    auto* detail = dialog.findChild<QLineEdit*>(QStringLiteral("productDetail"));
    ASSERT_NE(product, nullptr);
    ASSERT_NE(detail, nullptr);
    EXPECT_EQ(product->text(), QStringLiteral("Data Center Rack"));
    EXPECT_EQ(detail->text(), QStringLiteral("Cabling"));
    EXPECT_EQ(dialog.Result().product, ibo.product) << "saved unchanged";
    product->setText(QStringLiteral("Rack"));
    EXPECT_EQ(dialog.Result().product, QStringLiteral("Rack~Cabling"));
    detail->clear();
    EXPECT_EQ(dialog.Result().product, QStringLiteral("Rack"));
    ibo.product = QStringLiteral("Widget");
    IboEditDialog plain(ibo);
    EXPECT_EQ(plain.Result().product, QStringLiteral("Widget"));
}

TEST_F(DemoPartsTest, SampleIbosAreQualifiedBeforeTheyClose)
{
    if (OnPostgreSQL())
        GTEST_SKIP() << "the generator's rows are the same on both engines";
    const QString db = TempPath(QStringLiteral("sample.db"));
    sample::Options options;
    options.count = 5000;
    options.today = QDate(2026, 11, 25);
    ASSERT_EQ(sample::Generate(db, options), QString());
    EXPECT_GT(QueryText(db, QStringLiteral("SELECT count(*) FROM IboMain WHERE DateWonLostCancel IS NOT NULL")).toInt(),
              1000);
    EXPECT_EQ(QueryText(db, QStringLiteral("SELECT count(*) FROM IboMain WHERE DateWonLostCancel IS NOT NULL AND "
                                           "substr(DateQualified, 1, 10) > substr(DateWonLostCancel, 1, 10)")),
              QStringLiteral("0"));
    EXPECT_EQ(
        QueryText(db, QStringLiteral(
                          "SELECT count(*) FROM IboMain WHERE substr(DateQualified, 1, 10) > substr(DateWWIH, 1, 10)")),
        QStringLiteral("0"));
}

class IncrementalFindTest : public TestEnv {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        db_ = CreateIboDatabase();
        qputenv("BREV_DATABASE", db_.toLocal8Bit());
        PinToday(2026, 3, 5);
        QStringList inserts;
        for (int id = 1; id <= 3000; ++id) {
            Ibo ibo =
                Ibo::Open(id, QDate(2026, 3, 5).addDays(id % 200).toString(QStringLiteral("yyyy-MM-dd 00:00:00")));
            if (id == 2100 || id == 2900)
                ibo.Text(QStringLiteral("ConCompany"), QStringLiteral("Quartz Works"));
            inserts << ibo.InsertSql();
        }
        Exec(db_, inserts.join(QLatin1Char(';')));
    }
    // Runs the search to its end; the row data of the match, or an invalid value.
    QVariant Run(IncrementalFind& find, QAbstractItemModel* model, const QString& text, bool again)
    {
        QSignalSpy found(&find, &IncrementalFind::Found);
        QSignalSpy missed(&find, &IncrementalFind::NotFound);
        QEventLoop loop;
        QObject::connect(&find, &IncrementalFind::Found, &loop, &QEventLoop::quit);
        QObject::connect(&find, &IncrementalFind::NotFound, &loop, &QEventLoop::quit);
        QTimer::singleShot(10000, &loop, &QEventLoop::quit);
        find.Start(model, text, again);
        if (find.Running())
            loop.exec();
        EXPECT_EQ(found.size() + missed.size(), 1) << "one answer per search";
        return found.isEmpty() ? QVariant() : found.front().at(1);
    }
    QString db_;
};

TEST_F(IncrementalFindTest, FindsInSlicesInShownOrderAgainOnwardAndSaysWhenNothingMatches)
{
    auto check = [&](auto& view) {
        view.Refresh();
        QAbstractItemModel* model = view.model();
        ASSERT_NE(model, nullptr);
        IncrementalFind find;
        const QVariant first = Run(find, model, QStringLiteral("quartz"), false);
        const QVariant second = Run(find, model, QStringLiteral("quartz"), true);
        EXPECT_TRUE(first.isValid());
        EXPECT_TRUE(second.isValid());
        EXPECT_NE(first, second);
        EXPECT_TRUE((QList<QVariant>{first, second}.contains(2100)) && (QList<QVariant>{first, second}.contains(2900)));
        // Round again to the first.
        EXPECT_EQ(Run(find, model, QStringLiteral("quartz"), true), first);
        // A node caption ("Review First") is no IBO.
        EXPECT_FALSE(Run(find, model, QStringLiteral("Review First"), false).isValid());
        EXPECT_FALSE(Run(find, model, QStringLiteral("no such text"), false).isValid());
        EXPECT_LE(find.LongestSliceMs(), 4 * IncrementalFind::kSliceMs);
    };
    {
        FlatView flat;
        check(flat);
    }
    PriorityView priority;
    check(priority);
}

}  // namespace
}  // namespace BrevView::test

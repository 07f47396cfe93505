#include <gtest/gtest.h>

#include <QString>

#include "grid/grid_store.h"

namespace BrevView::test {
namespace {

using grid::GridStore;
using grid::TextPool;

QString Numbered(int i, int width)
{
    return QStringLiteral("t%1-").arg(i).leftJustified(width, QLatin1Char('x'));
}

TEST(TextPoolTest, TextsFillManyBlocksAndKeepTheirAddressesAndContents)
{
    TextPool pool;
    std::vector<quint32> at;
    // 40 units each: far more than one block's worth, with texts ending near block edges.
    for (int i = 0; i < 5000; ++i) {
        const QString text = Numbered(i, 38 + i % 5);
        char16_t* chars = nullptr;
        at.push_back(pool.Allocate(quint32(text.size()), &chars));
        std::copy_n(reinterpret_cast<const char16_t*>(text.utf16()), text.size(), chars);
    }
    EXPECT_GT(pool.size(), size_t(3) * 32768);
    for (int i = 0; i < 5000; ++i) {
        const QString expected = Numbered(i, 38 + i % 5);
        ASSERT_EQ(pool.Length(at[size_t(i)]), quint32(expected.size())) << i;
        EXPECT_EQ(QString(reinterpret_cast<const QChar*>(pool.Chars(at[size_t(i)])), expected.size()), expected) << i;
    }
}

TEST(TextPoolTest, ATextLongerThanABlockIsKeptWholeAndTheNextTextFollowsIt)
{
    TextPool pool;
    char16_t* chars = nullptr;
    const quint32 small = pool.Allocate(3, &chars);
    std::copy_n(u"abc", 3, chars);
    const QString longText = QString(100000, QLatin1Char('n')) + QStringLiteral("end");
    const quint32 big = pool.Allocate(quint32(longText.size()), &chars);
    std::copy_n(reinterpret_cast<const char16_t*>(longText.utf16()), longText.size(), chars);
    const quint32 after = pool.Allocate(2, &chars);
    std::copy_n(u"zz", 2, chars);

    EXPECT_EQ(QString(reinterpret_cast<const QChar*>(pool.Chars(small)), 3), QStringLiteral("abc"));
    ASSERT_EQ(pool.Length(big), quint32(longText.size()));
    EXPECT_EQ(QString(reinterpret_cast<const QChar*>(pool.Chars(big)), longText.size()), longText);
    EXPECT_GT(after, big);
    EXPECT_EQ(QString(reinterpret_cast<const QChar*>(pool.Chars(after)), 2), QStringLiteral("zz"));
}

TEST(GridStoreTest, ManyRowsOfTextsSurviveRewritesAndTheCompactionsTheyCause)
{
    GridStore store;
    store.SetCols(3);
    store.SetRows(20000);
    const QString note = QString(40000, QLatin1Char('q'));  // longer than a block
    for (int round = 0; round < 4; ++round) {
        for (int r = 0; r < store.rows(); ++r) {
            store.SetText(r, 0, Numbered(r + round, 30));
            const QByteArray utf8 = QStringLiteral("Müller %1").arg(r).toUtf8();
            store.SetTextUtf8(r, 1, utf8.constData(), int(utf8.size()));
            const QByteArray ascii = QByteArray("company ") + QByteArray::number(r);
            store.SetTextUtf8(r, 2, ascii.constData(), int(ascii.size()));
        }
        store.SetText(7, 2, note);
    }
    for (int r = 0; r < store.rows(); ++r) {
        ASSERT_EQ(store.Text(r, 0), Numbered(r + 3, 30)) << r;
        ASSERT_EQ(store.Text(r, 1), QStringLiteral("Müller %1").arg(r)) << r;
        if (r != 7) {
            ASSERT_EQ(store.Text(r, 2), QStringLiteral("company %1").arg(r)) << r;
        }
    }
    EXPECT_EQ(store.Text(7, 2), note);

    // Shrinking to one row and filling again (what every refresh does) keeps the first row.
    store.SetRows(1);
    store.SetRows(5000);
    EXPECT_EQ(store.Text(0, 0), Numbered(3, 30));
    EXPECT_TRUE(store.TextIsEmpty(4999, 0));
    store.SetTextUtf8(4999, 0, "", 0);
    EXPECT_TRUE(store.TextIsEmpty(4999, 0));
}

TEST(GridStoreTest, ASettingRepeatedRowAfterRowKeepsWhatEachCellHadBefore)
{
    GridStore store;
    store.SetCols(4);
    store.SetRows(40);
    for (int r = 0; r < 40; ++r) {
        if (r % 3 == 0)
            store.ApplySetting(grid::flexcpFontBold, r, 0, r, 1, true);
        if (r % 4 == 0)
            store.ApplySetting(grid::flexcpForeColor, r, 2, r, 3, 0x0000FF);
        // The same setting and value on every row, over cells with different styles.
        store.ApplySetting(grid::flexcpBackColor, r, 0, r, 3, 0xBCC5FB);
    }
    store.ApplySetting(grid::flexcpBackColor, 5, 0, 5, 0, 0x00FF00);
    for (int r = 0; r < 40; ++r) {
        for (int c = 0; c < 4; ++c) {
            const bool green = r == 5 && c == 0;
            EXPECT_EQ(store.Setting(grid::flexcpBackColor, r, c).toInt(), green ? 0x00FF00 : 0xBCC5FB) << r << "," << c;
            EXPECT_EQ(store.Setting(grid::flexcpFontBold, r, c).toBool(), r % 3 == 0 && c < 2) << r << "," << c;
            EXPECT_EQ(store.Setting(grid::flexcpForeColor, r, c).toInt(), (r % 4 == 0 && c >= 2) ? 0x0000FF : -1)
                << r << "," << c;
        }
    }
}

TEST(GridStoreTest, TextsSetFromUtf8ReadBackAsDecodedWhateverTheirLengthAndCharacters)
{
    std::vector<QByteArray> texts;
    for (int n = 0; n <= 40; ++n)
        texts.push_back(QByteArray("abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGH").left(n));
    for (const QByteArray& odd :
         {QByteArray("caf\xc3\xa9"), QByteArray("\xc3\xa9t\xc3\xa9 apr\xc3\xa8s"), QByteArray("abcdefg\xe2\x82\xac"),
          QByteArray("12345678\xf0\x9f\x98\x80x"), QByteArray("bad \xff byte"), QByteArray("cut \xe2\x82"),
          QByteArray("\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e"), QByteArray("ASCII first, then \xc3\xbc")})
        texts.push_back(odd);
    GridStore store;
    store.SetCols(2);
    // Enough rows that the texts fill several of the pool's blocks.
    const int rows = 4000;
    store.SetRows(rows);
    for (int r = 0; r < rows; ++r) {
        const QByteArray& t = texts[size_t(r) % texts.size()];
        store.SetTextUtf8(r, 0, t.constData(), int(t.size()));
        store.SetTextUtf8(r, 1, t.constData(), int(t.size()));
    }
    // A second write of a cell leaves the first text as garbage, and reads as the new one.
    store.SetTextUtf8(0, 1, "again", 5);
    for (int r = 0; r < rows; ++r) {
        const QByteArray& t = texts[size_t(r) % texts.size()];
        ASSERT_EQ(store.Text(r, 0), QString::fromUtf8(t)) << r;
        ASSERT_EQ(store.TextIsEmpty(r, 0), t.isEmpty()) << r;
        if (r > 0) {
            ASSERT_EQ(store.Text(r, 1), QString::fromUtf8(t)) << r;
        }
    }
    EXPECT_EQ(store.Text(0, 1), QStringLiteral("again"));
}

}  // namespace
}  // namespace BrevView::test

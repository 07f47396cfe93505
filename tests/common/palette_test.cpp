// Each view drawn under a light and a dark Fusion palette. Under the light one the colours the
// views fix are drawn as they are, every text the views leave uncoloured reads at 4.5:1 or
// better against what is behind it, and a text colour a view chose reads at 3:1 or better
// where the view left the background to the palette (its own pairs of colours, such as its
// node captions on its node rows, are its own). Under the dark one each colour a view fixes is
// drawn as its dark counterpart, of the same hue, and every text reads at 4.5:1 or better. The
// values the views set read back unchanged under both. The pictures are kept in
// $BREV_TEST_PICTURES when it names a folder, to be looked at.

#include <cmath>
#include <map>

#include <QDir>
#include <QImage>
#include <QStyle>
#include <QStyleFactory>

#include "support/three_views.h"

namespace BrevView::test {
namespace {

double Luminance(QRgb c)
{
    auto channel = [](int v) {
        const double s = v / 255.0;
        return s <= 0.03928 ? s / 12.92 : std::pow((s + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(qRed(c)) + 0.7152 * channel(qGreen(c)) + 0.0722 * channel(qBlue(c));
}

double Contrast(QRgb a, QRgb b)
{
    const double la = Luminance(a), lb = Luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QPalette DarkPalette()
{
    QPalette p;
    const QColor window(53, 53, 53), base(42, 42, 42), text(230, 230, 230);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, QColor(66, 66, 66));
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, window);
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::Highlight, QColor(42, 130, 218));
    p.setColor(QPalette::HighlightedText, Qt::black);
    p.setColor(QPalette::Mid, QColor(90, 90, 90));
    p.setColor(QPalette::Light, QColor(80, 80, 80));
    p.setColor(QPalette::Dark, QColor(35, 35, 35));
    p.setColor(QPalette::Shadow, QColor(20, 20, 20));
    return p;
}

template <class V>
class PaletteTest : public ThreeViewsTest<V> {
protected:
    // Draws the view with `palette` and checks every uncoloured text on screen; returns how
    // many cells were checked, and how many of them lie on a background the view fixed.
    void Check(const QPalette& palette, const QString& name, bool dark, int* checked, int* onFixedBack)
    {
        V& view = this->View();
        style_.reset(QStyleFactory::create(QStringLiteral("Fusion")));
        view.setStyle(style_.get());
        for (QWidget* w : view.template findChildren<QWidget*>())
            w->setStyle(style_.get());
        view.setPalette(palette);
        if (view.setProperty("ShowWonIBOs", true)) {  // the forecast view's won rows have a band of their own
            view.setProperty("ShowWonDateRange", 0);
            view.Refresh();
        }
        QMetaObject::invokeMethod(&view, "ExpandAllNodes");
        grid::FlexGrid& g = this->Grid();
        g.SelectRows({});
        const QImage image = view.grab().toImage().convertToFormat(QImage::Format_RGB32);
        QString folder = qEnvironmentVariable("BREV_TEST_PICTURES");
        if (folder.isEmpty())
            folder = this->TempPath(QString());
        QDir().mkpath(folder);
        ASSERT_TRUE(image.save(QDir(folder).filePath(name + QStringLiteral(".png"))));

        *checked = 0;
        *onFixedBack = 0;
        for (int r : g.VisibleRows()) {
            for (int c = 0; c < g.Cols(); ++c) {
                QRect cell = g.CellRect(r, c);
                if (g.IsSubtotal(r) && c == g.OutlineCol()) {
                    // A node's caption runs on over the empty cells to its right.
                    for (int next = c + 1; next < g.Cols() && g.TextMatrix(r, next).isEmpty(); ++next)
                        cell.setRight(std::max(cell.right(), g.CellRect(r, next).right()));
                }
                const grid::CellStyle& style = g.store().Style(r, c);
                if (cell.isEmpty() || g.DisplayText(r, c).trimmed().isEmpty())
                    continue;  // off screen or empty
                if (!dark && style.fore >= 0 && style.back >= 0)
                    continue;  // both colours the view's
                const double needed = dark || style.fore < 0 ? 4.5 : 3.0;
                if (cell.right() >= g.viewport()->width() || cell.bottom() >= g.viewport()->height())
                    continue;
                QRect inner = cell.adjusted(4, 2, -4, -2);
                if (g.IsSubtotal(r) && c == g.OutlineCol())
                    inner.setLeft(cell.left() + 18 + g.RowOutlineLevel(r) * 14);  // after the +/- box
                inner.translate(g.viewport()->mapTo(&view, QPoint(0, 0)));
                std::map<QRgb, int> counts;
                for (int y = inner.top(); y <= inner.bottom(); ++y)
                    for (int x = inner.left(); x <= inner.right(); ++x)
                        ++counts[image.pixel(x, y)];
                QRgb back = 0;
                int most = -1;
                for (const auto& [color, n] : counts) {
                    if (n > most) {
                        most = n;
                        back = color;
                    }
                }
                double best = 1;
                for (const auto& [color, n] : counts)
                    best = std::max(best, Contrast(color, back));
                EXPECT_GE(best, needed) << qPrintable(name) << ": row " << r << " column " << c << " \""
                                        << qPrintable(g.DisplayText(r, c)) << "\" on "
                                        << qPrintable(QColor(back).name());
                ++*checked;
                if (style.back >= 0)
                    ++*onFixedBack;
            }
        }
    }

    std::unique_ptr<QStyle> style_;
};
TYPED_TEST_SUITE(PaletteTest, AllViews);

double Hue(const QColor& c)
{
    return c.toHsl().hslHueF() * 360.0;
}

bool HasHue(const QColor& c)
{
    return c.toHsl().hslSaturationF() >= 0.12 && c.toHsl().hslHueF() >= 0;
}

TYPED_TEST(PaletteTest, FixedColoursKeepTheirMeaningUnderALightAndADarkPalette)
{
    const QString view = QString::fromLatin1(TypeParam::staticMetaObject.className()).section(QLatin1String("::"), -1);
    std::unique_ptr<QStyle> fusion(QStyleFactory::create(QStringLiteral("Fusion")));
    grid::FlexGrid& g = this->Grid();
    auto colorRef = [](qint32 c) { return QColor(c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF); };
    // What the view set, as a host reads it back through the grid.
    auto setValues = [&] {
        QStringList values;
        for (int r = 1; r < g.Rows(); ++r)
            values << g.Cell(grid::flexcpBackColor, r, 0).toString()
                   << g.Cell(grid::flexcpForeColor, r, g.Cols() - 1).toString();
        return values;
    };
    int checked = 0, fixed = 0;
    this->Check(fusion->standardPalette(), view + QStringLiteral("-light"), false, &checked, &fixed);
    EXPECT_GT(checked, 20);
    const QStringList lightValues = setValues();
    int chosenBacks = 0, chosenFores = 0;
    for (int r = 1; r < g.Rows(); ++r) {
        for (int c = 0; c < g.Cols(); ++c) {
            const grid::CellStyle& style = g.store().Style(r, c);
            if (style.back >= 0) {
                ++chosenBacks;
                EXPECT_EQ(g.BackColorOf(r, c), colorRef(style.back)) << "light palette, row " << r << " column " << c;
            }
            if (style.fore >= 0) {
                ++chosenFores;
                EXPECT_EQ(g.TextColorOf(r, c), colorRef(style.fore)) << "light palette, row " << r << " column " << c;
            }
        }
    }
    EXPECT_GT(chosenFores, 0);

    this->Check(DarkPalette(), view + QStringLiteral("-dark"), true, &checked, &fixed);
    EXPECT_GT(checked, 20);
    if (!std::is_same_v<TypeParam, FlatView>) {
        EXPECT_GT(chosenBacks, 0);
        EXPECT_GT(fixed, 0) << "no text on a background the view fixed was checked";
    }
    ASSERT_TRUE(g.DrawsDark());
    for (int r = 1; r < g.Rows(); ++r) {
        for (int c = 0; c < g.Cols(); ++c) {
            const grid::CellStyle& style = g.store().Style(r, c);
            const QColor back = g.BackColorOf(r, c);
            if (style.back >= 0) {
                // A dark band of the same hue (a white one is the palette's base).
                const QColor set = colorRef(style.back);
                EXPECT_LT(Luminance(back.rgb()), 0.1)
                    << "row " << r << " column " << c << " " << qPrintable(back.name());
                if (HasHue(set)) {
                    EXPECT_NEAR(Hue(back), Hue(set), 3.0) << "row " << r << " column " << c;
                }
            }
            if (style.fore >= 0) {
                const QColor fore = g.TextColorOf(r, c);
                const QColor set = colorRef(style.fore);
                EXPECT_GE(Contrast(fore.rgb(), back.rgb()), 4.5)
                    << "row " << r << " column " << c << " " << qPrintable(fore.name());
                if (HasHue(set)) {
                    EXPECT_NEAR(Hue(fore), Hue(set), 3.0) << "row " << r << " column " << c;
                }
            }
        }
    }
    EXPECT_EQ(setValues(), lightValues) << "the colour values the view set read back unchanged";
}

}  // namespace
}  // namespace BrevView::test

// Where things are in the menu that we draw, to the pixel, and what is left at its corners.

#include "app/menu/MenuLook.h"
#include "app/menu/MenuRenderer.h"
#include "brand/BrandColors.h"
#include "tests/brand/QuickTestWindow.h"
#include "tests/support/Windows.h"

#include <QAction>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace velmora {
namespace {

using test::film;

// Of a row, from its left: a column for symbols, and one for words.
constexpr int symbolsFrom = 8;
constexpr int symbolsTo = 24;
constexpr int wordsFrom = 33;
constexpr int keysTo = 24;  // from its right

/// Of 255: what one corner may differ from another where curves are painted.
constexpr int unevenness = 10;

constexpr double scales[] = {1, 1.25, 1.5, 2};

int difference(const QColor& one, const QColor& other)
{
    return std::max({std::abs(one.red() - other.red()), std::abs(one.green() - other.green()), std::abs(one.blue() - other.blue())});
}

/// The columns, from the first on, in which something is painted on that ground.
std::vector<int> paintedColumns(const QImage& row, const QColor& ground, int from, int to)
{
    std::vector<int> found;
    for (int x = from; x < std::min(to, row.width()); ++x) {
        for (int y = 3; y < row.height() - 3; ++y) {
            if (difference(row.pixelColor(x, y), ground) > 40) {
                found.push_back(x);
                break;
            }
        }
    }
    return found;
}

/// Other than what lies between the ground and the words, which are both grey with a little blue in it.
bool isColoured(const QColor& color)
{
    return (color.saturation() > 120 && color.value() > 120) || color.red() > color.blue() + 10;
}

class MenuGeometryTest : public testing::Test {
protected:
    ~MenuGeometryTest() override { setMenusAreComposited({}); }

    void fill(const std::vector<MenuItem>& items)
    {
        renderMenu(menu, items, LabelSyntax::widget, [](const MenuItem&) {});
        menu.ensurePolished();
        menu.resize(menu.sizeHint());
    }
    void fill(const std::optional<CapturedWindowInfo>& window, const std::vector<ClipItem>& clips = {})
    {
        fill(describeMenu({CaptureState{CaptureState::WaitingForWindowSelection{}}, window, clips}));
    }

    /// As it is painted on a screen of that scale. What is seen through is left transparent.
    [[nodiscard]] QImage painted(double scale)
    {
        const QSize pixels{static_cast<int>(std::lround(menu.width() * scale)), static_cast<int>(std::lround(menu.height() * scale))};
        QImage image{pixels, QImage::Format_ARGB32_Premultiplied};
        image.setDevicePixelRatio(scale);
        image.fill(Qt::transparent);
        menu.render(&image, {}, {}, QWidget::DrawChildren);
        image.setDevicePixelRatio(1);
        return image;
    }
    [[nodiscard]] QImage row(const QAction& action) { return painted(1).copy(menu.actionGeometry(const_cast<QAction*>(&action))); }
    [[nodiscard]] QAction& action(const char* title) const
    {
        for (auto* candidate : menu.actions()) {
            if (candidate->text().contains(QString::fromUtf8(title)))
                return *candidate;
        }
        throw std::runtime_error(std::string{"no item "} + title);
    }

    QGuiApplication& application = test::application();
    StyledMenu menu;
};

TEST_F(MenuGeometryTest, SymbolsAreInOneColumnAndAllWordsBeginInAnotherWhichTheHeaderKeepsToo)
{
    for (const auto& window : {std::optional{film}, std::optional<CapturedWindowInfo>{}}) {
        fill(window);
        for (const auto* item : menu.actions()) {
            if (item->isSeparator())
                continue;
            SCOPED_TRACE(item->text().toStdString());
            const auto shown = row(*item);
            const auto symbol = paintedColumns(shown, BrandColors::cardSlate, 0, wordsFrom - 1);
            ASSERT_FALSE(symbol.empty());
            EXPECT_GE(symbol.front(), symbolsFrom);
            EXPECT_LT(symbol.back(), symbolsTo);
            EXPECT_NEAR((symbol.front() + symbol.back()) / 2.0, (symbolsFrom + symbolsTo - 1) / 2.0, 1) << "in the middle of its column";
            const auto words = paintedColumns(shown, BrandColors::cardSlate, wordsFrom - 1, shown.width());
            ASSERT_FALSE(words.empty());
            EXPECT_LE(words.front(), wordsFrom + 1);
        }
    }
}

TEST_F(MenuGeometryTest, WithLargerTextTheColumnOfTheSymbolsIsAsMuchWider)
{
    constexpr double scale = 1.5;
    setMenuTextScale(scale);
    fill(std::nullopt);
    setMenuTextScale(1);
    for (const auto* item : menu.actions()) {
        if (item->isSeparator())
            continue;
        SCOPED_TRACE(item->text().toStdString());
        setMenuTextScale(scale);
        const auto shown = row(*item);
        setMenuTextScale(1);
        const int words = symbolsFrom + qRound((symbolsTo - symbolsFrom) * scale) + qRound((wordsFrom - symbolsTo) * scale);
        const auto symbol = paintedColumns(shown, BrandColors::cardSlate, 0, words - 1);
        ASSERT_FALSE(symbol.empty());
        EXPECT_GE(symbol.front(), symbolsFrom);
        EXPECT_LT(symbol.back(), symbolsFrom + (symbolsTo - symbolsFrom) * scale);
        EXPECT_NEAR((symbol.front() + symbol.back()) / 2.0, symbolsFrom + (symbolsTo - symbolsFrom) * scale / 2 - 0.5, 1.5);
        const auto wordColumns = paintedColumns(shown, BrandColors::cardSlate, words - 1, shown.width());
        ASSERT_FALSE(wordColumns.empty());
        EXPECT_LE(wordColumns.front(), words + 2);
        if (item->font().bold()) {
            EXPECT_GE(symbol.back() - symbol.front(), 17) << "the header's mark";
        }
    }
}

TEST_F(MenuGeometryTest, EverySymbolIsAColouredPictureExceptTheCrossWhichHasTheColourOfItsWords)
{
    fill(film);
    for (const auto* item : menu.actions()) {
        if (item->isSeparator())
            continue;
        const auto shown = row(*item).copy(symbolsFrom, 0, symbolsTo - symbolsFrom, row(*item).height());
        int coloured = 0;
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x)
                coloured += isColoured(shown.pixelColor(x, y)) ? 1 : 0;
        if (item->text().contains(QStringLiteral("Quit"))) {
            EXPECT_EQ(coloured, 0);
        } else if (!item->text().contains(QString::fromUtf8("⚙️"))) {  // a grey wheel
            EXPECT_GT(coloured, 12) << item->text().toStdString();
        }
    }
}

TEST_F(MenuGeometryTest, TheArrowOfASubmenuEndsWhereTheKeysEnd)
{
    ClipItem clip;
    clip.url = "/clips/a.mp4";
    fill(film, {clip});
    const auto keys = row(action("Live Clip"));
    const auto arrow = row(action("Recent Clips"));
    const auto keyColumns = paintedColumns(keys, BrandColors::cardSlate, keys.width() / 2, keys.width());
    const auto arrowColumns = paintedColumns(arrow, BrandColors::cardSlate, keys.width() / 2, arrow.width());
    ASSERT_FALSE(keyColumns.empty());
    ASSERT_FALSE(arrowColumns.empty());
    EXPECT_NEAR(arrowColumns.back(), keyColumns.back(), 1);
    EXPECT_LT(arrowColumns.back(), arrow.width() - keysTo);
    EXPECT_GE(arrowColumns.size(), 4U);
}

TEST_F(MenuGeometryTest, ARightToLeftTitleStandsBesideItsSymbolAndAtTheWordsColumn)
{
    auto chosen = film;
    chosen.appName = "נגן";
    chosen.title = std::string{"סרט ארוך"};
    ClipItem clip;
    clip.url = "/clips/סרט ארוך מאוד.mp4";
    fill(chosen, {clip});
    const auto target = row(action("Target"));
    EXPECT_LE(paintedColumns(target, BrandColors::cardSlate, wordsFrom - 1, target.width()).at(0), wordsFrom + 1);
    auto* recent = action("Recent Clips").menu();
    ASSERT_TRUE(recent);
    recent->ensurePolished();
    recent->resize(recent->sizeHint());
    const auto entry = recent->grab(recent->actionGeometry(recent->actions().front())).toImage();
    const auto columns = paintedColumns(entry, BrandColors::cardSlate, 0, entry.width());
    ASSERT_FALSE(columns.empty());
    EXPECT_NEAR(columns.front(), symbolsFrom, 2) << "without symbols there is no column for them";
    EXPECT_LT(columns.back(), entry.width() - keysTo);
}

TEST_F(MenuGeometryTest, TheTitleThatAMenuIsAsWideAsIsShownWhole)
{
    MenuItem item;
    MenuItem wider;
    wider.title = std::string(60, 'W');
    for (std::size_t letters = 1; letters <= 40; ++letters) {
        item.title = "📺 Target: mpv Media Player — " + std::string(letters, 'i') + " Lights";
        fill({item});
        const auto narrow = row(*menu.actions().front());
        fill({item, wider});
        const auto wide = row(*menu.actions().front());
        ASSERT_LT(narrow.width(), wide.width());
        // What lies behind the title is as wide as the keys' margin.
        const QRect title{0, 0, narrow.width() - keysTo / 2, narrow.height()};
        EXPECT_EQ(narrow.copy(title), wide.copy(title)) << letters;
    }
}

TEST_F(MenuGeometryTest, WhereWindowsAreCompositedItsCornersAreRoundAlikeAndWithoutStrayPixelsAtEveryScale)
{
    setMenusAreComposited([] { return true; });
    fill(film);
    menu.popup({0, 0});
    EXPECT_TRUE(menu.mask().isEmpty());
    for (const double scale : scales) {
        SCOPED_TRACE(scale);
        const auto image = painted(scale);
        const int right = image.width() - 1;
        const int bottom = image.height() - 1;
        const int corner = static_cast<int>(std::ceil(10 * scale));
        for (int y = 0; y < corner; ++y) {
            for (int x = 0; x < corner; ++x) {
                const auto one = image.pixelColor(x, y);
                EXPECT_LE(std::abs(one.alpha() - image.pixelColor(right - x, y).alpha()), unevenness) << x << ", " << y;
                EXPECT_LE(std::abs(one.alpha() - image.pixelColor(x, bottom - y).alpha()), unevenness) << x << ", " << y;
                EXPECT_LE(std::abs(one.alpha() - image.pixelColor(right - x, bottom - y).alpha()), unevenness) << x << ", " << y;
                const double away = std::hypot(corner - (x + 0.5), corner - (y + 0.5));
                if (away > 10 * scale + 1.5) {
                    EXPECT_EQ(one.alpha(), 0) << x << ", " << y;
                }
                if (away < 10 * scale - 1.5) {
                    EXPECT_GE(one.alpha(), 254) << x << ", " << y;
                }
            }
        }
        for (const QPoint edge : {QPoint{0, bottom / 2}, QPoint{right, bottom / 2}, QPoint{right / 2, 0}, QPoint{right / 2, bottom}})
            EXPECT_EQ(image.pixelColor(edge), BrandColors::borderSlate) << "a sharp edge at " << edge.x() << ", " << edge.y();
        EXPECT_EQ(image.pixelColor(static_cast<int>(4 * scale), bottom / 2), BrandColors::cardSlate);
    }
    menu.close();
}

TEST_F(MenuGeometryTest, WhereTheyAreNotItsMaskIsTheSameAtAllCornersAndLeavesNothingOutsideItsEdge)
{
    setMenusAreComposited([] { return false; });
    fill(film);
    menu.popup({0, 0});
    const auto mask = menu.mask();
    ASSERT_FALSE(mask.isEmpty());
    const int right = menu.width() - 1;
    const int bottom = menu.height() - 1;
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 10; ++x) {
            const bool isIn = mask.contains(QPoint{x, y});
            EXPECT_EQ(mask.contains(QPoint{right - x, y}), isIn) << x << ", " << y;
            EXPECT_EQ(mask.contains(QPoint{x, bottom - y}), isIn) << x << ", " << y;
            EXPECT_EQ(mask.contains(QPoint{right - x, bottom - y}), isIn) << x << ", " << y;
        }
    }
    EXPECT_FALSE(mask.contains(QPoint{1, 1}));
    EXPECT_TRUE(mask.contains(QPoint{right / 2, bottom}));
    for (const double scale : scales) {
        SCOPED_TRACE(scale);
        const auto image = painted(scale);
        for (int y = 0; y < 10 * scale; ++y) {
            for (int x = 0; x < 10 * scale; ++x) {
                if (!mask.contains(QPoint{static_cast<int>(x / scale), static_cast<int>(y / scale)}))
                    continue;
                const double away = std::hypot(10 * scale - (x + 0.5), 10 * scale - (y + 0.5));
                if (away > 10 * scale) {
                    EXPECT_LE(difference(image.pixelColor(x, y), BrandColors::borderSlate), 4) << x << ", " << y << " is of the edge";
                }
                EXPECT_EQ(image.pixelColor(x, y).alpha(), 255) << x << ", " << y;
            }
        }
    }
    menu.close();
}

}  // namespace
}  // namespace velmora

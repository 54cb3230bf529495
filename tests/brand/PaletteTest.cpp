// Whether what is shown in the palette's colours can be read: contrasts as WCAG 2.1 computes them.

#include "brand/BrandColors.h"
#include "brand/CaptureStatus.h"
#include "brand/Theme.h"
#include "tests/brand/QuickTestWindow.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace velmora {
namespace {

constexpr double leastForText = 4.5;
constexpr double leastForEdges = 3;

/// WCAG 2.1, "relative luminance".
double luminance(const QColor& color)
{
    const auto linear = [](int byte) {
        const double part = byte / 255.0;
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.red()) + 0.7152 * linear(color.green()) + 0.0722 * linear(color.blue());
}

double contrast(const QColor& one, const QColor& other)
{
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

/// What is seen of a colour that lets `ground` through.
QColor shown(const QColor& color, const QColor& ground)
{
    const auto mixed = [&](float above, float below) { return above * color.alphaF() + below * (1 - color.alphaF()); };
    return QColor::fromRgbF(
        mixed(color.redF(), ground.redF()), mixed(color.greenF(), ground.greenF()), mixed(color.blueF(), ground.blueF()));
}

class PaletteTest : public testing::Test {
protected:
    [[nodiscard]] QColor color(const char* name) const
    {
        const auto value = theme.property(name);
        EXPECT_TRUE(value.isValid()) << name;
        return value.value<QColor>();
    }

    /// All that text and controls are on: windows, cards, lists and their rows, with the pointer above them too.
    [[nodiscard]] std::vector<std::pair<std::string, QColor>> grounds() const
    {
        const QColor window = color("obsidian");
        const QColor card = color("cardSlate");
        const QColor list = shown(Theme::withOpacity(card, 0.45), window);
        const QColor selectedRow = shown(color("selection"), list);
        return {{"a window", window}, {"a card", card}, {"a control under the pointer", Theme::hovered(card)}, {"a list", list},
            {"a row under the pointer", shown(Theme::hovered(Qt::transparent), list)}, {"a selected row", selectedRow},
            {"a selected row under the pointer", shown(Theme::hovered(color("selection")), list)}};
    }

    void expectContrast(const char* name, double least) const
    {
        for (const auto& [where, ground] : grounds())
            EXPECT_GE(contrast(shown(color(name), ground), ground), least) << name << " on " << where;
    }

    QGuiApplication& application = test::application();
    Theme theme;
};

TEST_F(PaletteTest, ContrastIsThatOfTheGuidelines)
{
    EXPECT_DOUBLE_EQ(contrast(Qt::white, Qt::black), 21);
    EXPECT_NEAR(contrast(QColor{0x77, 0x77, 0x77}, Qt::white), 4.48, 0.005);
}

TEST_F(PaletteTest, EveryTextCanBeReadOnEveryGround)
{
    for (const auto* name : {"text", "secondaryText", "tertiaryText", "granted", "tip"})
        expectContrast(name, leastForText);
}

TEST_F(PaletteTest, AToolTipCanBeRead)
{
    EXPECT_GE(contrast(color("text"), color("borderSlate")), leastForText);
}

TEST_F(PaletteTest, TextsOfLessWeightAreFainterInTheirOrder)
{
    const QColor ground = color("obsidian");
    EXPECT_GT(contrast(color("text"), ground), contrast(color("secondaryText"), ground));
    EXPECT_GT(contrast(color("secondaryText"), ground), contrast(color("tertiaryText"), ground));
}

TEST_F(PaletteTest, BadgesCanBeReadOnTheirOwnTint)
{
    for (const auto& [where, ground] : grounds()) {
        for (const auto* name : {"granted", "tip", "secondaryText"})
            EXPECT_GE(contrast(color(name), shown(Theme::withOpacity(color(name), 0.15), ground)), leastForText) << name << " on " << where;
        for (const auto* name : {"coral", "granted", "tip", "secondaryText", "text"})
            EXPECT_GE(contrast(color("text"), shown(Theme::withOpacity(color(name), 0.15), ground)), leastForText)
                << "the state in " << name << " on " << where;
    }
}

TEST_F(PaletteTest, EdgesOfControlsAndTheFocusRingShowOnEveryGround)
{
    for (const auto* name : {"controlBorder", "focusRing"})
        expectContrast(name, leastForEdges);
    for (const auto& [where, ground] : grounds())
        EXPECT_GE(contrast(color("coral"), ground), leastForEdges) << "a prominent button on " << where;
}

TEST_F(PaletteTest, AnEdgeOfASelectedRowShowsOnTheList)
{
    const QColor list = shown(Theme::withOpacity(color("cardSlate"), 0.45), color("obsidian"));
    EXPECT_GE(contrast(shown(color("selectionBorder"), list), list), leastForEdges);
}

TEST_F(PaletteTest, WhatIsSelectedInATextCanBeRead)
{
    for (const auto& [where, ground] : grounds())
        EXPECT_GE(contrast(color("studioWhite"), shown(Theme::withOpacity(color("coral"), 0.5), ground)), leastForText) << where;
}

// Both colours are given. It is enough for a glyph, and for text the size of a headline.
TEST_F(PaletteTest, WhiteOnCoralIsTheOneTextBelow)
{
    EXPECT_NEAR(contrast(color("studioWhite"), color("coral")), 3.55, 0.01);
    EXPECT_GE(contrast(color("studioWhite"), Theme::hovered(color("coral"))), leastForEdges);
}

class IncreasedContrastTest : public PaletteTest {
protected:
    IncreasedContrastTest()
    {
        QObject::connect(&theme, &Theme::lookChanged, &theme, [this] { ++changes; });
        theme.setIncreasesContrast(true);
    }

    static constexpr double moreForText = 7;
    static constexpr double moreForEdges = 4.5;
    int changes = 0;
};

TEST_F(IncreasedContrastTest, EveryTextHasSevenToOneOnEveryGround)
{
    for (const auto* name : {"text", "secondaryText", "tertiaryText", "granted", "tip"})
        expectContrast(name, moreForText);
    EXPECT_GE(contrast(color("text"), color("toolTip")), moreForText);
}

TEST_F(IncreasedContrastTest, EveryEdgeHasFourAndAHalfToOneAndAGrooveThree)
{
    for (const auto* name : {"borderSlate", "controlBorder", "focusRing", "coral"})
        expectContrast(name, moreForEdges);
    const QColor list = shown(Theme::withOpacity(color("cardSlate"), 0.45), color("obsidian"));
    EXPECT_GE(contrast(shown(color("selectionBorder"), list), list), moreForEdges);
    for (const auto* name : {"passed", "borderSlate"})
        EXPECT_GE(contrast(shown(color(name), color("obsidian")), color("obsidian")), moreForEdges)
            << name << " of the walkthrough's steps";
    for (const auto* ground : {"obsidian", "cardSlate"})
        EXPECT_GE(contrast(color("groove"), color(ground)), 3) << ground;
    EXPECT_GE(contrast(color("coral"), color("groove")), 3) << "what is filled of a groove";
}

TEST_F(IncreasedContrastTest, WhatStandsOnCoralOnATintOrInASelectionHasSevenToOneToo)
{
    const QColor coral = color("coral");
    for (const auto& surface : {coral, Theme::hovered(coral), Theme::pressed(coral)})
        EXPECT_GE(contrast(color("onCoral"), surface), moreForText);
    for (const auto& [where, ground] : grounds()) {
        EXPECT_GE(contrast(color("onCoral"), shown(color("selectedText"), ground)), moreForText) << where;
        for (const auto* name : {"granted", "tip", "secondaryText"})
            EXPECT_GE(contrast(color(name), shown(Theme::withOpacity(color(name), 0.15), ground)), moreForText) << name << " on " << where;
    }
}

TEST_F(IncreasedContrastTest, ItIsToldOnceAndGoesAgainWithoutATrace)
{
    EXPECT_EQ(changes, 1);
    theme.setIncreasesContrast(true);
    EXPECT_EQ(changes, 1);
    theme.setIncreasesContrast(false);
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(color("obsidian"), BrandColors::obsidian);
    EXPECT_EQ(color("coral"), BrandColors::coral);
    EXPECT_EQ(color("onCoral"), BrandColors::studioWhite);
}

TEST_F(IncreasedContrastTest, ASeparatorHasFourAndAHalfToOneWhereItIsSeen)
{
    test::QuickTestWindow window{
        QStringLiteral("Rectangle { anchors.fill: parent; color: Theme.obsidian\n Separator { y: 20; width: 200 }\n"
                       "Card { y: 40; width: 200; height: 60\n Separator { width: parent.width } } }")};
    setIncreasesContrast(window.engine(), true);
    const auto picture = window.grab();
    EXPECT_GE(contrast(picture.pixelColor(100, 20), picture.pixelColor(100, 18)), moreForEdges);
    EXPECT_GE(contrast(picture.pixelColor(100, 56), picture.pixelColor(100, 54)), moreForEdges) << "on a card";
}

TEST_F(IncreasedContrastTest, AWindowThatIsOpenFollowsAtOnce)
{
    test::QuickTestWindow window{QStringLiteral(
        "Rectangle { anchors.fill: parent; color: Theme.obsidian\n TextButton { objectName: 'it'; x: 20; y: 20; text: 'Start'; "
        "prominent: true } }")};
    const auto at = [&](int x, int y) { return window.grab().pixelColor(x, y); };
    EXPECT_EQ(at(5, 5), BrandColors::obsidian);
    EXPECT_EQ(at(26, 38), BrandColors::coral);
    setIncreasesContrast(window.engine(), true);
    EXPECT_EQ(at(5, 5), QColor{Qt::black});
    EXPECT_EQ(at(26, 38), color("coral"));
    setIncreasesContrast(window.engine(), false);
    EXPECT_EQ(at(5, 5), BrandColors::obsidian);
}

TEST_F(PaletteTest, TextIsLargerByTheDesktopsFactorAndControlsAreAsHighAsTheirText)
{
    test::QuickTestWindow window{QStringLiteral("TextButton { objectName: 'it'; text: 'Start' }")};
    const double width = window.item("it")->width();
    EXPECT_EQ(window.item("it")->height(), 36);
    setTextScale(window.engine(), 1.25);
    static_cast<void>(window.grab());
    EXPECT_EQ(window.item("it")->height(), 45);
    EXPECT_GT(window.item("it")->width(), width);
    theme.setTextScale(1.25);
    EXPECT_EQ(theme.bodyFont().pixelSize(), 16);
    theme.setTextScale(3);
    EXPECT_EQ(theme.bodyFont().pixelSize(), 20) << "more than half as much again has no room";
    theme.setTextScale(0.5);
    EXPECT_EQ(theme.bodyFont().pixelSize(), 13) << "never smaller than it is made for";
}

}  // namespace
}  // namespace velmora

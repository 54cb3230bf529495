// What of the program the system itself shows on a Mac, on its stand-ins: the item in the menu bar with its menu, and the panel.
#include "app/native/FloatingPanel.h"
#include "app/native/StatusBarItem.h"
#include "tests/platform/mac/objc/AppKitStandIn.h"
#include "tests/platform/mac/objc/ObjectCount.h"
#include "tests/platform/mac/objc/ShellStandIn.h"

#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A picture of one colour, a byte for each of red, green, blue and alpha.
platform::ApplicationIcon square(int side, std::array<std::uint8_t, 4> pixel)
{
    platform::ApplicationIcon icon{side, {}};
    for (int index = 0; index < side * side; ++index)
        icon.rgba.insert(icon.rgba.end(), pixel.begin(), pixel.end());
    return icon;
}

BarPicture picture(bool isTemplate)
{
    return {.side = 18,
        .representations = {square(18, {1, 2, 3, 4}), square(36, {5, 6, 7, 8})},
        .isTemplate = isTemplate,
        .accessibleDescription = "Velmora"};
}

MenuItem row(std::string title, MenuAction action = MenuAction::none, std::optional<KeyEquivalent> keys = std::nullopt)
{
    MenuItem item;
    item.title = std::move(title);
    item.action = action;
    item.keyEquivalent = keys;
    item.isEnabled = action != MenuAction::none;
    return item;
}

/// As the menu of a recording is, with a clip.
std::vector<MenuItem> menu()
{
    MenuItem header = row(" Velmora");
    header.kind = MenuItem::Kind::header;
    header.isEnabled = true;
    MenuItem separator;
    separator.kind = MenuItem::Kind::separator;
    MenuItem clips = row("🎞️ Recent Clips");
    clips.isEnabled = true;
    clips.submenuTitle = "Recent Clips";
    clips.submenu = {row("größe.mp4 (0:05)", MenuAction::openRecentClip), row("bad \xFF\nname.mp4 (1:00)", MenuAction::openRecentClip)};
    clips.submenu[0].representedFile = "/clips/größe.mp4";
    clips.submenu[1].representedFile = "/clips/bad \xFF\nname.mp4";
    return {header, row("🔴 Recording Live..."), separator,
        row("⏹️ Stop Recording Clip", MenuAction::toggleRecording, KeyEquivalent{'c', true, true}), clips,
        row("📁 Open Clips Folder in Finder", MenuAction::openFolder, KeyEquivalent{'o', true, false}),
        row("Bare key", MenuAction::openGuide, KeyEquivalent{'x', false, false}),
        row("⚙️ Settings...", MenuAction::openSettings, KeyEquivalent{',', true, false})};
}

class MacShellTest : public testing::Test {
    const ObjectCount count_{standin::resetAppKit};
};

class MacStatusBarItemTest : public MacShellTest {
protected:
    void delegate()
    {
        item_->setMenuDelegate({.menuNeedsUpdate =
                                    [this] {
                                        ++updates_;
                                        return menu_;
                                    },
            .menuItemTriggered = [this](const MenuItem& chosen) { chosen_.push_back(chosen); }});
    }

    std::vector<MenuItem> menu_ = menu();
    int updates_ = 0;
    std::vector<MenuItem> chosen_;
    std::unique_ptr<StatusBarItem> item_ = makeStatusBarItem(picture(false));
};

TEST_F(MacStatusBarItemTest, ItIsInTheBarAsWideAsItsPictureUntilItGoes)
{
    ASSERT_THAT(standin::barItems(), SizeIs(1));
    EXPECT_EQ(standin::barItems()[0].length, -1);
    EXPECT_FALSE(standin::barItems()[0].picture);
    item_->setToolTip("Velmora — Instant Video Clipping (Click to open menu)");
    EXPECT_EQ(standin::appKit().toolTip, "Velmora — Instant Video Clipping (Click to open menu)");
    item_.reset();
    EXPECT_THAT(standin::barItems(), IsEmpty());
}

TEST_F(MacStatusBarItemTest, ItsPictureIsSharpOnEveryScreenAndATemplateUnlessItHasColours)
{
    item_->setPicture(picture(true));
    auto shown = standin::barItems().at(0).picture.value();
    EXPECT_EQ(shown.side, 18);
    EXPECT_TRUE(shown.isTemplate);
    EXPECT_EQ(shown.description, "Velmora");
    ASSERT_THAT(shown.representations, SizeIs(2));
    EXPECT_THAT(shown.representationSides, ElementsAre(18, 18));
    EXPECT_EQ(shown.representations[1].width, 36U);
    EXPECT_EQ(shown.representations[1].height, 36U);
    EXPECT_TRUE(shown.representations[1].hasAlphaLast);
    EXPECT_THAT(shown.representations[1].firstPixel, ElementsAre(5, 6, 7, 8));
    item_->setPicture(picture(false));
    EXPECT_FALSE(standin::barItems().at(0).picture.value().isTemplate);
}

TEST_F(MacStatusBarItemTest, APictureThatIsNoSquareIsLeftOut)
{
    auto broken = picture(true);
    broken.representations[0].rgba.pop_back();
    item_->setPicture(broken);
    EXPECT_THAT(standin::barItems().at(0).picture.value().representations, SizeIs(1));
    broken.representations = {{0, {}}, {-3, {}}};
    item_->setPicture(broken);
    EXPECT_FALSE(standin::barItems().at(0).picture);
}

TEST_F(MacStatusBarItemTest, TheMenuIsAskedForEachTimeAndHasTheRowsWithTheirKeys)
{
    EXPECT_THAT(standin::openMenu(), IsEmpty());
    delegate();
    const auto shown = standin::openMenu();
    ASSERT_THAT(shown, SizeIs(8));
    EXPECT_EQ(shown[0].boldTitle, " Velmora: 13 bold, label");
    EXPECT_TRUE(shown[0].hasPicture);
    EXPECT_EQ(shown[1].title, "🔴 Recording Live...");
    EXPECT_TRUE(shown[2].isSeparator);
    EXPECT_EQ(shown[3].title, "⏹️ Stop Recording Clip");
    EXPECT_EQ(shown[3].keys, "⌥⌘C");
    EXPECT_EQ(shown[5].keys, "⌘O");
    EXPECT_EQ(shown[6].keys, "X");
    EXPECT_EQ(shown[7].keys, "⌘,");
    EXPECT_EQ(shown[1].keys, "");
    EXPECT_FALSE(shown[3].hasPicture);
    menu_ = {row("Other")};
    EXPECT_THAT(standin::openMenu(), SizeIs(1));
    EXPECT_EQ(updates_, 2);
}

TEST_F(MacStatusBarItemTest, RowsCanBeChosenWhereTheyAreEnabledAlone)
{
    menu_[5].isEnabled = false;
    delegate();
    const auto shown = standin::openMenu();
    EXPECT_FALSE(shown[1].isEnabled);
    EXPECT_TRUE(shown[3].isEnabled);
    EXPECT_FALSE(shown[5].isEnabled);
    EXPECT_TRUE(shown[4].isEnabled);
    standin::choose({5});
    standin::openMenu();
    standin::choose({1});
    standin::openMenu();
    standin::choose({0});
    EXPECT_THAT(chosen_, IsEmpty());
    standin::openMenu();
    standin::choose({3});
    EXPECT_THAT(chosen_, ElementsAre(menu_[3]));
}

TEST_F(MacStatusBarItemTest, ClipsAreInASubmenuUnderTheirNamesWhateverTheseHold)
{
    delegate();
    const auto shown = standin::openMenu();
    EXPECT_EQ(shown[4].submenuTitle, "Recent Clips");
    ASSERT_THAT(shown[4].submenu, SizeIs(2));
    EXPECT_EQ(shown[4].submenu[0].title, "größe.mp4 (0:05)");
    EXPECT_EQ(shown[4].submenu[1].title, "bad \uFFFD name.mp4 (1:00)");
    EXPECT_TRUE(shown[4].submenu[1].isEnabled);
    standin::choose({4, 1});
    ASSERT_THAT(chosen_, SizeIs(1));
    EXPECT_EQ(chosen_[0].representedFile, "/clips/bad \xFF\nname.mp4");
}

TEST_F(MacStatusBarItemTest, AnEmptySubmenuSaysSoAndCannotBeChosen)
{
    menu_[4].submenu = {row("No clips saved yet")};
    delegate();
    EXPECT_FALSE(standin::openMenu()[4].submenu.at(0).isEnabled);
    standin::choose({4, 0});
    EXPECT_THAT(chosen_, IsEmpty());
}

TEST_F(MacStatusBarItemTest, ItsKeysWorkWithTheMenuClosed)
{
    delegate();
    standin::pressMenuKey("⌘O");
    standin::pressMenuKey("⌘X");
    EXPECT_THAT(chosen_, ElementsAre(menu_[5]));
}

TEST_F(MacStatusBarItemTest, WhatIsChosenMayEndTheItem)
{
    const auto chosen = std::make_shared<std::vector<std::string>>();
    item_->setMenuDelegate({.menuNeedsUpdate = [] { return menu(); },
        .menuItemTriggered =
            [this, chosen, name = std::string{"chosen: "}](const MenuItem& item) {
                item_.reset();
                chosen->push_back(name + item.title);
            }});
    standin::openMenu();
    standin::choose({3});
    EXPECT_THAT(*chosen, ElementsAre("chosen: ⏹️ Stop Recording Clip"));
    EXPECT_THAT(standin::barItems(), IsEmpty());
}

TEST_F(MacStatusBarItemTest, AMenuThatIsOpenWhenItsItemGoesIsDeaf)
{
    delegate();
    standin::openMenu();
    item_.reset();
    EXPECT_THROW(standin::choose({3}), std::out_of_range);
    EXPECT_THAT(chosen_, IsEmpty());
}

TEST_F(MacStatusBarItemTest, TheProgramItselfCanOpenItsMenu)
{
    delegate();
    item_->popUpMenu();
    EXPECT_EQ(standin::clickCount(), 1);
    EXPECT_EQ(updates_, 1);
}

TEST_F(MacShellTest, TheProgramIsInTheMenuBarAlone)
{
    EXPECT_TRUE(becomeMenuBarProgram());
    EXPECT_EQ(standin::appKit().activationPolicy, 1);
    standin::appKit().refusesPolicies = true;
    EXPECT_FALSE(becomeMenuBarProgram());
}

class MacFloatingPanelTest : public MacShellTest {
protected:
    MacFloatingPanelTest() { standin::appKit().screens = {{{0, 0, 1440, 900}, {0, 70, 1440, 805}, 2}}; }

    std::unique_ptr<FloatingPanel> panel_ = makeFloatingPanel();
};

TEST_F(MacFloatingPanelTest, ThereIsNoWindowBeforeItIsNeededAndThenOne)
{
    panel_->fadeOutAndOrderOut(std::chrono::milliseconds{250});
    EXPECT_THAT(standin::appKit().windows, IsEmpty());
    panel_->place();
    panel_->orderFrontAndFadeIn();
    panel_->place();
    EXPECT_THAT(standin::appKit().windows, SizeIs(1));
    panel_.reset();
    EXPECT_THAT(standin::appKit().windows, IsEmpty());
}

TEST_F(MacFloatingPanelTest, ItIsAPanelOverEverythingOnAllSpacesThatTakesNoFocus)
{
    panel_->orderFrontAndFadeIn();
    const auto window = standin::lastWindow();
    EXPECT_EQ(window.style, 0x8081U);
    EXPECT_EQ(window.level, 3);
    EXPECT_EQ(window.behavior, 0x101U);
    EXPECT_TRUE(window.isBuffered);
    EXPECT_TRUE(window.isTitleHidden);
    EXPECT_TRUE(window.isTitlebarTransparent);
    EXPECT_TRUE(window.isMovableByBackground);
    EXPECT_FALSE(window.isOpaque);
    EXPECT_EQ(window.background, "clear");
    EXPECT_TRUE(window.hasShadow);
    EXPECT_FALSE(window.isReleasedWhenClosed);
    EXPECT_FALSE(window.canBecomeKey);
    EXPECT_EQ(window.madeKey, 0);
    EXPECT_EQ(standin::appKit().activations, 0);
    EXPECT_EQ(window.frame.width, 340);
    EXPECT_EQ(window.frame.height, 110);
}

TEST_F(MacFloatingPanelTest, ItIsSeenThoughItsProgramIsNotTheActiveOne)
{
    panel_->orderFrontAndFadeIn();
    EXPECT_TRUE(standin::lastWindow().isVisible);
}

TEST_F(MacFloatingPanelTest, ItsPlaceIsTheUpperRightCornerOfTheMainScreensFreeArea)
{
    panel_->place();
    EXPECT_EQ(standin::lastWindow().frame.x, 1080);
    EXPECT_EQ(standin::lastWindow().frame.y, 755);
    standin::appKit().screens.push_back({{1440, -300, 1920, 1080}, {1440, -300, 1920, 1055}, 1});
    standin::appKit().mainScreen = 1;
    panel_->place();
    EXPECT_EQ(standin::lastWindow().frame.x, 3000);
    EXPECT_EQ(standin::lastWindow().frame.y, 635);
    standin::appKit().screens.clear();
    panel_->place();
    EXPECT_EQ(standin::lastWindow().frame.x, 3000);
}

TEST_F(MacFloatingPanelTest, ItComesTransparentAndFadesInAndOut)
{
    panel_->orderFrontAndFadeIn();
    auto window = standin::lastWindow();
    EXPECT_EQ(window.alphaWhenOrderedIn, 0);
    EXPECT_EQ(window.alpha, 0);
    EXPECT_EQ(window.animatedAlpha, 1);
    EXPECT_EQ(window.animationSeconds, std::nullopt);
    standin::finishAnimations();
    EXPECT_EQ(standin::lastWindow().alpha, 1);
    panel_->fadeOutAndOrderOut(std::chrono::milliseconds{250});
    window = standin::lastWindow();
    EXPECT_EQ(window.animatedAlpha, 0);
    EXPECT_EQ(window.animationSeconds, 0.25);
    EXPECT_TRUE(window.isVisible);
    EXPECT_EQ(standin::finishAnimations(), 1U);
    EXPECT_FALSE(standin::lastWindow().isVisible);
}

TEST_F(MacFloatingPanelTest, ASaveDuringTheFadeKeepsItOnTheScreen)
{
    panel_->orderFrontAndFadeIn();
    panel_->fadeOutAndOrderOut(std::chrono::milliseconds{250});
    panel_->orderFrontAndFadeIn();
    standin::finishAnimations();
    EXPECT_TRUE(standin::lastWindow().isVisible);
    EXPECT_EQ(standin::lastWindow().alpha, 1);
}

TEST_F(MacFloatingPanelTest, AFadeThatEndsAfterThePanelTouchesNothing)
{
    panel_->orderFrontAndFadeIn();
    panel_->fadeOutAndOrderOut(std::chrono::milliseconds{250});
    panel_.reset();
    EXPECT_EQ(standin::finishAnimations(), 1U);
}

TEST_F(MacFloatingPanelTest, WhereNoMotionIsWantedItComesAndGoesAtOnce)
{
    standin::appKit().reducesMotion = true;
    panel_->orderFrontAndFadeIn();
    EXPECT_EQ(standin::lastWindow().alpha, 1);
    EXPECT_TRUE(standin::lastWindow().isVisible);
    panel_->fadeOutAndOrderOut(std::chrono::milliseconds{250});
    EXPECT_FALSE(standin::lastWindow().isVisible);
    EXPECT_EQ(standin::finishAnimations(), 0U);
}

TEST_F(MacFloatingPanelTest, ItShowsTheViewThatItWasGivenLast)
{
    const auto first = standin::makeViewWithoutWindow();
    const auto second = standin::makeViewWithoutWindow();
    panel_->setContentView(first);
    EXPECT_EQ(standin::lastWindow().content, first);
    panel_->setContentView(second);
    EXPECT_EQ(standin::lastWindow().content, second);
    standin::freeViews();
    panel_->orderFrontAndFadeIn();
    EXPECT_EQ(standin::lastWindow().content, second);
}

}  // namespace
}  // namespace velmora::test

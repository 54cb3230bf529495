#include "onboarding/WalkthroughCaptions.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

WalkthroughFacts facts()
{
    return {
        .hasTray = true, .shortcutKeys = QStringLiteral("Alt+Super+C"), .hasSelectedWindow = false, .hasScreenRecordingPermission = true};
}

WalkthroughFacts withoutShortcut()
{
    auto without = facts();
    without.shortcutKeys.clear();
    return without;
}

WalkthroughFacts withoutTray()
{
    auto without = facts();
    without.hasTray = false;
    return without;
}

TEST(WalkthroughCaptions, NameThePlaceOfTheMenuBarWhichIsTheTrayOrTheSmallWindow)
{
    const WalkthroughCaptions tray{facts()};
    const WalkthroughCaptions window{withoutTray()};
    for (const auto caption : {&WalkthroughCaptions::welcome, &WalkthroughCaptions::place, &WalkthroughCaptions::menuMethod,
             &WalkthroughCaptions::reopen, &WalkthroughCaptions::crowdedPlace}) {
        EXPECT_THAT((tray.*caption).toStdString(), AllOf(HasSubstr(" tray"), Not(HasSubstr("small window"))));
        EXPECT_THAT((window.*caption).toStdString(), HasSubstr("small window"));
    }
}

TEST(WalkthroughCaptions, NameTheKeysOfThisKeyboardWhereverTheShortcutIsMeant)
{
    auto dvorak = facts();
    dvorak.shortcutKeys = QStringLiteral("Alt+Super+J");
    const WalkthroughCaptions captions{dvorak};
    EXPECT_THAT(captions.welcome.toStdString(), EndsWith("⌥⌘C is Alt+Super+J."));
    EXPECT_EQ(captions.keyboardMethod.toStdString(), "On this keyboard: Alt+Super+J.");
    EXPECT_THAT(captions.ready.toStdString(), HasSubstr("press Alt+Super+J to record"));
}

TEST(WalkthroughCaptions, SayWhatToDoWhereNoShortcutCouldBeBound)
{
    const WalkthroughCaptions captions{withoutShortcut()};
    EXPECT_THAT(captions.welcome.toStdString(), EndsWith("⌥⌘C does nothing here: step 3 says what to do."));
    EXPECT_THAT(captions.keyboardMethod.toStdString(), AllOf(StartsWith("No shortcut"), HasSubstr("'velmora toggle'")));
    EXPECT_THAT(captions.ready.toStdString(), HasSubstr("click ‘Start Recording Live Clip’ in the menu"));
}

TEST(WalkthroughCaptions, SayThatAWindowHasToBeChosenFirstOnlyWhileNoneIs)
{
    auto chosen = facts();
    chosen.hasSelectedWindow = true;
    EXPECT_THAT(WalkthroughCaptions{facts()}.ready.toStdString(), StartsWith("Then press "));
    EXPECT_THAT(WalkthroughCaptions{chosen}.ready.toStdString(), StartsWith("Press "));
    EXPECT_THAT(WalkthroughCaptions{withoutShortcut()}.ready.toStdString(), StartsWith("Then click "));
    chosen.shortcutKeys.clear();
    EXPECT_THAT(WalkthroughCaptions{chosen}.ready.toStdString(), StartsWith("Click "));
}

TEST(WalkthroughCaptions, SayThatTheLastButtonOpensTheListOfWindowsOnlyWhereItDoes)
{
    EXPECT_THAT(WalkthroughCaptions{facts()}.done.toStdString(), StartsWith("Done opens the list of windows "));
    auto chosen = facts();
    chosen.hasSelectedWindow = true;
    auto refused = facts();
    refused.hasScreenRecordingPermission = false;
    for (const auto& closes : {chosen, refused})
        EXPECT_THAT(WalkthroughCaptions{closes}.done.toStdString(), StartsWith("Done closes this guide "));
}

}  // namespace
}  // namespace velmora

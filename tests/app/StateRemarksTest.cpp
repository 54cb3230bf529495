#include "app/menu/StateRemarks.h"

#include "tests/brand/OddTexts.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using ::testing::EndsWith;
using ::testing::HasSubstr;

const CapturedWindowInfo bunny{.id = 7, .title = "Big Buck Bunny", .appName = "VLC", .bundleID = "vlc", .frame = {}, .isOnScreen = true};
const CaptureState capturing{CaptureState::Capturing{bunny}};
const CaptureState recording{CaptureState::RecordingClip{bunny, {}}};
const CaptureState waiting{CaptureState::WaitingForWindowSelection{}};
const CaptureState notConfigured{CaptureState::NotConfigured{}};
const std::string given = "Velmora — Instant Video Clipping (Click to open menu)";

TEST(StateRemarks, WhereAllIsWellThereAreNone)
{
    for (const auto* state : {&capturing, &waiting}) {
        EXPECT_EQ(remarks({.state = *state}), StateRemarks{});
        EXPECT_EQ(toolTip(remarks({.state = *state})), given);
        EXPECT_EQ(stateCaption(remarks({.state = *state})), "");
    }
}

TEST(StateRemarks, ARecordingsLengthAndSizeAreTheTooltipsSecondLine)
{
    const auto said = remarks({.state = recording, .progress = RecordingProgress{65s, 12'340'000}});
    EXPECT_EQ(said.progress, "1:05, 12.3 MB so far");
    EXPECT_EQ(toolTip(said), given + "\nRecording: 1:05, 12.3 MB so far");
    EXPECT_EQ(stateCaption(said), "1:05, 12.3 MB so far");
}

TEST(StateRemarks, APausedRecordingIsSaidToBe)
{
    const auto said = remarks({.state = recording, .progress = RecordingProgress{65s, 12'340'000, true}, .isRecording = true});
    EXPECT_TRUE(said.isPaused);
    EXPECT_THAT(toolTip(said), HasSubstr("\nRecording paused at 1:05, 12.3 MB so far\n"));
    EXPECT_EQ(stateCaption(said), "Paused at 1:05, 12.3 MB so far");
}

TEST(StateRemarks, ALengthIsNotSaidBeforeItIsReachedNorASizeBeforeThereIsOne)
{
    EXPECT_EQ(remarks({.state = recording, .progress = RecordingProgress{59'999ms, 0}}).progress, "0:59");
    EXPECT_EQ(remarks({.state = recording, .progress = RecordingProgress{999ms, 1}}).progress, "0:00, 1 byte so far");
}

TEST(StateRemarks, ACaptureThatIsNotAvailableSaysWhyAndWhatToDo)
{
    const CaptureState unavailable{CaptureState::CaptureUnavailable{"no pixels"}};
    const auto said = remarks({.state = unavailable});
    EXPECT_EQ(said.problem, "Capture unavailable (no pixels). Choose a window to try again.");
    EXPECT_EQ(toolTip(said), given + "\nCapture unavailable (no pixels). Choose a window to try again.");
    EXPECT_EQ(stateCaption(said), said.problem);
}

TEST(StateRemarks, WithoutPermissionTheDesktopsReasonIsSaidAndWhereItHasNoneThatItIsRequired)
{
    EXPECT_EQ(
        remarks({.state = notConfigured, .permissionExplanation = "There is no display."}).problem, "Not configured: There is no display.");
    EXPECT_EQ(remarks({.state = notConfigured}).problem, "Not configured: Screen recording permission is required.");
}

TEST(StateRemarks, AWindowThatWasLostIsSaidUntilThereIsAnother)
{
    EXPECT_EQ(remarks({.state = waiting, .lostWindow = windowIsGone}).problem, "The window was closed or is no longer available.");
    EXPECT_EQ(remarks({.state = capturing, .lostWindow = windowIsGone}).problem, "");
}

TEST(StateRemarks, WithoutAShortcutTheDesktopsReasonOrAWayRoundIsSaid)
{
    EXPECT_EQ(remarks({.state = waiting, .shortcutReason = "Bind keys."}).shortcut, "") << "it is not refused";
    EXPECT_EQ(remarks({.state = waiting, .isShortcutRefused = true, .shortcutReason = "Bind keys."}).shortcut, "Bind keys.");
    const auto said = remarks({.state = waiting, .isShortcutRefused = true});
    EXPECT_THAT(said.shortcut, HasSubstr("velmora toggle"));
    EXPECT_THAT(toolTip(said), EndsWith('\n' + said.shortcut));
    EXPECT_EQ(stateCaption(said), said.shortcut);
}

TEST(StateRemarks, EachIsALineOfItsOwnAndTheNoticeStaysInItsOwnRow)
{
    const StateRemarks all{.progress = "0:01", .problem = "problem", .shortcut = "shortcut", .notice = "notice"};
    EXPECT_EQ(toolTip(all), given + "\nRecording: 0:01\nproblem\nnotice\nshortcut");
    EXPECT_EQ(stateCaption(all), "0:01\nproblem\nshortcut");
}

TEST(StateRemarks, WhatEndsARecordingUnsavedIsSaidToThoseWhoseMenuHasNoCaptions)
{
    const auto said = remarks({.state = recording, .progress = RecordingProgress{65s, 0}, .isRecording = true});
    EXPECT_THAT(toolTip(said), EndsWith("\nQuitting, stopping or changing the window ends the recording without saving it."));
    EXPECT_EQ(stateCaption(said), "1:05") << "there each row says it";
    EXPECT_EQ(toolTip(remarks({.state = capturing})), given);
}

TEST(StateRemarks, OfEveryKindOfReasonTheTooltipIsPlainTextOfABoundedLengthAndItsFirstLineIsOurs)
{
    for (const auto& [kind, text] : test::oddBytes()) {
        SCOPED_TRACE(kind);
        const CaptureState unavailable{CaptureState::CaptureUnavailable{text}};
        const auto said = QString::fromStdString(
            toolTip(remarks({.state = unavailable, .isShortcutRefused = true, .shortcutReason = text, .notice = text})));
        // Hosts that take some tooltips for markup decide that by the first line.
        EXPECT_EQ(said.section(QLatin1Char('\n'), 0, 0).toStdString(), given);
        EXPECT_LT(said.size(), 20'000);
        for (const auto& line : said.split(QLatin1Char('\n')))
            EXPECT_TRUE(test::isOrderlyLine(line));
    }
}

}  // namespace
}  // namespace velmora

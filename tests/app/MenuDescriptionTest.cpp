#include "app/menu/MenuDescription.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;

const CapturedWindowInfo bunny{.id = 7, .title = "Big Buck Bunny", .appName = "VLC", .bundleID = "vlc", .frame = {}, .isOnScreen = true};

std::vector<ClipItem> clips(int count)
{
    std::vector<ClipItem> result;
    for (int i = 1; i <= count; ++i) {
        ClipItem clip;
        clip.url = "/clips/" + std::to_string(i) + ".mp4";
        clip.duration = 754;
        result.push_back(clip);
    }
    return result;
}

std::vector<MenuItem> menu(
    const CaptureState::Case& state, const std::optional<CapturedWindowInfo>& window, const std::vector<ClipItem>& recentClips = {})
{
    return describeMenu({CaptureState{state}, window, recentClips});
}

std::vector<std::string> titles(const std::vector<MenuItem>& items)
{
    std::vector<std::string> result;
    for (const auto& item : items)
        result.push_back(item.kind == MenuItem::Kind::separator ? "—" : item.title);
    return result;
}

const MenuItem& itemWith(const std::vector<MenuItem>& items, MenuAction action)
{
    for (const auto& item : items) {
        if (item.action == action)
            return item;
    }
    ADD_FAILURE() << "no item with that action";
    return items.front();
}

TEST(MenuDescription, WithoutAWindowItWarnsAndHints)
{
    const auto items = menu(CaptureState::WaitingForWindowSelection{}, std::nullopt);
    EXPECT_THAT(titles(items),
        ElementsAre(" Velmora", "⚠️ No Video Window Selected", "👉 Click \"Choose Video Window...\" below to start", "—",
            "⏺️ Start Recording Live Clip", "—", "🎯 Choose Video Window to Clip...", "—", "🎞️ Recent Clips",
            "📁 Open Clips Folder in Finder", "—", "📖 How to Use & Walkthrough...", "⚙️ Settings...", "—", "✕ Quit Velmora"));
    EXPECT_FALSE(items[1].isEnabled);
    EXPECT_TRUE(items[2].isEnabled);
    EXPECT_EQ(items[2].action, MenuAction::selectWindow);
}

TEST(MenuDescription, WithAWindowItNamesTheStateAndTheTarget)
{
    const auto items = menu(CaptureState::Capturing{bunny}, bunny);
    EXPECT_THAT(titles(items),
        ElementsAre(" Velmora", "🟢 Ready — Press ⌥⌘C to Start Recording", "📺 Target: VLC — Big Buck Bunny", "—",
            "⏺️ Start Recording Live Clip", "—", "🎯 Change Video Window...", "⏹️ Stop Clipping This Window", "—",
            "🎞️ Recent Clips", "📁 Open Clips Folder in Finder", "—", "📖 How to Use & Walkthrough...", "⚙️ Settings...", "—",
            "✕ Quit Velmora"));
    for (const std::size_t line : {1U, 2U}) {
        EXPECT_FALSE(items[line].isEnabled);
        EXPECT_EQ(items[line].action, MenuAction::none);
    }
}

TEST(MenuDescription, WhileRecordingItOffersToStop)
{
    const auto items = menu(CaptureState::RecordingClip{bunny, {}}, bunny);
    EXPECT_EQ(items[1].title, "🔴 Recording Live...");
    EXPECT_EQ(itemWith(items, MenuAction::toggleRecording).title, "⏹️ Stop Recording Clip");
}

TEST(MenuDescription, WhileSavingItSaysSo)
{
    EXPECT_EQ(menu(CaptureState::SavingClip{"saving"}, bunny)[1].title, "⏳ Saving Clip to Disk...");
}

std::map<MenuAction, std::string> captions(const std::vector<MenuItem>& items)
{
    std::map<MenuAction, std::string> found;
    for (const auto& item : items) {
        if (!item.caption.empty() && item.action != MenuAction::openFolder)
            found[item.action] = item.caption;
    }
    return found;
}

TEST(MenuDescription, WhileRecordingItSaysWhatWouldEndItUnsavedBeforeThatIsChosen)
{
    const CaptureState state{CaptureState::RecordingClip{bunny, {}}};
    const std::optional window{bunny};
    EXPECT_THAT(captions(describeMenu({.state = state, .selectedWindow = window, .recentClips = {}, .isRecording = true})),
        ElementsAre(std::pair{MenuAction::selectWindow, "Choosing a window ends the recording without saving it."},
            std::pair{MenuAction::stopCapture, "Ends the recording without saving it."},
            std::pair{MenuAction::quit, "Ends the recording without saving it."}));
}

TEST(MenuDescription, ARecordingThatIsBeingSavedIsNoLongerEndedByAnything)
{
    EXPECT_TRUE(captions(menu(CaptureState::RecordingClip{bunny, {}}, bunny)).empty());
    EXPECT_TRUE(captions(menu(CaptureState::Capturing{bunny}, bunny)).empty());
}

TEST(MenuDescription, WhatIsSaidOfTheStateStandsAtItsRow)
{
    const CaptureState state{CaptureState::CaptureUnavailable{"no pixels"}};
    for (const auto& window : {std::optional{bunny}, std::optional<CapturedWindowInfo>{}}) {
        const auto items = describeMenu({.state = state, .selectedWindow = window, .recentClips = {}, .stateCaption = "said"});
        EXPECT_EQ(items[1].title, window ? "🟢 Ready — Press ⌥⌘C to Start Recording" : "⚠️ No Video Window Selected");
        EXPECT_EQ(items[1].caption, "said");
        EXPECT_EQ(captions(items).size(), 1U);
    }
}

TEST(MenuDescription, EveryOtherStateWithAWindowIsReady)
{
    for (const CaptureState::Case& state : {CaptureState::Case{CaptureState::CaptureUnavailable{"gone"}},
             CaptureState::Case{CaptureState::NotConfigured{}}, CaptureState::Case{CaptureState::WaitingForWindowSelection{}}})
        EXPECT_EQ(menu(state, bunny)[1].title, "🟢 Ready — Press ⌥⌘C to Start Recording");
}

TEST(MenuDescription, TheToggleIsAlwaysEnabledAndShowsTheGlobalShortcut)
{
    for (const auto& window : {std::optional{bunny}, std::optional<CapturedWindowInfo>{}}) {
        const auto items = menu(CaptureState::WaitingForWindowSelection{}, window);
        const auto& toggle = itemWith(items, MenuAction::toggleRecording);
        EXPECT_TRUE(toggle.isEnabled);
        EXPECT_EQ(toggle.keyEquivalent, (KeyEquivalent{'c', true, true}));
    }
}

TEST(MenuDescription, KeysGoWithCommand)
{
    const auto items = menu(CaptureState::Capturing{bunny}, bunny);
    const std::map<MenuAction, char> keys{{MenuAction::openFolder, 'o'}, {MenuAction::openSettings, ','}, {MenuAction::quit, 'q'}};
    for (const auto& [action, key] : keys)
        EXPECT_EQ(itemWith(items, action).keyEquivalent, (KeyEquivalent{key, true, false}));
    EXPECT_EQ(items[6].keyEquivalent, (KeyEquivalent{'w', true, false}));
    EXPECT_FALSE(itemWith(items, MenuAction::openGuide).keyEquivalent);
    EXPECT_FALSE(itemWith(items, MenuAction::stopCapture).keyEquivalent);
}

TEST(MenuDescription, OfSevenClipsTheSubmenuListsTheFiveNewest)
{
    const auto items = menu(CaptureState::WaitingForWindowSelection{}, std::nullopt, clips(7));
    const auto& recent = items[8];
    EXPECT_EQ(recent.submenuTitle, "Recent Clips");
    EXPECT_TRUE(recent.isEnabled);
    EXPECT_THAT(titles(recent.submenu), ElementsAre("1.mp4 (12:34)", "2.mp4 (12:34)", "3.mp4 (12:34)", "4.mp4 (12:34)", "5.mp4 (12:34)"));
    EXPECT_EQ(recent.submenu[1].action, MenuAction::openRecentClip);
    EXPECT_EQ(recent.submenu[1].representedFile, "/clips/2.mp4");
    EXPECT_EQ(recent.submenu[1].ending, " (12:34)");
}

TEST(MenuDescription, OfTwoClipsTheSubmenuListsBoth)
{
    EXPECT_EQ(menu(CaptureState::WaitingForWindowSelection{}, std::nullopt, clips(2))[8].submenu.size(), 2U);
}

TEST(MenuDescription, WithoutClipsTheSubmenuSaysSo)
{
    const auto items = menu(CaptureState::WaitingForWindowSelection{}, std::nullopt);
    ASSERT_THAT(titles(items[8].submenu), ElementsAre("No clips saved yet"));
    EXPECT_FALSE(items[8].submenu[0].isEnabled);
    EXPECT_EQ(items[8].submenu[0].action, MenuAction::none);
}

TEST(MenuDescription, TheClipsFoldersCaptionNamesTheFileBrowserThatIsInstalled)
{
    const CaptureState state{CaptureState::WaitingForWindowSelection{}};
    const auto caption = [&](const std::string& name) {
        const auto items = describeMenu({.state = state, .selectedWindow = std::nullopt, .recentClips = {}, .fileBrowser = name});
        const auto row = std::find_if(items.begin(), items.end(), [](const auto& item) { return item.action == MenuAction::openFolder; });
        return row->caption;
    };
    EXPECT_EQ(caption("Thunar"), "Opens it in Thunar on this desktop.");
    EXPECT_EQ(caption(""), "Opens it in the file manager on this desktop.");
}

}  // namespace
}  // namespace velmora

#include "app/menu/MenuDescription.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

MenuItem separator()
{
    MenuItem item;
    item.kind = MenuItem::Kind::separator;
    item.isEnabled = false;
    return item;
}

MenuItem header()
{
    MenuItem item;
    item.kind = MenuItem::Kind::header;
    item.title = " Velmora";
    return item;
}

MenuItem label(std::string title)
{
    MenuItem item;
    item.title = std::move(title);
    item.isEnabled = false;
    return item;
}

MenuItem remark(std::string text)
{
    auto item = label(std::move(text));
    item.kind = MenuItem::Kind::remark;
    return item;
}

MenuItem withCaption(MenuItem item, std::string caption)
{
    item.caption = std::move(caption);
    return item;
}

MenuItem command(std::string title, MenuAction action, std::optional<KeyEquivalent> keyEquivalent = std::nullopt)
{
    MenuItem item;
    item.title = std::move(title);
    item.action = action;
    item.keyEquivalent = keyEquivalent;
    return item;
}

KeyEquivalent withCommand(char key)
{
    return {key, true, false};
}

constexpr const char* endsUnsaved = "Ends the recording without saving it.";
constexpr const char* choiceEndsUnsaved = "Choosing a window ends the recording without saving it.";

std::string statusLine(const CaptureState& state)
{
    if (state.is<CaptureState::SavingClip>())
        return "⏳ Saving Clip to Disk...";
    if (state.is<CaptureState::RecordingClip>())
        return "🔴 Recording Live...";
    return "🟢 Ready — Press ⌥⌘C to Start Recording";
}

MenuItem recentClips(const std::vector<ClipItem>& clips)
{
    MenuItem item;
    item.title = "🎞️ Recent Clips";
    item.submenuTitle = "Recent Clips";
    for (std::size_t i = 0; i < std::min(clips.size(), recentClipCount); ++i) {
        const std::string ending = " (" + clips[i].formattedDuration() + ")";
        item.submenu.push_back(command(clips[i].filename() + ending, MenuAction::openRecentClip));
        item.submenu.back().ending = ending;
        item.submenu.back().representedFile = clips[i].url;
    }
    if (item.submenu.empty())
        item.submenu.push_back(label("No clips saved yet"));
    return item;
}

}  // namespace

MenuItem showClipsItem()
{
    return command("🎬 Show All Clips...", MenuAction::showClips);
}

MenuItem pauseItem(bool isPaused)
{
    return command(isPaused ? "▶️ Resume Recording" : "⏸️ Pause Recording", MenuAction::togglePause);
}

bool differOnlyInCaptions(const std::vector<MenuItem>& menu, const std::vector<MenuItem>& other)
{
    return std::equal(menu.begin(), menu.end(), other.begin(), other.end(), [](MenuItem item, const MenuItem& counterpart) {
        item.caption = counterpart.caption;
        return item == counterpart;
    });
}

std::vector<MenuItem> describeMenu(const MenuContent& content)
{
    const bool hasWindow = content.selectedWindow.has_value();
    // What ends the capture discards a recording, and nothing asks before.
    const auto discarding = [&content](MenuItem item, const char* caption) {
        return withCaption(std::move(item), content.isRecording ? caption : "");
    };
    std::vector<MenuItem> items{header()};
    if (hasWindow) {
        items.push_back(withCaption(label(statusLine(content.state)), content.stateCaption));
        items.push_back(label("📺 Target: " + content.selectedWindow->displayName()));
    } else {
        items.push_back(withCaption(label("⚠️ No Video Window Selected"), content.stateCaption));
        items.push_back(command("👉 Click \"Choose Video Window...\" below to start", MenuAction::selectWindow));
    }
    if (!content.notice.empty())
        items.push_back(remark(content.notice));
    items.push_back(separator());
    items.push_back(
        command(content.state.is<CaptureState::RecordingClip>() ? "⏹️ Stop Recording Clip" : "⏺️ Start Recording Live Clip",
            MenuAction::toggleRecording, KeyEquivalent{'c', true, true}));
    items.push_back(separator());
    items.push_back(discarding(
        command(hasWindow ? "🎯 Change Video Window..." : "🎯 Choose Video Window to Clip...", MenuAction::selectWindow, withCommand('w')),
        choiceEndsUnsaved));
    if (hasWindow)
        items.push_back(discarding(command("⏹️ Stop Clipping This Window", MenuAction::stopCapture), endsUnsaved));
    items.push_back(separator());
    items.push_back(recentClips(content.recentClips));
    items.push_back(withCaption(command("📁 Open Clips Folder in Finder", MenuAction::openFolder, withCommand('o')),
        "Opens it in " + (content.fileBrowser.empty() ? std::string{"the file manager"} : content.fileBrowser) + " on this desktop."));
    items.push_back(separator());
    items.push_back(command("📖 How to Use & Walkthrough...", MenuAction::openGuide));
    items.push_back(command("⚙️ Settings...", MenuAction::openSettings, withCommand(',')));
    items.push_back(separator());
    items.push_back(discarding(command("✕ Quit Velmora", MenuAction::quit, withCommand('q')), endsUnsaved));
    return items;
}

}  // namespace velmora

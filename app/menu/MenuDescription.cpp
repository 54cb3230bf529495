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

std::vector<MenuItem> describeMenu(const MenuContent& content)
{
    const bool hasWindow = content.selectedWindow.has_value();
    std::vector<MenuItem> items{header()};
    if (hasWindow) {
        items.push_back(label(statusLine(content.state)));
        items.push_back(label("📺 Target: " + content.selectedWindow->displayName()));
    } else {
        items.push_back(label("⚠️ No Video Window Selected"));
        items.push_back(command("👉 Click \"Choose Video Window...\" below to start", MenuAction::selectWindow));
    }
    if (!content.notice.empty())
        items.push_back(label(content.notice));
    items.push_back(separator());
    items.push_back(
        command(content.state.is<CaptureState::RecordingClip>() ? "⏹️ Stop Recording Clip" : "⏺️ Start Recording Live Clip",
            MenuAction::toggleRecording, KeyEquivalent{'c', true, true}));
    items.push_back(separator());
    items.push_back(
        command(hasWindow ? "🎯 Change Video Window..." : "🎯 Choose Video Window to Clip...", MenuAction::selectWindow, withCommand('w')));
    if (hasWindow)
        items.push_back(command("⏹️ Stop Clipping This Window", MenuAction::stopCapture));
    items.push_back(separator());
    items.push_back(recentClips(content.recentClips));
    items.push_back(command("📁 Open Clips Folder in Finder", MenuAction::openFolder, withCommand('o')));
    items.push_back(separator());
    items.push_back(command("📖 How to Use & Walkthrough...", MenuAction::openGuide));
    items.push_back(command("⚙️ Settings...", MenuAction::openSettings, withCommand(',')));
    items.push_back(separator());
    items.push_back(command("✕ Quit Velmora", MenuAction::quit, withCommand('q')));
    return items;
}

}  // namespace velmora

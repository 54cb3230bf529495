// The windows, displays and applications of an X server.
#pragma once

#include "base/SerialQueue.h"
#include "platform/ShareableContent.h"
#include "platform/SoundActivity.h"
#include "platform/WindowIcons.h"
#include "platform/linux/x11/DesktopEntries.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace velmora::linux_backend {

/// Lists the windows that the window manager manages (EWMH _NET_CLIENT_LIST_STACKING, else _NET_CLIENT_LIST; else those with
/// WM_STATE, and without a window manager the mapped top-level windows), topmost first.
///
/// A window's frame is its client area in the root's pixels without shadows that its program draws. Layer 0 is a window of type
/// normal, dialog, utility or none. A window is on screen when it is viewable, not minimised and on the current workspace. Its
/// application's name is from its desktop entry, else its class; the bundle identifier is the class, else the executable's name; the
/// process is 0 when it is unknown or on another machine.
///
/// Each query makes a connection of its own on a queue of this object, where its completion runs too; a list of 100 windows takes a
/// handful of round trips. Icons have a second queue, so that no list waits for them. Callable from any thread.
class X11ShareableContent final : public platform::ShareableContentProvider, public platform::WindowIcons {
public:
    /// Draws an icon of a desktop entry, by its name in the desktop's theme or by its path. Called on the icons' queue.
    using ThemedIcon = std::function<std::optional<platform::ApplicationIcon>(const std::string& icon, const std::string& theme, int side)>;

    /// `displayName` as in DISPLAY; empty: that variable. Without `themedIcon` only the icons count that windows bring themselves.
    explicit X11ShareableContent(std::string displayName = "", DesktopEntries entries = DesktopEntries::fromEnvironment(),
        ThemedIcon themedIcon = {}, std::shared_ptr<platform::SoundActivity> soundActivity = nullptr);

    void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly, Completion completion) override;

    [[nodiscard]] platform::WindowIcons* icons() override { return this; }
    [[nodiscard]] platform::SoundActivity* soundActivity() override { return soundActivity_.get(); }

    /// The icon of the window's desktop entry, else its own. Where an icon cannot be read, that of the next window is.
    void findIcons(std::vector<std::uint32_t> windowIDs, int side, Found found) override;

private:
    struct State;

    const std::shared_ptr<platform::SoundActivity> soundActivity_;
    std::shared_ptr<State> state_;  // kept by the queues' work
    SerialQueue queue_;
    SerialQueue iconQueue_;
};

}  // namespace velmora::linux_backend

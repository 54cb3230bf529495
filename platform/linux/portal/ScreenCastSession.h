// A window that the user shares through the desktop's portal (org.freedesktop.portal.ScreenCast).
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "platform/linux/kernel/FileDescriptor.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace velmora::linux_backend {

/// What the desktop hands out for one window.
struct SharedWindow {
    std::uint32_t nodeID = 0;
    FileDescriptor remote;  ///< a connection to PipeWire that may see the node
    std::string restoreToken;  ///< good for one later session; empty: the user is to be asked again
};

/// Asks the desktop to share one window, cursor drawn in, until the user revokes it; the desktop shows its own chooser, unless
/// `restoreToken` stands for a window that is still there. The window is shared as long as this object lives: deleting it closes the
/// chooser or ends the sharing. Main thread only, with a Qt event loop; nothing here waits.
class ScreenCastSession {
public:
    /// The window; none when the user cancelled; an error when the desktop cannot share windows or refused. Once.
    using Opened = UniqueFunction<void(Result<std::optional<SharedWindow>>)>;
    /// The desktop has ended the sharing: the window was closed, or the user stopped it. At most once, only after the window was handed out.
    using Closed = UniqueFunction<void()>;

    /// `busAddress` empty: the session bus. The callbacks are called later, never after the session is gone; they may delete it.
    ScreenCastSession(const std::string& busAddress, std::string restoreToken, Opened opened, Closed closed);
    ~ScreenCastSession();
    ScreenCastSession(const ScreenCastSession&) = delete;
    ScreenCastSession& operator=(const ScreenCastSession&) = delete;

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

/// Asks whether the portal of this session can share windows; an error says why not. `completion` is called once, later, on the main
/// thread: a portal may have to be started for the answer.
void askWhetherWindowsCanBeShared(const std::string& busAddress, UniqueFunction<void(Result<void>)> completion);

}  // namespace velmora::linux_backend

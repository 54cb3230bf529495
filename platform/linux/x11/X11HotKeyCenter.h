// Hot keys of an X server.
#pragma once

#include "base/SerialQueue.h"
#include "platform/HotKeyCenter.h"
#include "platform/linux/x11/X11EventThread.h"

#include <atomic>
#include <memory>

namespace velmora::linux_backend {

class KeyGrabs;

/// Statuses of a registration that failed. Positive ones are error codes of the X protocol.
namespace hot_key_status {
inline constexpr platform::HotKeyStatus taken = 10;  ///< BadAccess: the combination is another program's, or ours already
inline constexpr platform::HotKeyStatus displayUnavailable = -1;  ///< the X display cannot be reached, or was lost
inline constexpr platform::HotKeyStatus keyMissing = -2;  ///< not the position of a key, or the server's keyboard ends before it
inline constexpr platform::HotKeyStatus modifierMissing = -3;  ///< no modifier, or one that no key of this keyboard gives
}  // namespace hot_key_status

/// Grabs the combinations on the root window (XGrabKey) with any state of CapsLock and NumLock: a press goes to no other program.
/// Option is Alt, Command is Super. While a menu or a screen lock has the keyboard to itself, no press arrives.
class X11HotKeyCenter final : public platform::HotKeyCenter, public platform::KeyTexts {
public:
    /// Connects with the first registration. Handlers are called by way of `mainExecutor`.
    X11HotKeyCenter(std::shared_ptr<X11EventThread> events, std::shared_ptr<Executor> mainExecutor);
    ~X11HotKeyCenter() override;
    X11HotKeyCenter(const X11HotKeyCenter&) = delete;
    X11HotKeyCenter& operator=(const X11HotKeyCenter&) = delete;

    tl::expected<EventHandlerReference, platform::HotKeyStatus> installEventHandler(EventHandler handler) override;
    void removeEventHandler(EventHandlerReference reference) override;

    tl::expected<HotKeyReference, platform::HotKeyStatus> registerEventHotKey(
        std::uint32_t keyCode, std::uint32_t modifiers, platform::HotKeyID hotKeyID) override;
    void unregisterEventHotKey(HotKeyReference reference) override;

    [[nodiscard]] platform::KeyTexts* keyTexts() override { return this; }

    /// Under the layout that is in use at the call. From the first registration on the observer hears of a new mapping, but not of the
    /// user's switching from one layout of that mapping to the next.
    [[nodiscard]] std::string keyText(std::uint32_t keyCode) const override;
    void observeKeyTexts(std::function<void()> changed) override;

private:
    struct State;

    const std::shared_ptr<X11EventThread> events_;
    const std::shared_ptr<Executor> mainExecutor_;
    const std::shared_ptr<State> state_;
    const std::shared_ptr<std::atomic<bool>> areKeyTextsObserved_ = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<KeyGrabs> grabs_;  // the thread's; null until the first registration
};

}  // namespace velmora::linux_backend

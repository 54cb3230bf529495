// Hot keys that the desktop binds for a program (org.freedesktop.portal.GlobalShortcuts).
#pragma once

#include "platform/HotKeyCenter.h"

#include <memory>
#include <string>

namespace velmora::linux_backend {

/// Statuses of a registration that failed, beside HotKeyCenter::pending.
namespace hot_key_status {
inline constexpr platform::HotKeyStatus portalMissing = -11;  ///< no portal answers, or this desktop's has no shortcuts
inline constexpr platform::HotKeyStatus portalRefused = -12;  ///< the portal or the user said no, or the desktop has taken it back
inline constexpr platform::HotKeyStatus unbound = -13;  ///< the desktop knows the shortcut, but has no keys for it
}  // namespace hot_key_status

struct PortalHotKeyCenterOptions {
    std::string busAddress = {};  ///< empty: the session bus
    std::string desktop = {};  ///< as XDG_CURRENT_DESKTOP names it; empty: that of the environment
};

/// The first registration asks the desktop, which may ask its user, and is pending; once it is decided, registering the same again says
/// how. One hot key at a time. The keys are a wish: the desktop, and its user at any time, may choose others. A registration that has
/// failed is asked for again when it is made again.
class PortalHotKeyCenter final : public platform::HotKeyCenter, public platform::HotKeyDecisions {
public:
    explicit PortalHotKeyCenter(const PortalHotKeyCenterOptions& options = {});
    ~PortalHotKeyCenter() override;
    PortalHotKeyCenter(const PortalHotKeyCenter&) = delete;
    PortalHotKeyCenter& operator=(const PortalHotKeyCenter&) = delete;

    tl::expected<EventHandlerReference, platform::HotKeyStatus> installEventHandler(EventHandler handler) override;
    void removeEventHandler(EventHandlerReference reference) override;
    tl::expected<HotKeyReference, platform::HotKeyStatus> registerEventHotKey(
        std::uint32_t keyCode, std::uint32_t modifiers, platform::HotKeyID hotKeyID) override;
    void unregisterEventHotKey(HotKeyReference reference) override;

    [[nodiscard]] platform::HotKeyDecisions* decisions() override { return this; }
    void observeDecisions(std::function<void()> changed) override;
    [[nodiscard]] std::string explanation() const override;
    [[nodiscard]] std::string boundKeys(HotKeyReference reference) const override;

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace velmora::linux_backend

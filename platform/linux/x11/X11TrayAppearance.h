// The colours that an XEmbed tray gives its icons.
#pragma once

#include "platform/TrayAppearance.h"
#include "platform/linux/x11/Connection.h"

#include <memory>
#include <string>

namespace velmora::linux_backend {

/// By the freedesktop.org System Tray Protocol 0.3, _NET_SYSTEM_TRAY_COLORS. Asks the server each time; connects when it is first
/// used. A panel that hosts items of both kinds draws both on the same background.
class X11TrayAppearance final : public platform::TrayAppearance {
public:
    /// `displayName` as in DISPLAY; empty means that variable.
    explicit X11TrayAppearance(std::string displayName = "") : displayName_(std::move(displayName)) { }

    [[nodiscard]] std::optional<platform::ItemColor> itemColor() override;

private:
    std::string displayName_;
    std::unique_ptr<Connection> connection_;
};

}  // namespace velmora::linux_backend

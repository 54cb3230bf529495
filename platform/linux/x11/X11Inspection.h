// What an X server is, for a report.
#pragma once

#include "base/Result.h"
#include "platform/DesktopInspection.h"

#include <cstdint>
#include <string>

namespace velmora::linux_backend {

struct X11Facts {
    std::string server;  ///< who made it and its release number
    platform::DesktopFacts::Shortcut::State shortcut = platform::DesktopFacts::Shortcut::State::unknown;
    bool hasTray = false;  ///< XEmbed
};

/// Fails where the server cannot be reached, or lacks what captures need. Takes the shortcut and gives it back. `displayName` as in
/// DISPLAY; empty: that variable. Waits for the server.
[[nodiscard]] Result<X11Facts> inspectX11(std::uint32_t keyCode, std::uint32_t modifiers, const std::string& displayName = "");

}  // namespace velmora::linux_backend

// Bringing a window of ours to the front, by the rules of EWMH.
#pragma once

#include "platform/WindowActivation.h"
#include "platform/linux/x11/Connection.h"

#include <memory>
#include <string>
#include <utility>

namespace velmora::linux_backend {

/// Connects when it is first used. Without a server nothing happens and no screen is known.
class X11WindowActivation final : public platform::WindowActivation {
public:
    /// `displayName` as in DISPLAY; empty means that variable.
    explicit X11WindowActivation(std::string displayName = "") : displayName_(std::move(displayName)) { }

    void activate(std::uint64_t nativeWindow) override;
    [[nodiscard]] std::optional<platform::ScreenFrames> mainScreen() override;

private:
    bool connect();
    [[nodiscard]] xcb_timestamp_t serverTime(xcb_window_t window) const;

    const std::string displayName_;
    std::unique_ptr<Connection> connection_;
};

}  // namespace velmora::linux_backend

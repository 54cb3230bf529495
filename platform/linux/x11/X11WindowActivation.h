// Bringing a window of ours to the front, by the rules of EWMH.
#pragma once

#include "platform/WindowActivation.h"
#include "platform/linux/x11/Connection.h"

#include <memory>

namespace velmora::linux_backend {

/// Connects when it is first used. Without a server nothing happens.
class X11WindowActivation final : public platform::WindowActivation {
public:
    void activate(std::uint64_t nativeWindow) override;

private:
    [[nodiscard]] xcb_timestamp_t serverTime(xcb_window_t window) const;

    std::unique_ptr<Connection> connection_;
};

}  // namespace velmora::linux_backend

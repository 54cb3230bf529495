// Whether windows can be captured through the desktop's portal.
#pragma once

#include "platform/ScreenCaptureAccess.h"

#include <string>

namespace velmora::linux_backend {

/// There is access when the portal can share single windows: which ones, its user decides window by window. A portal that does not run is
/// started by the question, which waits for it a few seconds; a good answer is remembered.
class PortalScreenCaptureAccess final : public platform::ScreenCaptureAccess {
public:
    /// `busAddress` empty: the session bus.
    explicit PortalScreenCaptureAccess(std::string busAddress = "");

    [[nodiscard]] bool preflightScreenCaptureAccess() override;
    bool requestScreenCaptureAccess() override { return preflightScreenCaptureAccess(); }
    [[nodiscard]] std::string explanation() const override { return explanation_; }

private:
    const std::string busAddress_;
    bool isThere_ = false;
    std::string explanation_;
};

}  // namespace velmora::linux_backend

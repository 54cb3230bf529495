// Whether windows of this X session can be captured.
#pragma once

#include "platform/ScreenCaptureAccess.h"

#include <string>

namespace velmora::linux_backend {

/// An X server asks nobody: there is access when it can be reached and offers what captures need (X11VideoSource::checkAvailable).
/// Each question makes a connection of its own; nothing is remembered but the explanation.
class X11ScreenCaptureAccess final : public platform::ScreenCaptureAccess {
public:
    /// `displayName` as in DISPLAY; empty: that variable.
    explicit X11ScreenCaptureAccess(std::string displayName = "");

    [[nodiscard]] bool preflightScreenCaptureAccess() override;
    bool requestScreenCaptureAccess() override;
    [[nodiscard]] std::string explanation() const override { return explanation_; }

private:
    const std::string displayName_;
    std::string explanation_;
};

}  // namespace velmora::linux_backend

// Whether windows can be captured through the desktop's portal.
#pragma once

#include "platform/ScreenCaptureAccess.h"

#include <memory>
#include <string>

namespace velmora::linux_backend {

/// There is access when the portal can share single windows: which ones, its user decides window by window. Every question asks the portal
/// again (which may have to be started for it) until the answer is a good one.
class PortalScreenCaptureAccess final : public platform::ScreenCaptureAccess, public platform::LateAccess {
public:
    /// `busAddress` empty: the session bus.
    explicit PortalScreenCaptureAccess(std::string busAddress = "");
    ~PortalScreenCaptureAccess() override;
    PortalScreenCaptureAccess(const PortalScreenCaptureAccess&) = delete;
    PortalScreenCaptureAccess& operator=(const PortalScreenCaptureAccess&) = delete;

    [[nodiscard]] bool preflightScreenCaptureAccess() override;
    bool requestScreenCaptureAccess() override { return preflightScreenCaptureAccess(); }
    [[nodiscard]] platform::LateAccess* lateAccess() override { return this; }
    void observeAccess(std::function<void()> changed) override;
    [[nodiscard]] std::string explanation() const override;

private:
    struct State;

    const std::string busAddress_;
    const std::shared_ptr<State> state_;
};

}  // namespace velmora::linux_backend

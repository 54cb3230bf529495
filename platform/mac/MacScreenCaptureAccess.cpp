#include "platform/mac/MacScreenCaptureAccess.h"

#include <CoreGraphics/CoreGraphics.h>

namespace velmora::mac_backend {

namespace {

class MacScreenCaptureAccess final : public platform::ScreenCaptureAccess {
public:
    [[nodiscard]] bool preflightScreenCaptureAccess() override { return note(CGPreflightScreenCaptureAccess()); }

    bool requestScreenCaptureAccess() override
    {
        wasRequested_ = true;
        return note(CGRequestScreenCaptureAccess());
    }

    [[nodiscard]] std::string explanation() const override
    {
        // A program that was running when access was given gets it with its next start.
        if (hasAccess_ || !wasRequested_)
            return {};
        return "If Velmora is allowed in System Settings already, it has to be started again.";
    }

private:
    bool note(bool hasAccess)
    {
        hasAccess_ = hasAccess;
        return hasAccess;
    }

    bool hasAccess_ = false;
    bool wasRequested_ = false;
};

}  // namespace

std::shared_ptr<platform::ScreenCaptureAccess> makeScreenCaptureAccess()
{
    return std::make_shared<MacScreenCaptureAccess>();
}

}  // namespace velmora::mac_backend

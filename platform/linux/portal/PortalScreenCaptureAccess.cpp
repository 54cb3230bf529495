#include "platform/linux/portal/PortalScreenCaptureAccess.h"

#include "platform/linux/portal/ScreenCastSession.h"

#include <optional>
#include <utility>

namespace velmora::linux_backend {

/// Pending answers hold it weakly.
struct PortalScreenCaptureAccess::State {
    void learn(const Result<void>& answer)
    {
        isAsking = false;
        const bool hadAccess = hasAccess;
        isSure = answer.has_value();
        hasAccess = isSure;
        explanation = answer ? std::string{} : answer.error().localizedDescription;
        if (const auto observer = changed; observer && hadAccess != hasAccess)
            observer();
    }

    bool isAsking = false;
    bool isSure = false;
    bool hasAccess = true;
    std::string explanation;
    std::function<void()> changed;
};

PortalScreenCaptureAccess::PortalScreenCaptureAccess(std::string busAddress)
    : busAddress_(std::move(busAddress))
    , state_(std::make_shared<State>())
{
}

PortalScreenCaptureAccess::~PortalScreenCaptureAccess() = default;

bool PortalScreenCaptureAccess::preflightScreenCaptureAccess()
{
    if (!state_->isSure && !std::exchange(state_->isAsking, true)) {
        askWhetherWindowsCanBeShared(busAddress_, [weak = std::weak_ptr(state_)](const Result<void>& answer) {
            if (const auto state = weak.lock())
                state->learn(answer);
        });
    }
    return state_->hasAccess;
}

void PortalScreenCaptureAccess::observeAccess(std::function<void()> changed)
{
    state_->changed = std::move(changed);
}

std::string PortalScreenCaptureAccess::explanation() const
{
    return state_->explanation;
}

}  // namespace velmora::linux_backend

#include "capture/CaptureState.h"

namespace velmora {

namespace {

struct Description {
    std::string operator()(const CaptureState::Capturing& state) const { return "Capturing: " + state.window.displayName(); }
    std::string operator()(const CaptureState::SavingClip& state) const { return state.message; }
    std::string operator()(const CaptureState::RecordingClip& state) const { return "Recording: " + state.window.appName; }
    std::string operator()(const CaptureState::CaptureUnavailable& state) const { return "Capture unavailable (" + state.message + ")"; }
    std::string operator()(const CaptureState::NotConfigured&) const { return "Not configured"; }
    std::string operator()(const CaptureState::WaitingForWindowSelection&) const { return "Waiting for window selection"; }
};

}  // namespace

std::string CaptureState::statusDescription() const
{
    return std::visit(Description{}, case_);
}

}  // namespace velmora

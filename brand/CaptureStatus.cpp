#include "brand/CaptureStatus.h"

#include "brand/BrandColors.h"

namespace velmora {

CaptureStatus::CaptureStatus() : CaptureStatus(CaptureState{CaptureState::WaitingForWindowSelection{}}) { }

CaptureStatus::CaptureStatus(const CaptureState& state)
{
    if (state.is<CaptureState::Capturing>()) {
        label_ = QStringLiteral("Ready");
        color_ = BrandColors::green;
    } else if (state.is<CaptureState::RecordingClip>()) {
        label_ = QStringLiteral("Recording");
        color_ = BrandColors::coral;
    } else if (state.is<CaptureState::SavingClip>()) {
        label_ = QStringLiteral("Saving");
        color_ = BrandColors::snowSlate;
    } else if (state.is<CaptureState::CaptureUnavailable>()) {
        label_ = QStringLiteral("Unavailable");
        color_ = BrandColors::amber;
    } else if (state.is<CaptureState::NotConfigured>()) {
        label_ = QStringLiteral("Not Configured");
        color_ = BrandColors::amber;
    } else {
        label_ = QStringLiteral("No Window");
        color_ = BrandColors::secondarySlate;
    }
}

}  // namespace velmora

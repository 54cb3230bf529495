#include "brand/CaptureStatus.h"

#include "brand/BrandColors.h"

namespace velmora {

namespace {

const QColor green{0x30, 0xD1, 0x58};
const QColor amber{0xFB, 0xBF, 0x24};
const QColor grey{0x94, 0xA3, 0xB8};

}  // namespace

CaptureStatus::CaptureStatus() : CaptureStatus(CaptureState{CaptureState::WaitingForWindowSelection{}}) { }

CaptureStatus::CaptureStatus(const CaptureState& state)
{
    if (state.is<CaptureState::Capturing>()) {
        label_ = QStringLiteral("Ready");
        color_ = green;
    } else if (state.is<CaptureState::RecordingClip>()) {
        label_ = QStringLiteral("Recording");
        color_ = BrandColors::coral;
    } else if (state.is<CaptureState::SavingClip>()) {
        label_ = QStringLiteral("Saving");
        color_ = BrandColors::snowSlate;
    } else if (state.is<CaptureState::CaptureUnavailable>()) {
        label_ = QStringLiteral("Unavailable");
        color_ = amber;
    } else if (state.is<CaptureState::NotConfigured>()) {
        label_ = QStringLiteral("Not Configured");
        color_ = amber;
    } else {
        label_ = QStringLiteral("No Window");
        color_ = grey;
    }
}

}  // namespace velmora

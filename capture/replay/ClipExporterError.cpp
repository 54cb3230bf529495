#include "capture/replay/ClipExporterError.h"

#include <cassert>

namespace velmora {

ClipExporterError ClipExporterError::writerInitializationFailed(Error underlying)
{
    return ClipExporterError{Case::writerInitializationFailed, std::move(underlying)};
}

ClipExporterError ClipExporterError::writingFailed(std::optional<Error> underlying)
{
    return ClipExporterError{Case::writingFailed, std::move(underlying)};
}

ClipExporterError ClipExporterError::emptyBuffer()
{
    return ClipExporterError{Case::emptyBuffer};
}

ClipExporterError ClipExporterError::cannotAddVideoInput()
{
    return ClipExporterError{Case::cannotAddVideoInput};
}

ClipExporterError ClipExporterError::cannotAddAudioInput()
{
    return ClipExporterError{Case::cannotAddAudioInput};
}

ClipExporterError ClipExporterError::outputFileNotFound()
{
    return ClipExporterError{Case::outputFileNotFound};
}

std::string ClipExporterError::errorDescription() const
{
    switch (case_) {
    case Case::writerInitializationFailed:
        return "Failed to initialize AVAssetWriter: " + underlying_->localizedDescription;
    case Case::writingFailed:
        return "Failed to export MP4 clip: " + (underlying_ ? underlying_->localizedDescription : std::string{"Unknown writer failure"});
    case Case::emptyBuffer:
        return "Cannot export clip: the video buffer contains no frames.";
    case Case::cannotAddVideoInput:
        return "Failed to attach video input to MP4 writer.";
    case Case::cannotAddAudioInput:
        return "Failed to attach audio input to MP4 writer.";
    case Case::outputFileNotFound:
        return "Clip export reported success, but the output file could not be found.";
    }
    assert(false);
    return {};
}

Error ClipExporterError::asError() const
{
    return {std::string{domain}, static_cast<int>(case_), errorDescription(),
        underlying_ ? std::make_shared<const Error>(*underlying_) : nullptr};
}

std::optional<ClipExporterError> ClipExporterError::from(const Error& error)
{
    if (error.domain != domain)
        return std::nullopt;
    return ClipExporterError{static_cast<Case>(error.code), error.underlying ? std::optional<Error>{*error.underlying} : std::nullopt};
}

}  // namespace velmora

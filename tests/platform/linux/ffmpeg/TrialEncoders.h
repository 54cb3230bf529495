// Encoders for trials: the software encoder, whole and broken.
#pragma once

#include "platform/linux/ffmpeg/VideoEncoder.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace velmora::linux_backend::testing {

inline VideoEncoderSettings settingsFor(std::int32_t width, std::int32_t height)
{
    VideoEncoderSettings settings;
    settings.width = width;
    settings.height = height;
    return settings;
}

inline const VideoEncoderCandidate& softwareEncoder()
{
    return videoEncoderCandidates().back();
}

/// The software encoder under a name or with options that make it useless in one way.
inline VideoEncoderCandidate brokenEncoder(std::vector<VideoEncoderCandidate::Option> more)
{
    VideoEncoderCandidate candidate = softwareEncoder();
    candidate.headerOption.reset();
    candidate.options.insert(candidate.options.end(), more.begin(), more.end());
    return candidate;
}

/// The software encoder with its input and output changed on the way.
class AlteringEncoder final : public VideoEncoder {
public:
    struct Alterations {
        std::function<void(AVFrame&)> picture = [](AVFrame&) {};  ///< before it is encoded
        std::function<void(std::vector<Packet>&)> packets = [](std::vector<Packet>&) {};  ///< all so far, after each picture
        std::function<bool(bool)> asKeyFrame = [](bool wanted) { return wanted; };
    };

    AlteringEncoder(const VideoEncoderSettings& settings, Alterations alterations)
        : encoder_(std::move(*openVideoEncoder(softwareEncoder(), settings)))
        , alterations_(std::move(alterations))
    {
    }

    [[nodiscard]] engine::Yuv420View::Layout layout() const override { return encoder_->layout(); }
    [[nodiscard]] FormatDescriptionRef format() const override { return encoder_->format(); }
    int drain(std::vector<Packet>& packets) override { return encoder_->drain(packets); }

    int encode(AVFrame& picture, std::int64_t time, bool asKeyFrame, std::vector<Packet>& packets) override
    {
        alterations_.picture(picture);
        const int status = encoder_->encode(picture, time, alterations_.asKeyFrame(asKeyFrame), packets);
        alterations_.packets(packets);
        return status;
    }

private:
    std::unique_ptr<VideoEncoder> encoder_;
    Alterations alterations_;
};

}  // namespace velmora::linux_backend::testing

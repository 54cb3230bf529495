// Opus by libavcodec.
#pragma once

#include "platform/linux/ffmpeg/LibavSoundEncoder.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace velmora::linux_backend {

inline constexpr const char* opusEncoderName = "libopus";

/// Takes sound of any sample rate; packets are of 48,000 frames a second, which is the rate of what format() and primingFrames() say. The
/// format is "Opus" with what RFC 7845 5.1 has at the beginning of a stream.
class LibavOpusEncoder final : public LibavSoundEncoder {
public:
    static constexpr std::int32_t sampleRate = 48000;

    /// One or two channels; the settings' format is not looked at.
    static Result<std::unique_ptr<engine::AudioEncoder>> create(const platform::AudioOutputSettings& settings);

    Result<void> encode(std::span<const float> frames, std::vector<Packet>& packets) override;
    Result<void> flush(std::vector<Packet>& packets) override;

private:
    LibavOpusEncoder(AvCodecContext context, AvResampler resampler);
    Result<void> resample(const float* frames, int count, std::vector<Packet>& packets);

    const AvResampler resampler_;
    std::vector<float> pending_;  // resampled, less than a packet of it between calls
    std::vector<float> limited_;
    std::int64_t sentFrames_ = 0;
};

}  // namespace velmora::linux_backend

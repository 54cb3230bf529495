// Opus by libavcodec.
#pragma once

#include "engine/codecs/AudioEncoder.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace velmora::linux_backend {

inline constexpr const char* opusEncoderName = "libopus";

/// Takes sound of any sample rate; packets are of 48,000 frames a second, which is the rate of what format() and primingFrames() say. Used on
/// one thread.
class LibavOpusEncoder final : public engine::AudioEncoder {
public:
    static constexpr std::int32_t sampleRate = 48000;

    /// One or two channels; the settings' format is not looked at.
    static Result<std::unique_ptr<engine::AudioEncoder>> create(const platform::AudioOutputSettings& settings);

    /// "Opus" with what RFC 7845 5.1 has at the beginning of a stream.
    [[nodiscard]] FormatDescriptionRef format() const override { return format_; }
    [[nodiscard]] std::int64_t primingFrames() const override { return context_->initial_padding; }
    Result<void> encode(std::span<const float> frames, std::vector<Packet>& packets) override;
    Result<void> flush(std::vector<Packet>& packets) override;

private:
    LibavOpusEncoder(AvCodecContext context, AvResampler resampler, FormatDescriptionRef format);
    Result<void> resample(const float* frames, int count, std::vector<Packet>& packets);
    Result<void> send(AVFrame* frame, std::vector<Packet>& packets);
    [[nodiscard]] std::size_t channelCount() const { return static_cast<std::size_t>(context_->ch_layout.nb_channels); }

    const AvCodecContext context_;
    const AvResampler resampler_;
    const FormatDescriptionRef format_;
    std::vector<float> pending_;  // resampled, less than a packet of it between calls
    std::vector<float> limited_;
    std::int64_t sentFrames_ = 0;
};

}  // namespace velmora::linux_backend

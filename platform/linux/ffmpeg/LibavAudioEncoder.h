// AAC with libavcodec's own encoder.
#pragma once

#include "platform/linux/ffmpeg/AvHandles.h"
#include "platform/linux/ffmpeg/CodecModule.h"

namespace velmora::linux_backend {

/// AAC-LC in packets of 1024 frames. Values that are not finite are taken as silence: one of them would end the sound for good.
class LibavAudioEncoder final : public engine::AudioEncoder {
public:
    /// Fails for anything but "aac " and for rates, channel counts and bit rates that the encoder does not know.
    static Result<std::unique_ptr<engine::AudioEncoder>> create(const platform::AudioOutputSettings& settings);

    [[nodiscard]] FormatDescriptionRef format() const override { return format_; }
    [[nodiscard]] std::int64_t primingFrames() const override { return context_->initial_padding; }
    Result<void> encode(std::span<const float> frames, std::vector<Packet>& packets) override;
    Result<void> flush(std::vector<Packet>& packets) override;

private:
    LibavAudioEncoder(AvCodecContext context, AvFrame frame, FormatDescriptionRef format);

    Result<void> encodeBlock(std::vector<Packet>& packets);
    Result<void> receive(std::vector<Packet>& packets);

    AvCodecContext context_;
    AvFrame frame_;  ///< the block that is being filled
    FormatDescriptionRef format_;
    int filled_ = 0;  ///< frames in it
    std::int64_t encodedBlocks_ = 0;
    bool ended_ = false;
};

}  // namespace velmora::linux_backend

// AAC with libavcodec's own encoder.
#pragma once

#include "platform/linux/ffmpeg/LibavSoundEncoder.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace velmora::linux_backend {

/// AAC-LC in packets of 1024 frames. Values that are not finite are taken as silence: one of them would end the sound for good.
///
/// Of digital silence only the first blocks are encoded: once the encoder remembers nothing else it makes the same packet over and over, and
/// that is put out again instead. It goes on with the first block that is not silent as if it had encoded all those before.
class LibavAudioEncoder final : public LibavSoundEncoder {
public:
    /// Fails for anything but "aac " and for rates, channel counts and bit rates that the encoder does not know.
    static Result<std::unique_ptr<engine::AudioEncoder>> create(const platform::AudioOutputSettings& settings);

    Result<void> encode(std::span<const float> frames, std::vector<Packet>& packets) override;
    Result<void> flush(std::vector<Packet>& packets) override;

private:
    LibavAudioEncoder(AvCodecContext context, AvFrame frame);

    Result<void> encodeBlock(std::vector<Packet>& packets);
    [[nodiscard]] bool isPacketKnown() const;
    Result<void> sendBlock(const AVFrame* frame, std::vector<Packet>& packets);

    AvFrame frame_;  ///< the block that is being filled
    int filled_ = 0;  ///< frames in it
    bool isSilent_ = true;  ///< they are
    std::int64_t silentBlocks_ = 0;  ///< sent one after another, up to now
    DataBlock lastPacket_;
    bool isLastRepeated_ = false;  ///< the last packet has the bytes of the one before
    std::int64_t encodedBlocks_ = 0;
    bool ended_ = false;
};

}  // namespace velmora::linux_backend

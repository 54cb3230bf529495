// Packets of AAC-LC, by libavcodec.
#pragma once

#include "engine/codecs/SeamCodecs.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <memory>

namespace velmora::linux_backend {

class LibavPacketDecoder final : public engine::PacketDecoder {
public:
    static Result<std::unique_ptr<engine::PacketDecoder>> create(const AudioFormat& format);

    Result<std::vector<float>> decode(std::span<const std::byte> packet) override;

private:
    explicit LibavPacketDecoder(AvCodecContext context) : context_(std::move(context)) { }

    const AvCodecContext context_;
    const AvPacket packet_{av_packet_alloc()};
    const AvFrame frame_{av_frame_alloc()};
};

}  // namespace velmora::linux_backend

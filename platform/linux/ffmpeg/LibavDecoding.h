// What every decoder of libavcodec is given: memory of its own with the padding that it reads beyond the end.
#pragma once

#include "platform/linux/ffmpeg/AvHandles.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <span>

extern "C" {
#include <libavutil/mem.h>
}

namespace velmora::linux_backend {

/// What a decoder knows before the first packet. 0 or an AVERROR.
inline int setExtradata(AVCodecContext& context, std::span<const std::byte> bytes)
{
    if (bytes.empty())
        return 0;
    if (bytes.size() > INT_MAX / 2)
        return AVERROR(EINVAL);
    context.extradata = static_cast<std::uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!context.extradata)
        return AVERROR(ENOMEM);
    std::memcpy(context.extradata, bytes.data(), bytes.size());
    context.extradata_size = static_cast<int>(bytes.size());
    return 0;
}

/// A packet of these bytes. 0 or an AVERROR.
inline int setData(AVPacket& packet, std::span<const std::byte> bytes)
{
    if (bytes.empty() || bytes.size() > INT_MAX - AV_INPUT_BUFFER_PADDING_SIZE)
        return AVERROR_INVALIDDATA;
    if (const int status = av_new_packet(&packet, static_cast<int>(bytes.size())); status < 0)
        return status;
    std::memcpy(packet.data, bytes.data(), bytes.size());
    return 0;
}

}  // namespace velmora::linux_backend

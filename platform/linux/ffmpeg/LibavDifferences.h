// What FFmpeg 5.1 to 9 say differently. Nowhere else is it asked which version this is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/version.h>
#include <libavutil/frame.h>
}

namespace velmora::linux_backend {

// Renamed in 6.1; the old names are gone from 8 on.
#ifdef AV_PROFILE_H264_HIGH
inline constexpr int profileH264High = AV_PROFILE_H264_HIGH;
inline constexpr int profileAacLow = AV_PROFILE_AAC_LOW;
#else
inline constexpr int profileH264High = FF_PROFILE_H264_HIGH;
inline constexpr int profileAacLow = FF_PROFILE_AAC_LOW;
#endif

/// Whether a decoded picture is a key frame: a flag since 6.1, a member of its own until 8.
inline bool isKeyFrame(const AVFrame& frame)
{
#ifdef AV_FRAME_FLAG_KEY
    return (frame.flags & AV_FRAME_FLAG_KEY) != 0;
#else
    return frame.key_frame != 0;
#endif
}

/// Whether a decoded picture is of two fields: a flag since 6.1, a member of its own until 8.
inline bool isInterlaced(const AVFrame& frame)
{
#ifdef AV_FRAME_FLAG_INTERLACED
    return (frame.flags & AV_FRAME_FLAG_INTERLACED) != 0;
#else
    return frame.interlaced_frame != 0;
#endif
}

/// The layouts of pictures that a codec takes; empty where the codec does not say, because its driver decides. A question since 7.1, a
/// member of the codec until 8.
inline std::span<const AVPixelFormat> pixelFormats(const AVCodec& codec)
{
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 13, 100)
    const void* formats = nullptr;
    int count = 0;
    if (avcodec_get_supported_config(nullptr, &codec, AV_CODEC_CONFIG_PIX_FORMAT, 0, &formats, &count) < 0 || !formats)
        return {};
    return {static_cast<const AVPixelFormat*>(formats), static_cast<std::size_t>(count)};
#else
    std::size_t count = 0;
    while (codec.pix_fmts && codec.pix_fmts[count] != AV_PIX_FMT_NONE)
        ++count;
    return {codec.pix_fmts, count};
#endif
}

/// Memory for what a file says beside a stream's samples, such as how its pictures are turned; null where there is none. It belongs to the
/// stream's parameters since 6.1, to the stream itself until 7. `Stream` is AVStream, which the program itself has no use for.
template <typename Stream>
std::uint8_t* newSideData(Stream& stream, AVPacketSideDataType type, std::size_t size)
{
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 30, 100)
    auto& parameters = *stream.codecpar;
    auto* entry = av_packet_side_data_new(&parameters.coded_side_data, &parameters.nb_coded_side_data, type, size, 0);
    return entry ? entry->data : nullptr;
#else
    return av_stream_new_side_data(&stream, type, size);
#endif
}

/// Says what colours the pictures of a filter's source have: asked for since 7.0, taken from each picture before. `Parameters` is
/// AVBufferSrcParameters, which only what filters has a use for.
template <typename Parameters>
void setColourOfSource(Parameters& parameters, const AVFrame& picture)
{
    if constexpr (requires { parameters.color_space; }) {
        parameters.color_space = picture.colorspace;
        parameters.color_range = picture.color_range;
    }
}

}  // namespace velmora::linux_backend

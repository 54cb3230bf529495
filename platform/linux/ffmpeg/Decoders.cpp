#include "platform/linux/ffmpeg/Decoders.h"

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

extern "C" {
#include <libavutil/mem.h>
}

namespace velmora::linux_backend {

namespace {

/// The largest frame of H.264's highest level (ITU-T H.264 A.3.1, level 6.2), 8192 x 4352.
constexpr std::int64_t largestPixelCount = std::int64_t{139264} * 256;

struct KnownCodec {
    FourCharacterCode code;
    AVCodecID codec;
};

AVCodecID find(std::span<const KnownCodec> known, FourCharacterCode code)
{
    for (const auto& entry : known) {
        if (entry.code == code)
            return entry.codec;
    }
    return AV_CODEC_ID_NONE;
}

AVCodecID codecOf(const VideoFormat& format)
{
    constexpr KnownCodec known[] = {
        {"avc1", AV_CODEC_ID_H264},
        {"avc3", AV_CODEC_ID_H264},
        {"hvc1", AV_CODEC_ID_HEVC},
        {"hev1", AV_CODEC_ID_HEVC},
        {"vp09", AV_CODEC_ID_VP9},
        {"av01", AV_CODEC_ID_AV1},
    };
    return find(known, format.codec);
}

AVCodecID codecOf(const AudioFormat& format)
{
    constexpr KnownCodec known[] = {
        {"mp4a", AV_CODEC_ID_AAC},
        {".mp3", AV_CODEC_ID_MP3},
        {"ac-3", AV_CODEC_ID_AC3},
        {"ec-3", AV_CODEC_ID_EAC3},
        {"Opus", AV_CODEC_ID_OPUS},
    };
    const auto codec = find(known, format.codec);
    // What is MPEG sound without a configuration is not AAC (ISO 14496-14 5.6).
    return codec == AV_CODEC_ID_AAC && format.decoderConfiguration.empty() ? AV_CODEC_ID_MP3 : codec;
}

tl::expected<AvCodecContext, int> allocate(AVCodecID id, const std::vector<std::byte>& configuration)
{
    const auto* codec = avcodec_find_decoder(id);
    if (!codec)
        return tl::unexpected(AVERROR_DECODER_NOT_FOUND);
    if (configuration.size() > INT_MAX / 2)
        return tl::unexpected(AVERROR(EINVAL));
    AvCodecContext context{avcodec_alloc_context3(codec)};
    if (!context)
        return tl::unexpected(AVERROR(ENOMEM));
    if (!configuration.empty()) {
        context->extradata = static_cast<std::uint8_t*>(av_mallocz(configuration.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        if (!context->extradata)
            return tl::unexpected(AVERROR(ENOMEM));
        std::memcpy(context->extradata, configuration.data(), configuration.size());
        context->extradata_size = static_cast<int>(configuration.size());
    }
    return context;
}

tl::expected<AvCodecContext, int> open(AvCodecContext context)
{
    if (const int status = avcodec_open2(context.get(), nullptr, nullptr); status < 0)
        return tl::unexpected(status);
    return context;
}

}  // namespace

tl::expected<AvCodecContext, int> openDecoder(const VideoFormat& format, int threads)
{
    auto context = allocate(codecOf(format), format.decoderConfiguration);
    if (!context)
        return context;
    (*context)->thread_count = threads;
    (*context)->max_pixels = largestPixelCount;
    (*context)->width = format.width;
    (*context)->height = format.height;
    return open(std::move(*context));
}

tl::expected<AvCodecContext, int> openDecoder(const AudioFormat& format)
{
    auto context = allocate(codecOf(format), format.decoderConfiguration);
    if (!context)
        return context;
    (*context)->sample_rate = format.sampleRate;
    if (format.channelCount > 0 && format.channelCount <= 8)
        av_channel_layout_default(&(*context)->ch_layout, format.channelCount);
    return open(std::move(*context));
}

int setData(AVPacket& packet, std::span<const std::byte> bytes)
{
    if (bytes.empty() || bytes.size() > INT_MAX - AV_INPUT_BUFFER_PADDING_SIZE)
        return AVERROR_INVALIDDATA;
    if (const int status = av_new_packet(&packet, static_cast<int>(bytes.size())); status < 0)
        return status;
    std::memcpy(packet.data, bytes.data(), bytes.size());
    return 0;
}

}  // namespace velmora::linux_backend

#include "platform/linux/ffmpeg/VideoEncoderSelection.h"

#include "platform/linux/ffmpeg/AvcFormat.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace velmora::linux_backend {

namespace {

/// Mean difference of 8-bit values that a picture may have after compression: far above what an encoder does to smooth fields, far
/// below what swapped planes or a wrong row length do.
constexpr int greatestMeanDifference = 8;

int planeCount(Yuv420View::Layout layout)
{
    return layout == Yuv420View::Layout::i420 ? 3 : 2;
}

/// Luma a ramp, Cb low on the left, Cr low at the top.
std::uint8_t trialValue(int component, std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height)
{
    switch (component) {
    case 0:
        return static_cast<std::uint8_t>(40 + 160 * (x + y) / (width + height));
    case 1:
        return x < width / 2 ? 90 : 150;
    default:
        return y < height / 2 ? 70 : 170;
    }
}

AvFrame makeTrialPicture(Yuv420View::Layout layout, std::int32_t width, std::int32_t height)
{
    AvFrame frame{av_frame_alloc()};
    if (!frame)
        return nullptr;
    frame->width = width;
    frame->height = height;
    frame->format = layout == Yuv420View::Layout::i420 ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NV12;
    if (av_frame_get_buffer(frame.get(), 0))
        return nullptr;
    const bool isPlanar = layout == Yuv420View::Layout::i420;
    for (int plane = 0; plane < planeCount(layout); ++plane) {
        const int divisor = plane == 0 ? 1 : 2;
        for (std::int32_t y = 0; y < height / divisor; ++y) {
            std::uint8_t* row = frame->data[plane] + static_cast<std::ptrdiff_t>(y) * frame->linesize[plane];
            for (std::int32_t x = 0; x < width / divisor; ++x) {
                if (plane == 0 || isPlanar) {
                    row[x] = trialValue(plane, x, y, width / divisor, height / divisor);
                } else {
                    row[2 * x] = trialValue(1, x, y, width / divisor, height / divisor);
                    row[2 * x + 1] = trialValue(2, x, y, width / divisor, height / divisor);
                }
            }
        }
    }
    return frame;
}

bool showsTrialPicture(const AVFrame& frame, std::int32_t width, std::int32_t height)
{
    if (frame.width != width || frame.height != height || (frame.format != AV_PIX_FMT_YUV420P && frame.format != AV_PIX_FMT_YUVJ420P))
        return false;
    for (int plane = 0; plane < 3; ++plane) {
        const int divisor = plane == 0 ? 1 : 2;
        std::int64_t difference = 0;
        for (std::int32_t y = 0; y < height / divisor; ++y) {
            const std::uint8_t* row = frame.data[plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[plane];
            for (std::int32_t x = 0; x < width / divisor; ++x)
                difference += std::abs(row[x] - trialValue(plane, x, y, width / divisor, height / divisor));
        }
        if (difference > std::int64_t{greatestMeanDifference} * (width / divisor) * (height / divisor))
            return false;
    }
    return true;
}

/// Decodes one key frame; null when it cannot be decoded.
AvFrame decode(const VideoFormat& format, std::span<const std::byte> accessUnit)
{
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_H264);
    const AvCodecContext context{avcodec_alloc_context3(codec)};
    const AvPacket packet{av_packet_alloc()};
    AvFrame frame{av_frame_alloc()};
    if (!codec || !context || !packet || !frame || av_new_packet(packet.get(), static_cast<int>(accessUnit.size())))
        return nullptr;
    std::memcpy(packet->data, accessUnit.data(), accessUnit.size());

    const auto& record = format.decoderConfiguration;
    context->extradata = static_cast<std::uint8_t*>(av_mallocz(record.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!context->extradata)
        return nullptr;
    std::memcpy(context->extradata, record.data(), record.size());
    context->extradata_size = static_cast<int>(record.size());
    context->thread_count = 1;
    if (avcodec_open2(context.get(), codec, nullptr) || avcodec_send_packet(context.get(), packet.get())
        || avcodec_send_packet(context.get(), nullptr) || avcodec_receive_frame(context.get(), frame.get()))
        return nullptr;
    return frame;
}

}  // namespace

int tryVideoEncoder(VideoEncoder& encoder, const VideoEncoderSettings& settings)
{
    const AvFrame picture = makeTrialPicture(encoder.layout(), settings.width, settings.height);
    if (!picture)
        return AVERROR(ENOMEM);
    std::vector<VideoEncoder::Packet> packets;
    if (const int error = encoder.encode(*picture, 0, true, packets))
        return error;
    if (packets.empty()) {
        if (const int error = encoder.drain(packets))
            return error;
    }
    const FormatDescriptionRef format = encoder.format();
    if (packets.empty() || !packets.front().isKeyFrame || packets.front().presentationTime != 0 || !format)
        return AVERROR_INVALIDDATA;
    if (avcProfile(format->video()->decoderConfiguration) != FF_PROFILE_H264_HIGH)
        return AVERROR(ENOTSUP);
    const AvFrame decoded = decode(*format->video(), packets.front().data.bytes);
    return decoded && showsTrialPicture(*decoded, settings.width, settings.height) ? 0 : AVERROR_INVALIDDATA;
}

int tryVideoEncoder(const VideoEncoderCandidate& candidate, const VideoEncoderSettings& settings)
{
    auto encoder = openVideoEncoder(candidate, settings);
    return encoder ? tryVideoEncoder(**encoder, settings) : encoder.error();
}

EncodingEffort effortFor(std::int32_t width, std::int32_t height, unsigned coreCount)
{
    constexpr std::int64_t pixelsOn[] = {1280 * 720, 1920 * 1088, 2560 * 1440};  // one core, two or three, four and more
    const std::int64_t limit = coreCount >= 4 ? pixelsOn[2] : coreCount >= 2 ? pixelsOn[1] : pixelsOn[0];
    return std::int64_t{width} * height <= limit ? EncodingEffort::normal : EncodingEffort::low;
}

VideoEncoderSelection::VideoEncoderSelection(std::span<const VideoEncoderCandidate> candidates, std::string_view onlyName)
    : candidates_(candidates)
    , onlyName_(onlyName)
{
}

VideoEncoderSelection& VideoEncoderSelection::shared()
{
    static const char* const onlyName = std::getenv(videoEncoderVariable);
    static VideoEncoderSelection selection{videoEncoderCandidates(), onlyName ? onlyName : ""};
    return selection;
}

std::size_t VideoEncoderSelection::firstThatWorks(std::size_t from, const VideoEncoderSettings& settings)
{
    // The lock is held during the trials: whoever else asks wants the same answer.
    MutexLock lock(mutex_);
    for (std::size_t index = from; index < candidates_.size(); ++index) {
        if (!onlyName_.empty() && onlyName_ != candidates_[index].name)
            continue;
        const auto [outcome, isNew] = outcomes_.try_emplace({index, {settings.width, settings.height}}, 0);
        if (isNew)
            outcome->second = tryVideoEncoder(candidates_[index], settings);
        if (outcome->second == 0)
            return index;
        lastError_ = outcome->second;
    }
    return candidates_.size();
}

int VideoEncoderSelection::check(const VideoEncoderSettings& settings)
{
    if (firstThatWorks(0, settings) < candidates_.size())
        return 0;
    MutexLock lock(mutex_);
    return lastError_;
}

tl::expected<std::unique_ptr<VideoEncoder>, AvError> VideoEncoderSelection::open(const VideoEncoderSettings& settings)
{
    int error = check(settings);
    for (std::size_t index = 0; (index = firstThatWorks(index, settings)) < candidates_.size(); ++index) {
        auto encoder = openVideoEncoder(candidates_[index], settings);
        if (encoder)
            return encoder;
        error = encoder.error();
    }
    return tl::unexpected(error);
}

}  // namespace velmora::linux_backend

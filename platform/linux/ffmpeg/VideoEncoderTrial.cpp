#include "platform/linux/ffmpeg/VideoEncoderTrial.h"

#include "engine/codecs/AvcFormat.h"
#include "platform/linux/ffmpeg/LibavDifferences.h"
#include "platform/linux/ffmpeg/Yuv420Frame.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

namespace velmora::linux_backend {

namespace {

/// Mean difference of 8-bit values that a plane may have after compression: far above what an encoder does to smooth fields, far below
/// what swapped planes, a wrong row length or the previous picture do.
constexpr int greatestMeanDifference = 12;

/// When the pictures are shown: a frame of 60 Hz, a still stretch, two frames of 60 Hz.
constexpr std::array<std::int64_t, 4> pictureTimes{0, 16'667, 350'000, 383'333};

/// The picture that is asked for as a key frame, besides the first: a recording begins at one like it.
constexpr std::size_t laterKeyFrame = 2;

int planeCount(engine::Yuv420View::Layout layout)
{
    return layout == engine::Yuv420View::Layout::i420 ? 3 : 2;
}

/// The trial's pictures: luma rises and falls along the diagonal, Cb is low on the left, Cr low at the top, and all of it moves so far
/// from one picture to the next that luma alone tells them apart.
class TrialPictures {
public:
    TrialPictures(std::int32_t width, std::int32_t height) : width_(width), height_(height), ramp_(luma(width + height)) { }

    [[nodiscard]] int value(std::size_t picture, int plane, std::int32_t x, std::int32_t y) const
    {
        const auto shift = static_cast<std::int32_t>(picture);
        const std::int32_t size = width_ + height_;
        switch (plane) {
        case 0:
            return ramp_[static_cast<std::size_t>(x + y + shift * size / 4)];
        case 1:
            return x < width_ * (shift + 2) / 12 ? 90 : 150;
        default:
            return y < height_ * (shift + 2) / 12 ? 70 : 170;
        }
    }

private:
    /// Up and down, twice: long enough for every shift.
    static std::vector<std::uint8_t> luma(std::int32_t size)
    {
        std::vector<std::uint8_t> values;
        for (std::int32_t i = 0; i < 2 * size; ++i)
            values.push_back(static_cast<std::uint8_t>(40 + 320LL * std::min(i % size, size - i % size) / size));
        return values;
    }

    const std::int32_t width_;
    const std::int32_t height_;
    const std::vector<std::uint8_t> ramp_;
};

AvFrame makePicture(
    const TrialPictures& pictures, std::size_t number, engine::Yuv420View::Layout layout, std::int32_t width, std::int32_t height)
{
    AvFrame frame = makeYuv420Frame(layout, width, height);
    if (!frame)
        return nullptr;
    const bool isPlanar = layout == engine::Yuv420View::Layout::i420;
    for (int plane = 0; plane < planeCount(layout); ++plane) {
        const int divisor = plane == 0 ? 1 : 2;
        for (std::int32_t y = 0; y < height / divisor; ++y) {
            std::uint8_t* row = frame->data[plane] + static_cast<std::ptrdiff_t>(y) * frame->linesize[plane];
            for (std::int32_t x = 0; x < width / divisor; ++x) {
                if (plane == 0 || isPlanar) {
                    row[x] = static_cast<std::uint8_t>(pictures.value(number, plane, x, y));
                } else {
                    row[2 * x] = static_cast<std::uint8_t>(pictures.value(number, 1, x, y));
                    row[2 * x + 1] = static_cast<std::uint8_t>(pictures.value(number, 2, x, y));
                }
            }
        }
    }
    return frame;
}

bool shows(const AVFrame& frame, const TrialPictures& pictures, std::size_t number, std::int32_t width, std::int32_t height)
{
    if (frame.width != width || frame.height != height || (frame.format != AV_PIX_FMT_YUV420P && frame.format != AV_PIX_FMT_YUVJ420P)
        || frame.decode_error_flags != 0 || (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0)
        return false;
    for (int plane = 0; plane < 3; ++plane) {
        const int divisor = plane == 0 ? 1 : 2;
        std::int64_t difference = 0;
        for (std::int32_t y = 0; y < height / divisor; ++y) {
            const std::uint8_t* row = frame.data[plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[plane];
            for (std::int32_t x = 0; x < width / divisor; ++x)
                difference += std::abs(row[x] - pictures.value(number, plane, x, y));
        }
        if (difference > std::int64_t{greatestMeanDifference} * (width / divisor) * (height / divisor))
            return false;
    }
    return true;
}

AvCodecContext openDecoder(const VideoFormat& format)
{
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_H264);
    AvCodecContext context{codec ? avcodec_alloc_context3(codec) : nullptr};
    if (!context)
        return nullptr;
    const auto& record = format.decoderConfiguration;
    context->extradata = static_cast<std::uint8_t*>(av_mallocz(record.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!context->extradata)
        return nullptr;
    std::memcpy(context->extradata, record.data(), record.size());
    context->extradata_size = static_cast<int>(record.size());
    context->thread_count = 1;
    context->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK | AV_EF_BITSTREAM;
    return avcodec_open2(context.get(), codec, nullptr) ? nullptr : std::move(context);
}

/// Decodes the packets from `first` on with a decoder of their own. False unless every picture comes out as it went in.
bool showsPicturesFrom(std::size_t first, std::span<const VideoEncoder::Packet> packets, const VideoFormat& format,
    const TrialPictures& pictures, std::int32_t width, std::int32_t height)
{
    const AvCodecContext decoder = openDecoder(format);
    const AvFrame frame{av_frame_alloc()};
    if (!decoder || !frame)
        return false;
    std::size_t shown = first;
    const auto receive = [&] {
        int status = 0;
        while ((status = avcodec_receive_frame(decoder.get(), frame.get())) == 0) {
            if (shown == packets.size() || frame->pts != pictureTimes[shown] || !shows(*frame, pictures, shown, width, height))
                return false;
            ++shown;
        }
        return status == AVERROR(EAGAIN) || status == AVERROR_EOF;
    };
    for (const auto& source : packets.subspan(first)) {
        const AvPacket packet{av_packet_alloc()};
        if (!packet || av_new_packet(packet.get(), static_cast<int>(source.data.bytes.size())))
            return false;
        std::memcpy(packet->data, source.data.bytes.data(), source.data.bytes.size());
        packet->pts = packet->dts = source.presentationTime;
        if (avcodec_send_packet(decoder.get(), packet.get()) || !receive())
            return false;
    }
    return avcodec_send_packet(decoder.get(), nullptr) == 0 && receive() && shown == packets.size();
}

/// Whether every picture has come out once, in order, with its time, and as a key frame where that was asked for.
bool areInOrder(std::span<const VideoEncoder::Packet> packets)
{
    if (packets.size() != pictureTimes.size() || !packets.front().isKeyFrame || !packets[laterKeyFrame].isKeyFrame)
        return false;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        if (packets[i].presentationTime != pictureTimes[i] || packets[i].data.bytes.empty())
            return false;
    }
    return true;
}

}  // namespace

int tryVideoEncoder(VideoEncoder& encoder, const VideoEncoderSettings& settings)
{
    const TrialPictures pictures{settings.width, settings.height};
    std::vector<VideoEncoder::Packet> packets;
    for (std::size_t number = 0; number < pictureTimes.size(); ++number) {
        const AvFrame picture = makePicture(pictures, number, encoder.layout(), settings.width, settings.height);
        if (!picture)
            return AVERROR(ENOMEM);
        if (const int error = encoder.encode(*picture, pictureTimes[number], number == 0 || number == laterKeyFrame, packets))
            return error;
    }
    if (packets.size() < pictureTimes.size()) {
        if (const int error = encoder.drain(packets))
            return error;
    }
    const FormatDescriptionRef format = encoder.format();
    if (!format || !areInOrder(packets))
        return AVERROR_INVALIDDATA;
    if (engine::avcProfile(format->video()->decoderConfiguration) != profileH264High)
        return AVERROR(ENOTSUP);
    for (const std::size_t first : {std::size_t{0}, laterKeyFrame}) {
        if (!showsPicturesFrom(first, packets, *format->video(), pictures, settings.width, settings.height))
            return AVERROR_INVALIDDATA;
    }
    return 0;
}

int tryVideoEncoder(const VideoEncoderCandidate& candidate, const VideoEncoderSettings& settings, const VideoEncoderOpener& open)
{
    auto encoder = open(candidate, settings);
    return encoder ? tryVideoEncoder(**encoder, settings) : encoder.error();
}

}  // namespace velmora::linux_backend

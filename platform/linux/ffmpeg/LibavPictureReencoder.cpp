#include "platform/linux/ffmpeg/LibavPictureReencoder.h"

#include "engine/codecs/AvcFormat.h"
#include "platform/linux/ffmpeg/Decoders.h"
#include "platform/linux/ffmpeg/LibavDifferences.h"
#include "platform/linux/ffmpeg/LibavError.h"

#include <algorithm>
#include <string>
#include <thread>

namespace velmora::linux_backend {

namespace {

/// So close that no difference is seen; the recorder's own quality is 14 at best.
constexpr const char* seamQuality = "10";
/// What decoders take of every stream of some size (ITU-T H.264 table A-1, level 4.1 with High: 62.5 Mbit/s).
constexpr std::int64_t seamBitRate = 50'000'000;
/// As the recorder's: only what the stream says of its rate depends on it, and players believe that.
constexpr int seamFrameRate = 60;

tl::unexpected<Error> seamFailure(int averror)
{
    return fail(libavError(averror, "The pictures at a seam could not be encoded"));
}

}  // namespace

Result<std::unique_ptr<engine::PictureReencoder>> LibavPictureReencoder::create(const VideoFormat& format, int parameterSet)
{
    if (!avcodec_find_encoder_by_name("libx264"))
        return seamFailure(AVERROR_ENCODER_NOT_FOUND);
    auto decoder = openDecoder(format, 1);
    if (!decoder)
        return seamFailure(decoder.error());
    std::unique_ptr<LibavPictureReencoder> reencoder{new LibavPictureReencoder(format, parameterSet, std::move(*decoder))};
    if (!reencoder->packet_ || !reencoder->frame_)
        return seamFailure(AVERROR(ENOMEM));
    return reencoder;
}

LibavPictureReencoder::LibavPictureReencoder(const VideoFormat& format, int parameterSet, AvCodecContext decoder)
    : width_(format.width)
    , height_(format.height)
    , parameterSet_(parameterSet)
    , decoder_(std::move(decoder))
{
}

Result<void> LibavPictureReencoder::add(std::span<const std::byte> sample, bool isEncoded)
{
    if (const int status = setData(*packet_, sample); status < 0)
        return seamFailure(status);
    packet_->pts = added_;
    if (isEncoded)
        wanted_.insert(added_);
    ++added_;
    auto result = send(packet_.get());
    av_packet_unref(packet_.get());
    return result;
}

Result<engine::EncodedPictures> LibavPictureReencoder::finish()
{
    if (const auto result = send(nullptr); !result)
        return fail(result.error());
    if (!wanted_.empty() || !encoder_)
        return seamFailure(AVERROR_INVALIDDATA);
    if (const int status = avcodec_send_frame(encoder_.get(), nullptr); status < 0)
        return seamFailure(status);
    if (const auto result = receive(); !result)
        return fail(result.error());
    if (std::cmp_not_equal(encoded_.pictures.size(), encodedCount_))
        return seamFailure(AVERROR_EXTERNAL);
    return std::move(encoded_);
}

Result<void> LibavPictureReencoder::send(const AVPacket* packet)
{
    for (;;) {
        const int sent = avcodec_send_packet(decoder_.get(), packet);
        if (sent < 0 && sent != AVERROR(EAGAIN))
            return seamFailure(sent);
        for (;;) {
            const int status = avcodec_receive_frame(decoder_.get(), frame_.get());
            if (status == AVERROR(EAGAIN) || status == AVERROR_EOF)
                break;
            if (status < 0)
                return seamFailure(status);
            auto result = Result<void>{};
            if (wanted_.erase(frame_->pts) > 0)
                result = encode(*frame_);
            av_frame_unref(frame_.get());
            if (!result)
                return result;
        }
        if (sent == 0)
            return {};
    }
}

Result<void> LibavPictureReencoder::encode(AVFrame& picture)
{
    const bool isDamaged = (picture.flags & AV_FRAME_FLAG_CORRUPT) != 0 || picture.decode_error_flags != 0;
    if (isDamaged || picture.width != width_ || picture.height != height_)
        return seamFailure(AVERROR_INVALIDDATA);
    if (isInterlaced(picture))
        return seamFailure(AVERROR_PATCHWELCOME);
    if (!encoder_) {
        if (auto result = open(picture); !result)
            return result;
    }
    picture.pts = encodedCount_++;
    picture.pict_type = AV_PICTURE_TYPE_NONE;
    if (const int status = avcodec_send_frame(encoder_.get(), &picture); status < 0)
        return seamFailure(status);
    return receive();
}

Result<void> LibavPictureReencoder::open(const AVFrame& picture)
{
    const auto* codec = avcodec_find_encoder_by_name("libx264");
    const auto format = static_cast<AVPixelFormat>(picture.format);
    const auto formats = pixelFormats(*codec);
    if (std::find(formats.begin(), formats.end(), format) == formats.end())
        return seamFailure(AVERROR_PATCHWELCOME);
    AvCodecContext context{avcodec_alloc_context3(codec)};
    if (!context)
        return seamFailure(AVERROR(ENOMEM));
    context->width = picture.width;
    context->height = picture.height;
    context->pix_fmt = format;
    context->time_base = {1, seamFrameRate};
    context->framerate = {seamFrameRate, 1};
    context->sample_aspect_ratio = picture.sample_aspect_ratio;
    context->color_range = picture.color_range;
    context->color_primaries = picture.color_primaries;
    context->color_trc = picture.color_trc;
    context->colorspace = picture.colorspace;
    context->chroma_sample_location = picture.chroma_location;
    context->max_b_frames = 0;
    context->gop_size = INT_MAX;
    context->rc_max_rate = seamBitRate;
    context->rc_buffer_size = static_cast<int>(seamBitRate);
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    context->thread_type = FF_THREAD_SLICE;
    context->thread_count = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 2U));
    const auto parameters = "bframes=0:scenecut=0:weightp=0:annexb=0:force-cfr=0:sps-id=" + std::to_string(parameterSet_);
    AvDictionary options;
    options.set("preset", "veryfast");
    options.set("tune", "zerolatency");
    options.set("crf", seamQuality);
    options.set("x264-params", parameters.c_str());
    if (const int status = avcodec_open2(context.get(), codec, options.get()); status < 0)
        return seamFailure(status);
    const std::span header{reinterpret_cast<const std::byte*>(context->extradata), static_cast<std::size_t>(context->extradata_size)};
    auto configuration = engine::avcDecoderConfiguration(header);
    if (!configuration)
        return seamFailure(AVERROR_EXTERNAL);
    encoded_.decoderConfiguration = std::move(*configuration);
    encoder_ = std::move(context);
    return {};
}

Result<void> LibavPictureReencoder::receive()
{
    for (;;) {
        AvPacket packet{av_packet_alloc()};
        if (!packet)
            return seamFailure(AVERROR(ENOMEM));
        const int status = avcodec_receive_packet(encoder_.get(), packet.get());
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF)
            return {};
        if (status < 0)
            return seamFailure(status);
        const std::span data{reinterpret_cast<const std::byte*>(packet->data), static_cast<std::size_t>(packet->size)};
        // With lengths, unless the library was built to put out start codes alone. A length of 256 to 511 begins like one of these.
        if (engine::nalUnits(data, engine::NalFraming::lengthPrefixed))
            encoded_.pictures.push_back({data, std::shared_ptr<const AVPacket>(std::move(packet))});
        else
            encoded_.pictures.push_back(DataBlock::owning(engine::withLengthPrefixes(data)));
    }
}

}  // namespace velmora::linux_backend

#include "platform/linux/ffmpeg/LibavPictureTranscoder.h"

#include "engine/codecs/AvcFormat.h"
#include "platform/linux/ffmpeg/Decoders.h"
#include "platform/linux/ffmpeg/LibavDifferences.h"
#include "platform/linux/ffmpeg/LibavError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace velmora::linux_backend {

namespace {

using engine::pictureTimescale;

constexpr const char* picturesNotDecoded = "The clip's pictures could not be decoded";
constexpr const char* picturesNotEncoded = "The clip's pictures could not be encoded";
constexpr const char* encoderName = "libx264";

/// Where somebody who looks through the clip can go to; scenes begin with others of their own.
constexpr std::int64_t keyFrameInterval = std::int64_t{8} * pictureTimescale;

/// More threads take more memory, and pictures that are small leave them nothing to do.
constexpr unsigned mostThreads = 8;

int threadCount()
{
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, mostThreads));
}

const char* presetOf(engine::ClipEffort effort)
{
    switch (effort) {
    case engine::ClipEffort::little:
        return "veryfast";
    case engine::ClipEffort::some:
        return "faster";
    case engine::ClipEffort::much:
        break;
    }
    return "medium";
}

tl::unexpected<Error> encodingFailure(int averror)
{
    return fail(libavError(averror, picturesNotEncoded));
}

class FrameScaler {
public:
    FrameScaler(std::int32_t width, std::int32_t height) : width_(width), height_(height) { }

    /// The frame in 4:2:0, of the size, with limited range; `frame` itself where it is that already. Null: out of memory, or a layout that
    /// libswscale does not know.
    AvFrame scale(AVFrame& frame)
    {
        // What is one line or column too many for 4:2:0 is left out, which keeps all others sharp.
        const int width = frame.width == width_ + 1 ? width_ : frame.width;
        const int height = frame.height == height_ + 1 ? height_ : frame.height;
        const bool isFullRange = frame.color_range == AVCOL_RANGE_JPEG || frame.format == AV_PIX_FMT_YUVJ420P
            || frame.format == AV_PIX_FMT_YUVJ422P || frame.format == AV_PIX_FMT_YUVJ444P;
        if (width == width_ && height == height_ && frame.format == AV_PIX_FMT_YUV420P && !isFullRange) {
            AvFrame same{av_frame_clone(&frame)};
            if (same) {
                same->width = width;
                same->height = height;
            }
            return same;
        }
        const auto format = static_cast<AVPixelFormat>(frame.format);
        if (!scaler_ || sourceWidth_ != width || sourceHeight_ != height || sourceFormat_ != format || sourceIsFullRange_ != isFullRange) {
            scaler_.reset(sws_getContext(
                width, height, format, width_, height_, AV_PIX_FMT_YUV420P, SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
            if (!scaler_)
                return nullptr;
            const int matrix =
                frame.colorspace == AVCOL_SPC_UNSPECIFIED || frame.colorspace == AVCOL_SPC_RGB ? SWS_CS_ITU709 : frame.colorspace;
            sws_setColorspaceDetails(
                scaler_.get(), sws_getCoefficients(matrix), isFullRange ? 1 : 0, sws_getCoefficients(matrix), 0, 0, 1 << 16, 1 << 16);
            sourceWidth_ = width;
            sourceHeight_ = height;
            sourceFormat_ = format;
            sourceIsFullRange_ = isFullRange;
        }
        AvFrame scaled{av_frame_alloc()};
        if (!scaled)
            return nullptr;
        scaled->format = AV_PIX_FMT_YUV420P;
        scaled->width = width_;
        scaled->height = height_;
        if (av_frame_get_buffer(scaled.get(), 0) < 0
            || sws_scale(scaler_.get(), frame.data, frame.linesize, 0, height, scaled->data, scaled->linesize) != height_)
            return nullptr;
        return scaled;
    }

private:
    const std::int32_t width_;
    const std::int32_t height_;
    AvScaler scaler_;
    int sourceWidth_ = 0;
    int sourceHeight_ = 0;
    AVPixelFormat sourceFormat_ = AV_PIX_FMT_NONE;
    bool sourceIsFullRange_ = false;
};

/// One pass over a part of the clip.
class Pass {
public:
    Pass(AvCodecContext decoder, const VideoFormat& format, const engine::PictureEncoding& encoding,
        const engine::PictureProgress& progress, const engine::TakePicture& take)
        : decoder_(std::move(decoder))
        , format_(format)
        , encoding_(encoding)
        , progress_(progress)
        , take_(take)
        , schedule_(encoding.timing)
        , scaler_(encoding.width, encoding.height)
        , packet_(av_packet_alloc())
        , received_(av_packet_alloc())
    {
    }

    Result<FormatDescriptionRef> run(engine::CodedSamples& source)
    {
        if (!packet_ || !received_)
            return encodingFailure(AVERROR(ENOMEM));
        while (!isEnded_) {
            const auto sample = source.next();
            if (!sample)
                return fail(sample.error());
            if (!*sample)
                break;
            if (const int error = setData(*packet_, (*sample)->bytes); error < 0)
                return fail(libavError(error, picturesNotDecoded));
            packet_->pts = av_rescale((*sample)->time, pictureTimescale, source.timescale());
            auto decoded = decode(packet_.get());
            av_packet_unref(packet_.get());
            if (!decoded)
                return fail(decoded.error());
        }
        if (!isEnded_) {
            if (auto decoded = decode(nullptr); !decoded)
                return fail(decoded.error());
        }
        if (isWanted_ && held_) {
            if (auto encoded = encodeHeld(encoding_.end); !encoded)
                return fail(encoded.error());
        }
        if (isWanted_ && encoder_) {
            if (auto encoded = send(nullptr); !encoded)
                return fail(encoded.error());
        }
        if (!isWanted_)
            return nullptr;
        if (!encoder_)
            return fail(libavError(AVERROR_INVALIDDATA, picturesNotDecoded));
        return formatOfStream();
    }

private:
    Result<void> decode(const AVPacket* packet)
    {
        int error = avcodec_send_packet(decoder_.get(), packet);
        if (error < 0 && error != AVERROR(EAGAIN))
            return fail(libavError(error, picturesNotDecoded));
        for (;;) {
            AvFrame frame{av_frame_alloc()};
            if (!frame)
                return encodingFailure(AVERROR(ENOMEM));
            const int status = avcodec_receive_frame(decoder_.get(), frame.get());
            if (status == AVERROR_EOF)
                return {};
            if (status == AVERROR(EAGAIN)) {
                if (error != AVERROR(EAGAIN))
                    return {};
                error = avcodec_send_packet(decoder_.get(), packet);
                if (error < 0)
                    return fail(libavError(error, picturesNotDecoded));
                continue;
            }
            if (status < 0)
                return fail(libavError(status, picturesNotDecoded));
            if (auto taken = decoded(std::move(frame)); !taken || isEnded_)
                return taken;
        }
    }

    Result<void> decoded(AvFrame frame)
    {
        const auto time = frame->pts == AV_NOPTS_VALUE ? frame->best_effort_timestamp : frame->pts;
        if (time == AV_NOPTS_VALUE || (held_ && time <= heldTime_))
            return {};
        if (!progress_(std::clamp(time, encoding_.begin, encoding_.end))) {
            isWanted_ = false;
            isEnded_ = true;
            return {};
        }
        if (held_ && time > encoding_.begin) {
            if (auto encoded = encodeHeld(std::min(time, encoding_.end)); !encoded)
                return encoded;
        }
        if (time >= encoding_.end) {
            // Where nothing came before, it is what the part shows.
            if (held_ || encoder_)
                held_.reset();
            else {
                held_ = std::move(frame);
                heldTime_ = time;
            }
            isEnded_ = true;
            return {};
        }
        held_ = std::move(frame);
        heldTime_ = time;
        return {};
    }

    /// The picture that is shown until `end`.
    Result<void> encodeHeld(std::int64_t end)
    {
        const auto frame = std::exchange(held_, nullptr);
        const auto isFirst = !encoder_;
        const auto begin = isFirst ? encoding_.begin : std::max(heldTime_, encoding_.begin);
        const auto& times = schedule_.timesOf(begin - encoding_.begin, end - encoding_.begin);
        if (times.empty())
            return {};
        if (!encoder_) {
            if (auto opened = open(*frame); !opened)
                return opened;
        }
        const auto scaled = scaler_.scale(*frame);
        if (!scaled)
            return encodingFailure(AVERROR(ENOMEM));
        for (const auto time : times) {
            scaled->pts = time;
            scaled->pict_type = AV_PICTURE_TYPE_NONE;
            if (time - lastKeyFrame_ >= keyFrameInterval) {
                scaled->pict_type = AV_PICTURE_TYPE_I;
                lastKeyFrame_ = time;
            }
            scaled->color_range = encoder_->color_range;
            scaled->color_primaries = encoder_->color_primaries;
            scaled->color_trc = encoder_->color_trc;
            scaled->colorspace = encoder_->colorspace;
            scaled->sample_aspect_ratio = {1, 1};
            if (auto sent = send(scaled.get()); !sent || !isWanted_)
                return sent;
        }
        return {};
    }

    Result<void> open(const AVFrame& first)
    {
        const AVCodec* codec = avcodec_find_encoder_by_name(encoderName);
        if (!codec)
            return encodingFailure(AVERROR_ENCODER_NOT_FOUND);
        encoder_.reset(avcodec_alloc_context3(codec));
        if (!encoder_)
            return encodingFailure(AVERROR(ENOMEM));
        AVCodecContext& c = *encoder_;
        c.width = encoding_.width;
        c.height = encoding_.height;
        c.pix_fmt = AV_PIX_FMT_YUV420P;
        c.time_base = {1, pictureTimescale};
        c.framerate = {rate(), 1};
        c.sample_aspect_ratio = {1, 1};
        // By time, not by number: a still picture comes twice a second.
        c.gop_size = INT_MAX / 2;
        c.profile = profileH264High;
        c.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        c.color_range = AVCOL_RANGE_MPEG;
        const auto known = [](int stream, int file) { return stream != AVCOL_PRI_UNSPECIFIED ? stream : file; };
        c.color_primaries = static_cast<AVColorPrimaries>(known(first.color_primaries, format_.colour.primaries));
        c.color_trc = static_cast<AVColorTransferCharacteristic>(known(first.color_trc, format_.colour.transfer));
        c.colorspace = static_cast<AVColorSpace>(known(first.colorspace, format_.colour.matrix));
        // What was red, green and blue becomes BT.709.
        if (const auto* layout = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(first.format));
            layout && (layout->flags & AV_PIX_FMT_FLAG_RGB) != 0)
            c.colorspace = AVCOL_SPC_BT709;
        c.chroma_sample_location = AVCHROMA_LOC_LEFT;
        c.thread_count = threadCount();

        std::array<char, 48> quality{};
        // The decimal point of printf follows the locale.
        const auto units = std::llround(std::clamp(encoding_.quality, 0.0, 51.0) * 100);
        std::snprintf(quality.data(), quality.size(), "%lld.%02lld", units / 100, units % 100);
        AvDictionary options;
        options.set("preset", presetOf(encoding_.effort));
        options.set("crf", quality.data());
        options.set("forced-idr", "1");
        options.set("x264-params", encoding_.timing.constantRate > 0 ? "annexb=0:keyint=infinite" : "annexb=0:keyint=infinite:force-cfr=0");
        if (const int error = avcodec_open2(&c, codec, options.get()))
            return encodingFailure(error);
        lastKeyFrame_ = 0;
        return {};
    }

    /// What x264 plans with.
    [[nodiscard]] int rate() const
    {
        const auto& timing = encoding_.timing;
        constexpr int usual = 60;
        const double rate = timing.constantRate > 0 ? timing.constantRate : timing.largestRate > 0 ? timing.largestRate : usual;
        return std::max(1, static_cast<int>(std::lround(rate)));
    }

    Result<void> send(AVFrame* frame)
    {
        int error = avcodec_send_frame(encoder_.get(), frame);
        while (!error) {
            error = avcodec_receive_packet(encoder_.get(), received_.get());
            if (error == AVERROR(EAGAIN) || error == AVERROR_EOF)
                return {};
            if (error)
                break;
            auto taken = take();
            av_packet_unref(received_.get());
            if (!taken || !isWanted_)
                return taken;
        }
        return encodingFailure(error);
    }

    Result<void> take()
    {
        const std::span data{reinterpret_cast<const std::byte*>(received_->data), static_cast<std::size_t>(received_->size)};
        std::vector<std::byte> rewritten;
        engine::EncodedPicture picture;
        picture.bytes = data;
        // A length of some hundred bytes looks like a start code: only whether all lengths agree can tell.
        if (!engine::nalUnits(data, engine::NalFraming::lengthPrefixed)) {
            rewritten = engine::withLengthPrefixes(data);
            picture.bytes = rewritten;
        }
        picture.decodeTime = received_->dts;
        picture.time = received_->pts;
        picture.isSync = (received_->flags & AV_PKT_FLAG_KEY) != 0;
        const auto goesOn = take_(picture);
        if (!goesOn)
            return fail(goesOn.error());
        if (!*goesOn) {
            isWanted_ = false;
            isEnded_ = true;
        }
        return {};
    }

    Result<FormatDescriptionRef> formatOfStream() const
    {
        auto configuration = engine::avcDecoderConfiguration(
            {reinterpret_cast<const std::byte*>(encoder_->extradata), static_cast<std::size_t>(std::max(0, encoder_->extradata_size))});
        if (!configuration)
            return encodingFailure(AVERROR_INVALIDDATA);
        VideoFormat format;
        format.codec = FourCharacterCode{"avc1"};
        format.width = encoding_.width;
        format.height = encoding_.height;
        format.colour = {static_cast<std::uint16_t>(encoder_->color_primaries), static_cast<std::uint16_t>(encoder_->color_trc),
            static_cast<std::uint16_t>(encoder_->colorspace), false};
        format.decoderConfiguration = std::move(*configuration);
        return std::make_shared<const FormatDescription>(std::move(format));
    }

    const AvCodecContext decoder_;
    const VideoFormat& format_;
    const engine::PictureEncoding& encoding_;
    const engine::PictureProgress& progress_;
    const engine::TakePicture& take_;
    engine::PictureSchedule schedule_;
    FrameScaler scaler_;
    AvCodecContext encoder_;
    AvPacket packet_;
    AvPacket received_;
    AvFrame held_;
    std::int64_t heldTime_ = 0;
    std::int64_t lastKeyFrame_ = 0;
    bool isEnded_ = false;  // no more is read
    bool isWanted_ = true;
};

}  // namespace

Result<std::unique_ptr<engine::PictureTranscoder>> LibavPictureTranscoder::create(const VideoFormat& format)
{
    if (!avcodec_find_encoder_by_name(encoderName))
        return fail(libavError(AVERROR_ENCODER_NOT_FOUND, "This system's libavcodec cannot encode H.264 (libx264)"));
    if (const auto decoder = openDecoder(format, 1); !decoder)
        return fail(libavError(decoder.error(), picturesNotDecoded));
    return std::unique_ptr<engine::PictureTranscoder>{new LibavPictureTranscoder{format}};
}

Result<FormatDescriptionRef> LibavPictureTranscoder::transcode(engine::CodedSamples& source, const engine::PictureEncoding& encoding,
    const engine::PictureProgress& progress, const engine::TakePicture& take)
{
    auto decoder = openDecoder(format_, threadCount());
    if (!decoder)
        return fail(libavError(decoder.error(), picturesNotDecoded));
    return Pass{std::move(*decoder), format_, encoding, progress, take}.run(source);
}

}  // namespace velmora::linux_backend

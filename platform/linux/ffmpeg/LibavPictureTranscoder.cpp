#include "platform/linux/ffmpeg/LibavPictureTranscoder.h"

#include "engine/codecs/AvcFormat.h"
#include "engine/codecs/CopyKeyFrames.h"
#include "platform/linux/ffmpeg/ClipPictures.h"
#include "platform/linux/ffmpeg/Decoders.h"
#include "platform/linux/ffmpeg/LibavDifferences.h"
#include "platform/linux/ffmpeg/LibavError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

namespace {

using engine::pictureTimescale;

constexpr const char* picturesNotEncoded = "The clip's pictures could not be encoded";
constexpr const char* encoderName = "libx264";

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

/// One pass over a part of the clip.
class Pass {
public:
    Pass(const VideoFormat& format, const engine::PictureEncoding& encoding, const engine::TakePicture& take)
        : format_(format)
        , encoding_(encoding)
        , take_(take)
        , scaler_(encoding.width, encoding.height)
        , received_(av_packet_alloc())
    {
    }

    Result<FormatDescriptionRef> run(AvCodecContext decoder, engine::CodedSamples& source, const engine::PictureProgress& progress)
    {
        if (!received_)
            return encodingFailure(AVERROR(ENOMEM));
        const auto shown = showPictures(std::move(decoder), source, {encoding_.begin, encoding_.end, encoding_.timing}, progress,
            [this](AVFrame& frame, const std::vector<std::int64_t>& times) { return encode(frame, times); });
        if (!shown)
            return fail(shown.error());
        if (!*shown)
            return nullptr;
        if (auto sent = send(nullptr); !sent)
            return fail(sent.error());
        if (!isWanted_)
            return nullptr;
        return formatOfStream();
    }

private:
    /// The picture that is shown at these times.
    Result<bool> encode(AVFrame& frame, const std::vector<std::int64_t>& times)
    {
        if (!encoder_) {
            if (auto opened = open(frame); !opened)
                return fail(opened.error());
        }
        const auto scaled = scaler_.scale(frame);
        if (!scaled)
            return encodingFailure(AVERROR(ENOMEM));
        for (const auto time : times) {
            scaled->pts = time;
            scaled->pict_type = keyFrames_.take(time) ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
            scaled->color_range = encoder_->color_range;
            scaled->color_primaries = encoder_->color_primaries;
            scaled->color_trc = encoder_->color_trc;
            scaled->colorspace = encoder_->colorspace;
            scaled->sample_aspect_ratio = {1, 1};
            if (auto sent = send(scaled.get()); !sent)
                return fail(sent.error());
            if (!isWanted_)
                break;
        }
        return isWanted_;
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
        c.framerate = {plannedRate(encoding_.timing), 1};
        c.sample_aspect_ratio = {1, 1};
        // None of its own by number: CopyKeyFrames says where.
        c.gop_size = INT_MAX / 2;
        c.profile = profileH264High;
        c.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        setColour(c, first, format_.colour);
        c.chroma_sample_location = AVCHROMA_LOC_LEFT;
        c.thread_count = clipThreads();

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
        return {};
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
        isWanted_ = *goesOn;
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

    const VideoFormat& format_;
    const engine::PictureEncoding& encoding_;
    const engine::TakePicture& take_;
    FrameScaler scaler_;
    AvCodecContext encoder_;
    AvPacket received_;
    engine::CopyKeyFrames keyFrames_{pictureTimescale};
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
    auto decoder = openDecoder(format_, clipThreads());
    if (!decoder)
        return fail(libavError(decoder.error(), picturesNotDecoded));
    return Pass{format_, encoding, take}.run(std::move(*decoder), source, progress);
}

}  // namespace velmora::linux_backend

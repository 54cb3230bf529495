#include "platform/linux/ffmpeg/LibavMovieCodecs.h"
#include "platform/linux/ffmpeg/MovieMuxer.h"
#include "platform/linux/ffmpeg/MoviePass.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace velmora::linux_backend {

namespace {

using engine::pictureTimescale;

/// What delays are given in.
constexpr AVRational hundredths{1, 100};
constexpr std::int64_t longestDelay = 65535;

/// Of the work that finding a palette is; it reads the whole clip before anything is written.
constexpr double paletteShare = 0.35;

/// What colours of the palette have to tell: what moves, not the background that fills every picture.
constexpr const char* paletteFilter = "palettegen=stats_mode=diff:max_colors=";
/// A dither that keeps its place: one that spreads errors makes all of a picture shimmer where only some of it moves, and takes a sixth more
/// bytes for that.
constexpr const char* colourFilter = "null[upright];[upright][palette]paletteuse=dither=bayer:bayer_scale=3:diff_mode=rectangle[out]";

class GifTranscoder final : public engine::MovieTranscoder {
public:
    GifTranscoder(const AVCodec& codec, VideoFormat format) : codec_(codec), format_(std::move(format)) { }

    Result<std::optional<engine::MoviePictures>> transcode(engine::CodedSamples& source, const engine::MovieEncoding& encoding,
        engine::MovieSound*, const engine::WriteMovie& write, const std::function<bool(const engine::MovieProgress&)>& progress) override
    {
        const auto wanted = std::tuple{encoding.colours, encoding.begin, encoding.end};
        const bool hasPalette = palette_ && paletteOf_ == wanted;
        const double begin = hasPalette ? 0 : paletteShare;
        if (!hasPalette) {
            const auto found = findPalette(source, encoding, [&](double done) { return progress({done * paletteShare, 0}); });
            if (!found)
                return fail(found.error());
            if (!*found)
                return std::nullopt;
            paletteOf_ = wanted;
        }
        source.seek(static_cast<double>(encoding.begin) / pictureTimescale);

        const auto muxer = MovieMuxer::create("gif", write);
        if (!muxer)
            return movieFailure(AVERROR_MUXER_NOT_FOUND);
        Writing writing{*muxer, codec_, encoding};
        const auto filtered = filterPictures(
            source, {format_, encoding, colourFilter, palette_.get()},
            [&](double done) {
                return progress({begin + (1 - begin) * done, done});
            },
            [&](AVFrame& picture) { return writing.add(picture); });
        if (muxer->failure())
            return fail(*muxer->failure());
        if (!filtered)
            return fail(filtered.error());
        if (!*filtered)
            return std::nullopt;
        if (const int error = writing.finish(); error < 0)
            return muxer->failure() ? tl::unexpected(*muxer->failure()) : movieFailure(error);
        return engine::MoviePictures{writing.count()};
    }

private:
    class Writing {
    public:
        Writing(MovieMuxer& muxer, const AVCodec& codec, const engine::MovieEncoding& encoding)
            : muxer_(muxer)
            , codec_(codec)
            , encoding_(encoding)
        {
        }

        int add(AVFrame& picture)
        {
            if (!ticks_.take(picture))
                return 0;
            if (!encoder_) {
                if (const int error = open(picture); error < 0)
                    return error;
            }
            return encode(&picture);
        }

        int finish()
        {
            if (!encoder_)
                return AVERROR_INVALIDDATA;
            if (const int error = encode(nullptr); error < 0)
                return error;
            const auto delay = ticks_.countIn(encoding_.end - encoding_.begin) - ticks_.last();
            if (const int error = muxer_.setOption("final_delay", std::clamp<std::int64_t>(delay, 1, longestDelay)); error < 0)
                return error;
            return muxer_.end();
        }

        [[nodiscard]] std::size_t count() const { return ticks_.count(); }

    private:
        int open(const AVFrame& first)
        {
            encoder_ = makePictureEncoder(codec_, first, encoding_, hundredths);
            if (!encoder_)
                return AVERROR(ENOMEM);
            if (const int error = avcodec_open2(encoder_.get(), &codec_, nullptr); error < 0)
                return error;
            stream_ = muxer_.addStream(*encoder_);
            return stream_ ? muxer_.begin() : AVERROR(ENOMEM);
        }

        int encode(AVFrame* picture)
        {
            return encodePicture(*encoder_, picture, [this](AVPacket& packet) { return muxer_.add(packet, *stream_, hundredths); });
        }

        MovieMuxer& muxer_;
        const AVCodec& codec_;
        const engine::MovieEncoding& encoding_;
        AvCodecContext encoder_;
        AVStream* stream_ = nullptr;  // the muxer's
        PictureTicks ticks_{hundredths};
    };

    Result<bool> findPalette(
        engine::CodedSamples& source, const engine::MovieEncoding& encoding, const std::function<bool(double)>& progress)
    {
        palette_.reset();
        auto filtered = filterPictures(
            source, {format_, encoding, paletteFilter + std::to_string(encoding.colours) + "[out]"}, progress, [&](AVFrame& picture) {
                palette_.reset(av_frame_clone(&picture));
                return palette_ ? 0 : AVERROR(ENOMEM);
            });
        if (filtered && *filtered && !palette_)
            return movieFailure(AVERROR_INVALIDDATA);
        return filtered;
    }

    const AVCodec& codec_;
    const VideoFormat format_;
    AvFrame palette_;
    std::tuple<int, std::int64_t, std::int64_t> paletteOf_;
};

}  // namespace

std::unique_ptr<engine::MovieTranscoder> makeGifTranscoder(const AVCodec& encoder, const VideoFormat& pictures)
{
    return std::make_unique<GifTranscoder>(encoder, pictures);
}

}  // namespace velmora::linux_backend

#include "engine/codecs/CopyKeyFrames.h"
#include "platform/linux/ffmpeg/Decoders.h"
#include "platform/linux/ffmpeg/LibavMovieCodecs.h"
#include "platform/linux/ffmpeg/MovieMuxer.h"
#include "platform/linux/ffmpeg/MoviePass.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

extern "C" {
#include <libavutil/intreadwrite.h>
#include <libavutil/mathematics.h>
#include <libavutil/mem.h>
}

namespace velmora::linux_backend {

namespace {

/// What a decoder of Opus has to have heard before what it puts out is right (RFC 7845 4.6).
constexpr int seekPreroll = 3840;

void describe(AvDictionary& options, std::string_view codec, const engine::MovieEncoding& encoding)
{
    const auto set = [&](const char* name, long long value) {
        std::array<char, 24> text{};
        std::snprintf(text.data(), text.size(), "%lld", value);
        options.set(name, text.data());
    };
    set("crf", std::llround(std::clamp(encoding.quality, 0.0, 63.0)));
    const int effort = encoding.effort == engine::ClipEffort::much ? 0 : encoding.effort == engine::ClipEffort::some ? 1 : 2;
    constexpr std::array<int, 3> vp9{3, 4, 5};
    constexpr std::array<int, 3> aom{6, 7, 8};
    set("cpu-used", (codec == "libvpx-vp9" ? vp9 : aom)[static_cast<std::size_t>(effort)]);
    set("row-mt", 1);
}

/// One file that is being written.
class Writing {
public:
    Writing(MovieMuxer& muxer, const AVCodec& codec, const engine::MovieEncoding& encoding, engine::MovieSound* sound)
        : muxer_(muxer)
        , codec_(codec)
        , encoding_(encoding)
        , sound_(sound)
        , held_(av_packet_alloc())
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
        if (keyFrames_.take(picture.pts))
            picture.pict_type = AV_PICTURE_TYPE_I;
        return encode(&picture);
    }

    int finish()
    {
        if (!encoder_)
            return AVERROR_INVALIDDATA;
        if (const int error = encode(nullptr); error < 0)
            return error;
        if (const int error = addHeld(ticks_.countIn(encoding_.end - encoding_.begin)); error < 0)
            return error;
        if (const int error = addSound(INT64_MAX); error < 0)
            return error;
        return muxer_.end();
    }

    [[nodiscard]] std::size_t count() const { return ticks_.count(); }
    [[nodiscard]] const std::optional<Error>& soundFailure() const { return soundFailure_; }

private:
    int open(const AVFrame& first)
    {
        encoder_ = makePictureEncoder(codec_, first, encoding_, milliseconds);
        if (!encoder_ || !held_)
            return AVERROR(ENOMEM);
        encoder_->bit_rate = 0;
        // None of its own by number: CopyKeyFrames says where.
        encoder_->gop_size = INT_MAX / 2;
        encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        AvDictionary options;
        describe(options, codec_.name, encoding_);
        if (const int error = avcodec_open2(encoder_.get(), &codec_, options.get()); error < 0)
            return error;
        pictures_ = muxer_.addStream(*encoder_);
        if (!pictures_)
            return AVERROR(ENOMEM);
        if (sound_) {
            if (const int error = describeSound(); error < 0)
                return error;
        }
        return muxer_.begin();
    }

    int describeSound()
    {
        const auto& format = sound_->format();
        soundStream_ = muxer_.addStream();
        if (!soundStream_)
            return AVERROR(ENOMEM);
        auto& parameters = *soundStream_->codecpar;
        parameters.codec_type = AVMEDIA_TYPE_AUDIO;
        parameters.codec_id = AV_CODEC_ID_OPUS;
        parameters.sample_rate = format.sampleRate;
        parameters.frame_size = static_cast<int>(sound_->packetFrames());
        parameters.initial_padding = static_cast<int>(sound_->primingFrames());
        parameters.seek_preroll = seekPreroll;
        av_channel_layout_default(&parameters.ch_layout, format.channelCount);
        const auto& header = format.decoderConfiguration;
        parameters.extradata = static_cast<std::uint8_t*>(av_mallocz(header.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        if (!parameters.extradata)
            return AVERROR(ENOMEM);
        std::memcpy(parameters.extradata, header.data(), header.size());
        parameters.extradata_size = static_cast<int>(header.size());
        soundStream_->time_base = {1, format.sampleRate};
        return 0;
    }

    int encode(AVFrame* picture)
    {
        return encodePicture(*encoder_, picture, [this](AVPacket& packet) {
            if (const int error = addHeld(packet.pts); error < 0)
                return error;
            av_packet_move_ref(held_.get(), &packet);
            hasHeld_ = true;
            return 0;
        });
    }

    /// How long a picture lasts is known with the next.
    int addHeld(std::int64_t end)
    {
        if (!std::exchange(hasHeld_, false))
            return 0;
        held_->duration = std::max<std::int64_t>(1, end - held_->pts);
        if (const int error = addSound(held_->pts); error < 0)
            return error;
        return muxer_.add(*held_, *pictures_, milliseconds);
    }

    /// What is played up to there, in milliseconds.
    int addSound(std::int64_t end)
    {
        if (!sound_)
            return 0;
        const AVRational frames{1, sound_->format().sampleRate};
        while (!isSoundEnded_ && (end == INT64_MAX || av_compare_ts(soundFrames_, frames, end, milliseconds) <= 0)) {
            const auto data = sound_->next();
            if (!data) {
                soundFailure_ = data.error();
                return AVERROR_EXTERNAL;
            }
            const auto played = sound_->primingFrames() + sound_->presentedFrames();
            // What was only there to fill the last packets is in no file.
            if (!*data || soundFrames_ >= played) {
                isSoundEnded_ = true;
                break;
            }
            AvPacket packet{av_packet_alloc()};
            if (!packet)
                return AVERROR(ENOMEM);
            if (const int error = setData(*packet, **data); error < 0)
                return error;
            // As the file counts (CodecDelay): from the first packet, and not from the first frame that is played.
            packet->pts = packet->dts = soundFrames_;
            packet->duration = sound_->packetFrames();
            packet->flags |= AV_PKT_FLAG_KEY;
            soundFrames_ += sound_->packetFrames();
            if (soundFrames_ > played) {
                constexpr std::size_t sizeOfSkip = 10;
                auto* skip = av_packet_new_side_data(packet.get(), AV_PKT_DATA_SKIP_SAMPLES, sizeOfSkip);
                if (!skip)
                    return AVERROR(ENOMEM);
                std::memset(skip, 0, sizeOfSkip);
                AV_WL32(skip + 4, static_cast<std::uint32_t>(soundFrames_ - played));
            }
            if (const int error = muxer_.add(*packet, *soundStream_, frames); error < 0)
                return error;
        }
        return 0;
    }

    MovieMuxer& muxer_;
    const AVCodec& codec_;
    const engine::MovieEncoding& encoding_;
    engine::MovieSound* const sound_;
    AvCodecContext encoder_;
    AVStream* pictures_ = nullptr;  // the muxer's, as is the next
    AVStream* soundStream_ = nullptr;
    AvPacket held_;
    bool hasHeld_ = false;
    bool isSoundEnded_ = false;
    std::int64_t soundFrames_ = 0;  // with what is before the first that is played
    PictureTicks ticks_{milliseconds};
    engine::CopyKeyFrames keyFrames_{milliseconds.den};
    std::optional<Error> soundFailure_;
};

class WebmTranscoder final : public engine::MovieTranscoder {
public:
    WebmTranscoder(const AVCodec& codec, VideoFormat format) : codec_(codec), format_(std::move(format)) { }

    Result<std::optional<engine::MoviePictures>> transcode(engine::CodedSamples& source, const engine::MovieEncoding& encoding,
        engine::MovieSound* sound, const engine::WriteMovie& write,
        const std::function<bool(const engine::MovieProgress&)>& progress) override
    {
        const auto muxer = MovieMuxer::create("webm", write);
        if (!muxer)
            return movieFailure(AVERROR_MUXER_NOT_FOUND);
        Writing writing{*muxer, codec_, encoding, sound};
        const auto failure = [&](int error) -> tl::unexpected<Error> {
            if (muxer->failure())
                return tl::unexpected(*muxer->failure());
            return writing.soundFailure() ? tl::unexpected(*writing.soundFailure()) : movieFailure(error);
        };
        const auto filtered = filterPictures(
            source, {format_, encoding, "null[out]"},
            [&](double done) {
                return progress({done, done});
            },
            [&](AVFrame& picture) { return writing.add(picture); });
        if (!filtered)
            return muxer->failure() || writing.soundFailure() ? failure(0) : tl::unexpected(filtered.error());
        if (!*filtered)
            return std::nullopt;
        if (const int error = writing.finish(); error < 0)
            return failure(error);
        return engine::MoviePictures{writing.count()};
    }

private:
    const AVCodec& codec_;
    const VideoFormat format_;
};

}  // namespace

std::unique_ptr<engine::MovieTranscoder> makeWebmTranscoder(const AVCodec& encoder, const VideoFormat& pictures)
{
    return std::make_unique<WebmTranscoder>(encoder, pictures);
}

}  // namespace velmora::linux_backend

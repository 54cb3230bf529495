#include "platform/linux/ffmpeg/LibavMovieCodecs.h"
#include "platform/linux/ffmpeg/MoviePass.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <span>
#include <utility>

namespace velmora::linux_backend {

namespace {

/// The encoder does not learn how long the last picture lasts and takes an average. It is what is missing to the whole: the duration of each
/// picture is at the twelfth of the bytes that follow its chunk's name and size, in three bytes (the format's "ANMF").
void setWholeDuration(std::span<std::uint8_t> file, std::int64_t whole)
{
    constexpr std::size_t header = 8;
    constexpr std::size_t firstChunk = 12;
    constexpr std::size_t durationAt = 12;
    constexpr std::int64_t longest = 0xFFFFFF;
    const auto number = [&](std::size_t at, int bytes) {
        std::uint32_t value = 0;
        for (int i = bytes; i-- > 0;)
            value = value << 8U | file[at + static_cast<std::size_t>(i)];
        return value;
    };
    std::optional<std::size_t> last;
    std::int64_t before = 0;
    for (std::size_t at = firstChunk; at + header <= file.size();) {
        const auto size = number(at + 4, 4);
        if (std::memcmp(&file[at], "ANMF", 4) == 0 && at + header + durationAt + 3 <= file.size()) {
            before += last ? number(*last, 3) : 0;
            last = at + header + durationAt;
        }
        // Chunks of odd sizes are followed by a byte of nothing.
        at += header + size + size % 2;
    }
    if (!last)
        return;
    const auto duration = std::clamp<std::int64_t>(whole - before, 1, longest);
    for (std::size_t i = 0; i < 3; ++i)
        file[*last + i] = static_cast<std::uint8_t>(duration >> (8 * i));
}

/// The encoder itself makes the file of all pictures, at the end.
class WebpTranscoder final : public engine::MovieTranscoder {
public:
    WebpTranscoder(const AVCodec& codec, VideoFormat format) : codec_(codec), format_(std::move(format)) { }

    Result<std::optional<engine::MoviePictures>> transcode(engine::CodedSamples& source, const engine::MovieEncoding& encoding,
        engine::MovieSound*, const engine::WriteMovie& write, const std::function<bool(const engine::MovieProgress&)>& progress) override
    {
        AvCodecContext encoder;
        PictureTicks ticks{milliseconds};
        const auto noPacket = [](AVPacket&) { return 0; };
        // Colours as they are seen: the format's own, which the encoder converts to, are not those of videos.
        const auto filtered = filterPictures(
            source, {format_, encoding, "format=bgra[out]"},
            [&](double done) {
                return progress({done, 0});
            },
            [&](AVFrame& picture) {
                if (!ticks.take(picture))
                    return 0;
                if (!encoder) {
                    if (const int error = open(encoder, picture, encoding); error < 0)
                        return error;
                }
                return encodePicture(*encoder, &picture, noPacket);
            });
        if (!filtered)
            return fail(filtered.error());
        if (!*filtered)
            return std::nullopt;
        Result<void> written;
        const int error = encoder
            ? encodePicture(*encoder, nullptr,
                [&](AVPacket& packet) {
                    setWholeDuration({packet.data, static_cast<std::size_t>(packet.size)}, ticks.countIn(encoding.end - encoding.begin));
                    written = write(0, std::as_bytes(std::span{packet.data, static_cast<std::size_t>(packet.size)}));
                    return 0;
                })
            : AVERROR_INVALIDDATA;
        if (error < 0)
            return movieFailure(error);
        if (!written)
            return fail(written.error());
        return engine::MoviePictures{ticks.count()};
    }

private:
    int open(AvCodecContext& encoder, const AVFrame& first, const engine::MovieEncoding& encoding) const
    {
        encoder = makePictureEncoder(codec_, first, encoding, milliseconds);
        if (!encoder)
            return AVERROR(ENOMEM);
        std::array<char, 16> quality{};
        std::snprintf(quality.data(), quality.size(), "%lld", static_cast<long long>(std::llround(encoding.quality)));
        AvDictionary options;
        options.set("quality", quality.data());
        options.set("compression_level", encoding.effort == engine::ClipEffort::much ? "4" : "2");
        return avcodec_open2(encoder.get(), &codec_, options.get());
    }

    const AVCodec& codec_;
    const VideoFormat format_;
};

}  // namespace

std::unique_ptr<engine::MovieTranscoder> makeWebpTranscoder(const AVCodec& encoder, const VideoFormat& pictures)
{
    return std::make_unique<WebpTranscoder>(encoder, pictures);
}

}  // namespace velmora::linux_backend

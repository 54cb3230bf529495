#include "platform/linux/ffmpeg/LibavMovieCodecs.h"

#include "platform/linux/ffmpeg/ClipPictures.h"
#include "platform/linux/ffmpeg/Decoders.h"
#include "platform/linux/ffmpeg/LibavError.h"
#include "platform/linux/ffmpeg/LibavOpusEncoder.h"
#include "platform/linux/ffmpeg/LibavPictureTranscoder.h"
#include "platform/linux/ffmpeg/LibavSoundDecoder.h"

#include <array>
#include <span>
#include <string>

namespace velmora::linux_backend {

namespace {

using platform::CopyFormat;

// The first that there is. More programs play VP9 than AV1. SVT-AV1 would talk on standard error.
constexpr std::array gifEncoders{"gif"};
constexpr std::array webpEncoders{"libwebp_anim"};
constexpr std::array webmEncoders{"libvpx-vp9", "libaom-av1"};

std::span<const char* const> encodersOf(CopyFormat format)
{
    switch (format) {
    case CopyFormat::gif:
        return gifEncoders;
    case CopyFormat::webp:
        return webpEncoders;
    case CopyFormat::mp4:
    case CopyFormat::webm:
        break;
    }
    return webmEncoders;
}

tl::unexpected<Error> missing(const std::string& what)
{
    return fail(std::string{platform::transcodingErrorDomain}, static_cast<int>(platform::TranscodingErrorCode::missingEncoder),
        "This system's libavcodec cannot encode " + what + ".");
}

const char* contentsOf(CopyFormat format)
{
    switch (format) {
    case CopyFormat::gif:
        return "GIF (gif)";
    case CopyFormat::webp:
        return "moving WebP (libwebp_anim)";
    case CopyFormat::mp4:
    case CopyFormat::webm:
        break;
    }
    return "VP9 (libvpx-vp9) or AV1 (libaom-av1), of which WebM needs one";
}

}  // namespace

Result<std::unique_ptr<engine::MovieTranscoder>> LibavMovieCodecs::makeMovieTranscoder(
    CopyFormat movieFormat, const VideoFormat& pictures, bool hasSound)
{
    const AVCodec* encoder = nullptr;
    for (const char* name : encodersOf(movieFormat)) {
        if (!encoder)
            encoder = findEncoder_(name);
    }
    if (!encoder)
        return missing(contentsOf(movieFormat));
    if (hasSound && !findEncoder_(opusEncoderName))
        return missing("Opus (libopus), which WebM's sound needs");
    if (const auto decoder = openDecoder(pictures, 1); !decoder)
        return fail(libavError(decoder.error(), picturesNotDecoded));
    switch (movieFormat) {
    case CopyFormat::gif:
        return makeGifTranscoder(*encoder, pictures);
    case CopyFormat::webp:
        return makeWebpTranscoder(*encoder, pictures);
    case CopyFormat::mp4:
    case CopyFormat::webm:
        break;
    }
    return makeWebmTranscoder(*encoder, pictures);
}

Result<std::unique_ptr<engine::PictureTranscoder>> LibavMovieCodecs::makePictureTranscoder(const VideoFormat& format)
{
    return LibavPictureTranscoder::create(format);
}

Result<std::unique_ptr<engine::SoundDecoder>> LibavMovieCodecs::makeSoundDecoder(const AudioFormat& format, std::int32_t channelCount)
{
    return LibavSoundDecoder::create(format, channelCount);
}

Result<std::unique_ptr<engine::AudioEncoder>> LibavMovieCodecs::makeAudioEncoder(const platform::AudioOutputSettings& settings)
{
    return LibavOpusEncoder::create(settings);
}

}  // namespace velmora::linux_backend

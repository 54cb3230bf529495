// What makes GIF, WebP and WebM files of clips, by libavcodec, libavfilter and libavformat.
#pragma once

#include "engine/codecs/MovieCodecs.h"
#include "platform/linux/ffmpeg/AvHandles.h"

#include <functional>
#include <memory>
#include <utility>

namespace velmora::linux_backend {

/// Null where the library has no encoder of that name.
using FindEncoder = std::function<const AVCodec*(const char*)>;

class LibavMovieCodecs final : public engine::MovieCodecs {
public:
    explicit LibavMovieCodecs(FindEncoder findEncoder = avcodec_find_encoder_by_name) : findEncoder_(std::move(findEncoder)) { }

    Result<std::unique_ptr<engine::MovieTranscoder>> makeMovieTranscoder(
        platform::CopyFormat movieFormat, const VideoFormat& pictures, bool hasSound) override;
    Result<std::unique_ptr<engine::PictureTranscoder>> makePictureTranscoder(const VideoFormat& format) override;
    Result<std::unique_ptr<engine::SoundDecoder>> makeSoundDecoder(const AudioFormat& format, std::int32_t channelCount) override;
    Result<std::unique_ptr<engine::AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) override;

private:
    const FindEncoder findEncoder_;
};

// One for each format. `encoder` is one of the format's.
[[nodiscard]] std::unique_ptr<engine::MovieTranscoder> makeGifTranscoder(const AVCodec& encoder, const VideoFormat& pictures);
[[nodiscard]] std::unique_ptr<engine::MovieTranscoder> makeWebpTranscoder(const AVCodec& encoder, const VideoFormat& pictures);
[[nodiscard]] std::unique_ptr<engine::MovieTranscoder> makeWebmTranscoder(const AVCodec& encoder, const VideoFormat& pictures);

}  // namespace velmora::linux_backend

// What the codec module gives. FFmpeg's libraries cost 25 MB and 20 ms at program start, so everything that needs them lives in one module
// that is loaded when the first of these is made.
#pragma once

#include "base/Result.h"
#include "engine/codecs/AudioEncoder.h"
#include "engine/codecs/PictureDecoder.h"
#include "engine/codecs/PictureScaler.h"
#include "platform/CompressionSession.h"

#include <memory>

namespace velmora::linux_backend {

class CodecModule {
public:
    virtual ~CodecModule() = default;

    virtual std::shared_ptr<platform::CompressionSessionFactory> compressionSessions() = 0;
    virtual Result<std::unique_ptr<engine::AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) = 0;
    virtual std::unique_ptr<engine::PictureScaler> makePictureScaler() = 0;

    /// For "avc1", "avc3", "hvc1", "hev1", "vp09" and "av01". `format.decoderConfiguration` is the payload of the codec's box in a
    /// sample entry ("avcC", "hvcC", "av1C"); its colour counts where the stream gives none.
    virtual Result<std::unique_ptr<engine::PictureDecoder>> makePictureDecoder(
        const VideoFormat& format, const engine::PictureRequest& request) = 0;
};

}  // namespace velmora::linux_backend

// What the codec module gives. FFmpeg's libraries cost 25 MB and 20 ms at program start, so everything that needs them lives in one module
// that is loaded when the first of these is made.
#pragma once

#include "base/Result.h"
#include "engine/codecs/AudioEncoder.h"
#include "engine/codecs/ClipCodecs.h"
#include "engine/codecs/KeyFrameRequests.h"
#include "engine/codecs/PictureDecoder.h"
#include "engine/codecs/PictureScaler.h"
#include "engine/codecs/SeamCodecs.h"
#include "platform/CompressionSession.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velmora::linux_backend {

/// What a video encoder did when it was tried out.
struct EncoderTrialReport {
    enum class Outcome { works, fails, missing, endedAProgram, ruledOut };  ///< as platform::DesktopFacts has them

    std::string name;
    Outcome outcome = Outcome::fails;
    std::string reason = {};  ///< where it fails
    bool isSoftware = false;
};

class CodecModule {
public:
    virtual ~CodecModule() = default;

    /// Sessions that make the key frames that are asked for.
    virtual std::shared_ptr<platform::CompressionSessionFactory> makeCompressionSessions(engine::KeyFrameRequests keyFrameRequests) = 0;

    /// Tries out every video encoder for pictures of this size, the preferred one first. One that ended a program in its trial is not
    /// tried again in this login session.
    virtual std::vector<EncoderTrialReport> tryVideoEncoders(std::int32_t width, std::int32_t height) = 0;

    /// The name and version of the library whose encoders these are.
    [[nodiscard]] virtual std::string libraryVersion() const = 0;

    virtual Result<std::unique_ptr<engine::AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) = 0;
    virtual std::unique_ptr<engine::PictureScaler> makePictureScaler() = 0;

    /// For "avc1", "avc3", "hvc1", "hev1", "vp09" and "av01". `format.decoderConfiguration` is the payload of the codec's box in a
    /// sample entry ("avcC", "hvcC", "av1C"); its colour counts where the stream gives none.
    virtual Result<std::unique_ptr<engine::PictureDecoder>> makePictureDecoder(
        const VideoFormat& format, const engine::PictureRequest& request) = 0;

    /// As engine::SeamCodecs has them.
    virtual Result<std::unique_ptr<engine::PacketDecoder>> makePacketDecoder(const AudioFormat& format) = 0;
    virtual Result<std::unique_ptr<engine::PictureReencoder>> makePictureReencoder(const VideoFormat& format, int parameterSet) = 0;

    /// What encodes clips anew.
    virtual std::unique_ptr<engine::ClipCodecs> makeClipCodecs() = 0;
};

}  // namespace velmora::linux_backend

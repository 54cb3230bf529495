// Encoding sound, whichever library does it.
#pragma once

#include "base/Result.h"
#include "media/SampleBuffer.h"
#include "platform/AssetWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace velmora::engine {

/// What an encoder may be given for `value`: silence for what is not finite, which would end the sound for good, and no more than is far
/// above full scale and far below what encoders refuse.
[[nodiscard]] inline float encodableSample(float value)
{
    constexpr float greatestAmplitude = 16.0F;
    return std::isfinite(value) ? std::clamp(value, -greatestAmplitude, greatestAmplitude) : 0.0F;
}

/// Encodes interleaved 32-bit float sound to AAC. Used on one thread.
class AudioEncoder {
public:
    struct Packet {
        DataBlock data;
        std::int64_t frames = 1024;  ///< PCM frames that the packet decodes to
    };

    virtual ~AudioEncoder() = default;

    /// "mp4a" with its AudioSpecificConfig.
    [[nodiscard]] virtual FormatDescriptionRef format() const = 0;

    /// Frames of priming that the decoder puts out before the first frame that was put in.
    [[nodiscard]] virtual std::int64_t primingFrames() const = 0;

    /// `frames` holds interleaved samples of all channels; any number of them. Finished packets are appended to `packets`.
    virtual Result<void> encode(std::span<const float> frames, std::vector<Packet>& packets) = 0;

    /// Ends the stream: what is still inside is appended to `packets`, the last packet padded with silence.
    virtual Result<void> flush(std::vector<Packet>& packets) = 0;
};

/// Makes the encoder of an audio input; fails where there is none.
using AudioEncoderFactory = std::function<Result<std::unique_ptr<AudioEncoder>>(const platform::AudioOutputSettings&)>;

}  // namespace velmora::engine

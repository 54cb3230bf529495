// Inside the Linux back end: what the codec module gives. FFmpeg's libraries cost 25 MB and 20 ms at program start, so everything that
// needs them lives in one module that is loaded when the first of these is made.
#pragma once

#include "base/Result.h"
#include "media/SampleBuffer.h"
#include "platform/AssetWriter.h"
#include "platform/CompressionSession.h"

#include <memory>
#include <span>
#include <vector>

namespace velmora::linux_backend {

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

/// Scales a part of one BGRA picture into a part of another, bilinearly. The rectangles are the parts, in pixels from the first one of
/// their picture. Used on one thread; keeps its tables between calls of the same sizes.
class PictureScaler {
public:
    virtual ~PictureScaler() = default;

    virtual Result<void> scale(const std::byte* source, PixelRect sourceSize, std::size_t sourceBytesPerRow, std::byte* destination,
        PixelRect destinationSize, std::size_t destinationBytesPerRow) = 0;
};

class CodecModule {
public:
    virtual ~CodecModule() = default;

    virtual std::shared_ptr<platform::CompressionSessionFactory> compressionSessions() = 0;
    virtual Result<std::unique_ptr<AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) = 0;
    virtual std::unique_ptr<PictureScaler> makePictureScaler() = 0;
};

/// Loads the module on the first call, on whatever thread that is; every later call returns the same one or the same error.
Result<std::shared_ptr<CodecModule>> codecModule();

}  // namespace velmora::linux_backend

// Inside the Linux back end: what the codec module gives. FFmpeg's libraries cost 25 MB and 20 ms at program start, so everything that
// needs them lives in one module that is loaded when the first of these is made.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
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

/// Makes a scaler when the first picture has to be scaled.
using PictureScalerFactory = UniqueFunction<Result<std::unique_ptr<PictureScaler>>()>;

/// One picture of a track, and how large it may become.
struct PictureRequest {
    std::int64_t time = 0;  ///< as it is given with its sample
    std::int32_t maximumWidth = 0;  ///< pixels, at least 1
    std::int32_t maximumHeight = 0;
};

/// Decodes samples of a track in decode order until the requested picture comes out. Used on one thread. Samples may be of any
/// origin: what claims too large a picture, or cannot be decoded without damage, is an error.
class PictureDecoder {
public:
    virtual ~PictureDecoder() = default;

    /// The picture, scaled down to fit with its shape kept (square pixels), never up; null: it needs more samples.
    virtual Result<PixelBufferRef> decode(std::span<const std::byte> sample, std::int64_t time) = 0;

    /// No sample follows. An error where the picture was not among them.
    virtual Result<PixelBufferRef> finish() = 0;
};

class CodecModule {
public:
    virtual ~CodecModule() = default;

    virtual std::shared_ptr<platform::CompressionSessionFactory> compressionSessions() = 0;
    virtual Result<std::unique_ptr<AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) = 0;
    virtual std::unique_ptr<PictureScaler> makePictureScaler() = 0;

    /// For "avc1", "avc3", "hvc1", "hev1", "vp09" and "av01". `format.decoderConfiguration` is the payload of the codec's box in a
    /// sample entry ("avcC", "hvcC", "av1C"); its colour counts where the stream tells none.
    virtual Result<std::unique_ptr<PictureDecoder>> makePictureDecoder(const VideoFormat& format, const PictureRequest& request) = 0;
};

/// Loads the module on the first call, on whatever thread that is; every later call returns the same one or the same error.
Result<std::shared_ptr<CodecModule>> codecModule();

}  // namespace velmora::linux_backend

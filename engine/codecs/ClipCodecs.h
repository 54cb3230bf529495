// What it takes to encode a clip anew, whichever library does it.
#pragma once

#include "base/Result.h"
#include "engine/codecs/AudioEncoder.h"
#include "engine/codecs/PictureSchedule.h"
#include "media/FormatDescription.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace velmora::engine {

/// The samples of one track, in the order in which they are decoded. Used on one thread.
class CodedSamples {
public:
    struct Sample {
        std::span<const std::byte> bytes;  ///< until the next call
        std::int64_t time = 0;  ///< when it is shown or played, in the track's time scale; before 0 it is not
    };

    virtual ~CodedSamples() = default;

    [[nodiscard]] virtual std::int32_t timescale() const = 0;

    /// Goes to the sample at which decoders begin for what is shown at `seconds`.
    virtual void seek(double seconds) = 0;

    /// None after the last.
    virtual Result<std::optional<Sample>> next() = 0;
};

/// How much work an encoder puts into the same quality in fewer bytes.
enum class ClipEffort { little, some, much };

struct PictureEncoding {
    std::int32_t width = 0;  ///< pixels, even
    std::int32_t height = 0;
    PictureTiming timing;
    double quality = 23;  ///< x264's constant rate factor: 6 more is about half the bytes
    ClipEffort effort = ClipEffort::some;
    /// The part of the clip, in ticks of pictureTimescale. Encoded times count from its beginning.
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

struct EncodedPicture {
    std::span<const std::byte> bytes;  ///< four-byte lengths before the NAL units; until the callback returns
    std::int64_t decodeTime = 0;  ///< in ticks of pictureTimescale; below 0 where pictures are decoded before they are shown
    std::int64_t time = 0;
    bool isSync = false;
};

/// Takes one picture after the other, in decode order. False: no more are wanted.
using TakePicture = std::function<Result<bool>(const EncodedPicture&)>;

/// Called for each decoded picture with its time in ticks. False: no more is wanted.
using PictureProgress = std::function<bool(std::int64_t)>;

/// Decodes a clip's pictures, scales them, and encodes them to H.264. Used on one thread; any number of times.
class PictureTranscoder {
public:
    virtual ~PictureTranscoder() = default;

    /// "avc1" of what was encoded; null where it was ended before the end of the part.
    virtual Result<FormatDescriptionRef> transcode(
        CodedSamples& source, const PictureEncoding& encoding, const PictureProgress& progress, const TakePicture& take) = 0;
};

/// Decodes a clip's sound. Used on one thread.
class SoundDecoder {
public:
    struct Block {
        std::int64_t time = 0;  ///< of its first frame, in the track's time scale
        std::int32_t sampleRate = 0;
        std::vector<float> frames;  ///< interleaved, of the channels that were asked for
    };

    virtual ~SoundDecoder() = default;

    /// Appends what comes out to `blocks`.
    virtual Result<void> decode(const CodedSamples::Sample& sample, std::vector<Block>& blocks) = 0;

    /// No sample follows.
    virtual Result<void> finish(std::vector<Block>& blocks) = 0;
};

class ClipCodecs {
public:
    virtual ~ClipCodecs() = default;

    /// Of a track with such samples. Fails where nothing decodes them, or nothing encodes H.264.
    virtual Result<std::unique_ptr<PictureTranscoder>> makePictureTranscoder(const VideoFormat& format) = 0;

    /// Its sound in `channelCount` channels, 1 or 2, whatever the track has.
    virtual Result<std::unique_ptr<SoundDecoder>> makeSoundDecoder(const AudioFormat& format, std::int32_t channelCount) = 0;

    virtual Result<std::unique_ptr<AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) = 0;
};

/// Makes them when the first clip is encoded, on any thread.
using MakeClipCodecs = std::function<Result<std::unique_ptr<ClipCodecs>>()>;

}  // namespace velmora::engine

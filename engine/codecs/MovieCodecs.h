// What it takes to make files of other formats than MP4 of a clip, whichever library does it.
#pragma once

#include "engine/codecs/ClipCodecs.h"
#include "platform/ClipTranscoder.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace velmora::engine {

/// How pictures are to be encoded.
struct MovieEncoding {
    std::int32_t width = 0;  ///< pixels, even, before they are turned
    std::int32_t height = 0;
    int quarterTurns = 0;  ///< clockwise, 0 to 3: how pictures have to be turned to stand upright
    PictureTiming timing;
    double quality = 0;  ///< of WebM the constant rate factor, finer the smaller; of WebP 0 to 100, finer the larger
    int colours = 256;  ///< of GIF, at most
    ClipEffort effort = ClipEffort::some;
    /// The part of the clip, in ticks of pictureTimescale. Encoded times count from its beginning.
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

/// Encoded sound for a file that has it.
class MovieSound {
public:
    virtual ~MovieSound() = default;

    [[nodiscard]] virtual const AudioFormat& format() const = 0;
    [[nodiscard]] virtual std::int64_t packetFrames() const = 0;  ///< that each packet decodes to
    [[nodiscard]] virtual std::int64_t primingFrames() const = 0;  ///< before the first that is played
    [[nodiscard]] virtual std::int64_t presentedFrames() const = 0;

    /// The packets, one after the other; until the next call. None after the last.
    virtual Result<std::optional<std::span<const std::byte>>> next() = 0;
};

/// Puts bytes into the file; not only at its end.
using WriteMovie = std::function<Result<void>(std::uint64_t offset, std::span<const std::byte> bytes)>;

/// How far an encoding has come.
struct MovieProgress {
    double done = 0;  ///< of the work, 0 to 1
    double written = 0;  ///< of the clip: what the bytes so far are of; 0 while nobody can tell
};

struct MoviePictures {
    std::size_t count = 0;
};

/// Writes a clip's pictures, and the sound that it is given, to whole files of one format. Used on one thread; any number of times.
class MovieTranscoder {
public:
    virtual ~MovieTranscoder() = default;

    /// `sound` may be null. None: `progress` returned false.
    virtual Result<std::optional<MoviePictures>> transcode(CodedSamples& source, const MovieEncoding& encoding, MovieSound* sound,
        const WriteMovie& write, const std::function<bool(const MovieProgress&)>& progress) = 0;
};

/// The sound's encoder is that of the formats which have sound: Opus.
class MovieCodecs : public ClipCodecs {
public:
    /// Fails with platform::TranscodingErrorCode::missingEncoder, in words that name it, where the library lacks an encoder for the format's
    /// pictures or sound.
    virtual Result<std::unique_ptr<MovieTranscoder>> makeMovieTranscoder(
        platform::CopyFormat movieFormat, const VideoFormat& pictures, bool hasSound) = 0;
};

/// Makes them when the first such copy is made, on any thread.
using MakeMovieCodecs = std::function<Result<std::unique_ptr<MovieCodecs>>()>;

}  // namespace velmora::engine

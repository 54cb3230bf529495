// The model of an MP4 file: what its index ("moov") says. Files written, read, repaired and trimmed all use it.
#pragma once

#include "media/FormatDescription.h"
#include "media/MediaTime.h"
#include "media/mp4/SampleTable.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace velmora::mp4 {

/// Clock ticks per second of every video track that this system writes: whole ticks for 24, 25, 30, 50 and 60 pictures a second.
inline constexpr std::int32_t videoTimescale = 90000;

/// A picture that nothing ends is shown for at most this long.
inline constexpr MediaTime longestLastPicture{1, 2};

/// No time in a file is believed that lies further from its beginning (34 years): sums and conversions of such times never overflow.
inline constexpr std::int64_t largestSeconds = std::int64_t{1} << 30;

/// One entry of an edit list (ISO 14496-12 8.6.6).
struct Edit {
    std::uint64_t duration = 0;  ///< in the movie's time scale; 0 in a fragmented file: until the end
    std::int64_t mediaTime = 0;  ///< in the track's time scale; -1 shows nothing
    bool isAtNormalSpeed = true;  ///< always, in what this system writes

    friend bool operator==(const Edit&, const Edit&) = default;
};

struct Track {
    static constexpr std::uint16_t undeterminedLanguage = 0x55C4;  ///< "und"
    static constexpr std::array<std::int32_t, 9> identityMatrix{0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};

    std::uint32_t id = 0;
    FormatDescriptionRef format;
    std::int32_t timescale = 0;
    /// Empty: the whole media is shown from the beginning. In a fragmented file the decode time of the first sample may be above 0;
    /// that time passes before it is shown.
    std::vector<Edit> edits;
    SampleTable samples;
    std::array<std::int32_t, 9> matrix = identityMatrix;
    /// Three letters of 5 bits (ISO 14496-12 8.4.2.3), and the payload of the box that says more ("elng"), where a file had one.
    std::uint16_t language = undeterminedLanguage;
    std::vector<std::byte> extendedLanguage;
    /// Size as shown, 16.16 (ISO 14496-12 8.3.2), where a reader found one: not the format's when pixels are not square.
    std::uint32_t shownWidth = 0;
    std::uint32_t shownHeight = 0;

    /// The sample entry as a file holds it, box header included; if empty it is written from `format`. A reader keeps it so that tracks of
    /// any codec can be copied.
    std::vector<std::byte> sampleEntry;
    std::uint32_t sampleEntryCount = 1;  ///< above 1, `format` and `sampleEntry` describe the first of several

    [[nodiscard]] bool isVideo() const { return format->mediaType() == MediaType::video; }
};

struct Movie {
    std::int32_t timescale = 0;
    std::uint64_t creationTime = 0;  ///< seconds since 1904, UTC
    /// The movie's header states at least this duration, in `timescale`. 0 in what a reader found.
    std::uint64_t leastDuration = 0;
    /// True: the index describes the tracks only, and samples come in fragments ("mvex").
    bool isFragmented = false;
    std::vector<Track> tracks;
};

/// How long the track plays, from the movie's beginning to the end of its last edit.
[[nodiscard]] MediaTime presentationDuration(const Movie& movie, const Track& track);

/// How long the longest track plays.
[[nodiscard]] MediaTime presentationDuration(const Movie& movie);

/// The current time, as files hold it.
[[nodiscard]] std::uint64_t currentFileTime();

/// `value` ticks of `from` in ticks of `to`, to the nearest one; the largest value where it does not fit.
[[nodiscard]] std::uint64_t rescaled(std::uint64_t value, std::int32_t from, std::int32_t to);

/// What a recording knows of a track when it ends.
struct TrackEnd {
    /// Sound: frames that were put in, without priming and padding. None when unknown: then all that the packets hold.
    std::optional<std::int64_t> presentedFrames;
};

/// Turns the movie of a recording's fragments (decode times on the recording's time line, the first edit's media time giving the
/// priming) into the movie of the whole file: tracks without samples are left out, decode times begin at 0, edit lists hold late
/// beginnings and cut priming and padding exactly, the last picture lasts until the sound ends, at most longestLastPicture.
/// `ends` belongs to movie.tracks by index; it may be empty.
void closeRecordedMovie(Movie& movie, const std::vector<TrackEnd>& ends);

}  // namespace velmora::mp4

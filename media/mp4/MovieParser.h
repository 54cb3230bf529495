// From the bytes of an index to the model. For use inside this library.
#pragma once

#include "base/Result.h"
#include "media/mp4/Movie.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace velmora::mp4 {

/// Defaults for the samples of fragments (ISO 14496-12 8.8.3).
struct TrackDefaults {
    std::uint32_t duration = 0;
    std::uint32_t size = 0;
    std::uint32_t flags = 0;
};

struct ParsedMovie {
    Movie movie;
    std::map<std::uint32_t, TrackDefaults> defaults;  ///< by track
};

/// How many samples a file may claim to have in all its tracks: no more than it has bytes, because empty samples would take memory and
/// time out of all proportion to the file.
[[nodiscard]] std::size_t largestSampleCount(std::uint64_t fileSize);

/// `payload` is what is inside "moov"; samples must lie before `fileSize`.
Result<ParsedMovie> parseMovie(std::span<const std::byte> payload, std::uint64_t fileSize);

struct ParsedRun {
    std::size_t track = 0;  ///< index into the movie's tracks
    std::vector<SampleTable::Entry> entries;
    std::uint32_t lastDuration = 0;
};

/// `payload` is what is inside the "moof" at `offset`. Runs of tracks that the movie does not hold are left out. `budget` bounds the
/// number of samples.
Result<std::vector<ParsedRun>> parseFragment(
    std::span<const std::byte> payload, std::uint64_t offset, const ParsedMovie& parsed, std::size_t budget);

/// The sample entry in `entry` (its box included) as far as this system understands it.
Result<FormatDescriptionRef> parseSampleEntry(std::span<const std::byte> entry, MediaType mediaType);

}  // namespace velmora::mp4

// From the model to the bytes of an index, and of a fragment's index.
#pragma once

#include "media/mp4/Movie.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velmora::mp4 {

/// The "moov" box of `movie` (ISO 14496-12 8.2). Boxes take their 64-bit version where a value needs it ("co64", version 1 of the
/// headers and edit lists); so the size depends on the offsets of the samples. A fragmented movie gets "mvex" and empty tables.
/// Preconditions: time scales above 0; tracks with a sample entry, or with a format that canDescribe().
[[nodiscard]] std::vector<std::byte> serializeMovie(const Movie& movie);

/// Whether a sample entry can be written from the format alone: "avc1" with its AVCDecoderConfigurationRecord, "mp4a" with its
/// AudioSpecificConfig.
[[nodiscard]] bool canDescribe(const FormatDescription& format);

/// One sample in a fragment; the samples' bytes follow one another in the order of the runs.
struct FragmentSample {
    std::uint32_t size = 0;
    std::uint32_t duration = 0;
    std::int32_t compositionOffset = 0;
    bool isSync = true;
};

struct FragmentRun {
    std::uint32_t trackID = 0;
    std::int64_t decodeTime = 0;  ///< of the first sample
    std::vector<FragmentSample> samples;
};

/// The "moof" box (ISO 14496-12 8.8.4) of runs whose bytes follow it in an "mdat" with a header of 8 bytes.
[[nodiscard]] std::vector<std::byte> serializeFragment(std::uint32_t sequenceNumber, const std::vector<FragmentRun>& runs);

}  // namespace velmora::mp4

// What a clip may become to fit into a number of bytes, and how much of that each part of it gets. Nothing here reads or encodes.
#pragma once

#include "engine/codecs/PictureSchedule.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace velmora::engine {

/// One way to encode the pictures.
struct PictureCandidate {
    std::int32_t width = 0;  ///< even
    std::int32_t height = 0;
    PictureTiming timing;
    std::size_t pictureCount = 0;
};

struct ClipShape {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int64_t length = 0;  ///< in ticks of pictureTimescale
    std::vector<std::int64_t> times;  ///< of the pictures
};

/// From what the clip is down to what can just be looked at: first smaller, at about 720 lines with half as many pictures, then smaller
/// again. At least one.
[[nodiscard]] std::vector<PictureCandidate> pictureCandidates(const ClipShape& clip);

/// At least two.
[[nodiscard]] std::int32_t evenSide(double side);

/// Pictures a second while they change: what half of them keep to or exceed. 1 at least.
[[nodiscard]] double usualRate(const ClipShape& clip);

/// The usual rate, as editors know it: 24, 25, 30, 50 or 60.
[[nodiscard]] double steadyRate(const ClipShape& clip);

/// Bits a second of the sound where the whole file may have `bytesPerSecond`: about an eighth, and not more than the clip's own has.
[[nodiscard]] std::int64_t soundBitRate(double bytesPerSecond, double sourceBytesPerSecond);

/// The least of these.
inline constexpr std::int64_t leastSoundBitRate = 24000;

/// What an index takes for so many pictures and packets of sound, at the least.
[[nodiscard]] std::uint64_t leastIndexSize(std::size_t pictureCount, std::size_t packetCount);

}  // namespace velmora::engine

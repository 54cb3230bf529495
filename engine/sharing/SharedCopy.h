// What copies of all formats have in common.
#pragma once

#include "media/mp4/File.h"
#include "platform/ClipTranscoder.h"

#include <cstdint>
#include <functional>
#include <string>

namespace velmora::engine {

// Of the limit: what a round aims at, and what is enough.
inline constexpr double aimedPart = 0.965;
inline constexpr double enoughPart = 0.9;
inline constexpr int mostRounds = 6;

/// Of each part of a long clip that gives a first impression of it.
inline constexpr double probeSeconds = 1.5;

// What part of the work the steps are, for the progress.
inline constexpr double soundShare = 0.04;
inline constexpr double probesShare = 0.12;
inline constexpr double roundShare = 0.62;
inline constexpr double copyShare = 0.98;

[[nodiscard]] tl::unexpected<Error> sharingFailure(platform::TranscodingErrorCode code, std::string description);

/// Where a clip of so many seconds takes at least `least` bytes.
[[nodiscard]] tl::unexpected<Error> limitTooSmall(double limit, double seconds, double least);

[[nodiscard]] tl::unexpected<Error> limitMissed(double limit);

/// Bytes a second of a clip's sound that an eighth of the limit is for; without a limit (0) its best.
[[nodiscard]] std::int64_t soundBitRateFor(double limit, double seconds, double sourceBytesPerSecond);

/// Copies `size` bytes to `target`, which is empty. `progress` is called with values from 0 to 1; false: it returned false.
Result<bool> copyBytes(mp4::File& source, std::uint64_t size, mp4::File& target, const std::function<bool(double)>& progress);

}  // namespace velmora::engine

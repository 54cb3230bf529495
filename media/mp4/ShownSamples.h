// Which picture a track shows when, and which samples have to be decoded to see it.
#pragma once

#include "media/MediaTime.h"
#include "media/mp4/Movie.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace velmora::mp4 {

struct ShownSamples {
    std::size_t first = 0;  ///< a sync sample, or the track's first sample where no sync sample comes before
    std::size_t last = 0;  ///< the sample of the picture itself; it needs none that follow it in decode order
    std::int64_t presentationTime = 0;  ///< of the picture, in the track's time scale, before edits
};

/// The picture that the track shows at `time` of the movie, edits (at normal speed) honoured: the last one that begins at or before `time`,
/// to the track's nearest tick. Before the first picture it is the first, from the end on the last. None when the track has no
/// samples. Precondition: `time` is valid.
[[nodiscard]] std::optional<ShownSamples> samplesShownAt(const Movie& movie, const Track& track, MediaTime time);

/// The times of the movie at which the track's pictures begin to be shown, ascending, each once, in the track's time scale, edits (at normal
/// speed) honoured.
[[nodiscard]] std::vector<MediaTime> pictureTimes(const Movie& movie, const Track& track);

}  // namespace velmora::mp4

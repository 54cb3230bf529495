// From one picture of a clip to the next.
#pragma once

#include "media/MediaTime.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace velmora {

/// Knows when each picture of a clip begins, once it has been told. Times given out are seconds that, on the scale of what is exported, lie
/// within the picture that they mean. Any one thread.
class PictureSteps {
public:
    /// In order.
    void setTimes(std::vector<MediaTime> times) { times_ = std::move(times); }

    [[nodiscard]] bool areKnown() const { return !times_.empty(); }

    /// When the picture that is shown at that time begins; empty while the pictures are not known.
    [[nodiscard]] std::optional<double> beginOfPictureAt(MediaTime time) const;

    /// So many pictures on from the one that is shown at that time, or back: the first picture comes before all, and after the last one comes
    /// the clip's end. The time itself while the pictures are not known.
    [[nodiscard]] double stepped(MediaTime time, int pictures, double clipEnd) const;

private:
    [[nodiscard]] std::ptrdiff_t pictureAt(MediaTime time) const;
    [[nodiscard]] double begin(std::ptrdiff_t picture) const;

    std::vector<MediaTime> times_;
};

}  // namespace velmora

#include "library/views/PictureSteps.h"

#include "library/views/PreviewTimes.h"

#include <algorithm>

namespace velmora {

namespace {

/// What a player's own clock may be off by.
constexpr MediaTime clockTick{1, 1'000'000};

}  // namespace

std::ptrdiff_t PictureSteps::pictureAt(MediaTime time) const
{
    const auto next =
        std::upper_bound(times_.begin(), times_.end(), time + clockTick, [](MediaTime value, MediaTime begin) { return value < begin; });
    return std::max<std::ptrdiff_t>(0, next - times_.begin() - 1);
}

double PictureSteps::begin(std::ptrdiff_t picture) const
{
    const auto begin = times_[static_cast<std::size_t>(picture)];
    auto time = begin.converted(preview_times::timescale);
    if (time < begin)
        time.value += 1;
    return time.seconds();
}

std::optional<double> PictureSteps::beginOfPictureAt(MediaTime time) const
{
    if (times_.empty())
        return {};
    return begin(pictureAt(time));
}

double PictureSteps::stepped(MediaTime time, int pictures, double clipEnd) const
{
    if (times_.empty())
        return time.seconds();
    const auto wanted = pictureAt(time) + pictures;
    if (wanted >= static_cast<std::ptrdiff_t>(times_.size()))
        return std::max(clipEnd, time.seconds());
    return begin(std::max<std::ptrdiff_t>(0, wanted));
}

}  // namespace velmora

#include "engine/codecs/PictureSchedule.h"

#include <algorithm>
#include <cmath>

namespace velmora::engine {

namespace {

/// Of an interval: pictures of a screen come a little early and late.
constexpr double tolerance = 0.25;

double intervalOf(const PictureTiming& timing)
{
    const double rate = timing.constantRate > 0 ? timing.constantRate : timing.largestRate;
    return rate > 0 ? pictureTimescale / rate : 0;
}

}  // namespace

PictureSchedule::PictureSchedule(const PictureTiming& timing) : timing_(timing), interval_(intervalOf(timing)) { }

const std::vector<std::int64_t>& PictureSchedule::timesOf(std::int64_t begin, std::int64_t end)
{
    times_.clear();
    if (timing_.constantRate > 0) {
        for (;; ++slot_) {
            const auto time = std::llround(static_cast<double>(slot_) * interval_);
            if (time >= end)
                break;
            if (time >= begin)
                times_.push_back(time);
        }
        return times_;
    }
    const auto time = static_cast<double>(begin);
    // A picture that stays is never left out for the one before it.
    if (time < due_ - tolerance * interval_ && static_cast<double>(end - begin) < interval_)
        return times_;
    due_ = std::max(due_ + interval_, time + interval_ / 2);
    times_.push_back(begin);
    return times_;
}

}  // namespace velmora::engine

#include "engine/sharing/SmallFileSearch.h"

#include <algorithm>
#include <cmath>

namespace velmora::engine {

namespace {

constexpr double usualGuess = 26;
/// Half the bytes for 6 more; and what no pictures go beyond.
constexpr double usualSlope = -1.0 / 6;
constexpr double steepest = -0.5;
constexpr double flattest = -0.04;
/// Closer points say more about the encoder's noise than about its slope.
constexpr double leastDistance = 0.2;

}  // namespace

void SmallFileSearch::add(double quality, double bytes)
{
    points_.push_back({quality, std::log2(std::max(bytes, 1.0))});
}

double SmallFileSearch::qualityFor(double bytes) const
{
    if (points_.empty())
        return usualGuess;
    const double wanted = std::log2(std::max(bytes, 1.0));
    auto nearest = points_;
    std::stable_sort(nearest.begin(), nearest.end(),
        [&](const Point& a, const Point& b) { return std::abs(a.logarithm - wanted) < std::abs(b.logarithm - wanted); });
    const auto& from = nearest.front();
    double slope = usualSlope;
    for (std::size_t i = 1; i < nearest.size(); ++i) {
        if (std::abs(nearest[i].quality - from.quality) < leastDistance)
            continue;
        slope = std::clamp((nearest[i].logarithm - from.logarithm) / (nearest[i].quality - from.quality), steepest, flattest);
        break;
    }
    return from.quality + (wanted - from.logarithm) / slope;
}

}  // namespace velmora::engine

#include "engine/sharing/SmallFileSearch.h"

#include <algorithm>
#include <cmath>

namespace velmora::engine {

namespace {

constexpr double usualGuess = 26;
/// What no pictures go beyond.
constexpr double steepest = -0.5;
constexpr double flattest = -0.04;
/// Closer points say more about the encoder's noise than about its slope.
constexpr double leastDistance = 0.2;

}  // namespace

void SmallFileSearch::add(double quality, double bytes)
{
    points_.push_back({quality, std::log2(std::max(bytes, 1.0))});
}

SmallFileSearch SmallFileSearch::withSlopeOf(const SmallFileSearch& other)
{
    SmallFileSearch search;
    search.slope_ = other.points_.empty() ? other.slope_ : other.slopeOf(other.nearestTo(other.points_.back().logarithm));
    return search;
}

double SmallFileSearch::qualityFor(double bytes) const
{
    if (points_.empty())
        return usualGuess;
    const double wanted = std::log2(std::max(bytes, 1.0));
    const auto nearest = nearestTo(wanted);
    return nearest.front().quality + (wanted - nearest.front().logarithm) / slopeOf(nearest);
}

std::vector<SmallFileSearch::Point> SmallFileSearch::nearestTo(double logarithm) const
{
    auto nearest = points_;
    std::stable_sort(nearest.begin(), nearest.end(),
        [&](const Point& a, const Point& b) { return std::abs(a.logarithm - logarithm) < std::abs(b.logarithm - logarithm); });
    return nearest;
}

double SmallFileSearch::slopeOf(const std::vector<Point>& nearest) const
{
    const auto& from = nearest.front();
    const auto other = std::find_if(
        nearest.begin(), nearest.end(), [&](const Point& point) { return std::abs(point.quality - from.quality) >= leastDistance; });
    return other == nearest.end() ? slope_
                                  : std::clamp((other->logarithm - from.logarithm) / (other->quality - from.quality), steepest, flattest);
}

}  // namespace velmora::engine

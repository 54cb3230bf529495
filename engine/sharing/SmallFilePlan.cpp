#include "engine/sharing/SmallFilePlan.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velmora::engine {

namespace {

// Lines of the shorter side.
constexpr std::array<std::int32_t, 11> steps{1440, 1080, 900, 720, 576, 480, 360, 288, 240, 192, 144};

/// Smaller pictures than this lose pictures first.
constexpr std::int32_t wellVisible = 720;
/// And smaller ones than this lose still more of them.
constexpr std::int32_t hardlyVisible = 240;
constexpr double halfRate = 30;
constexpr double quarterRate = 15;

std::size_t countOf(const ClipShape& clip, const PictureTiming& timing)
{
    PictureSchedule schedule{timing};
    std::size_t count = 0;
    for (std::size_t i = 0; i < clip.times.size(); ++i)
        count += schedule.timesOf(clip.times[i], i + 1 < clip.times.size() ? clip.times[i + 1] : clip.length).size();
    return count;
}

}  // namespace

std::int32_t evenSide(double side)
{
    return std::max(2, static_cast<std::int32_t>(side / 2) * 2);
}

double usualRate(const ClipShape& clip)
{
    std::vector<std::int64_t> intervals;
    for (std::size_t i = 1; i < clip.times.size(); ++i) {
        // What stays says nothing of how fast pictures change.
        if (const auto interval = clip.times[i] - clip.times[i - 1]; interval < pictureTimescale / 5)
            intervals.push_back(interval);
    }
    if (intervals.empty())
        return std::clamp(
            static_cast<double>(clip.times.size()) * pictureTimescale / static_cast<double>(std::max<std::int64_t>(1, clip.length)), 1.0,
            5.0);
    const auto middle = intervals.begin() + static_cast<std::ptrdiff_t>(intervals.size() / 2);
    std::nth_element(intervals.begin(), middle, intervals.end());
    return std::clamp(static_cast<double>(pictureTimescale) / static_cast<double>(std::max<std::int64_t>(1, *middle)), 1.0, 1000.0);
}

double steadyRate(const ClipShape& clip)
{
    constexpr std::array<double, 5> known{24, 25, 30, 50, 60};
    const auto usual = usualRate(clip);
    return *std::min_element(known.begin(), known.end(), [&](double a, double b) { return std::abs(a - usual) < std::abs(b - usual); });
}

std::vector<PictureCandidate> pictureCandidates(const ClipShape& clip)
{
    const auto shorter = std::min(clip.width, clip.height);
    std::vector<PictureCandidate> candidates;
    const auto rate = usualRate(clip);
    const auto add = [&](std::int32_t lines, double largestRate) {
        const double scale = static_cast<double>(lines) / shorter;
        PictureCandidate candidate;
        candidate.width = evenSide(clip.width * scale + 0.5);
        candidate.height = evenSide(clip.height * scale + 0.5);
        // A limit that leaves out next to nothing is none.
        if (largestRate > 0 && rate > largestRate * 1.25)
            candidate.timing.largestRate = largestRate;
        if (!candidates.empty() && candidates.back().width == candidate.width && candidates.back().height == candidate.height
            && candidates.back().timing == candidate.timing)
            return;
        candidate.pictureCount = countOf(clip, candidate.timing);
        candidates.push_back(candidate);
    };
    add(shorter, 0);
    bool isHalved = false;
    const auto halveAt = [&](std::int32_t lines) {
        if (!isHalved)
            add(lines, halfRate);
        isHalved = true;
    };
    auto last = shorter;
    for (const auto lines : steps) {
        if (lines >= shorter)
            continue;
        if (lines < wellVisible)
            halveAt(last);
        add(lines, lines < hardlyVisible ? quarterRate : isHalved ? halfRate : 0);
        if (lines == hardlyVisible)
            add(lines, quarterRate);
        last = lines;
    }
    halveAt(last);
    add(last, quarterRate);
    return candidates;
}

std::int64_t soundBitRate(double bytesPerSecond, double sourceBytesPerSecond)
{
    constexpr std::array<std::int64_t, 8> rates{160000, 128000, 96000, 80000, 64000, 48000, 32000, leastSoundBitRate};
    // An eighth of the file's bits, of which each byte has eight.
    const double wanted = std::min(bytesPerSecond, sourceBytesPerSecond * 8);
    const auto found = std::find_if(rates.begin(), rates.end(), [&](std::int64_t rate) { return static_cast<double>(rate) <= wanted; });
    return found == rates.end() ? leastSoundBitRate : *found;
}

std::uint64_t leastIndexSize(std::size_t pictureCount, std::size_t packetCount)
{
    // Two tracks without samples take a kilobyte; each sample has its size, and each half second a place.
    constexpr std::uint64_t empty = 1200;
    return empty + 4 * (static_cast<std::uint64_t>(pictureCount) + packetCount);
}

}  // namespace velmora::engine

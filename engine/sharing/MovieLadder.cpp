#include "engine/sharing/MovieLadder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <span>

namespace velmora::engine {

namespace {

using platform::CopyFormat;

struct Rung {
    double size = 0;  ///< of the longer side, where 1 is what the ladder begins with
    double rate = 0;  ///< pictures a second, at most
    double quality = 0;
    double colours = 0;
};

struct Ladder {
    double side = 0;  ///< pixels of the longer side that it begins with, at most
    std::span<const Rung> rungs;
};

/// Pixels that pictures keep, where they have them.
constexpr double leastSide = 96;

// GIF has no delays but hundredths of a second, and most that show it take less than two of them for ten.
constexpr std::array<Rung, 8> gifRungs{{{1, 15, 0, 256}, {1, 10, 0, 256}, {0.75, 10, 0, 256}, {0.62, 10, 0, 128}, {0.5, 8, 0, 64},
    {0.37, 6, 0, 64}, {0.25, 4, 0, 32}, {0.15, 2, 0, 16}}};
constexpr std::array<Rung, 8> webpRungs{{{1, 20, 75, 0}, {1, 12, 65, 0}, {0.75, 10, 55, 0}, {0.62, 10, 40, 0}, {0.5, 8, 30, 0},
    {0.37, 6, 25, 0}, {0.25, 4, 20, 0}, {0.15, 2, 10, 0}}};
constexpr std::array<Rung, 7> webmRungs{
    {{1, 60, 28, 0}, {1, 30, 33, 0}, {0.67, 30, 36, 0}, {0.44, 30, 38, 0}, {0.33, 24, 42, 0}, {0.22, 15, 48, 0}, {0.13, 8, 58, 0}}};

Ladder ladderOf(CopyFormat format)
{
    switch (format) {
    case CopyFormat::gif:
        return {640, gifRungs};
    case CopyFormat::webp:
        return {640, webpRungs};
    case CopyFormat::mp4:
    case CopyFormat::webm:
        break;
    }
    return {1920, webmRungs};
}

double between(double a, double b, double part)
{
    return a + (b - a) * part;
}

}  // namespace

MovieLadder::MovieLadder(CopyFormat format, const ClipShape& clip) : format_(format), clip_(clip), usualRate_(engine::usualRate(clip)) { }

double MovieLadder::coarsest() const
{
    return static_cast<double>(ladderOf(format_).rungs.size() - 1);
}

MovieEncoding MovieLadder::at(double place, std::optional<int> colours) const
{
    const auto [largest, rungs] = ladderOf(format_);
    place = std::clamp(place, 0.0, coarsest());
    const auto index = std::min(static_cast<std::size_t>(place), rungs.size() - 2);
    const auto& a = rungs[index];
    const auto& b = rungs[index + 1];
    const auto part = place - static_cast<double>(index);
    const double longer = std::max(clip_.width, clip_.height);
    const auto begin = std::min(largest, longer);
    // Sides shrink by a ratio, so that equal steps have equal effects.
    const auto size = std::exp(between(std::log(a.size), std::log(b.size), part));
    const auto side = std::max(begin * size, std::min(begin, leastSide));

    MovieEncoding encoding;
    encoding.width = evenSide(clip_.width * side / longer + 0.5);
    encoding.height = evenSide(clip_.height * side / longer + 0.5);
    auto rate = between(std::min(a.rate, usualRate_), std::min(b.rate, usualRate_), part);
    // Whole numbers, where that is no large step: pictures between them would come at uneven times.
    constexpr double slow = 10;
    if (rate > slow)
        rate = std::round(rate);
    // A limit that leaves out next to nothing is none.
    if (usualRate_ > rate * 1.1)
        encoding.timing.largestRate = rate;
    encoding.quality = between(a.quality, b.quality, part);
    // In large steps: a palette is found in a reading of its own, and serves for all pictures with so many colours.
    if (format_ == CopyFormat::gif && colours && place < coarsest())
        encoding.colours = *colours;
    else if (format_ == CopyFormat::gif)
        encoding.colours = static_cast<int>(std::bit_floor(static_cast<unsigned>(between(a.colours, b.colours, part))));
    encoding.end = clip_.length;
    return encoding;
}

}  // namespace velmora::engine

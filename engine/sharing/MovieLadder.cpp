#include "engine/sharing/MovieLadder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace velmora::engine {

namespace {

using platform::CopyFormat;

struct Rung {
    double side = 0;  ///< pixels of the longer side, at most
    double rate = 0;  ///< pictures a second, at most
    double quality = 0;
    double colours = 0;
};

// GIF has no delays but hundredths of a second, and most that show it take less than two of them for ten.
constexpr std::array<Rung, 8> gifRungs{{{640, 15, 0, 256}, {640, 10, 0, 256}, {480, 10, 0, 256}, {400, 10, 0, 128}, {320, 8, 0, 64},
    {240, 6, 0, 48}, {160, 4, 0, 32}, {96, 2, 0, 16}}};
constexpr std::array<Rung, 8> webpRungs{
    {{640, 20, 75, 0}, {640, 12, 65, 0}, {480, 10, 55, 0}, {400, 10, 40, 0}, {320, 8, 30, 0}, {240, 6, 25, 0}, {160, 4, 20, 0}, {96, 2, 10, 0}}};
constexpr std::array<Rung, 7> webmRungs{
    {{1920, 60, 28, 0}, {1920, 30, 33, 0}, {1280, 30, 36, 0}, {854, 30, 38, 0}, {640, 24, 42, 0}, {426, 15, 48, 0}, {256, 8, 58, 0}}};

std::span<const Rung> rungsOf(CopyFormat format)
{
    switch (format) {
    case CopyFormat::gif:
        return gifRungs;
    case CopyFormat::webp:
        return webpRungs;
    case CopyFormat::mp4:
    case CopyFormat::webm:
        break;
    }
    return webmRungs;
}

double between(double a, double b, double part)
{
    return a + (b - a) * part;
}

}  // namespace

MovieLadder::MovieLadder(CopyFormat format, const ClipShape& clip) : format_(format), clip_(clip), usualRate_(engine::usualRate(clip)) { }

double MovieLadder::coarsest() const
{
    return static_cast<double>(rungsOf(format_).size() - 1);
}

MovieEncoding MovieLadder::at(double place) const
{
    const auto rungs = rungsOf(format_);
    place = std::clamp(place, 0.0, coarsest());
    const auto index = std::min(static_cast<std::size_t>(place), rungs.size() - 2);
    const auto& a = rungs[index];
    const auto& b = rungs[index + 1];
    const auto part = place - static_cast<double>(index);
    const double longer = std::max(clip_.width, clip_.height);
    // Sides shrink by a ratio, so that equal steps have equal effects; what the clip does not have is no step.
    const auto side = std::exp(between(std::log(std::min(a.side, longer)), std::log(std::min(b.side, longer)), part));

    MovieEncoding encoding;
    encoding.width = evenSide(clip_.width * side / longer + 0.5);
    encoding.height = evenSide(clip_.height * side / longer + 0.5);
    // Whole numbers: pictures between them would come at uneven times.
    const auto rate = std::max(1.0, std::round(between(std::min(a.rate, usualRate_), std::min(b.rate, usualRate_), part)));
    // A limit that leaves out next to nothing is none.
    if (usualRate_ > rate * 1.1)
        encoding.timing.largestRate = rate;
    encoding.quality = between(a.quality, b.quality, part);
    if (format_ == CopyFormat::gif)
        encoding.colours = static_cast<int>(std::lround(between(a.colours, b.colours, part)));
    encoding.end = clip_.length;
    return encoding;
}

}  // namespace velmora::engine

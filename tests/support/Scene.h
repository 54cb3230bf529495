// Grey pictures of what people record, for comparing what encoders make of them. The same number gives the same picture on every machine.
// Grey, because recorders choose different matrices for colours, and that is not what is compared.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace velmora::test {

struct Scene {
    std::string_view name;

    /// How many different pictures it has.
    std::uint32_t count;

    /// Which of them belongs to a frame.
    std::uint32_t (*indexOf)(std::uint32_t frame);

    /// What is at a point of a picture, 0 black to 255 white.
    std::uint8_t (*greyAt)(int x, int y, std::uint32_t index);

    /// Rows from the top, a byte a pixel.
    [[nodiscard]] std::vector<std::uint8_t> picture(std::uint32_t index, int width, int height) const;

    /// Null when there is none of that name. There are
    /// "grain": moves all over by quarters of a pixel under grain that never repeats, harder than most video;
    /// "film": a photograph that is panned over, with light grain;
    /// "text": a page that is scrolled smoothly;
    /// "terminal": white on black, a line more every second frame;
    /// "slides": text and photographs in turn, another one every 120 frames.
    static const Scene* named(std::string_view name);
};

}  // namespace velmora::test

// What a moving WebP shows, by libwebp's own decoder: FFmpeg's knows only those that do not move.
#pragma once

#include "tests/support/media/DecodedFile.h"

#include <cstdint>
#include <filesystem>

namespace velmora::test {

struct Pixels {
    double time = 0;
    const std::uint8_t* bytes = nullptr;  ///< four for each pixel
    int lineSize = 0;
    int width = 0;
    int height = 0;
    int redAt = 0;  ///< 0 or 2; blue is at the other
};

/// The number painted into it, and its colour.
DecodedPicture pictureOfPixels(const Pixels& pixels);

/// Pictures and how long all of them are shown; no sound.
DecodedFile decodeWebp(const std::filesystem::path& path);

}  // namespace velmora::test

// How a test steers the stand-in for Core Graphics' access to the screen. Main thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace velmora::standin {

struct ScreenAccess {
    bool isAllowed = false;  ///< as the system knows it of this run of the program
    bool isAllowedWhenAsked = false;
    int questions = 0;  ///< to the user
};
ScreenAccess& screenAccess();

/// Of an image, by its reference.
struct ImageFacts {
    std::size_t width = 0;
    std::size_t height = 0;
    std::array<std::uint8_t, 4> firstPixel{};  ///< as its bytes lie in memory
    bool hasAlphaLast = false;  ///< which the other parts do not contain
};
ImageFacts imageFacts(const void* image);

/// Of the last picture that an image was made of; none if none was made since the last call.
std::optional<std::uint8_t> takeFirstBlueOfImage();

}  // namespace velmora::standin

// How a test steers the stand-in for Core Graphics' access to the screen. Main thread only.
#pragma once

#include <cstdint>
#include <optional>

namespace velmora::standin {

struct ScreenAccess {
    bool isAllowed = false;  ///< as the system knows it of this run of the program
    bool isAllowedWhenAsked = false;
    int questions = 0;  ///< to the user
};
ScreenAccess& screenAccess();

/// Of the last picture that an image was made of; none if none was made since the last call.
std::optional<std::uint8_t> takeFirstBlueOfImage();

}  // namespace velmora::standin

// How a test steers the stand-in for Core Graphics' access to the screen. Main thread only.
#pragma once

namespace velmora::standin {

struct ScreenAccess {
    bool isAllowed = false;  ///< as the system knows it of this run of the program
    bool isAllowedWhenAsked = false;
    int questions = 0;  ///< to the user
};
ScreenAccess& screenAccess();

}  // namespace velmora::standin

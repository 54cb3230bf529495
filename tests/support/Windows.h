// Windows that several tests choose.
#pragma once

#include "windows/CapturedWindowInfo.h"

namespace velmora::test {

inline const CapturedWindowInfo film{
    .id = 7, .title = "Film", .appName = "Player", .bundleID = "player", .frame = {0, 0, 640, 480}, .isOnScreen = true};

}  // namespace velmora::test

// A real recording of many minutes by `velmora record`: what grows, how soon after it the file is finished, and what is in it.
#pragma once

#include "benchmarks/Figures.h"

#include <string>

namespace velmora::benchmarks {

struct LongRecording {
    std::string size;  ///< of the window, as in "1280x720": a quarter of it moves, 60 pictures a second, while noise sounds
    int minutes = 0;
    int every = 1;  ///< minutes between two looks at the recorder
};

/// Adds its figures. Throws when it fails. Runs in a private desktop.
void measureLongRecording(Figures& figures, const LongRecording& recording);

}  // namespace velmora::benchmarks

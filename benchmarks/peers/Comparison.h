// Velmora beside the other recorders, in turn on the same window: what it costs, how many pictures are in the file, how good they are.
#pragma once

#include "benchmarks/Figures.h"
#include "benchmarks/peers/Recorders.h"
#include "tests/support/Scene.h"

#include <string>
#include <vector>

namespace velmora::benchmarks {

/// What the window shows.
struct Load {
    std::string name;
    const test::Scene* scene = nullptr;  ///< none: nothing moves
    int motionPercent = 100;  ///< of the window's height
    int framesPerSecond = 60;
    int width = 1280;
    int height = 720;
};

/// Adds rows that begin with the load's name: processor time of recorder and display server above what showing the window costs the server,
/// the share of the window's frames that is in the file, the structural similarity of what moves, the bit rate. White noise sounds
/// meanwhile. A recorder that fails is said on standard error and has no figures.
void compareRecorders(Figures& figures, const std::vector<Recorder>& recorders, const Load& load);

}  // namespace velmora::benchmarks

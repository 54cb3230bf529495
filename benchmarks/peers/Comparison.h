// Velmora beside the other recorders, in turn on the same window: what it costs, how many pictures are in the file, how good they are.
#pragma once

#include "benchmarks/Figures.h"
#include "benchmarks/peers/Recorders.h"
#include "tests/support/Scene.h"
#include "tests/support/TemporaryDirectory.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <tuple>
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
    std::chrono::seconds measured{4};  ///< of each recording
};

/// Of test::NumberedWindow, for a window that shows it.
[[nodiscard]] std::vector<std::string> windowOptions(const Load& load);

class Reference;

/// Everything that the loads have in common is made once.
class RecorderComparison {
public:
    RecorderComparison();
    ~RecorderComparison();

    [[nodiscard]] const std::vector<Recorder>& recorders() const { return recorders_; }

    /// Adds rows that begin with the load's name: processor time of recorder and display server above what showing the window costs the
    /// server, the share of the window's frames that is in the file, the structural similarity of what moves, the bit rate. White noise
    /// sounds meanwhile. Each recording by itself is taken again when it was disturbed, and a line names those that were to the last. A recorder
    /// that fails is said on standard error and has no figures.
    void compare(Figures& figures, const Load& load);

private:
    Reference& referenceFor(const Load& load);

    const std::vector<Recorder> recorders_ = installedRecorders();
    const test::TemporaryDirectory directory_;
    std::map<std::tuple<const test::Scene*, int, int>, std::unique_ptr<Reference>> references_;
};

}  // namespace velmora::benchmarks

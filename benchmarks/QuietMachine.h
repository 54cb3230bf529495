// Whether a machine has something else to do while figures are taken.
#pragma once

#include <chrono>
#include <functional>

namespace velmora::benchmarks {

class QuietMachine {
public:
    /// Returns how long the same work took by the clock.
    using Spin = std::function<std::chrono::duration<double>()>;

    /// Work of some 50 ms for each processor, on all of them at once.
    [[nodiscard]] static std::chrono::duration<double> spinOnAllProcessors();

    explicit QuietMachine(Spin spin = spinOnAllProcessors);

    /// That the work takes at most a tenth longer than the least that it ever took here. What keeps the processors busy from the beginning
    /// to the end is not noticed.
    [[nodiscard]] bool isQuiet();

private:
    const Spin spin_;
    std::chrono::duration<double> least_;
};

}  // namespace velmora::benchmarks

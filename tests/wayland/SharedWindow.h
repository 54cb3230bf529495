// A window to share: wayland_window, running, its first frame with the compositor.
#pragma once

#include "tests/support/recording/Velmora.h"

#include <string>
#include <vector>

namespace velmora::test {

class SharedWindow {
public:
    explicit SharedWindow(const std::vector<std::string>& options = {});

    /// Has a command carried out; its answer.
    std::string command(const std::string& line);

    void close() { process_.kill(); }

private:
    ChildProcess process_;
};

}  // namespace velmora::test

// A window to share, running, its first frame with the compositor: wayland_window, or numbered_window through Xwayland.
#pragma once

#include "tests/support/recording/Velmora.h"

#include <string>
#include <vector>

namespace velmora::test {

enum class WindowKind { wayland, x11 };

class SharedWindow {
public:
    explicit SharedWindow(WindowKind kind, const std::vector<std::string>& options = {});

    /// Has a command carried out; its answer.
    std::string command(const std::string& line);

    void close() { process_.kill(); }

private:
    ChildProcess process_;
};

}  // namespace velmora::test

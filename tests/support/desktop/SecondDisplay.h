// A second X server in the desktop of a test, other than the desktop's own.
#pragma once

#include "tests/support/recording/Velmora.h"

#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

/// While it lives it is the display of this process and of all programs that it starts. With a window manager.
class SecondDisplay {
public:
    /// `options` are Xvfb's.
    explicit SecondDisplay(std::vector<std::string> options);
    ~SecondDisplay();
    SecondDisplay(const SecondDisplay&) = delete;
    SecondDisplay& operator=(const SecondDisplay&) = delete;

    /// As when it crashed. Programs that are started from now on have the display of before.
    void killServer();

private:
    std::string before_;
    ChildProcess server_;
    std::optional<Program> windowManager_;
};

}  // namespace velmora::test

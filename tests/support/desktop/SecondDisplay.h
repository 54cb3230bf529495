// A second X server in a test's desktop, beside the desktop's own.
#pragma once

#include "tests/support/recording/Velmora.h"

#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

/// While it lives it is the display of this process and of all programs that the process starts.
class SecondDisplay {
public:
    enum class WindowManager { openbox, none };

    /// `options` are Xvfb's.
    explicit SecondDisplay(std::vector<std::string> options, WindowManager windowManager = WindowManager::openbox);
    ~SecondDisplay();
    SecondDisplay(const SecondDisplay&) = delete;
    SecondDisplay& operator=(const SecondDisplay&) = delete;

    /// As if it had crashed. Programs that are started from now on have the previous display.
    void killServer();

private:
    std::string before_;
    ChildProcess server_;
    std::optional<Program> windowManager_;
};

}  // namespace velmora::test

// The desktop around the program: its handlers, its file browser, and the machine's sleep.
#pragma once

#include "platform/Workspace.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora::linux_backend {

struct LinuxWorkspaceOptions {
    /// Registers what is to be called, on the main thread, when a display has changed; may be empty.
    std::function<void(std::function<void()> changed)> observeDisplays;

    /// Addresses of buses other than the session's and the system's, as tests have.
    std::string sessionBusAddress;
    std::string systemBusAddress;

    /// Starts a program and forgets it; empty: really starts it.
    std::function<void(const std::string& program, const std::vector<std::string>& arguments)> startDetached;

    /// Whether a program of that name can be started; empty: looks for it.
    std::function<bool(const std::string& program)> hasProgram = {};
};

std::shared_ptr<platform::Workspace> makeWorkspace(LinuxWorkspaceOptions options);

}  // namespace velmora::linux_backend

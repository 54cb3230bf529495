// `velmora windows`: the catalogue on standard output.
#pragma once

#include "app/CommandLine.h"
#include "base/SerialQueue.h"
#include "platform/PlatformServices.h"
#include "windows/CapturedWindowInfo.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

/// Runs the event loop until the catalogue has been read; returns the exit status. The windows of the program itself, whose process
/// `runningProgram` is, are not in it.
int runWindowsCommand(const command_line::Windows& command, const platform::PlatformServices& services,
    std::shared_ptr<Executor> mainExecutor, std::int32_t runningProgram);

/// A JSON array of objects with id, title, appName, bundleID, frame {x, y, width, height}, isOnScreen, displayName.
std::string windowsAsJson(const std::vector<CapturedWindowInfo>& windows);

/// A table for people: number, size, whether it is on screen, name. Control characters in a name are replaced, so that a title cannot
/// command the terminal.
std::string windowsAsTable(const std::vector<CapturedWindowInfo>& windows);

}  // namespace velmora

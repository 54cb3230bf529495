// `velmora record`: one recording from the command line, through the same services as the tray program's.
#pragma once

#include "app/CommandLine.h"
#include "base/SerialQueue.h"
#include "platform/PlatformServices.h"

#include <memory>

namespace velmora {

/// Runs the event loop until the clip is saved or has failed; returns the exit status. The saved path alone goes to standard output;
/// messages, and a progress line where that is a terminal, go to standard error. Whatever ends the recording, what was recorded is saved:
/// the status is `endedEarly` where the user did not ask for the end.
int runRecordCommand(
    const command_line::Record& command, const platform::PlatformServices& services, std::shared_ptr<Executor> mainExecutor);

}  // namespace velmora

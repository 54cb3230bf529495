// `velmora trim`: a part of a clip as a file of its own.
#pragma once

#include "app/CommandLine.h"
#include "base/SerialQueue.h"
#include "platform/ExportSession.h"
#include "platform/FileManager.h"

#include <memory>

namespace velmora {

struct TrimServices {
    std::shared_ptr<platform::ExportSessionFactory> exportSessions;
    std::shared_ptr<platform::FileManager> fileManager;
    std::shared_ptr<Executor> mainExecutor;
};

/// Runs the event loop until the part is written or has failed, which SIGINT and SIGTERM cancel; returns the exit status. The part's path
/// alone goes to standard output; messages, and the progress where that is a terminal, go to standard error.
int runTrimCommand(const command_line::Trim& command, const TrimServices& services);

}  // namespace velmora

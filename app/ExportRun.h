// An export as a command carries it out.
#pragma once

#include "base/SerialQueue.h"
#include "platform/ExportSession.h"

#include <memory>
#include <string>

namespace velmora {

/// Runs the event loop until the export has ended, which SIGINT and SIGTERM cancel. Where standard error is a terminal the progress goes
/// there, on a line of its own that is ended. "Cancelled." goes to standard error, too.
void runExport(const std::shared_ptr<platform::ExportSession>& session, const std::shared_ptr<Executor>& mainExecutor);

/// Says that on standard error; the exit status.
int exportFailed(const std::string& message);

}  // namespace velmora

// `velmora share`: a copy of a clip that fits where it is to be sent.
#pragma once

#include "app/CommandLine.h"
#include "base/SerialQueue.h"
#include "platform/ClipTranscoder.h"
#include "platform/FileManager.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace velmora {

struct ShareServices {
    std::shared_ptr<platform::ClipTranscoder> transcoder;
    std::shared_ptr<platform::FileManager> fileManager;
    std::shared_ptr<Executor> mainExecutor;
    std::function<std::filesystem::path()> clipsFolder;  ///< asked where no output is chosen
    /// Puts the copy onto the clipboard, where somebody is there to keep it: only where no output is chosen. False where nobody is.
    std::function<bool(const std::filesystem::path&)> copyToClipboard = {};
};

/// Runs the event loop until the copy is written or has failed, which SIGINT and SIGTERM cancel; returns the exit status. The copy's path, or
/// the JSON object, alone goes to standard output; messages, and the progress where that is a terminal, go to standard error.
int runShareCommand(const command_line::Share& command, const ShareServices& services);

}  // namespace velmora

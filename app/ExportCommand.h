// What the commands have in common that write parts of clips to a file of their own.
#pragma once

#include "base/SerialQueue.h"
#include "platform/ExportSession.h"
#include "platform/FileManager.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace velmora {

struct ExportServices {
    std::shared_ptr<platform::ExportSessionFactory> exportSessions;
    std::shared_ptr<platform::FileManager> fileManager;
    std::shared_ptr<Executor> mainExecutor;
};

/// Where an export's file goes and what is said of it.
struct ExportedFile {
    std::optional<std::filesystem::path> output;  ///< none: beside `clip`, under a new name with `prefix`
    std::filesystem::path clip;
    std::string prefix;
    std::string failure;  ///< what comes before an error: "Cannot trim clip.mp4: "
};

/// Whether the name that was chosen is free; says on standard error why not.
[[nodiscard]] bool checkOutput(const ExportedFile& file);

/// Runs the event loop until the session, made but not begun, has written the file or failed, which SIGINT and SIGTERM cancel; returns
/// the exit status. The file's path alone goes to standard output; messages, and the progress where that is a terminal, go to standard error.
int exportTo(const ExportedFile& file, const ExportServices& services, Result<std::shared_ptr<platform::ExportSession>> session);

}  // namespace velmora

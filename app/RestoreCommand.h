// `velmora restore`: brings back a recording that was not saved.
#pragma once

#include "app/CommandLine.h"
#include "platform/DiscardedRecordings.h"
#include "platform/FileManager.h"

#include <filesystem>
#include <string>
#include <vector>

namespace velmora {

/// Lists the discarded recordings, or puts one into `folder` and prints its path; the exit status.
int runRestoreCommand(const command_line::Restore& command, platform::DiscardedRecordings& recordings, platform::FileManager& fileManager,
    const std::filesystem::path& folder);

[[nodiscard]] std::string discardedRecordingsAsTable(const std::vector<platform::DiscardedRecording>& recordings);
[[nodiscard]] std::string discardedRecordingsAsJson(const std::vector<platform::DiscardedRecording>& recordings);

}  // namespace velmora

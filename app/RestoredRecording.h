// A discarded recording on its way back into a folder of clips.
#pragma once

#include "platform/DiscardedRecordings.h"
#include "platform/FileManager.h"

#include <filesystem>

namespace velmora {

/// Puts the recording into `folder`, which is made where it is missing; where it lies then, or why it stays where it is, in a sentence for the
/// user. Any thread; waits for the disk.
[[nodiscard]] Result<std::filesystem::path> restoredInto(const std::filesystem::path& folder, platform::DiscardedRecordings& recordings,
    const platform::DiscardedRecording& recording, platform::FileManager& fileManager);

}  // namespace velmora

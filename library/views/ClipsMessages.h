// What the clips window says of what was done.
#pragma once

#include "library/ClipFolder.h"
#include "platform/FileMover.h"

#include <QString>

#include <cstddef>
#include <filesystem>
#include <vector>

namespace velmora::clips_messages {

/// "“clip.mp4”", in one line.
[[nodiscard]] QString quoted(const std::filesystem::path& file);

/// "1 clip", "12 clips".
[[nodiscard]] QString counted(std::size_t count);

/// Why something could not be done with a file, as the end of a sentence.
[[nodiscard]] QString reason(const Error& error);

[[nodiscard]] QString trashed(const ClipFolder::Outcome<platform::TrashedFile>& outcome);

/// `wanted`: those that were to be put back.
[[nodiscard]] QString putBack(const ClipFolder::Outcome<std::filesystem::path>& outcome, const std::vector<platform::TrashedFile>& wanted);

}  // namespace velmora::clips_messages

// Where copies for sending go, and what they are called.
#pragma once

#include "platform/ClipTranscoder.h"
#include "platform/ExportSession.h"
#include "platform/FileManager.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velmora::small_file {

/// Chats and mail programs that say "MB" mean 10^6 bytes or 2^20, and do not say which: the smaller is within both.
inline constexpr std::uint64_t bytesOfMegabyte = 1'000'000;

/// What is offered.
inline constexpr std::uint64_t usualLimits[] = {10 * bytesOfMegabyte, 25 * bytesOfMegabyte, 50 * bytesOfMegabyte};

/// "10 MB", "12.5 MB", in whatever locale.
[[nodiscard]] std::string limitText(std::uint64_t bytes);

/// The size in a text such as "10MB", "10 mb", "0.5GB", "800 kB", "8MiB" or, in MB, "10"; none where it is not one, or is not above 0.
[[nodiscard]] std::optional<std::uint64_t> parseLimit(std::string_view text);

/// Below the clips' folder, so that no copy takes a clip's place among the recent ones.
[[nodiscard]] std::filesystem::path folderFor(const std::filesystem::path& clipsFolder);

/// Names for a copy of `clip` in `folder`, one after the other: "clip-10MB.mp4", "clip-10MB-1.mp4"…, or with the extension of another
/// format. Each is free when it is given, and no longer than file systems take. Any thread, one at a time.
[[nodiscard]] platform::ExportSession::NextOutputURL namesFor(const std::filesystem::path& clip, const std::filesystem::path& folder,
    const platform::TranscodingSettings& settings, std::shared_ptr<platform::FileManager> files);

}  // namespace velmora::small_file

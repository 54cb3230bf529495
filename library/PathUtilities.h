// Where clips live by default, and how a clip file is named.
#pragma once

#include "platform/FileManager.h"

#include <QTimeZone>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

/// A namespace of static members. All functions are thread-safe.
class PathUtilities {
public:
    using Date = std::chrono::system_clock::time_point;

    static constexpr std::string_view appFolderName = "Velmora";
    static constexpr std::string_view prefixInstant = "Velmora";
    static constexpr std::string_view prefixRecording = "Velmora-Recording";
    static constexpr std::string_view prefixTrimmed = "Velmora-Trimmed";
    static constexpr std::string_view defaultExtension = "mp4";

    PathUtilities() = delete;

    /// The user's Movies folder (home + "Movies" when there is none) + appFolderName. Computed on every call; creates nothing.
    static std::filesystem::path defaultOutputDirectory(const platform::FileManager& fileManager);

    /// True when `directory` is there, or has been created along with what was missing above it. False, without a log line, when something
    /// else has its name; false, with one, when it cannot be created.
    static bool ensureDirectoryExists(const std::filesystem::path& directory, platform::FileManager& fileManager);

    /// "yyyy-MM-dd-HH-mm-ss" in ASCII digits, the Gregorian calendar and 24 hours, whatever the user's settings. Without a valid time
    /// zone, in the process's own as it is at the time of the call: TZ in any form that the C library knows, else the machine's.
    static std::string formattedTimestamp(
        Date date = std::chrono::system_clock::now(), const std::optional<QTimeZone>& timeZone = std::nullopt);

    /// Whether the name is that of a clip: by its extension, in whatever case.
    static bool isMovie(const std::filesystem::path& file);

    /// The first free name in `directory`: prefix-timestamp.extension, then prefix-timestamp-1.extension, -2 and so on. Only chooses:
    /// nothing is created or reserved.
    static std::filesystem::path generateUniqueFileURL(const std::filesystem::path& directory, std::string_view prefix,
        const platform::FileManager& fileManager, std::string_view extension = defaultExtension,
        Date date = std::chrono::system_clock::now());
};

}  // namespace velmora

#include "library/PathUtilities.h"

#include "base/Fatal.h"
#include "system/Log.h"

#include <QDateTime>

#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <limits>

namespace velmora {

namespace {

// QTimeZone knows only names of zones, not a path or a rule in TZ; and where TZ is not set it reads files that the C library does
// not read.
std::tm processLocalTime(std::chrono::seconds sinceEpoch)
{
    const auto time = static_cast<std::time_t>(sinceEpoch.count());
    std::tm local{};
    // localtime_r need not look at the zone again, and a traveller changes it while the program runs.
    ::tzset();
    ::localtime_r(&time, &local);
    return local;
}

}  // namespace

std::filesystem::path PathUtilities::defaultOutputDirectory(const platform::FileManager& fileManager)
{
    const auto movies = fileManager.moviesDirectories();
    const auto base = movies.empty() ? fileManager.homeDirectory() / "Movies" : movies.front();
    return base / appFolderName / "";
}

bool PathUtilities::ensureDirectoryExists(const std::filesystem::path& directory, platform::FileManager& fileManager)
{
    bool isDirectory = false;
    if (fileManager.fileExists(directory, &isDirectory))
        return isDirectory;
    if (const auto created = fileManager.createDirectory(directory); !created) {
        Log::app().error(log_line::failedToCreateDirectory, directory.native(), created.error().localizedDescription);
        return false;
    }
    return true;
}

std::string PathUtilities::formattedTimestamp(Date date, const std::optional<QTimeZone>& timeZone)
{
    // A file's name gives the second in which it was begun: round down, before 1970 too.
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date.time_since_epoch());
    if (timeZone && timeZone->isValid())
        return QDateTime::fromSecsSinceEpoch(seconds.count(), *timeZone).toString(QStringLiteral("yyyy-MM-dd-HH-mm-ss")).toStdString();
    const auto local = processLocalTime(seconds);
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d-%02d-%02d-%02d", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
        local.tm_hour, local.tm_min, local.tm_sec);
    return text.data();
}

bool PathUtilities::isMovie(const std::filesystem::path& file)
{
    return QString::fromStdString(file.extension().string()).toLower() == QLatin1String(".mp4");
}

std::filesystem::path PathUtilities::generateUniqueFileURL(const std::filesystem::path& directory, std::string_view prefix,
    const platform::FileManager& fileManager, std::string_view extension, Date date)
{
    const std::string stem = std::string{prefix} + "-" + formattedTimestamp(date);
    const std::string suffix = "." + std::string{extension};

    std::filesystem::path candidate = directory / (stem + suffix);
    for (std::int64_t counter = 1; fileManager.fileExists(candidate); ++counter) {
        if (counter == std::numeric_limits<std::int64_t>::max())
            fatalError("no free file name");
        candidate = directory / (stem + "-" + std::to_string(counter) + suffix);
    }
    return candidate;
}

}  // namespace velmora

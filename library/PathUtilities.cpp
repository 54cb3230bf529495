#include "library/PathUtilities.h"

#include "base/Fatal.h"
#include "system/Log.h"

#include <QDateTime>

#include <cstdint>
#include <limits>

namespace velmora {

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

std::string PathUtilities::formattedTimestamp(Date date, const QTimeZone& timeZone)
{
    // A file's name tells the second in which it was begun: round down, before 1970 too.
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch()).count();
    return QDateTime::fromMSecsSinceEpoch(milliseconds, timeZone).toString(QStringLiteral("yyyy-MM-dd-HH-mm-ss")).toStdString();
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

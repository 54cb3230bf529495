// The real file system below folders that a test chooses, with faults and dates on demand.
#pragma once

#include "platform/FileManager.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace velmora::fake {

class FakeFileManager final : public platform::FileManager {
public:
    [[nodiscard]] std::vector<std::filesystem::path> moviesDirectories() const override { return movies; }
    [[nodiscard]] std::filesystem::path homeDirectory() const override { return home; }

    [[nodiscard]] bool fileExists(const std::filesystem::path& path, bool* isDirectory) const override
    {
        std::error_code ignored;
        const auto status = std::filesystem::status(path, ignored);
        if (isDirectory)
            *isDirectory = std::filesystem::is_directory(status);
        return std::filesystem::exists(status);
    }

    [[nodiscard]] Result<std::vector<std::filesystem::path>> contentsOfDirectory(
        const std::filesystem::path& directory, bool skipsHiddenFiles) const override
    {
        std::error_code error;
        std::vector<std::filesystem::path> contents;
        for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
            if (!skipsHiddenFiles || !entry.path().filename().native().starts_with('.'))
                contents.push_back(entry.path());
        }
        if (error)
            return fail("POSIX", error.value(), error.message());
        std::sort(contents.begin(), contents.end());
        return contents;
    }

    [[nodiscard]] Result<platform::FileAttributes> attributesOfItem(const std::filesystem::path& path) const override
    {
        if (attributesError)
            return fail(*attributesError);
        platform::FileAttributes attributes;
        if (const auto date = creationDates.find(path); date != creationDates.end())
            attributes.creationDate = date->second;
        std::error_code error;
        if (const auto size = std::filesystem::file_size(path, error); !error)
            attributes.size = static_cast<std::int64_t>(size);
        return attributes;
    }

    [[nodiscard]] Result<void> checkWritable(const std::filesystem::path&) const override
    {
        if (writeError)
            return fail(*writeError);
        return {};
    }

    Result<void> createDirectory(const std::filesystem::path& path) override
    {
        if (createError)
            return fail(*createError);
        std::error_code error;
        std::filesystem::create_directories(path, error);
        if (error)
            return fail("POSIX", error.value(), error.message());
        return {};
    }

    Result<void> removeFile(const std::filesystem::path& path) override
    {
        std::error_code error;
        if (!std::filesystem::remove(path, error))
            return fail("POSIX", error.value(), "nothing was removed");
        return {};
    }

    std::vector<std::filesystem::path> movies;
    std::filesystem::path home;
    std::optional<Error> createError;
    std::optional<Error> attributesError;
    std::optional<Error> writeError;
    std::map<std::filesystem::path, std::chrono::system_clock::time_point> creationDates;  ///< a file that is not here has none
};

}  // namespace velmora::fake

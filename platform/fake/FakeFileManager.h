// The real file system below folders that a test chooses, with faults on demand.
#pragma once

#include "platform/FileManager.h"

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
};

}  // namespace velmora::fake

// Files that are really moved, below a test's folder, with refusals on demand.
#pragma once

#include "platform/FileMover.h"

#include <cerrno>
#include <filesystem>
#include <map>
#include <string>
#include <system_error>
#include <utility>

namespace velmora::fake {

class FakeFileMover final : public platform::FileMover {
public:
    explicit FakeFileMover(std::filesystem::path trash) : trash_(std::move(trash)) { }

    Result<void> rename(const std::filesystem::path& file, const std::filesystem::path& newPath) override
    {
        if (const auto refused = refusals.find(file); refused != refusals.end())
            return fail(posixError(refused->second, file.native()));
        return move(file, newPath);
    }

    Result<platform::TrashedFile> moveToTrash(const std::filesystem::path& file) override
    {
        if (const auto refused = refusals.find(file); refused != refusals.end())
            return fail(posixError(refused->second, file.native()));
        std::filesystem::create_directories(trash_);
        const auto to = trash_ / (std::to_string(++count_) + file.filename().native());
        if (auto moved = move(file, to); !moved)
            return fail(moved.error());
        return platform::TrashedFile{file, to, {}};
    }

    Result<std::filesystem::path> putBack(const platform::TrashedFile& trashed) override
    {
        if (const auto refused = refusals.find(trashed.origin); refused != refusals.end())
            return fail(posixError(refused->second, trashed.origin.native()));
        auto to = trashed.origin;
        if (std::filesystem::exists(to))
            to.replace_filename(to.stem().native() + "-1" + to.extension().native());
        if (auto moved = move(trashed.file, to); !moved)
            return fail(moved.error());
        return to;
    }

    std::map<std::filesystem::path, int> refusals;  ///< by file, an errno value

private:
    static Result<void> move(const std::filesystem::path& from, const std::filesystem::path& to)
    {
        if (std::filesystem::exists(to))
            return fail(posixError(EEXIST, to.native()));
        std::error_code error;
        std::filesystem::rename(from, to, error);
        if (error)
            return fail(posixError(error.value(), from.native()));
        return {};
    }

    const std::filesystem::path trash_;
    int count_ = 0;
};

}  // namespace velmora::fake

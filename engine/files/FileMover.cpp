#include "engine/files/FileMover.h"

#include "engine/files/MovableFile.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <system_error>
#include <utility>

namespace velmora::engine {

namespace {

/// A link is made anew at the other place, because the calls that move without replacing are for open files.
Result<void> moveLink(const std::filesystem::path& link, const std::filesystem::path& to)
{
    std::error_code error;
    const auto target = std::filesystem::read_symlink(link, error);
    if (!error)
        std::filesystem::create_symlink(target, to, error);
    if (!error)
        std::filesystem::remove(link, error);
    if (error)
        return fail(posixError(error.value(), link.filename().native()));
    return {};
}

/// Calls `move` with what moves the file at `path`, wherever to.
template <typename Move>
auto withFile(const std::filesystem::path& path, Move move) -> decltype(move(std::function<Result<void>(const std::filesystem::path&)>{}))
{
    const auto file = openToMove(path);
    if (file)
        return move([&file](const std::filesystem::path& to) { return (*file)->moveTo(to); });
    if (file.error().code == ELOOP)
        return move([&path](const std::filesystem::path& to) { return moveLink(path, to); });
    return fail(file.error());
}

using MoveTo = std::function<Result<void>(const std::filesystem::path&)>;

class FileMover final : public platform::FileMover {
public:
    explicit FileMover(std::shared_ptr<const Trash> trash) : trash_(std::move(trash)) { }

    Result<void> rename(const std::filesystem::path& file, const std::filesystem::path& newPath) override
    {
        return withFile(file, [&](const MoveTo& moveTo) { return moveTo(newPath); });
    }

    Result<platform::TrashedFile> moveToTrash(const std::filesystem::path& file) override
    {
        return withFile(file, [&](const MoveTo& moveTo) -> Result<platform::TrashedFile> {
            const auto trashed = trash_->putDeleted(file, moveTo);
            if (!trashed)
                return fail(trashed.error());
            return platform::TrashedFile{file, trashed->file, trashed->info};
        });
    }

    Result<std::filesystem::path> putBack(const platform::TrashedFile& trashed) override
    {
        auto path = withFile(trashed.file,
            [&](const MoveTo& moveTo) { return underAFreeName(trashed.origin.parent_path(), trashed.origin.filename(), moveTo); });
        if (path)
            trash_->remove({trashed.file, trashed.record});
        return path;
    }

private:
    const std::shared_ptr<const Trash> trash_;
};

}  // namespace

std::shared_ptr<platform::FileMover> makeFileMover(std::shared_ptr<const Trash> trash)
{
    return std::make_shared<FileMover>(std::move(trash));
}

}  // namespace velmora::engine

#include "engine/files/MovableFile.h"

#include "media/mp4/PosixFile.h"

#include <cerrno>
#include <string>

namespace velmora::engine {

Result<std::unique_ptr<mp4::File>> openToMove(const std::filesystem::path& path)
{
    auto file = mp4::PosixFile::openForUpdating(path);
    // A name belongs to the folder: a file that may not be written can still be moved.
    if (!file && (file.error().code == EACCES || file.error().code == EPERM || file.error().code == ETXTBSY))
        file = mp4::PosixFile::openForReading(path);
    if (!file)
        return fail(posixError(file.error().code, path.filename().native()));
    // Without locks in the file system a rename still happens only once.
    if (const auto locked = (*file)->tryLock(); locked && !*locked)
        return fail(posixError(EBUSY, path.filename().native()));
    if (!(*file)->isStillInFolder())
        return fail(posixError(ENOENT, path.filename().native()));
    return file;
}

Result<std::filesystem::path> underAFreeName(const std::filesystem::path& folder, const std::filesystem::path& name,
    const std::function<Result<void>(const std::filesystem::path&)>& put)
{
    for (int counter = 0;; ++counter) {
        auto path = folder / name;
        if (counter > 0)
            path = folder / (name.stem().native() + '-' + std::to_string(counter) + name.extension().native());
        const auto done = put(path);
        if (done)
            return path;
        if (done.error().code != EEXIST)
            return fail(done.error());
    }
}

}  // namespace velmora::engine

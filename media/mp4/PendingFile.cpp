#include "media/mp4/PendingFile.h"

#include "media/mp4/PosixFile.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace velmora::mp4 {

namespace {

constexpr std::string_view nameStart = ".velmora-";
constexpr std::string_view nameEnd = ".part";
constexpr std::size_t digitCount = 16;

// Short, so that every folder that takes the final name takes it; no ".mp4" at its end, so that nobody takes it for a clip.
std::string hiddenName(std::random_device& random)
{
    const auto number = std::uint64_t{random()} << 32 | random();
    char digits[digitCount + 1];
    std::snprintf(digits, sizeof digits, "%016" PRIx64, number);
    return std::string{nameStart}.append(digits).append(nameEnd);
}

bool isHiddenName(std::string_view name)
{
    if (name.size() != nameStart.size() + digitCount + nameEnd.size() || !name.starts_with(nameStart) || !name.ends_with(nameEnd))
        return false;
    const auto digits = name.substr(nameStart.size(), digitCount);
    return digits.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// With its lock.
Result<std::unique_ptr<File>> createHidden(const std::filesystem::path& folder)
{
    std::random_device random;
    for (;;) {
        auto file = PosixFile::create(folder / hiddenName(random));
        if (file) {
            // Between its creation and the lock someone tidying up may have taken it.
            const auto locked = (*file)->tryLock();
            if (locked && (!*locked || !(*file)->isStillInFolder()))
                continue;
            return file;
        }
        if (file.error().code == EEXIST)
            continue;
        // The hidden name is nobody's concern.
        return fail(posixError(file.error().code, folder.native()));
    }
}

}  // namespace

Result<std::unique_ptr<PendingFile>> PendingFile::create(const std::filesystem::path& folder)
{
    auto file = createHidden(folder);
    if (!file)
        return fail(file.error());
    return std::unique_ptr<PendingFile>{new PendingFile{std::move(*file)}};
}

Result<std::unique_ptr<File>> createNamelessFile(const std::filesystem::path& folder)
{
    auto file = createHidden(folder);
    if (!file)
        return file;
    if (const auto removed = (*file)->removeFromFolder(); !removed)
        return fail(removed.error());
    return file;
}

PendingFile::~PendingFile()
{
    discard();
}

Result<void> PendingFile::publish(const std::filesystem::path& path)
{
    if (auto result = file_->moveTo(path); !result)
        return result;
    // A folder that cannot be synced is no reason to have no file.
    static_cast<void>(file_->syncFolder());
    return {};
}

void PendingFile::discard()
{
    static_cast<void>(file_->removeFromFolder());
}

std::size_t removeAbandonedFiles(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entries{folder, error}, end; !error && entries != end; entries.increment(error)) {
        if (isHiddenName(entries->path().filename().native()))
            found.push_back(entries->path());
    }
    return static_cast<std::size_t>(std::count_if(found.begin(), found.end(), [](const auto& path) {
        const auto file = PosixFile::openForUpdating(path);
        if (!file)
            return false;
        const auto locked = (*file)->tryLock();
        const auto isWrittenElsewhere = (*file)->mayHaveWriterElsewhere();
        return locked && *locked && isWrittenElsewhere && !*isWrittenElsewhere && (*file)->isStillInFolder() && (*file)->removeFromFolder();
    }));
}

}  // namespace velmora::mp4

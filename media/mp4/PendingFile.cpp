#include "media/mp4/PendingFile.h"

#include "media/mp4/PosixFile.h"

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <random>

namespace velmora::mp4 {

namespace {

// Short, so that every folder takes it that takes the final name; no ".mp4" at its end, so that nobody takes it for a clip.
std::string hiddenName(std::random_device& random)
{
    const auto number = std::uint64_t{random()} << 32 | random();
    char name[40];
    std::snprintf(name, sizeof name, ".velmora-%016" PRIx64 ".part", number);
    return name;
}

}  // namespace

Result<std::unique_ptr<PendingFile>> PendingFile::create(const std::filesystem::path& folder)
{
    std::random_device random;
    for (;;) {
        auto file = PosixFile::create(folder / hiddenName(random));
        if (file)
            return std::unique_ptr<PendingFile>{new PendingFile{std::move(*file)}};
        if (file.error().code == EEXIST)
            continue;
        // The hidden name is nobody's concern.
        return fail(posixError(file.error().code, folder.native()));
    }
}

PendingFile::~PendingFile()
{
    discard();
}

Result<void> PendingFile::publish(const std::filesystem::path& path)
{
    if (auto result = file_->moveTo(path); !result)
        return result;
    // A folder that cannot be synchronised is no reason to have no file.
    static_cast<void>(file_->syncFolder());
    return {};
}

void PendingFile::discard()
{
    static_cast<void>(file_->removeFromFolder());
}

}  // namespace velmora::mp4

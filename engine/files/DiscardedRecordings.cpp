#include "engine/files/DiscardedRecordings.h"

#include "engine/files/MovableFile.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/PendingFile.h"
#include "media/mp4/Repair.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <string>
#include <system_error>
#include <utility>

namespace velmora::engine {

namespace {

constexpr std::size_t copyBufferSize = std::size_t{1} << 20;

platform::DiscardedRecording described(const TrashEntry& entry)
{
    platform::DiscardedRecording recording{
        .file = entry.trashed.file,
        .record = entry.trashed.info,
        .origin = entry.origin,
        .discardedAt = entry.deleted,
        .wasOffered = entry.wasOffered,
    };
    if (const auto summary = mp4::readMovieSummary(recording.file); summary && summary->duration.isValid())
        recording.duration = summary->duration.seconds();
    std::error_code error;
    if (const auto size = std::filesystem::file_size(recording.file, error); !error)
        recording.fileSize = static_cast<std::int64_t>(size);
    return recording;
}

TrashedFile trashedFile(const platform::DiscardedRecording& recording)
{
    return {recording.file, recording.record};
}

Result<std::filesystem::path> copied(mp4::File& file, const std::filesystem::path& folder, const std::filesystem::path& name)
{
    const auto size = file.size();
    if (!size)
        return fail(size.error());
    auto copy = mp4::PendingFile::create(folder);
    if (!copy)
        return fail(copy.error());
    std::vector<std::byte> buffer(copyBufferSize);
    const auto isWhole = (*copy)->file().copyFrom(file, 0, 0, *size, buffer);
    if (!isWhole)
        return fail(isWhole.error());
    if (!*isWhole)
        return fail(posixError(EIO, name.native()));
    if (auto synced = (*copy)->sync(); !synced)
        return fail(synced.error());
    return underAFreeName(folder, name, [&](const auto& path) { return (*copy)->publish(path); });
}

}  // namespace

void DiscardedRecordings::wasKept(const TrashedFile& trashed) const
{
    Observer observer;
    {
        MutexLock lock(mutex_);
        observer = observer_;
    }
    if (!observer)
        return;
    if (const auto entry = trash_->entry(trashed))
        observer(described(*entry));
}

void DiscardedRecordings::setObserver(Observer observer)
{
    MutexLock lock(mutex_);
    observer_ = std::move(observer);
}

std::vector<platform::DiscardedRecording> DiscardedRecordings::list() const
{
    std::vector<platform::DiscardedRecording> recordings;
    for (const auto& entry : trash_->entries())
        recordings.push_back(described(entry));
    // Within a second the later one has the greater name.
    std::sort(recordings.begin(), recordings.end(), [](const auto& a, const auto& b) {
        return std::pair{a.discardedAt, a.origin} > std::pair{b.discardedAt, b.origin};
    });
    return recordings;
}

void DiscardedRecordings::noteOffered(const platform::DiscardedRecording& recording)
{
    trash_->noteOffered(trashedFile(recording));
}

Result<std::filesystem::path> DiscardedRecordings::restore(
    const platform::DiscardedRecording& recording, const std::filesystem::path& folder)
{
    auto file = openToMove(recording.file);
    if (!file)
        return fail(file.error());
    const auto name = recording.origin.filename();
    auto restored = underAFreeName(folder, name, [&](const auto& path) { return (*file)->moveTo(path); });
    if (!restored && restored.error().code == EXDEV)
        restored = copied(**file, folder, name);
    if (!restored)
        return restored;
    trash_->remove(trashedFile(recording));
    // Of a program that was killed while it finished the file. The repairer takes the lock itself.
    file->reset();
    static_cast<void>(mp4::repair(*restored));
    return restored;
}

}  // namespace velmora::engine

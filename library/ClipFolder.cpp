#include "library/ClipFolder.h"

#include "library/PathUtilities.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace velmora {

struct ClipFolder::Reading {
    std::filesystem::path folder;
    std::vector<FolderClip> clips;
    Condition condition = Condition::readable;
    std::string error = {};
    bool isWritable = false;
};

namespace {

bool comesBefore(const FolderClip& a, const FolderClip& b)
{
    return a.createdAt != b.createdAt ? a.createdAt > b.createdAt : a.file.native() > b.file.native();
}

/// As they are sorted.
bool isOrdered(const FolderClipRef& a, const FolderClipRef& b)
{
    return comesBefore(*a, *b);
}

/// A file that vanished since it was listed is none of them.
std::vector<FolderClip> clipsOf(const std::vector<std::filesystem::path>& files, const platform::FileManager& fileManager)
{
    std::vector<FolderClip> clips;
    clips.reserve(files.size());
    for (const auto& file : files) {
        if (!PathUtilities::isMovie(file))
            continue;
        const auto attributes = fileManager.attributesOfItem(file);
        if (attributes)
            clips.push_back({file, attributes->creationDate.value_or(ClipItem::Date{}), attributes->size.value_or(0)});
        else if (fileManager.fileExists(file))
            clips.push_back({file, {}, 0});
    }
    std::sort(clips.begin(), clips.end(), comesBefore);
    return clips;
}

}  // namespace

ClipFolder::ClipFolder(Services services) : services_(std::move(services)) { }

ClipFolder::~ClipFolder() = default;

void ClipFolder::setFolder(const std::filesystem::path& folder)
{
    auto plain = folder.lexically_normal();
    if (!plain.has_filename())
        plain = plain.parent_path();
    if (plain == folder_)
        return;
    folder_ = std::move(plain);
    clips_.clear();
    condition_ = Condition::unread;
    emit changed();
    reload();
}

void ClipFolder::reload()
{
    if (folder_.empty())
        return;
    isStale_ = true;
    if (!isReading_)
        read();
}

void ClipFolder::read()
{
    isReading_ = true;
    isStale_ = false;
    services_.worker->async([weak = self_.weak(), folder = folder_, files = services_.fileManager, executor = services_.mainExecutor] {
        Reading reading{.folder = folder, .clips = {}};
        bool isDirectory = false;
        if (!files->fileExists(folder, &isDirectory) || !isDirectory) {
            reading.condition = Condition::gone;
        } else if (const auto contents = files->contentsOfDirectory(folder, true)) {
            reading.clips = clipsOf(*contents, *files);
            reading.isWritable = files->checkWritable(folder).has_value();
        } else {
            reading.condition = Condition::unreadable;
            reading.error = contents.error().localizedDescription;
        }
        executor->async([weak, reading = std::move(reading)]() mutable {
            if (const auto self = weak.lock())
                self->take(std::move(reading));
        });
    });
}

void ClipFolder::take(Reading reading)
{
    isReading_ = false;
    const bool isCurrent = reading.folder == folder_;
    if (!isCurrent || isStale_)
        read();
    // While changes keep coming, what was read in between is still newer than what is shown.
    if (!isCurrent)
        return;

    std::unordered_map<std::string, FolderClipRef> known;
    for (auto& clip : clips_)
        known.emplace(clip->file.native(), std::move(clip));
    clips_.clear();
    clips_.reserve(reading.clips.size());
    for (auto& clip : reading.clips) {
        const auto same = known.find(clip.file.native());
        if (same != known.end() && same->second->createdAt == clip.createdAt && same->second->fileSize == clip.fileSize)
            clips_.push_back(std::move(same->second));
        else
            clips_.push_back(std::make_shared<FolderClip>(std::move(clip)));
    }
    condition_ = reading.condition;
    error_ = std::move(reading.error);
    isWritable_ = reading.isWritable;
    emit changed();
}

void ClipFolder::loadDuration(const FolderClipRef& clip)
{
    if (clip->duration)
        return;
    services_.assetReader->loadDuration(
        clip->file, [weak = self_.weak(), clip, executor = services_.mainExecutor](const Result<MediaTime>& loaded) {
            const double seconds = loaded && loaded->isValid() ? loaded->seconds() : 0;
            executor->async([weak, clip, seconds = std::isfinite(seconds) ? seconds : 0] {
                clip->duration = seconds;
                if (const auto self = weak.lock())
                    emit self->durationLoaded(clip);
            });
        });
}

void ClipFolder::rename(const FolderClipRef& clip, const std::string& name, UniqueFunction<void(Result<FolderClipRef>)> completion)
{
    const auto target = clip->file.parent_path() / name;
    services_.worker->async([weak = self_.weak(), clip, target, mover = services_.fileMover, executor = services_.mainExecutor,
                                completion = std::move(completion)]() mutable {
        executor->async([weak, clip, target, renamed = mover->rename(clip->file, target), completion = std::move(completion)]() mutable {
            const auto self = weak.lock();
            if (!self)
                return;
            if (!renamed)
                return completion(fail(renamed.error()));
            auto successor = std::make_shared<FolderClip>(*clip);
            successor->file = target;
            auto& clips = self->clips_;
            // It may have been listed under its new name by now.
            std::erase_if(clips, [&](const FolderClipRef& one) { return one->file == target || one == clip; });
            if (target.parent_path() == self->folder_)
                clips.insert(std::upper_bound(clips.begin(), clips.end(), successor, isOrdered), successor);
            completion(successor);
            emit self->changed();
        });
    });
}

void ClipFolder::moveToTrash(const std::vector<FolderClipRef>& clips, UniqueFunction<void(Outcome<platform::TrashedFile>)> completion)
{
    std::vector<std::filesystem::path> files;
    files.reserve(clips.size());
    for (const auto& clip : clips)
        files.push_back(clip->file);
    services_.worker->async([weak = self_.weak(), files = std::move(files), mover = services_.fileMover, executor = services_.mainExecutor,
                                completion = std::move(completion)]() mutable {
        Outcome<platform::TrashedFile> outcome;
        for (const auto& file : files) {
            if (auto trashed = mover->moveToTrash(file))
                outcome.moved.push_back(std::move(*trashed));
            else
                outcome.refused.emplace_back(file, trashed.error());
        }
        executor->async([weak, outcome = std::move(outcome), completion = std::move(completion)]() mutable {
            const auto self = weak.lock();
            if (!self)
                return;
            std::vector<std::filesystem::path> gone;
            for (const auto& trashed : outcome.moved)
                gone.push_back(trashed.origin);
            self->removeClips(gone);
            completion(std::move(outcome));
            self->reload();
        });
    });
}

void ClipFolder::putBack(std::vector<platform::TrashedFile> files, UniqueFunction<void(Outcome<std::filesystem::path>)> completion)
{
    services_.worker->async([weak = self_.weak(), files = std::move(files), mover = services_.fileMover, executor = services_.mainExecutor,
                                completion = std::move(completion)]() mutable {
        Outcome<std::filesystem::path> outcome;
        for (const auto& file : files) {
            if (auto path = mover->putBack(file))
                outcome.moved.push_back(std::move(*path));
            else
                outcome.refused.emplace_back(file.origin, path.error());
        }
        executor->async([weak, outcome = std::move(outcome), completion = std::move(completion)]() mutable {
            const auto self = weak.lock();
            if (!self)
                return;
            completion(std::move(outcome));
            self->reload();
        });
    });
}

void ClipFolder::removeClips(const std::vector<std::filesystem::path>& files)
{
    std::unordered_set<std::string> gone;
    for (const auto& file : files)
        gone.insert(file.native());
    if (std::erase_if(clips_, [&](const FolderClipRef& clip) { return gone.contains(clip->file.native()); }) == 0)
        return;
    emit changed();
}

}  // namespace velmora

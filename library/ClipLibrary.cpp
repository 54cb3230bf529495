#include "library/ClipLibrary.h"

#include "library/PathUtilities.h"
#include "system/Log.h"
#include "system/SharedServices.h"

#include <QString>

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

bool liesIn(const std::filesystem::path& directory, const std::filesystem::path& file)
{
    return file.parent_path() / "" == directory / "";
}

}  // namespace

// One pass over a folder: files are described one after another, and the list is published at the end.
struct ClipLibrary::Scan {
    std::filesystem::path directory;
    std::vector<std::filesystem::path> files;
    std::size_t next = 0;
    std::vector<ClipItem> clips;
    std::shared_ptr<Changes> changes;  ///< since the folder was listed
};

ClipLibrary& ClipLibrary::shared()
{
    static auto& instance = *[] {
        const auto& shared = SharedServices::current();
        return new ClipLibrary{{
            .clips = {shared.platform.fileManager, shared.platform.assetReader, shared.clock, shared.mainExecutor},
            .workspace = shared.platform.workspace,
        }};
    }();
    return instance;
}

ClipLibrary::ClipLibrary(Services services) : services_(std::move(services))
{
    reloadClips();
}

ClipLibrary::~ClipLibrary() = default;

std::filesystem::path ClipLibrary::effectiveOutputDirectory() const
{
    return customOutputDirectory_ ? *customOutputDirectory_ : PathUtilities::defaultOutputDirectory(*services_.clips.fileManager);
}

void ClipLibrary::reloadClips()
{
    const auto directory = effectiveOutputDirectory();
    PathUtilities::ensureDirectoryExists(directory, *services_.clips.fileManager);
    services_.clips.mainExecutor->async([weak = self_.weak(), directory] {
        if (const auto self = weak.lock())
            self->scan(directory);
    });
}

void ClipLibrary::scan(const std::filesystem::path& directory)
{
    auto contents = services_.clips.fileManager->contentsOfDirectory(directory, true);
    if (!contents) {
        Log::library().error(log_line::failedLoadingClips, directory.native(), contents.error().localizedDescription);
        return;
    }
    auto scan = std::make_shared<Scan>();
    scan->directory = directory;
    scan->files = std::move(*contents);
    std::erase_if(scan->files, [](const auto& file) { return !PathUtilities::isMovie(file); });
    scan->changes = observeChanges();
    std::erase_if(runningScans_, [](const auto& running) { return running.expired(); });
    runningScans_.push_back(scan);
    continueScan(std::move(scan));
}

void ClipLibrary::continueScan(std::shared_ptr<Scan> scan)
{
    if (scan->directory != effectiveOutputDirectory())
        return;
    if (scan->next == scan->files.size())
        return publish(*scan);
    const auto& file = scan->files[scan->next++];
    ClipItem::load(file, services_.clips, [weak = self_.weak(), scan = std::move(scan)](std::optional<ClipItem> item) mutable {
        const auto self = weak.lock();
        if (!self)
            return;
        if (item)
            scan->clips.push_back(std::move(*item));
        self->continueScan(std::move(scan));
    });
}

void ClipLibrary::publish(Scan& scan)
{
    auto& clips = scan.clips;
    std::erase_if(clips, [&](const ClipItem& clip) { return scan.changes->contains(clip.url); });
    for (const auto& [url, clip] : *scan.changes) {
        if (clip && liesIn(scan.directory, url))
            clips.insert(clips.begin(), *clip);
    }
    std::stable_sort(clips.begin(), clips.end(), [](const auto& a, const auto& b) { return a.createdAt > b.createdAt; });

    // A scan that listed the folder earlier and is still running knows less: what it has not seen is a change for it, too.
    for (const auto& running : runningScans_) {
        const auto earlier = running.lock();
        if (earlier.get() == &scan)
            break;
        if (!earlier || earlier->directory != scan.directory)
            continue;
        for (const auto& file : earlier->files) {
            if (std::none_of(clips.begin(), clips.end(), [&](const ClipItem& clip) { return clip.url == file; }))
                earlier->changes->try_emplace(file, std::nullopt);
        }
        for (const auto& clip : clips) {
            if (std::find(earlier->files.begin(), earlier->files.end(), clip.url) == earlier->files.end())
                earlier->changes->try_emplace(clip.url, clip);
        }
    }
    setRecentClips(std::move(clips));
}

void ClipLibrary::noteChange(const std::filesystem::path& url, const std::optional<ClipItem>& clip)
{
    for (const auto& observed : observedChanges_) {
        if (const auto changes = observed.lock())
            changes->insert_or_assign(url, clip);
    }
}

std::shared_ptr<ClipLibrary::Changes> ClipLibrary::observeChanges()
{
    std::erase_if(observedChanges_, [](const auto& changes) { return changes.expired(); });
    auto changes = std::make_shared<Changes>();
    observedChanges_.push_back(changes);
    return changes;
}

void ClipLibrary::setOutputDirectory(const std::filesystem::path& directory)
{
    customOutputDirectory_ = directory;
    emit customOutputDirectoryChanged();
    PathUtilities::ensureDirectoryExists(directory, *services_.clips.fileManager);
    reloadClips();
}

void ClipLibrary::addClip(const std::filesystem::path& url, UniqueFunction<void()> completion)
{
    ClipItem::load(url, services_.clips,
        [weak = self_.weak(), changes = observeChanges(), completion = std::move(completion)](std::optional<ClipItem> item) mutable {
            const auto change = item ? changes->find(item->url) : changes->end();
            const bool wasDeletedMeanwhile = change != changes->end() && !change->second;
            if (const auto self = weak.lock(); self && item && !wasDeletedMeanwhile) {
                self->noteChange(item->url, item);
                auto clips = self->recentClips_;
                std::erase_if(clips, [&](const ClipItem& clip) { return clip.url == item->url; });
                clips.insert(clips.begin(), std::move(*item));
                self->setRecentClips(std::move(clips));
            }
            completion();
        });
}

void ClipLibrary::deleteClip(const ClipItem& clip)
{
    // A file that cannot be removed is no longer listed either.
    static_cast<void>(services_.clips.fileManager->removeFile(clip.url));
    noteChange(clip.url, std::nullopt);
    auto clips = recentClips_;
    std::erase_if(clips, [id = clip.id](const ClipItem& listed) { return listed.id == id; });
    setRecentClips(std::move(clips));
}

void ClipLibrary::revealInFinder(const ClipItem& clip)
{
    services_.workspace->activateFileViewerSelecting({clip.url});
}

void ClipLibrary::setRecentClips(std::vector<ClipItem> clips)
{
    recentClips_ = std::move(clips);
    emit recentClipsChanged();
}

}  // namespace velmora

#include "app/FolderWatch.h"

#include "library/PathUtilities.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

// Copying a folder's worth of clips is one change.
constexpr std::chrono::milliseconds settling{250};

constexpr std::uint32_t changes = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
constexpr std::uint32_t ends = IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

FolderWatch::FolderWatch(std::function<void()> changed)
    : changed_(std::move(changed))
    , descriptor_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    delay_.setSingleShot(true);
    connect(&delay_, &QTimer::timeout, this, [this] { changed_(); });
    if (descriptor_ < 0)
        return;
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, [this] { readEvents(); });
}

FolderWatch::~FolderWatch()
{
    notifier_.reset();
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

void FolderWatch::watch(const std::filesystem::path& folder)
{
    if (descriptor_ < 0)
        return;
    auto path = folder.lexically_normal();
    if (!path.has_filename())
        path = path.parent_path();
    // The same folder gives the same number.
    int watched = ::inotify_add_watch(descriptor_, path.c_str(), changes | ends | IN_ONLYDIR);
    awaited_.clear();
    if (watched < 0) {
        awaited_ = path.filename().native();
        watched = ::inotify_add_watch(descriptor_, path.parent_path().c_str(), IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
    }
    if (watched_ >= 0 && watched_ != watched)
        ::inotify_rm_watch(descriptor_, watched_);
    watched_ = watched;
}

bool FolderWatch::isChange(const inotify_event& event) const
{
    if (event.len == 0)
        return (event.mask & ends) != 0;
    return awaited_.empty() ? PathUtilities::isMovie(event.name) : event.name == awaited_;
}

void FolderWatch::readEvents()
{
    alignas(inotify_event) std::array<char, 16 * 1024> buffer;
    bool hasChanged = false;
    for (ssize_t size = 0; (size = ::read(descriptor_, buffer.data(), buffer.size())) > 0;) {
        for (const char* next = buffer.data(); next < buffer.data() + size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(next);
            // An overflow names no file.
            hasChanged = hasChanged || (event->mask & IN_Q_OVERFLOW) != 0 || (event->wd == watched_ && isChange(*event));
            next += sizeof(inotify_event) + event->len;
        }
    }
    if (hasChanged && !delay_.isActive())
        delay_.start(settling);
}

}  // namespace velmora

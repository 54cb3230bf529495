#include "platform/mac/MacSoundActivity.h"

#include "base/Mutex.h"
#include "base/SerialQueue.h"

#include <CoreAudio/CoreAudio.h>
#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unistd.h>
#include <utility>

namespace velmora::mac_backend {

namespace {

using platform::ProcessLineage;

constexpr AudioObjectPropertyAddress property(AudioObjectPropertySelector selector)
{
    return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}
constexpr auto processList = property(kAudioHardwarePropertyProcessObjectList);
constexpr auto isRunningOutput = property(kAudioProcessPropertyIsRunningOutput);
constexpr auto processNumber = property(kAudioProcessPropertyPID);

/// 0 where it cannot be asked: a process may end at any time.
template <typename Value>
Value valueOf(AudioObjectID object, const AudioObjectPropertyAddress& address)
{
    Value value = 0;
    UInt32 size = sizeof value;
    return AudioObjectGetPropertyData(object, &address, 0, nullptr, &size, &value) == noErr ? value : Value{0};
}

/// None where they are not listed.
std::optional<std::set<AudioObjectID>> listedProcesses()
{
    // The list may grow between its two questions.
    constexpr int mostTries = 4;
    for (int tries = 0; tries < mostTries; ++tries) {
        UInt32 size = 0;
        if (AudioObjectGetPropertyDataSize(kAudioObjectSystemObject, &processList, 0, nullptr, &size) != noErr)
            return std::nullopt;
        std::vector<AudioObjectID> objects(size / sizeof(AudioObjectID));
        if (objects.empty())
            return std::set<AudioObjectID>{};
        if (AudioObjectGetPropertyData(kAudioObjectSystemObject, &processList, 0, nullptr, &size, objects.data()) != noErr)
            continue;
        objects.resize(std::min(objects.size(), size / sizeof(AudioObjectID)));
        return std::set<AudioObjectID>{objects.begin(), objects.end()};
    }
    return std::nullopt;
}

std::vector<ProcessLineage> playing(const std::set<AudioObjectID>& objects)
{
    std::set<pid_t> processes;
    for (const auto object : objects) {
        if (valueOf<UInt32>(object, isRunningOutput) != 0)
            processes.insert(valueOf<pid_t>(object, processNumber));
    }
    std::vector<ProcessLineage> lineages;
    for (const auto process : processes) {
        if (process > 0 && process != ::getpid())
            lineages.push_back({process});
    }
    return lineages;
}

class Watch;

/// Listeners are told of a number, because they may be called once more after they have been removed.
struct Watches {
    Mutex mutex;
    std::map<std::uintptr_t, std::weak_ptr<Watch>> all GUARDED_BY(mutex);
    std::uintptr_t last GUARDED_BY(mutex) = 0;

    static Watches& shared()
    {
        static auto& watches = *new Watches;
        return watches;
    }
};

/// What an observation shares with the queue on which everything is asked.
class Watch : public std::enable_shared_from_this<Watch> {
public:
    Watch(platform::SoundActivity::Changed changed, std::shared_ptr<SerialQueue> queue)
        : queue_(std::move(queue))
        , changed_(std::move(changed))
    {
    }

    void begin()
    {
        queue_->async([self = shared_from_this()] {
            if (self->hasEnded() || !AudioObjectHasProperty(kAudioObjectSystemObject, &processList))
                return;
            {
                auto& watches = Watches::shared();
                MutexLock lock(watches.mutex);
                self->number_ = ++watches.last;
                watches.all[self->number_] = self;
            }
            // Before anything is read, so that no change is lost.
            self->listensToList_ =
                AudioObjectAddPropertyListener(kAudioObjectSystemObject, &processList, hasChanged, self->name()) == noErr;
            self->update();
        });
    }

    /// When it returns no call is running or will run.
    void end()
    {
        {
            MutexLock lock(mutex_);
            changed_ = nullptr;
        }
        queue_->async([self = shared_from_this()] { self->removeListeners(); });
    }

private:
    static OSStatus hasChanged(AudioObjectID, UInt32, const AudioObjectPropertyAddress*, void* name)
    {
        std::shared_ptr<Watch> watch;
        {
            auto& watches = Watches::shared();
            MutexLock lock(watches.mutex);
            if (const auto found = watches.all.find(reinterpret_cast<std::uintptr_t>(name)); found != watches.all.end())
                watch = found->second.lock();
        }
        if (watch)
            watch->queue_->async([watch] { watch->update(); });
        return noErr;
    }

    [[nodiscard]] void* name() const { return reinterpret_cast<void*>(number_); }

    bool hasEnded()
    {
        MutexLock lock(mutex_);
        return !changed_;
    }

    void update()
    {
        if (hasEnded())
            return;
        const auto objects = listedProcesses();
        if (!objects)
            return;
        std::erase_if(listenedTo_, [&](AudioObjectID object) {
            if (objects->contains(object))
                return false;
            AudioObjectRemovePropertyListener(object, &isRunningOutput, hasChanged, name());
            return true;
        });
        for (const auto object : *objects) {
            if (!listenedTo_.contains(object) && AudioObjectAddPropertyListener(object, &isRunningOutput, hasChanged, name()) == noErr)
                listenedTo_.insert(object);
        }
        tell(playing(*objects));
    }

    void tell(std::vector<ProcessLineage> lineages)
    {
        MutexLock lock(mutex_);
        if (!changed_ || told_ == lineages)
            return;
        told_ = lineages;
        changed_(std::move(lineages));
    }

    void removeListeners()
    {
        if (std::exchange(listensToList_, false))
            AudioObjectRemovePropertyListener(kAudioObjectSystemObject, &processList, hasChanged, name());
        for (const auto object : std::exchange(listenedTo_, {}))
            AudioObjectRemovePropertyListener(object, &isRunningOutput, hasChanged, name());
        auto& watches = Watches::shared();
        MutexLock lock(watches.mutex);
        watches.all.erase(number_);
    }

    const std::shared_ptr<SerialQueue> queue_;
    // The queue's.
    std::uintptr_t number_ = 0;
    bool listensToList_ = false;
    std::set<AudioObjectID> listenedTo_;

    Mutex mutex_;
    platform::SoundActivity::Changed changed_ GUARDED_BY(mutex_);  ///< empty once it has ended
    std::optional<std::vector<ProcessLineage>> told_ GUARDED_BY(mutex_);
};

class WatchObservation final : public platform::SoundActivity::Observation {
public:
    explicit WatchObservation(std::shared_ptr<Watch> watch) : watch_(std::move(watch)) { watch_->begin(); }
    ~WatchObservation() override { watch_->end(); }
    WatchObservation(const WatchObservation&) = delete;
    WatchObservation& operator=(const WatchObservation&) = delete;

private:
    const std::shared_ptr<Watch> watch_;
};

class MacSoundActivity final : public platform::SoundActivity {
public:
    std::unique_ptr<Observation> observe(Changed changed) override
    {
        return std::make_unique<WatchObservation>(std::make_shared<Watch>(std::move(changed), queue_));
    }

private:
    const std::shared_ptr<SerialQueue> queue_ =
        std::make_shared<SerialQueue>("com.velmora.sound.activity", SerialQueue::QualityOfService::utility);
};

}  // namespace

std::shared_ptr<platform::SoundActivity> makeSoundActivity()
{
    return std::make_shared<MacSoundActivity>();
}

}  // namespace velmora::mac_backend

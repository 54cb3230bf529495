#include "platform/linux/sound/PlayingProcesses.h"

#include "base/Mutex.h"
#include "base/SerialQueue.h"
#include "engine/sound/SoundStreamWatch.h"
#include "engine/sound/StreamMatcher.h"
#include "platform/linux/kernel/ProcessRecords.h"
#include "platform/linux/pipewire/PipeWireSoundStreams.h"
#include "platform/linux/pulse/PulseSoundStreams.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

namespace {

using platform::ProcessLineage;
using Streams = std::vector<engine::SoundStream>;

ProcessLineage lineageOf(std::int32_t process, const engine::Processes& processes)
{
    // No deeper than any tree is: a process may end, and its number come again, while it is looked at.
    constexpr std::size_t deepest = 100;
    ProcessLineage lineage;
    while (process > 1 && lineage.size() < deepest) {
        lineage.push_back(process);
        const auto record = processes.record(process);
        process = record ? record->parent : 0;
    }
    return lineage;
}

std::vector<ProcessLineage> playing(const Streams& streams)
{
    const auto processes = systemProcesses();
    std::vector<ProcessLineage> lineages;
    for (const auto& stream : streams) {
        const auto process = engine::knownProcess(stream.identity, processes.record);
        const bool isListed =
            std::any_of(lineages.begin(), lineages.end(), [process](const ProcessLineage& lineage) { return lineage.front() == process; });
        if (stream.isPlaying && process > 1 && process != processes.own && !isListed)
            lineages.push_back(lineageOf(process, processes));
    }
    return lineages;
}

/// What an observation shares with the queue on which it is begun and ended.
struct Observed {
    Mutex mutex;
    platform::SoundActivity::Changed changed GUARDED_BY(mutex);  ///< empty once it has ended
    std::unique_ptr<engine::SoundStreamWatch> watch;  ///< the queue's

    void tell(const Streams& streams)
    {
        auto lineages = playing(streams);
        MutexLock lock(mutex);
        if (changed)
            changed(std::move(lineages));
    }

    bool hasEnded()
    {
        MutexLock lock(mutex);
        return !changed;
    }
};

class QueuedObservation final : public platform::SoundActivity::Observation {
public:
    QueuedObservation(std::shared_ptr<Observed> observed, std::shared_ptr<SerialQueue> queue)
        : observed_(std::move(observed))
        , queue_(std::move(queue))
    {
    }

    ~QueuedObservation() override
    {
        {
            MutexLock lock(observed_->mutex);
            observed_->changed = nullptr;
        }
        queue_->async([observed = observed_] { observed->watch.reset(); });
    }

    QueuedObservation(const QueuedObservation&) = delete;
    QueuedObservation& operator=(const QueuedObservation&) = delete;

private:
    const std::shared_ptr<Observed> observed_;
    const std::shared_ptr<SerialQueue> queue_;
};

class PlayingProcesses final : public platform::SoundActivity {
public:
    std::unique_ptr<Observation> observe(Changed changed) override
    {
        auto observed = std::make_shared<Observed>();
        {
            MutexLock lock(observed->mutex);
            observed->changed = std::move(changed);
        }
        // The connection waits for the server.
        queue_->async([observed] {
            if (observed->hasEnded())
                return;
            const auto tell = [weak = std::weak_ptr{observed}](const Streams& streams) {
                if (const auto told = weak.lock())
                    told->tell(streams);
            };
            auto watch = watchPulseSoundStreams(tell);
            if (!watch)
                watch = watchPipeWireSoundStreams(tell);
            if (watch)
                observed->watch = std::move(*watch);
        });
        return std::make_unique<QueuedObservation>(std::move(observed), queue_);
    }

private:
    const std::shared_ptr<SerialQueue> queue_ =
        std::make_shared<SerialQueue>("com.velmora.sound.activity", SerialQueue::QualityOfService::utility);
};

}  // namespace

std::shared_ptr<platform::SoundActivity> makeSoundActivity()
{
    return std::make_shared<PlayingProcesses>();
}

}  // namespace velmora::linux_backend

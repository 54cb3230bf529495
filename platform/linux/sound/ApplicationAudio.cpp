#include "platform/linux/sound/ApplicationAudio.h"

#include "base/MonotonicClock.h"
#include "base/Mutex.h"
#include "engine/sound/BlockDelivery.h"
#include "platform/linux/pipewire/PipeWireAudioSource.h"
#include "platform/linux/pipewire/PipeWireSoundStreams.h"
#include "platform/linux/pulse/PulseAudioSource.h"
#include "platform/linux/pulse/PulseSoundStreams.h"
#include "platform/linux/sound/SoundServerSockets.h"

#include <cerrno>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

namespace velmora::linux_backend {

namespace {

using namespace std::chrono_literals;

// How often the files by which servers are found are looked at, and after how many looks a server is asked for: where there is such a file,
// and where there is none.
constexpr auto lookInterval = 250ms;
constexpr int looksPerAttempt = 2;
constexpr int looksPerAttemptWithoutAFile = 20;

// How many looks after its file was made a PulseAudio server may take to answer.
constexpr int looksForAnAnswer = 20;

/// It is this process that lacks something, not the servers that are missing.
bool isOutOfResources(const Error& error)
{
    return error.domain == posixErrorDomain
        && (error.code == EMFILE || error.code == ENFILE || error.code == ENOMEM || error.code == EAGAIN);
}

class ApplicationAudioSource final : public engine::AudioSource {
public:
    ~ApplicationAudioSource() override { stop(); }

    Result<void> start(const engine::AudioTarget& target, engine::AudioSourceFormat format, BlockCallback block) override
    {
        if (auto supported = engine::checkFormat(format); !supported)
            return supported;
        target_ = target;
        format_ = format;
        block_ = std::make_shared<BlockCallback>(std::move(block));
        pulseFile_ = sockets_.pulse();
        if (auto chosen = choose(); !chosen && (!sockets_.canBeFound() || isOutOfResources(chosen.error()))) {
            return fail(
                Error{"Velmora.AudioSource", 1, "No sound server answers.", std::make_shared<const Error>(std::move(chosen.error()))});
        }
        watcher_ = std::thread{[this] { watch(); }};
        return {};
    }

    void stop() override
    {
        {
            MutexLock lock{mutex_};
            isStopping_ = true;
            stopping_.notifyAll();
        }
        if (watcher_.joinable())
            watcher_.join();
        if (source_)
            source_->stop();
    }

private:
    enum class Kind { none, pulse, pipeWire };

    Result<void> choose()
    {
        if (startSource<PulseAudioSource>(Kind::pulse))
            return {};
        return startSource<PipeWireAudioSource>(Kind::pipeWire);
    }

    template <typename Source>
    Result<void> startSource(Kind kind)
    {
        auto source = std::make_unique<Source>();
        auto started = source->start(target_, format_, [block = block_](SampleBufferRef sample) { (*block)(std::move(sample)); });
        if (started) {
            source_ = std::move(source);
            kind_ = kind;
        }
        return started;
    }

    void watch()
    {
        while (!stopsWithin(lookInterval)) {
            if (kind_ == Kind::none)
                lookForAServer();
            else
                lookForAnotherKind();
        }
    }

    bool stopsWithin(std::chrono::milliseconds time)
    {
        const auto deadline = MonotonicClock::now() + time;
        MutexLock lock{mutex_};
        while (!isStopping_) {
            if (!stopping_.waitUntil(mutex_, deadline))
                break;
        }
        return isStopping_;
    }

    void lookForAServer()
    {
        if (++looks_ < (sockets_.isAnyThere() ? looksPerAttempt : looksPerAttemptWithoutAFile))
            return;
        looks_ = 0;
        pulseFile_ = sockets_.pulse();
        static_cast<void>(choose());
    }

    /// A source finds its own kind of server again, not the other. Whoever serves PulseAudio's clients makes that file.
    void lookForAnotherKind()
    {
        const auto file = sockets_.pulse();
        if (std::exchange(pulseFile_, file) != file)
            looksLeft_ = looksForAnAnswer;
        if (looksLeft_ == 0 || !file)
            return;
        --looksLeft_;
        const auto streams = listPulseSoundStreams();
        if (!streams && !isOfPipeWire(streams.error()))
            return;  // it does not answer yet
        looksLeft_ = 0;
        if ((streams ? Kind::pulse : Kind::pipeWire) == kind_)
            return;
        // Two at a time would deliver everything twice.
        source_->stop();
        source_.reset();
        kind_ = Kind::none;
        static_cast<void>(choose());
    }

    const SoundServerSockets sockets_;
    engine::AudioTarget target_;
    engine::AudioSourceFormat format_;
    std::shared_ptr<BlockCallback> block_;  ///< of one source after another

    // Touched by start, then by the watcher, then by stop.
    std::unique_ptr<engine::AudioSource> source_;
    Kind kind_ = Kind::none;
    std::optional<SoundServerSockets::Identity> pulseFile_;
    int looks_ = 0;
    int looksLeft_ = 0;

    std::thread watcher_;
    Mutex mutex_;
    ConditionVariable stopping_;
    bool isStopping_ GUARDED_BY(mutex_) = false;
};

}  // namespace

std::unique_ptr<engine::AudioSource> makeApplicationAudioSource()
{
    return std::make_unique<ApplicationAudioSource>();
}

Result<std::vector<engine::SoundStream>> listSoundStreams()
{
    if (auto streams = listPulseSoundStreams())
        return streams;
    return listPipeWireSoundStreams();
}

Result<std::vector<engine::SoundStream>> listEverySoundStream()
{
    auto streams = listPulseSoundStreams();
    auto others = listPipeWireSoundStreams();
    if (!streams)
        return others;
    for (auto& other : others.value_or(std::vector<engine::SoundStream>{})) {
        other.isOfAnotherServer = true;
        streams->push_back(std::move(other));
    }
    return streams;
}

Result<std::string> soundServerName()
{
    if (listPulseSoundStreams())
        return "PulseAudio";
    if (auto streams = listPipeWireSoundStreams(); !streams)
        return fail(std::move(streams.error()));
    return "PipeWire";
}

}  // namespace velmora::linux_backend

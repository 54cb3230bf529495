#include "platform/linux/ffmpeg/SecondEncoder.h"

#include "base/Mutex.h"

#include <cassert>
#include <cstdint>
#include <utility>

namespace velmora::linux_backend {

struct SecondEncoder::Shared {
    explicit Shared(Open function) : open(std::move(function)) { }

    Opened call(const VideoEncoderSettings& settings)
    {
        MutexLock lock(openMutex);
        return open(settings);
    }

    Mutex openMutex;  ///< held while one is being opened
    Open open GUARDED_BY(openMutex);
    Mutex mutex;
    std::uint64_t number GUARDED_BY(mutex) = 0;  ///< of the one that is wanted
    std::optional<Opened> opened GUARDED_BY(mutex);
};

SecondEncoder::SecondEncoder(Open open, std::shared_ptr<Executor> executor)
    : shared_(std::make_shared<Shared>(std::move(open)))
    , executor_(std::move(executor))
{
}

SecondEncoder::~SecondEncoder()
{
    letGo();
}

Executor& SecondEncoder::executor()
{
    if (!executor_)
        executor_ = std::make_shared<SerialQueue>("com.velmora.encoder.opening");
    return *executor_;
}

SecondEncoder::Opened SecondEncoder::openNow(const VideoEncoderSettings& settings)
{
    return shared_->call(settings);
}

void SecondEncoder::begin(const VideoEncoderSettings& settings)
{
    letGo();
    effort_ = settings.effort;
    std::uint64_t number = 0;
    {
        MutexLock lock(shared_->mutex);
        number = shared_->number;
    }
    executor().async([shared = shared_, settings, number] {
        const auto isWanted = [&] {
            MutexLock lock(shared->mutex);
            return shared->number == number;
        };
        if (!isWanted())
            return;
        // Destroyed here where it is no longer wanted.
        Opened opened = shared->call(settings);
        MutexLock lock(shared->mutex);
        if (shared->number == number)
            shared->opened = std::move(opened);
    });
}

SecondEncoder::State SecondEncoder::look(MonotonicTime now)
{
    if (!effort_)
        return State::none;
    bool isThere = false;
    {
        MutexLock lock(shared_->mutex);
        if (!shared_->opened)
            return State::beingOpened;
        isThere = shared_->opened->has_value();
    }
    if (!since_)
        since_ = now;
    if (isThere && now - *since_ <= longestStay)
        return State::isThere;
    letGo();
    return State::failed;
}

std::unique_ptr<VideoEncoder> SecondEncoder::take()
{
    std::optional<Opened> opened;
    {
        MutexLock lock(shared_->mutex);
        opened = std::exchange(shared_->opened, std::nullopt);
    }
    assert(opened && *opened);
    letGo();
    return std::move(**opened);
}

void SecondEncoder::letGo()
{
    if (!effort_)
        return;
    std::optional<Opened> opened;
    {
        MutexLock lock(shared_->mutex);
        ++shared_->number;
        opened = std::exchange(shared_->opened, std::nullopt);
    }
    effort_.reset();
    since_.reset();
    if (opened && *opened)
        close(std::move(**opened));
}

void SecondEncoder::close(std::unique_ptr<VideoEncoder> encoder)
{
    executor().async([encoder = std::move(encoder)]() mutable { encoder.reset(); });
}

}  // namespace velmora::linux_backend

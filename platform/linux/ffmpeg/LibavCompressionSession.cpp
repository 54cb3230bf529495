#include "platform/linux/ffmpeg/LibavCompressionSession.h"

#include "base/Mutex.h"
#include "platform/linux/ffmpeg/LibavError.h"
#include "platform/linux/ffmpeg/VideoEncoderSelection.h"

#include <pthread.h>
#include <string>
#include <thread>
#include <utility>

namespace velmora::linux_backend {

using platform::CompressionProperty;
using platform::CompressionPropertyValue;
using platform::CompressionStatus;

namespace {

constexpr CompressionStatus sessionEnded = AVERROR_EOF;

/// Where libavcodec's own limits are: well beyond any screen.
constexpr std::int32_t greatestSize = 16384;

constexpr CompressionStatus tooLarge = AVERROR(ERANGE);

VideoEncoderSettings settingsFor(std::int32_t width, std::int32_t height)
{
    VideoEncoderSettings settings;
    settings.width = engine::paddedToEven(width);
    settings.height = engine::paddedToEven(height);
    return settings;
}

CompressionStatus applyProperty(VideoEncoderSettings& settings, CompressionProperty property, const CompressionPropertyValue& value)
{
    const auto* number = std::get_if<std::int64_t>(&value);
    switch (property) {
    case CompressionProperty::realTime:
    case CompressionProperty::allowFrameReordering:
        // Real time is all there is, and frames are never reordered, which permission to reorder them allows too.
        return std::holds_alternative<bool>(value) ? 0 : AVERROR(EINVAL);
    case CompressionProperty::profileLevel: {
        const auto* profile = std::get_if<platform::ProfileLevel>(&value);
        return profile && *profile == platform::ProfileLevel::h264HighAutoLevel ? 0 : AVERROR(EINVAL);
    }
    case CompressionProperty::maxKeyFrameInterval:
        if (!number || *number < 1 || *number > INT32_MAX)
            return AVERROR(EINVAL);
        settings.maxKeyFrameInterval = static_cast<int>(*number);
        return 0;
    case CompressionProperty::averageBitRate:
        if (!number || *number < 1 || *number > INT32_MAX)
            return AVERROR(EINVAL);
        settings.bitRate = *number;
        return 0;
    }
    return AVERROR(EINVAL);
}

}  // namespace

/// Shared by the session and its thread, which may outlive it when the output callback lets go of the session last.
struct LibavCompressionSession::State {
    State(std::int32_t pictureWidth, std::int32_t pictureHeight, OutputCallback callback, EncodingPipeline::OpenEncoder open,
        engine::KeyFrameRequests keyFrameRequests)
        : width(pictureWidth)
        , height(pictureHeight)
        , output(std::move(callback))
        , pipeline(std::in_place, width, height, std::move(open), std::move(keyFrameRequests))
    {
    }

    const std::int32_t width;
    const std::int32_t height;

    Mutex mutex;
    ConditionVariable work;  ///< for the thread
    ConditionVariable progress;  ///< for those who wait for the thread
    engine::PictureQueue queue GUARDED_BY(mutex);
    VideoEncoderSettings settings GUARDED_BY(mutex);
    bool settingsAreFixed GUARDED_BY(mutex) = false;
    MediaTime lastSubmitted GUARDED_BY(mutex);
    std::uint64_t submittedCount GUARDED_BY(mutex) = 0;
    std::uint64_t calledBackCount GUARDED_BY(mutex) = 0;
    bool prepareRequested GUARDED_BY(mutex) = false;
    std::optional<int> prepareStatus GUARDED_BY(mutex);
    bool drainRequested GUARDED_BY(mutex) = false;
    bool invalidated GUARDED_BY(mutex) = false;
    bool running GUARDED_BY(mutex) = false;
    std::thread thread GUARDED_BY(mutex);

    // The thread's alone, once it runs.
    OutputCallback output;
    std::optional<EncodingPipeline> pipeline;

    static void wake(const std::shared_ptr<State>& state) REQUIRES(state->mutex)
    {
        if (!state->thread.joinable()) {
            state->running = true;
            state->thread = std::thread([state] { state->run(); });
        }
        state->work.notifyOne();
    }

    bool isOwnThread() REQUIRES(mutex) { return thread.get_id() == std::this_thread::get_id(); }

    void run()
    {
        pthread_setname_np(pthread_self(), "videoencoder");
        while (runOnce()) { }
        pipeline.reset();
        output.reset();
        MutexLock lock(mutex);
        queue.clear();
        running = false;
        progress.notifyAll();
    }

    bool runOnce()
    {
        bool prepares = false;
        std::optional<engine::PendingPicture> picture;
        VideoEncoderSettings currentSettings;
        {
            MutexLock lock(mutex);
            while (!invalidated && !prepareRequested && queue.isEmpty() && !drainRequested)
                work.wait(mutex);
            if (invalidated)
                return false;
            currentSettings = settings;
            prepares = std::exchange(prepareRequested, false);
            if (!prepares) {
                picture = queue.pop();
                if (!picture)
                    drainRequested = false;
            }
        }
        if (prepares) {
            const int status = pipeline->prepare(currentSettings);
            MutexLock lock(mutex);
            prepareStatus = status;
            progress.notifyAll();
        } else {
            if (picture)
                pipeline->encode(std::move(*picture), currentSettings);
            else
                pipeline->drain();
            callBack();
        }
        return true;
    }

    void callBack()
    {
        while (auto outcome = pipeline->nextOutcome()) {
            {
                MutexLock lock(mutex);
                if (invalidated)
                    return;
            }
            output(outcome->status, std::move(outcome->sample));
            MutexLock lock(mutex);
            ++calledBackCount;
            progress.notifyAll();
        }
    }
};

LibavCompressionSession::LibavCompressionSession(std::int32_t width, std::int32_t height, EncodingEffort effort, OutputCallback output,
    EncodingPipeline::OpenEncoder open, engine::KeyFrameRequests keyFrameRequests)
    : state_(std::make_shared<State>(width, height, std::move(output), std::move(open), std::move(keyFrameRequests)))
{
    MutexLock lock(state_->mutex);
    state_->settings = settingsFor(width, height);
    state_->settings.effort = effort;
}

LibavCompressionSession::~LibavCompressionSession()
{
    invalidate();
    std::thread thread;
    {
        MutexLock lock(state_->mutex);
        thread = std::move(state_->thread);
    }
    if (!thread.joinable())
        return;
    if (thread.get_id() == std::this_thread::get_id())
        thread.detach();
    else
        thread.join();
}

CompressionStatus LibavCompressionSession::setProperty(CompressionProperty property, CompressionPropertyValue value)
{
    MutexLock lock(state_->mutex);
    if (state_->invalidated)
        return sessionEnded;
    if (state_->settingsAreFixed)
        return AVERROR(EBUSY);
    return applyProperty(state_->settings, property, value);
}

CompressionStatus LibavCompressionSession::prepareToEncodeFrames()
{
    MutexLock lock(state_->mutex);
    if (state_->invalidated)
        return sessionEnded;
    if (state_->isOwnThread())
        return AVERROR(EDEADLK);
    state_->settingsAreFixed = true;
    state_->prepareRequested = true;
    state_->prepareStatus.reset();
    State::wake(state_);
    while (!state_->prepareStatus && !state_->invalidated)
        state_->progress.wait(state_->mutex);
    return state_->invalidated ? sessionEnded : *state_->prepareStatus;
}

CompressionStatus LibavCompressionSession::encodeFrame(
    const PixelBufferRef& pixelBuffer, MediaTime presentationTimeStamp, MediaTime duration)
{
    if (!pixelBuffer || pixelBuffer->format != FourCharacterCode{"BGRA"} || pixelBuffer->width != state_->width
        || pixelBuffer->height != state_->height || !pixelBuffer->baseAddress
        || pixelBuffer->bytesPerRow < static_cast<std::size_t>(state_->width) * 4 || !presentationTimeStamp.isValid())
        return AVERROR(EINVAL);
    MutexLock lock(state_->mutex);
    if (state_->invalidated)
        return sessionEnded;
    if (state_->lastSubmitted.isValid() && presentationTimeStamp <= state_->lastSubmitted)
        return AVERROR(EINVAL);
    state_->settingsAreFixed = true;
    state_->lastSubmitted = presentationTimeStamp;
    state_->queue.push(pixelBuffer, presentationTimeStamp, duration);
    ++state_->submittedCount;
    State::wake(state_);
    return 0;
}

CompressionStatus LibavCompressionSession::completeFrames()
{
    MutexLock lock(state_->mutex);
    if (state_->invalidated)
        return sessionEnded;
    if (state_->isOwnThread())
        return AVERROR(EDEADLK);
    const std::uint64_t target = state_->submittedCount;
    if (state_->calledBackCount < target) {
        state_->drainRequested = true;
        State::wake(state_);
    }
    while (state_->calledBackCount < target && !state_->invalidated)
        state_->progress.wait(state_->mutex);
    return state_->calledBackCount < target ? sessionEnded : 0;
}

void LibavCompressionSession::invalidate()
{
    MutexLock lock(state_->mutex);
    state_->invalidated = true;
    state_->work.notifyAll();
    state_->progress.notifyAll();
    while (state_->running && !state_->isOwnThread())
        state_->progress.wait(state_->mutex);
}

tl::expected<std::shared_ptr<platform::CompressionSession>, CompressionStatus> LibavCompressionSessionFactory::makeSession(
    std::int32_t width, std::int32_t height, FourCharacterCode codec, platform::CompressionSession::OutputCallback output)
{
    if (codec != FourCharacterCode{"avc1"})
        return tl::unexpected(AVERROR(EINVAL));
    if (const auto error = checkSize(width, height))
        return tl::unexpected(error);
    auto settings = settingsFor(width, height);
    settings.effort = VideoEncoderSelection::shared().effortFor(settings);
    return std::make_shared<LibavCompressionSession>(
        width, height, settings.effort, std::move(output),
        [](const VideoEncoderSettings& wanted) { return VideoEncoderSelection::shared().open(wanted); }, keyFrameRequests_);
}

CompressionStatus LibavCompressionSessionFactory::checkSize(std::int32_t width, std::int32_t height)
{
    if (width < 1 || height < 1)
        return AVERROR(EINVAL);
    if (width > greatestSize || height > greatestSize)
        return tooLarge;
    return VideoEncoderSelection::shared().check(settingsFor(width, height));
}

std::string LibavCompressionSessionFactory::description(platform::CompressionStatus status) const
{
    if (status == tooLarge)
        return "The window is larger than an encoder accepts: " + std::to_string(greatestSize) + " pixels in width or height.";
    return libavError(status, "The encoder cannot be started").localizedDescription + ".";
}

}  // namespace velmora::linux_backend

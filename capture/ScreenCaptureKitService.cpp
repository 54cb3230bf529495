#include "capture/ScreenCaptureKitService.h"

#include "base/Fatal.h"
#include "capture/replay/ClipAudioSettings.h"
#include "system/Log.h"
#include "windows/WindowCatalogue.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <utility>

namespace velmora {

using platform::ContentFilter;
using platform::ShareableContent;
using platform::ShareableDisplay;
using platform::ShareableWindow;
using platform::StreamConfiguration;
using platform::StreamOutputType;

namespace {

constexpr std::int64_t minimumPixels = 2;
constexpr float backingScaleWithoutScreen = 2.0F;

// Key frames are at most half a second apart: so much beyond what may be asked for always holds one to begin with.
constexpr double replayReserve = 1;  // seconds

tl::unexpected<Error> serviceError(ScreenCaptureKitService::ErrorCode code)
{
    const char* message = "";
    switch (code) {
    case ScreenCaptureKitService::windowUnavailable:
        message = "Selected window is no longer on screen or available.";
        break;
    case ScreenCaptureKitService::noCaptureSession:
        message = "Cannot start recording: No active window capture session.";
        break;
    case ScreenCaptureKitService::noRecordingSession:
        message = "No active manual recording session.";
        break;
    }
    return fail(std::string{ScreenCaptureKitService::errorDomain}, code, message);
}

const ShareableDisplay* displayFor(const ShareableContent& content, const Rect& windowFrame)
{
    const auto& displays = content.displays;
    const auto hit =
        std::find_if(displays.begin(), displays.end(), [&](const auto& display) { return display.frame.intersects(windowFrame); });
    if (hit != displays.end())
        return &*hit;
    return displays.empty() ? nullptr : &displays.front();
}

const platform::RunningApplication* applicationFor(const ShareableContent& content, const std::string& bundleID)
{
    const auto& applications = content.applications;
    const auto hit = std::find_if(applications.begin(), applications.end(), [&](const auto& a) { return a.bundleIdentifier == bundleID; });
    return hit == applications.end() ? nullptr : &*hit;
}

ContentFilter filterFor(
    const ShareableContent& content, const ShareableDisplay* display, const ShareableWindow& live, const CapturedWindowInfo& chosen)
{
    const auto* application = display ? applicationFor(content, chosen.bundleID) : nullptr;
    if (application) {
        Log::capture().info(log_line::usingDisplayFilter, chosen.displayName(), display->displayID);
        return ContentFilter::displayIncludingApplications(*display, {*application}, {}, live);
    }
    Log::capture().info(log_line::usingWindowFilter, chosen.displayName());
    return ContentFilter::desktopIndependentWindow(live);
}

std::int64_t pixels(double points, double scale)
{
    const double size = points * scale;
    // 2^63 is the first double that no longer fits.
    if (!std::isfinite(size) || std::abs(size) >= 0x1p63)
        fatalError("a window's size does not fit a 64-bit integer");
    return std::max(minimumPixels, static_cast<std::int64_t>(size));
}

StreamConfiguration configurationFor(const ShareableDisplay* display, const ShareableWindow& live, double scale)
{
    StreamConfiguration configuration{
        .width = pixels(live.frame.width, scale),
        .height = pixels(live.frame.height, scale),
        .pixelFormat = FourCharacterCode{"BGRA"},
        .capturesAudio = true,
        .sampleRate = 48000,
        .channelCount = 2,
        .excludesCurrentProcessAudio = true,
        .ignoreShadowsSingleWindow = true,
        .ignoreShadowsDisplay = true,
        .showsCursor = true,
        .minimumFrameInterval = MediaTime{1, 60},
        .sourceRect = std::nullopt,
    };
    if (display)
        configuration.sourceRect = Rect{std::max(0.0, live.frame.x - display->frame.x), std::max(0.0, live.frame.y - display->frame.y),
            live.frame.width, live.frame.height};
    return configuration;
}

}  // namespace

// One start under way: it is passed from step to step, and whichever step ends it calls the completion.
struct ScreenCaptureKitService::Start {
    std::uint64_t generation = 0;
    CapturedWindowInfo window;
    StartCompletion completion;
    ShareableWindow live;
    StreamConfiguration configuration;
    std::shared_ptr<platform::CaptureStream> stream;
};

std::shared_ptr<ScreenCaptureKitService> ScreenCaptureKitService::create(Services services)
{
    auto service = std::make_shared<ScreenCaptureKitService>(Private{}, std::move(services));
    service->encoder_.setOnEncodedSample([weak = service->weak_from_this()](const SampleBufferRef& sample) {
        const auto self = weak.lock();
        if (!self)
            return;
        MutexLock lock(self->manualWriterLock_);
        const auto writer = self->activeManualWriter_.load();
        if ((!writer && !self->replay_.buffer) || !self->sizeGate_.admits(sample->presentationTimeStamp))
            return;
        if (writer)
            writer->appendVideoSample(sample);
        if (self->replay_.buffer)
            self->replay_.appendVideoSample(sample);
    });
    return service;
}

ScreenCaptureKitService::ScreenCaptureKitService(Private, Services services)
    : services_(std::move(services))
    , encoder_(services_.compressionSessions)
    , sampleQueue_(std::make_shared<SerialQueue>("com.velmora.capture.sampleQueue", SerialQueue::QualityOfService::userInteractive))
    , audioQueue_(std::make_shared<SerialQueue>("com.velmora.capture.audioQueue", SerialQueue::QualityOfService::userInteractive))
{
}

ScreenCaptureKitService::~ScreenCaptureKitService()
{
    stopCapture();
}

void ScreenCaptureKitService::startCapture(const CapturedWindowInfo& window, StartCompletion completion)
{
    stopCapture();
    auto start = std::make_shared<Start>();
    start->generation = startGeneration_;
    start->window = window;
    start->completion = std::move(completion);

    window_catalogue::findWindow(*services_.shareableContent, *services_.mainExecutor, window.id,
        [self = shared_from_this(), start](Result<std::optional<ShareableWindow>> found) {
            if (self->endIfSuperseded(*start))
                return;
            if (!found)
                return start->completion(fail(std::move(found.error())));
            if (!*found)
                return start->completion(serviceError(windowUnavailable));
            start->live = std::move(**found);
            self->services_.shareableContent->getShareableContent(false, false, [self, start](Result<ShareableContent> content) {
                self->services_.mainExecutor->async(
                    [self, start, content = std::move(content)]() mutable { self->continueWithContent(start, std::move(content)); });
            });
        });
}

void ScreenCaptureKitService::continueWithContent(std::shared_ptr<Start> start, Result<ShareableContent> content)
{
    if (endIfSuperseded(*start))
        return;
    if (!content)
        return start->completion(fail(std::move(content.error())));
    startStream(std::move(start), *content);
}

void ScreenCaptureKitService::startStream(std::shared_ptr<Start> start, const ShareableContent& content)
{
    const auto* display = displayFor(content, start->live.frame);
    const auto filter = filterFor(content, display, start->live, start->window);
    const double scale = static_cast<double>(services_.screens->mainScreenBackingScaleFactor().value_or(backingScaleWithoutScreen));
    start->configuration = configurationFor(display, start->live, scale);
    if (auto* preparation = services_.assetWriters->soundPreparation())
        preparation->prepareSound(clipAudioSettings);
    start->stream = services_.captureStreams->makeStream(filter, start->configuration, weak_from_this());

    const std::pair<StreamOutputType, std::shared_ptr<SerialQueue>> outputs[] = {
        {StreamOutputType::screen, sampleQueue_}, {StreamOutputType::audio, audioQueue_}};
    for (const auto& [type, queue] : outputs) {
        if (auto added = start->stream->addStreamOutput(weak_from_this(), type, queue); !added)
            return start->completion(fail(std::move(added.error())));
    }
    auto& stream = *start->stream;
    stream.startCapture([self = shared_from_this(), start = std::move(start)](Result<void> result) mutable {
        auto& mainExecutor = *self->services_.mainExecutor;
        mainExecutor.async([self = std::move(self), start = std::move(start), result = std::move(result)]() mutable {
            self->streamDidStart(start, std::move(result));
        });
    });
}

void ScreenCaptureKitService::streamDidStart(const std::shared_ptr<Start>& start, Result<void> result)
{
    if (!result) {
        if (!endIfSuperseded(*start))
            start->completion(fail(std::move(result.error())));
        return;
    }
    if (endIfSuperseded(*start)) {
        stop(std::exchange(start->stream, nullptr));
        return;
    }
    stream_ = start->stream;
    liveStream_ = stream_.get();
    activeWindow_ = start->window;
    isCapturing_ = true;
    beginReplay();
    pictureSize_ = {static_cast<std::int32_t>(start->configuration.width), static_cast<std::int32_t>(start->configuration.height)};
    Log::capture().info(
        log_line::startedWindowCapture, start->window.displayName(), start->configuration.width, start->configuration.height);
    start->completion(StartOutcome::started);
}

bool ScreenCaptureKitService::endIfSuperseded(Start& start)
{
    if (start.generation == startGeneration_)
        return false;
    start.completion(StartOutcome::superseded);
    return true;
}

void ScreenCaptureKitService::stopCapture()
{
    ++startGeneration_;
    if (!isCapturing_ && !stream_)
        return;
    isCapturing_ = false;
    liveStream_ = nullptr;
    if (const auto writer = activeManualWriter_.load()) {
        writer->cancel();
        activeManualWriter_.store(nullptr);
        retire(writer);
    }
    if (auto stream = std::exchange(stream_, nullptr))
        stop(std::move(stream));
    encoder_.abandon();
    if (replayDuration_)
        beginReplay();
    settledSize_.reset();
    isFollowingSize_ = false;
    sizeGate_.reset();
    activeWindow_.reset();
    Log::capture().info(log_line::stoppedWindowCapture);
}

void ScreenCaptureKitService::stop(std::shared_ptr<platform::CaptureStream> stream)
{
    stoppingStreams_->enter();
    auto& stopping = *stream;
    stopping.stopCapture([stream = std::move(stream), group = stoppingStreams_](Result<void> result) mutable {
        if (!result)
            Log::capture().error(log_line::errorStoppingStream, result.error().localizedDescription);
        stream.reset();
        group->leave();
    });
}

Result<void> ScreenCaptureKitService::startManualRecording(const std::filesystem::path& url)
{
    MutexLock lock(manualWriterLock_);
    if (!isCapturing_)
        return serviceError(noCaptureSession);
    auto writer = ManualRecordingWriter::create(url, *services_.assetWriters, services_.fileManager);
    if (!writer)
        return fail(std::move(writer.error()));
    activeManualWriter_.store(std::move(*writer));
    Log::capture().info(log_line::manualRecordingSessionStarted, url.native());
    return {};
}

void ScreenCaptureKitService::stopManualRecording(StopRecordingCompletion completion)
{
    std::shared_ptr<ManualRecordingWriter> writer;
    {
        MutexLock lock(manualWriterLock_);
        writer = activeManualWriter_.exchange(nullptr);
    }
    finishingFiles_->enter();
    auto finish = [mainExecutor = services_.mainExecutor, group = finishingFiles_, completion = std::move(completion)](
                      Result<std::filesystem::path> result) mutable {
        mainExecutor->async([completion = std::move(completion), result = std::move(result)]() mutable { completion(std::move(result)); });
        group->leave();
    };
    if (!writer) {
        finish(serviceError(noRecordingSession));
        return;
    }
    retire(writer);
    writer->finish(std::move(finish));
    followSize();
}

void ScreenCaptureKitService::setReplayDuration(std::optional<double> seconds)
{
    replayDuration_ = seconds;
    beginReplay();
    followSize();
}

/// What was kept before is let go.
void ScreenCaptureKitService::beginReplay()
{
    Replay replay;
    if (replayDuration_ && isCapturing_)
        replay.buffer = RollingBuffer::create(*replayDuration_, *replayDuration_ + replayReserve);
    // The former buffer ends outside the lock: that may take as long as letting go of all its samples.
    MutexLock lock(manualWriterLock_);
    std::swap(replay_, replay);
}

std::shared_ptr<RollingBuffer> ScreenCaptureKitService::replayBuffer() const
{
    MutexLock lock(manualWriterLock_);
    return replay_.buffer;
}

void ScreenCaptureKitService::Replay::appendVideoSample(const SampleBufferRef& sample)
{
    const bool isOfTheSame = sample->format == format || (sample->format && format && *sample->format == *format);
    if (!isOfTheSame || !format) {
        if (!sample->format || !sample->isSync())
            return;
        // No file holds pictures of two encoders.
        if (format)
            buffer->clear();
        format = sample->format;
    }
    buffer->appendVideoSample(sample);
}

void ScreenCaptureKitService::Replay::appendAudioSample(const SampleBufferRef& sample) const
{
    // Without pictures nothing would bound it.
    if (format)
        buffer->appendAudioSample(sample);
}

bool ScreenCaptureKitService::isRecordingManualClip() const
{
    MutexLock lock(manualWriterLock_);
    return activeManualWriter_.load() != nullptr;
}

void ScreenCaptureKitService::retire(const std::shared_ptr<ManualRecordingWriter>& writer)
{
    std::erase_if(retiredWriters_, [](const auto& retired) { return retired.expired(); });
    retiredWriters_.push_back(writer);
}

void ScreenCaptureKitService::drain()
{
    stoppingStreams_->wait();
    // A picture that is being handled holds this service: if it were the last owner, its queue would go on while the program ends.
    sampleQueue_->drain();
    audioQueue_->drain();
    encoder_.endingQueue().drain();
    encoder_.outputQueue().drain();
    for (const auto& retired : std::exchange(retiredWriters_, {})) {
        if (const auto writer = retired.lock())
            writer->drain();
    }
    finishingFiles_->wait();
}

void ScreenCaptureKitService::notifyWhenStopped(UniqueFunction<void()> completion)
{
    stoppingStreams_->notify([mainExecutor = services_.mainExecutor, completion = std::move(completion)]() mutable {
        mainExecutor->async(std::move(completion));
    });
}

void ScreenCaptureKitService::streamDidOutputSampleBuffer(
    const platform::CaptureStream& stream, const SampleBufferRef& sample, StreamOutputType type)
{
    if (!isCapturing_ || &stream != liveStream_)
        return;
    switch (type) {
    case StreamOutputType::audio: {
        MutexLock lock(manualWriterLock_);
        if (const auto writer = activeManualWriter_.load())
            writer->appendAudioSample(sample);
        if (replay_.buffer)
            replay_.appendAudioSample(sample);
        break;
    }
    case StreamOutputType::screen:
        if (sample->imageBuffer)
            encode(stream, *sample);
        break;
    case StreamOutputType::microphone:
        break;
    }
}

void ScreenCaptureKitService::encode(const platform::CaptureStream& stream, const SampleBuffer& sample)
{
    sizeGate_.note({sample.imageBuffer->width, sample.imageBuffer->height}, sample.presentationTimeStamp);
    encoder_.encode(sample.imageBuffer, sample.presentationTimeStamp, sample.duration);
    // A stop that came while the first picture's session was being made found none to end.
    if (!isCapturing_ || &stream != liveStream_)
        encoder_.abandon();
}

void ScreenCaptureKitService::streamContentDidSettle(const platform::CaptureStream& stream, std::int32_t width, std::int32_t height)
{
    if (width < minimumPixels || height < minimumPixels)
        return;
    services_.mainExecutor->async([weak = weak_from_this(), settled = &stream, size = PictureSize{width, height}] {
        const auto self = weak.lock();
        if (!self || self->stream_.get() != settled)
            return;
        self->settledSize_ = size;
        self->followSize();
    });
}

void ScreenCaptureKitService::followSize()
{
    if (!stream_ || !settledSize_ || settledSize_ == pictureSize_ || isFollowingSize_ || keepsSize())
        return;
    isFollowingSize_ = true;
    encoder_.checkSize(settledSize_->width, settledSize_->height,
        [executor = services_.mainExecutor, weak = weak_from_this(), generation = startGeneration_, size = *settledSize_](bool isPossible) {
            executor->async([weak, generation, size, isPossible] {
                if (const auto self = weak.lock(); self && self->startGeneration_ == generation)
                    self->sizeWasChecked(size, isPossible);
            });
        });
}

void ScreenCaptureKitService::sizeWasChecked(PictureSize size, bool isPossible)
{
    isFollowingSize_ = false;
    if (!isPossible && settledSize_ == size)
        settledSize_.reset();
    // A recording has begun meanwhile, or the window has gone on to another size.
    if (settledSize_ != size || keepsSize())
        return followSize();
    isFollowingSize_ = true;
    sizeGate_.beginChange(size);
    stream_->updateSize(size.width, size.height,
        [executor = services_.mainExecutor, weak = weak_from_this(), generation = startGeneration_, size](const Result<void>& result) {
            executor->async([weak, generation, size, isDone = result.has_value()] {
                if (const auto self = weak.lock(); self && self->startGeneration_ == generation)
                    self->sizeWasUpdated(size, isDone);
            });
        });
}

void ScreenCaptureKitService::sizeWasUpdated(PictureSize size, bool isDone)
{
    isFollowingSize_ = false;
    if (isDone) {
        pictureSize_ = size;
    } else {
        sizeGate_.abandonChange();
        // The stream says so again when it is still like that in a second.
        if (settledSize_ == size)
            settledSize_.reset();
    }
    followSize();
}

void ScreenCaptureKitService::streamDidStopWithError(const platform::CaptureStream& stream, const Error& error)
{
    Log::capture().error(log_line::streamDidStop, error.localizedDescription);
    services_.mainExecutor->async([weak = weak_from_this(), stopped = &stream, reason = error.localizedDescription] {
        const auto self = weak.lock();
        // The stream may have been stopped or replaced while this was on its way.
        if (!self || self->stream_.get() != stopped)
            return;
        self->stopCapture();
        if (const auto delegate = self->delegate_.lock())
            delegate->captureServiceDidStopUnexpectedly(*self, reason);
    });
}

}  // namespace velmora

#include "engine/capture/CaptureStreams.h"

#include "engine/pictures/PictureStream.h"
#include "engine/sound/UnheardSound.h"
#include "media/LiveTime.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace velmora::engine {

namespace {

using platform::CaptureStream;
using platform::ContentFilter;
using platform::StreamConfiguration;
using platform::StreamOutputType;

constexpr const char* errorDomain = "Velmora.CaptureStream";
enum ErrorCode { noMicrophone = 1, noSound = 2, impossibleSize = 3, hasEnded = 4 };

/// A sound server delivers silence too. One that has delivered nothing for this long is not there.
constexpr std::chrono::seconds longestWaitForSound{3};

/// The cause that a person can do something about, where that is known.
Error whyThereIsNoSound(const Error& error)
{
    for (const auto* cause = &error; cause; cause = cause->underlying.get()) {
        if (cause->domain == posixErrorDomain && (cause->code == EMFILE || cause->code == ENFILE))
            return {errorDomain, noSound, "Too many files are open.", std::make_shared<const Error>(error)};
    }
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    std::error_code ignored;
    if (!folder || !*folder)
        return {errorDomain, noSound, "There is no runtime folder: XDG_RUNTIME_DIR is not set.", std::make_shared<const Error>(error)};
    if (!std::filesystem::is_directory(folder, ignored))
        return {errorDomain, noSound, "There is no runtime folder " + std::string{folder} + ".", std::make_shared<const Error>(error)};
    return error;
}

// What the sources' threads use. It does not keep the stream alive, so that a stream never ends on a thread that it would have to join.
struct Delivery {
    struct Output {
        std::weak_ptr<platform::StreamOutput> output;
        StreamOutputType type;
        std::shared_ptr<Executor> queue;
    };

    std::vector<Output> outputs;  // complete before the sources start
    std::weak_ptr<const CaptureStream> stream;
    std::weak_ptr<platform::StreamDelegate> delegate;
    std::shared_ptr<SerialQueue> control = std::make_shared<SerialQueue>("com.velmora.capture.control");
    std::atomic<bool> stopping = false;

    std::atomic<bool> expectsSound = false;  ///< it has been started and has not come yet
    std::atomic<bool> missesSound = false;  ///< it was waited for in vain
    std::optional<MonotonicTime> firstPicture;  ///< of the pictures' thread
};

/// Tells the delegate of a stream that runs.
template <typename Message>
void tell(const Delivery& delivery, Message message)
{
    const auto stream = delivery.stream.lock();
    const auto delegate = delivery.delegate.lock();
    if (stream && delegate && !delivery.stopping)
        message(*delegate, *stream);
}

void loseSound(const Delivery& delivery, const Error& error)
{
    tell(delivery, [&](auto& delegate, const auto& stream) { delegate.streamDidLoseSound(stream, error); });
}

void regainSound(const Delivery& delivery)
{
    tell(delivery, [](auto& delegate, const auto& stream) { delegate.streamDidRegainSound(stream); });
}

void noteSound(Delivery& delivery)
{
    if (delivery.expectsSound.exchange(false) && delivery.missesSound)
        regainSound(delivery);
}

void notePicture(Delivery& delivery, const SampleBuffer& picture)
{
    if (!delivery.expectsSound || delivery.missesSound)
        return;
    const auto time = momentOf(picture.presentationTimeStamp);
    if (!delivery.firstPicture)
        delivery.firstPicture = time;
    if (time - *delivery.firstPicture < longestWaitForSound)
        return;
    delivery.missesSound = true;
    loseSound(delivery, {errorDomain, noSound, "No sound server answers.", nullptr});
    // It may have come while that was being said.
    if (!delivery.expectsSound)
        regainSound(delivery);
}

void deliver(const std::shared_ptr<Delivery>& delivery, const SampleBufferRef& sample, StreamOutputType type)
{
    for (std::size_t index = 0; index < delivery->outputs.size(); ++index) {
        const auto& output = delivery->outputs[index];
        if (output.type != type)
            continue;
        output.queue->async([delivery, sample, index] {
            const auto& target = delivery->outputs[index];
            const auto stream = delivery->stream.lock();
            const auto receiver = target.output.lock();
            if (stream && receiver && !delivery->stopping)
                receiver->streamDidOutputSampleBuffer(*stream, sample, target.type);
        });
    }
}

void reportStop(const std::shared_ptr<Delivery>& delivery, const Error& error)
{
    // Behind a start that is still under way, so that the start's completion comes first.
    delivery->control->async([delivery, error] {
        const auto stream = delivery->stream.lock();
        if (!stream || delivery->stopping.exchange(true))
            return;
        if (const auto delegate = delivery->delegate.lock())
            delegate->streamDidStopWithError(*stream, error);
    });
}

using ExplainSilence = std::function<void(const AudioTarget& target, CaptureStream::UnheardCompletion completion)>;

class CombinedStream final : public CaptureStream, public std::enable_shared_from_this<CombinedStream> {
public:
    CombinedStream(std::unique_ptr<VideoSource> video, std::unique_ptr<AudioSource> audio, AudioTarget audioTarget,
        const StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate, KeyFrameRequests keyFrameRequests,
        ExplainSilence explainSilence)
        : keyFrameRequests_(std::move(keyFrameRequests))
        , video_(std::move(video))
        , audio_(std::move(audio))
        , audioTarget_(std::move(audioTarget))
        , configuration_(configuration)
        , expectsSound_(audio_ != nullptr && configuration.capturesAudio)
        , explainSilence_(std::move(explainSilence))
    {
        delivery_->delegate = std::move(delegate);
    }

    ~CombinedStream() override { stopSources(); }

    Result<void> addStreamOutput(
        std::weak_ptr<platform::StreamOutput> output, StreamOutputType type, std::shared_ptr<Executor> queue) override
    {
        if (type == StreamOutputType::microphone)
            return fail(errorDomain, noMicrophone, "A capture stream has no microphone.");
        delivery_->outputs.push_back({std::move(output), type, std::move(queue)});
        return {};
    }

    void startCapture(Completion completion) override
    {
        delivery_->stream = weak_from_this();
        delivery_->control->async(
            [self = shared_from_this(), completion = std::move(completion)]() mutable { completion(self->startSources()); });
    }

    void updateSize(std::int32_t width, std::int32_t height, Completion completion) override
    {
        delivery_->control->async([self = shared_from_this(), width, height, completion = std::move(completion)]() mutable {
            completion(self->updatePictures(width, height));
        });
    }

    void explainSilence(UnheardCompletion completion) override
    {
        // A stream that is to have no sound is as silent as it should be.
        if (expectsSound_ && explainSilence_)
            explainSilence_(audioTarget_, std::move(completion));
        else
            completion(std::nullopt);
    }

    void stopCapture(Completion completion) override
    {
        delivery_->stopping = true;
        delivery_->control->async([self = shared_from_this(), completion = std::move(completion)]() mutable {
            self->stopSources();
            completion({});
        });
    }

private:
    Result<void> startSources()
    {
        // Sound first: it takes longer to come, and the first picture may be the first of a recording.
        startSound();
        auto started = video_->start({
            .picture =
                [delivery = delivery_](const SampleBufferRef& picture) {
                    notePicture(*delivery, *picture);
                    deliver(delivery, picture, StreamOutputType::screen);
                },
            .stopped = [delivery = delivery_](const Error& error) { reportStop(delivery, error); },
            .settled =
                [delivery = delivery_](std::int32_t width, std::int32_t height) {
                    tell(*delivery, [&](auto& delegate, const auto& stream) { delegate.streamContentDidSettle(stream, width, height); });
                },
        });
        if (started)
            whoWaits_ = keyFrameRequests_.observe([video = video_.get()] { video->wantPicture(); });
        else if (audio_)
            audio_->stop();
        return started;
    }

    Result<void> updatePictures(std::int32_t width, std::int32_t height)
    {
        if (!PictureStream::isPossible(width, height))
            return fail(errorDomain, impossibleSize, "The picture size is out of range.");
        if (delivery_->stopping)
            return fail(errorDomain, hasEnded, "The stream has ended.");
        return video_->updateSize(width, height);
    }

    void startSound()
    {
        if (!audio_ || !configuration_.capturesAudio)
            return;
        const AudioSourceFormat format{
            static_cast<std::int32_t>(configuration_.sampleRate), static_cast<std::int32_t>(configuration_.channelCount)};
        delivery_->expectsSound = true;
        const auto heard = audio_->start(audioTarget_, format, [delivery = delivery_](const SampleBufferRef& block) {
            noteSound(*delivery);
            deliver(delivery, block, StreamOutputType::audio);
        });
        if (heard)
            return;
        delivery_->expectsSound = false;
        audio_.reset();
        loseSound(*delivery_, whyThereIsNoSound(heard.error()));
    }

    void stopSources()
    {
        whoWaits_.end();
        video_->stop();
        if (audio_)
            audio_->stop();
    }

    KeyFrameRequests keyFrameRequests_;
    const std::unique_ptr<VideoSource> video_;
    KeyFrameRequests::Registration whoWaits_;
    std::unique_ptr<AudioSource> audio_;
    const AudioTarget audioTarget_;
    const StreamConfiguration configuration_;
    const bool expectsSound_;
    const ExplainSilence explainSilence_;
    const std::shared_ptr<Delivery> delivery_ = std::make_shared<Delivery>();
};

// True for a process that owns a window of an application other than `bundleIdentifier`: a program started from a terminal is the
// terminal's child, but its sound is its own. Waits for the answer of the window system; on the sound's thread.
bool ownsWindowOfAnother(platform::ShareableContentProvider& content, const std::string& bundleIdentifier, std::int32_t processID)
{
    auto answer = std::make_shared<std::promise<bool>>();
    auto owns = answer->get_future();
    content.getShareableContent(true, false, [answer, bundleIdentifier, processID](Result<platform::ShareableContent> result) {
        const auto ofAnother = [&](const platform::ShareableWindow& window) {
            const auto& application = window.owningApplication;
            return application && application->processID == processID && application->bundleIdentifier != bundleIdentifier;
        };
        answer->set_value(result && std::any_of(result->windows.begin(), result->windows.end(), ofAnother));
    });
    return owns.get();
}

/// Every process that owns a window. Waits for the answer of the window system; none if that gives none.
std::optional<std::vector<std::int32_t>> windowOwners(platform::ShareableContentProvider& content)
{
    auto answer = std::make_shared<std::promise<std::optional<std::vector<std::int32_t>>>>();
    auto owners = answer->get_future();
    content.getShareableContent(false, false, [answer](const Result<platform::ShareableContent>& result) {
        if (!result)
            return answer->set_value(std::nullopt);
        std::vector<std::int32_t> processes;
        for (const auto& window : result->windows)
            processes.push_back(window.owningApplication ? window.owningApplication->processID : 0);
        answer->set_value(std::move(processes));
    });
    return owners.get();
}

std::optional<platform::UnheardReason> whyNothingIsHeard(const CaptureStreamParts& parts, const AudioTarget& target)
{
    const auto streams = parts.listSoundStreams();
    if (!streams)
        return platform::UnheardReason::noServer;
    const auto owners = parts.shareableContent ? windowOwners(*parts.shareableContent) : std::nullopt;
    // Where nobody says whose windows there are, every process may own one.
    return whyUnheard(*streams, target, parts.processes,
        [&](std::int32_t process) { return !owners || std::find(owners->begin(), owners->end(), process) != owners->end(); });
}

class CombinedStreams final : public platform::CaptureStreamFactory {
public:
    explicit CombinedStreams(CaptureStreamParts parts) : parts_(std::move(parts))
    {
        if (!parts_.listSoundStreams)
            return;
        explainSilence_ = [parts = parts_,
                              queue = std::make_shared<SerialQueue>("com.velmora.capture.silence", SerialQueue::QualityOfService::utility)](
                              const AudioTarget& target, CaptureStream::UnheardCompletion completion) {
            queue->async([parts, target, completion = std::move(completion)]() mutable { completion(whyNothingIsHeard(parts, target)); });
        };
    }

    std::shared_ptr<CaptureStream> makeStream(
        const ContentFilter& filter, const StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate) override
    {
        auto video = parts_.makeVideoSource(filter, configuration);
        auto target = parts_.audioTarget ? parts_.audioTarget(filter) : ownersSound(filter);
        auto audio = target ? parts_.makeAudioSource() : nullptr;
        if (target)
            target->excludesCurrentProcess = configuration.excludesCurrentProcessAudio;
        return std::make_shared<CombinedStream>(std::move(video), std::move(audio), std::move(target).value_or(AudioTarget{}),
            configuration, std::move(delegate), parts_.keyFrameRequests, explainSilence_);
    }

private:
    [[nodiscard]] std::optional<AudioTarget> ownersSound(const ContentFilter& filter) const
    {
        const auto application = filter.window().owningApplication.value_or(platform::RunningApplication{});
        return AudioTarget{
            .processID = application.processID,
            .applicationName = application.applicationName,
            .bundleIdentifier = application.bundleIdentifier,
            .portalApplicationID = {},
            .ownsWindowsOfAnotherApplication =
                [content = parts_.shareableContent, bundleIdentifier = application.bundleIdentifier](
                    std::int32_t processID) { return ownsWindowOfAnother(*content, bundleIdentifier, processID); },
        };
    }

    CaptureStreamParts parts_;
    ExplainSilence explainSilence_;
};

}  // namespace

std::shared_ptr<platform::CaptureStreamFactory> makeCaptureStreams(CaptureStreamParts parts)
{
    return std::make_shared<CombinedStreams>(std::move(parts));
}

}  // namespace velmora::engine

#include "app/RecordingObserver.h"

#include "capture/CaptureMessages.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

/// Pictures of a hundred that may be lost without a word: hardly anybody sees that.
constexpr std::uint64_t acceptedLoss = 2;
constexpr std::uint64_t hundred = 100;

std::string sentence(std::string text)
{
    if (!text.empty() && text.back() != '.')
        text += '.';
    return text;
}

}  // namespace

std::shared_ptr<RecordingObserver> RecordingObserver::create(std::shared_ptr<Executor> mainExecutor, std::shared_ptr<RecordingMeter> meter)
{
    auto observer = std::make_shared<RecordingObserver>(Private{});
    observer->mainExecutor_ = mainExecutor;
    meter->onReport = [weak = std::weak_ptr(observer), mainExecutor = std::move(mainExecutor)](RecordingReport report) {
        mainExecutor->async([weak, report = std::move(report)] {
            if (const auto self = weak.lock())
                self->handle(report);
        });
    };
    observer->meter_ = std::move(meter);
    return observer;
}

platform::PlatformServices RecordingObserver::observed(platform::PlatformServices services) const
{
    services.captureStreams = metered(std::move(services.captureStreams), meter_);
    services.compressionSessions = metered(std::move(services.compressionSessions), meter_);
    services.assetWriters = metered(std::move(services.assetWriters), meter_);
    return services;
}

void RecordingObserver::handle(const RecordingReport& report)
{
    using Event = RecordingReport::Event;
    const auto before = notice();
    const auto openFileBefore = fileIsOpen_ ? file_ : 0;
    switch (report.event) {
    case Event::captureBegins:
        ++capture_;
        captureBegan_ = report.time;
        explainSilence_ = report.explainSilence;
        encoderProblem_.clear();
        soundProblem_.clear();
        earlyEnd_.clear();
        break;
    case Event::soundIsMissing:
        soundProblem_ = "Without sound: " + sentence(report.reason);
        break;
    case Event::soundIsThere:
        soundProblem_.clear();
        break;
    case Event::encoderWorks:
        encoderProblem_.clear();
        break;
    case Event::encoderFailed:
        encoderProblem_ = sentence(report.reason);
        if (fileIsOpen_)
            earlyEnd_ = encoderProblem_;
        endEarly(report.reason);
        break;
    case Event::fileBegins:
        file_ = report.file;
        fileIsOpen_ = true;
        fileBegan_ = report.time;
        fileSize_ = report.size;
        fileFrames_ = report.frames;
        setFilePaused_ = report.setPaused;
        pausedSince_.reset();
        paused_ = {};
        resumed_ = {};
        earlyEnd_.clear();
        explanation_.clear();
        if (!encoderProblem_.empty())
            endEarly(encoderProblem_);
        break;
    case Event::fileFailed:
        if (report.file != file_ || !fileIsOpen_)
            break;
        earlyEnd_ = explanation_ = sentence(report.reason);
        endEarly(report.reason);
        break;
    case Event::fileEndsEmpty:
        if (report.file == file_)
            explanation_ = encoderProblem_.empty() ? "No picture of the window had come yet." : encoderProblem_;
        [[fallthrough]];
    case Event::fileEnds:
        fileIsOpen_ = fileIsOpen_ && report.file != file_;
        break;
    case Event::fileWasMoved:
        if (onFileWasMoved)
            onFileWasMoved(report.reason);
        break;
    }
    if (onChange && notice() != before)
        onChange();
    if (onFileChange && (fileIsOpen_ ? file_ : 0) != openFileBefore)
        onFileChange();
}

void RecordingObserver::endEarly(const std::string& reason)
{
    if (onNothingMoreCanBeWritten)
        onNothingMoreCanBeWritten(reason);
}

std::string RecordingObserver::notice() const
{
    std::string text = earlyEnd_.empty() ? encoderProblem_ : "The recording ended early: " + earlyEnd_;
    if (!text.empty() && !soundProblem_.empty())
        text += ' ';
    return text + soundProblem_;
}

std::optional<RecordingProgress> RecordingObserver::progress(MonotonicTime now) const
{
    if (!fileIsOpen_ || !earlyEnd_.empty())
        return std::nullopt;
    return RecordingProgress{
        .elapsed = std::max<std::chrono::nanoseconds>(pausedSince_.value_or(now) - fileBegan_ - paused_, std::chrono::nanoseconds{0}),
        .bytes = fileSize_ ? fileSize_->load() : 0,
        .isPaused = pausedSince_.has_value(),
    };
}

Result<RecordingObserver::PauseOutcome> RecordingObserver::setPaused(std::optional<bool> isPaused, MonotonicTime now)
{
    const auto before = progress(now);
    if (!before || !setFilePaused_)
        return fail("Velmora.RecordingObserver", 1, "Nothing is being recorded.");
    const bool wanted = isPaused.value_or(!before->isPaused);
    if (wanted == before->isPaused)
        return wanted ? PauseOutcome::wasPaused : PauseOutcome::wasNotPaused;
    setFilePaused_(wanted, now);
    if (wanted) {
        pausedSince_ = now;
    } else {
        paused_ += now - *std::exchange(pausedSince_, std::nullopt);
        resumed_ = now;
    }
    if (onFileChange)
        onFileChange();
    if (onPauseChange)
        onPauseChange(wanted);
    return wanted ? PauseOutcome::paused : PauseOutcome::resumed;
}

std::optional<MonotonicTime> RecordingObserver::silentSince() const
{
    if (!progress() || pausedSince_ || !meter_->writesSound)
        return std::nullopt;
    return std::max({fileBegan_, resumed_, meter_->lastSound.load()});
}

bool RecordingObserver::wasHeard() const
{
    return meter_->lastSound.load() > captureBegan_;
}

void RecordingObserver::explainSilence(platform::CaptureStream::UnheardCompletion completion) const
{
    if (!explainSilence_)
        return completion(std::nullopt);
    explainSilence_([executor = mainExecutor_, completion = std::move(completion)](std::optional<platform::UnheardReason> reason) mutable {
        executor->async([reason, completion = std::move(completion)]() mutable { completion(reason); });
    });
}

std::optional<LostPictures> RecordingObserver::lostPictures() const
{
    const std::uint64_t lost = fileFrames_ ? fileFrames_->lost.load() : 0;
    const std::uint64_t ofAll = lost + (fileFrames_ ? fileFrames_->written.load() : 0);
    if (lost * hundred <= ofAll * acceptedLoss)
        return std::nullopt;
    const auto count = std::to_string(lost) + " of " + std::to_string(ofAll) + " pictures";
    return LostPictures{lost, ofAll,
        fileIsOpen_ ? "The machine is not keeping up: the recording has lost " + count + " so far."
                    : "The machine did not keep up: the recording lost " + count + "."};
}

std::string RecordingObserver::explained(const std::string& message) const
{
    const bool isAboutASave = message.starts_with(capture_message::failedToSave);
    const auto withoutStop = explanation_.substr(0, explanation_.find_last_not_of('.') + 1);
    if (!isAboutASave || explanation_.empty() || message.find(withoutStop) != std::string::npos)
        return message;
    return message + "\n\n" + explanation_;
}

}  // namespace velmora

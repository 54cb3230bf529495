#include "app/RecordCommand.h"

#include "app/KeptRecording.h"
#include "app/NewFile.h"
#include "app/RecordingObserver.h"
#include "app/TerminationSignals.h"
#include "base/MonotonicClock.h"
#include "capture/CaptureMessages.h"
#include "capture/ScreenCaptureKitService.h"
#include "library/PathUtilities.h"
#include "media/LiveTime.h"
#include "windows/SoundDecision.h"
#include "windows/WindowSelectionService.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto progressInterval = 250ms;
constexpr auto soundIsRecentFor = 1500ms;

class RecordCommand final : public ScreenCaptureKitServiceDelegate, public std::enable_shared_from_this<RecordCommand> {
public:
    RecordCommand(const command_line::Record& command, const platform::PlatformServices& services, std::shared_ptr<Executor> mainExecutor)
        : command_(command)
        , fileManager_(removingNothing(services.fileManager))
        , mainExecutor_(std::move(mainExecutor))
        , catalogue_(services.shareableContent, mainExecutor_)
        , service_(ScreenCaptureKitService::create(serviceParts(services)))
    {
    }

    int run()
    {
        service_->setDelegate(weak_from_this());
        observer_->onNothingMoreCanBeWritten = [this](const std::string& reason) { nothingMoreCanBeWritten(reason); };
        observer_->onChange = [this] { printNotice(); };
        meter_->onFirstPicture = [this] { mainExecutor_->async([this] { startRecording(); }); };
        QObject::connect(&signals_, &TerminationSignals::received, &signals_, [this] { endRecording(); });
        QObject::connect(&signals_, &TerminationSignals::hungUp, &signals_, [this] { endEarly("The terminal was closed."); });
        if (isatty(STDERR_FILENO)) {
            QObject::connect(&progress_, &QTimer::timeout, &progress_, [this] { printProgress(); });
            progress_.start(progressInterval);
        }
        if (command_.output) {
            if (const auto isFree = new_file::checkIsFree(*command_.output); !isFree) {
                std::fprintf(stderr, "%s\n", cannotStart(isFree.error()).c_str());
                return command_line::failed;
            }
        }
        catalogue_.refreshWindows([this] { catalogueIsThere(); });
        const int status = QCoreApplication::exec();
        service_->stopCapture();
        service_->drain();
        return status;
    }

    void captureServiceDidEncounterError(ScreenCaptureKitService&, const Error& error) override { endEarly(error.localizedDescription); }

    void captureServiceDidStopUnexpectedly(ScreenCaptureKitService&, const std::string& reason) override
    {
        // One that is being saved no longer needs the capture.
        if (std::exchange(isEnding_, true))
            return;
        if (url_.empty())
            return fail(std::string{capture_message::windowClosed});
        // The service has let go of the writer, which finishes the file: recordingIsKept().
        earlyEnd_ = reason;
        whyNothing_ = capture_message::windowClosed;
    }

private:
    [[nodiscard]] ScreenCaptureKitService::Services serviceParts(platform::PlatformServices services)
    {
        services.assetWriters = keepingRecordings(std::move(services.assetWriters),
            [this](Result<void> result) { mainExecutor_->async([this, result = std::move(result)] { recordingIsKept(result); }); });
        services = observer_->observed(std::move(services));
        return {
            .shareableContent = services.shareableContent,
            .captureStreams = services.captureStreams,
            .compressionSessions = services.compressionSessions,
            .assetWriters = services.assetWriters,
            .fileManager = fileManager_,
            .screens = services.screens,
            .mainExecutor = mainExecutor_,
        };
    }

    [[nodiscard]] std::string cannotStart(const Error& error) const
    {
        if (command_.output && new_file::isTaken(error))
            return new_file::alreadyThere(*command_.output);
        return std::string{capture_message::failedToStartRecording} + error.localizedDescription;
    }

    void catalogueIsThere()
    {
        if (isEnding_)
            return;
        if (const auto& error = catalogue_.lastError())
            return fail(std::string{capture_message::failedToCapture} + *error);
        CapturedWindowInfo window;
        window.id = command_.windowID;
        const auto& windows = catalogue_.availableWindows();
        const auto match = std::find_if(windows.begin(), windows.end(), [&](const auto& w) { return w.id == command_.windowID; });
        if (match != windows.end())
            window = *match;
        if (!catalogue_.needsRequest(window.id)) {
            if (command_.sound && match != windows.end())
                return fail(soundIsTheWindowsOwn);
            return startCapture(window);
        }
        requestWindowWithSound(catalogue_, window.id, command_.sound, [this](Result<std::optional<RequestedWindow>> granted) {
            if (!granted)
                return fail(std::string{capture_message::failedToCapture} + granted.error().localizedDescription);
            if (isEnding_)
                return;
            if (!*granted)
                return end(command_line::failed);
            if (const auto& remark = (*granted)->remark; !remark.empty())
                std::fprintf(stderr, "%s\n", remark.c_str());
            startCapture((*granted)->window);
        });
    }

    void startCapture(const CapturedWindowInfo& window)
    {
        // What comes next is the encoder's first picture.
        service_->startCapture(window, [this](Result<ScreenCaptureKitService::StartOutcome> outcome) {
            if (!outcome)
                fail(std::string{capture_message::failedToCapture} + outcome.error().localizedDescription);
        });
    }

    // Not before pictures come out of the encoder: while it is being made they are dropped, and a file that begins with the first of these
    // has a hole.
    void startRecording()
    {
        if (isEnding_)
            return;
        meter_->onFirstSample = [this](MediaTime time) { mainExecutor_->async([this, time] { firstSampleIsWritten(time); }); };
        auto started = command_.output ? startRecording(*command_.output) : startRecordingUnderOurName();
        if (!started)
            fail(cannotStart(started.error()));
    }

    Result<void> startRecording(const std::filesystem::path& url)
    {
        PathUtilities::ensureDirectoryExists(url.parent_path(), *fileManager_);
        auto started = service_->startManualRecording(url);
        if (started)
            url_ = url;
        return started;
    }

    Result<void> startRecordingUnderOurName()
    {
        const auto folder = PathUtilities::defaultOutputDirectory(*fileManager_);
        PathUtilities::ensureDirectoryExists(folder, *fileManager_);
        const auto date = std::chrono::system_clock::now();
        const auto nextName = [&] {
            return PathUtilities::generateUniqueFileURL(
                folder, PathUtilities::prefixRecording, *fileManager_, PathUtilities::defaultExtension, date);
        };
        // Another may take a name between our look and our file, but hardly all of them.
        for (int left = 100;; --left) {
            auto started = startRecording(nextName());
            if (started || left == 0 || !new_file::isTaken(started.error()))
                return started;
        }
    }

    // What was written is saved at once; waiting longer would only lose more.
    void nothingMoreCanBeWritten(const std::string& reason)
    {
        const auto& failure = url_.empty() ? capture_message::failedToStartRecording : capture_message::failedToSave;
        whyNothing_ = std::string{failure} + reason;
        endEarly(reason, whyNothing_);
    }

    void firstSampleIsWritten(MediaTime time)
    {
        firstSample_ = momentOf(time);
        if (!command_.duration)
            return;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*firstSample_ + *command_.duration - MonotonicClock::now());
        QTimer::singleShot(std::max(left, 0ms), Qt::PreciseTimer, &signals_, [this] { endRecording(); });
    }

    void endEarly(const std::string& reason) { endEarly(reason, reason); }

    void endEarly(const std::string& reason, const std::string& whyNothing)
    {
        if (isEnding_)
            return;
        earlyEnd_ = reason;
        whyNothing_ = whyNothing;
        endRecording();
    }

    void endRecording()
    {
        if (std::exchange(isEnding_, true))
            return;
        if (url_.empty())
            return fail(whyNothing_);
        service_->stopManualRecording([this](const Result<std::filesystem::path>& saved) {
            if (!saved)
                return recordingIsKept(tl::unexpected(saved.error()));
            recordingIsKept({});
        });
    }

    // The file is closed, whoever asked for that.
    void recordingIsKept(const Result<void>& result)
    {
        if (!result) {
            // What had been written by then is a clip.
            std::error_code ignored;
            if (!std::filesystem::is_regular_file(url_, ignored))
                return fail(meter_->writtenFrames == 0 ? whyNothing_
                                                       : std::string{capture_message::failedToSave} + result.error().localizedDescription);
            earlyEnd_ = result.error().localizedDescription;
        }
        printProgress();
        clearProgress();
        if (earlyEnd_)
            std::fprintf(stderr, "The recording ended early: %s\n", earlyEnd_->c_str());
        if (const auto loss = observer_->lostPictures())
            std::fprintf(stderr, "%s\n", loss->text.c_str());
        std::printf("%s\n", url_.c_str());
        end(earlyEnd_ ? command_line::endedEarly : command_line::succeeded);
    }

    void fail(const std::string& message)
    {
        clearProgress();
        std::fprintf(stderr, "%s\n", message.c_str());
        end(command_line::failed);
    }

    void end(int status)
    {
        isEnding_ = true;
        progress_.stop();
        QCoreApplication::exit(status);
    }

    void printNotice()
    {
        const auto notice = observer_->notice();
        if (isEnding_ || notice.empty())
            return;
        clearProgress();
        std::fprintf(stderr, "%s\n", notice.c_str());
    }

    void printProgress()
    {
        if (!progress_.isActive())
            return;
        std::error_code ignored;
        const auto bytes = url_.empty() ? 0 : std::filesystem::file_size(url_, ignored);
        const auto elapsed = firstSample_ ? MonotonicClock::now() - *firstSample_ : 0ns;
        const auto seconds = std::chrono::duration<double>(elapsed).count();
        std::fprintf(stderr, "\r\033[K%7.1f s   %llu frames   %llu dropped   %.1f MB   %s", seconds,
            static_cast<unsigned long long>(meter_->writtenFrames), static_cast<unsigned long long>(meter_->droppedFrames),
            ignored ? 0.0 : static_cast<double>(bytes) / 1e6, soundText());
        progressIsShown_ = true;
    }

    [[nodiscard]] const char* soundText() const
    {
        if (!meter_->writesSound)
            return "without sound";
        const auto last = meter_->lastSound.load();
        return last != MonotonicTime{} && MonotonicClock::now() - last < soundIsRecentFor ? "sound" : "no sound arriving";
    }

    void clearProgress()
    {
        if (std::exchange(progressIsShown_, false))
            std::fputs("\n", stderr);
    }

    const command_line::Record command_;
    const std::shared_ptr<platform::FileManager> fileManager_;
    const std::shared_ptr<Executor> mainExecutor_;
    const std::shared_ptr<RecordingMeter> meter_ = std::make_shared<RecordingMeter>();
    const std::shared_ptr<RecordingObserver> observer_ = RecordingObserver::create(mainExecutor_, meter_);
    WindowSelectionService catalogue_;
    const std::shared_ptr<ScreenCaptureKitService> service_;
    TerminationSignals signals_;
    QTimer progress_;
    std::filesystem::path url_;
    std::optional<MonotonicTime> firstSample_;
    std::optional<std::string> earlyEnd_;  ///< why, where nobody asked for the end
    std::string whyNothing_ = "Nothing has been recorded yet.";  ///< what the user is told if the end comes before the first picture
    bool isEnding_ = false;
    bool progressIsShown_ = false;
};

}  // namespace

int runRecordCommand(
    const command_line::Record& command, const platform::PlatformServices& services, std::shared_ptr<Executor> mainExecutor)
{
    return std::make_shared<RecordCommand>(command, services, std::move(mainExecutor))->run();
}

}  // namespace velmora

#include "app/RecordCommand.h"

#include "app/RecordingMeter.h"
#include "app/TerminationSignals.h"
#include "capture/CaptureMessages.h"
#include "capture/ScreenCaptureKitService.h"
#include "library/PathUtilities.h"
#include "windows/SoundDecision.h"
#include "windows/WindowSelectionService.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto progressInterval = 250ms;
constexpr auto soundIsRecentFor = 1500ms;

std::chrono::nanoseconds monotonicNow()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

class RecordCommand final : public ScreenCaptureKitServiceDelegate, public std::enable_shared_from_this<RecordCommand> {
public:
    RecordCommand(const command_line::Record& command, const platform::PlatformServices& services, std::shared_ptr<Executor> mainExecutor)
        : command_(command)
        , fileManager_(services.fileManager)
        , mainExecutor_(std::move(mainExecutor))
        , catalogue_(services.shareableContent, mainExecutor_)
        , service_(ScreenCaptureKitService::create({
              .shareableContent = services.shareableContent,
              .captureStreams = services.captureStreams,
              .compressionSessions = metered(services.compressionSessions, meter_),
              .assetWriters = metered(services.assetWriters, meter_),
              .fileManager = services.fileManager,
              .screens = services.screens,
              .mainExecutor = mainExecutor_,
          }))
    {
    }

    int run()
    {
        service_->setDelegate(weak_from_this());
        meter_->onEncoderFailed = [this](const std::string& reason) { mainExecutor_->async([this, reason] { encoderFailed(reason); }); };
        QObject::connect(&signals_, &TerminationSignals::received, &signals_, [this] { endRecording(); });
        if (isatty(STDERR_FILENO)) {
            QObject::connect(&progress_, &QTimer::timeout, &progress_, [this] { printProgress(); });
            progress_.start(progressInterval);
        }
        if (outputIsTaken()) {
            std::fprintf(stderr, "%s is there already; choose another name.\n", command_.output->c_str());
            return command_line::failed;
        }
        catalogue_.refreshWindows([this] { catalogueIsThere(); });
        const int status = QCoreApplication::exec();
        service_->stopCapture();
        service_->drain();
        return status;
    }

    void captureServiceDidEncounterError(ScreenCaptureKitService&, const Error& error) override { fail(error.localizedDescription); }

    void captureServiceDidStopUnexpectedly(ScreenCaptureKitService&, const std::string&) override
    {
        fail(std::string{capture_message::windowClosed});
    }

private:
    // A link counts too, even one that leads nowhere: what is there is not ours to replace.
    [[nodiscard]] bool outputIsTaken() const
    {
        return command_.output && std::filesystem::exists(std::filesystem::symlink_status(*command_.output));
    }

    void catalogueIsThere()
    {
        if (isEnding_)
            return end(command_line::failed);
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
            if (!*granted || isEnding_)
                return end(command_line::failed);
            if (const auto& remark = (*granted)->remark; !remark.empty())
                std::fprintf(stderr, "%s\n", remark.c_str());
            startCapture((*granted)->window);
        });
    }

    void startCapture(const CapturedWindowInfo& window)
    {
        service_->startCapture(window, [this](Result<ScreenCaptureKitService::StartOutcome> outcome) {
            if (!outcome)
                return fail(std::string{capture_message::failedToCapture} + outcome.error().localizedDescription);
            startRecording();
        });
    }

    void startRecording()
    {
        if (isEnding_)
            return end(command_line::failed);
        std::filesystem::path url;
        if (command_.output) {
            url = *command_.output;
            PathUtilities::ensureDirectoryExists(url.parent_path(), *fileManager_);
        } else {
            const auto folder = PathUtilities::defaultOutputDirectory(*fileManager_);
            PathUtilities::ensureDirectoryExists(folder, *fileManager_);
            url = PathUtilities::generateUniqueFileURL(folder, PathUtilities::prefixRecording, *fileManager_);
        }
        meter_->onFirstSample = [this](MediaTime time) { mainExecutor_->async([this, time] { firstSampleIsWritten(time); }); };
        // What was written is saved at once; waiting longer would only lose more.
        meter_->onWriterFailed = [this] { mainExecutor_->async([this] { endRecording(); }); };
        if (const auto started = service_->startManualRecording(url); !started)
            return fail(std::string{capture_message::failedToStartRecording} + started.error().localizedDescription);
        url_ = std::move(url);
    }

    // The first picture comes before or after the file is there.
    void encoderFailed(const std::string& reason)
    {
        if (firstSample_ != 0ns)
            endRecording();
        else if (!isEnding_)
            fail(std::string{capture_message::failedToStartRecording} + reason);
    }

    void firstSampleIsWritten(MediaTime time)
    {
        firstSample_ = std::chrono::nanoseconds{time.converted(MediaTime::nanosecondScale).value};
        if (!command_.duration)
            return;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(firstSample_ + *command_.duration - monotonicNow());
        QTimer::singleShot(std::max(left, 0ms), Qt::PreciseTimer, &signals_, [this] { endRecording(); });
    }

    void endRecording()
    {
        if (std::exchange(isEnding_, true) || !service_->isRecordingManualClip())
            return;
        service_->stopManualRecording([this](Result<std::filesystem::path> saved) {
            if (!saved)
                return fail(std::string{capture_message::failedToSave} + saved.error().localizedDescription);
            printProgress();
            clearProgress();
            std::printf("%s\n", saved->c_str());
            std::fflush(stdout);
            end(command_line::succeeded);
        });
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

    void printProgress()
    {
        if (!progress_.isActive())
            return;
        std::error_code ignored;
        const auto bytes = url_.empty() ? 0 : std::filesystem::file_size(url_, ignored);
        const auto elapsed = firstSample_ == 0ns ? 0ns : monotonicNow() - firstSample_;
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
        const std::chrono::nanoseconds last{meter_->lastSoundNanoseconds};
        return last != 0ns && monotonicNow() - last < soundIsRecentFor ? "sound" : "no sound arriving";
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
    WindowSelectionService catalogue_;
    const std::shared_ptr<ScreenCaptureKitService> service_;
    TerminationSignals signals_;
    QTimer progress_;
    std::filesystem::path url_;
    std::chrono::nanoseconds firstSample_ = 0ns;
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

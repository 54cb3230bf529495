// The one controller of capturing and recording.
#pragma once

#include "base/WaitGroup.h"
#include "capture/CaptureState.h"
#include "capture/ScreenCaptureKitService.h"
#include "capture/replay/ClipExporter.h"
#include "library/ClipLibrary.h"
#include "platform/Clock.h"
#include "platform/Workspace.h"
#include "system/KeyboardShortcutManager.h"
#include "system/PermissionManager.h"

#include <QObject>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// Main thread only. While an operation waits for the service or the library, others may run: the last start wins, a stop voids a start
/// in flight, and a recording may begin while the one before is being saved. Every change of a property is followed by the property's own
/// signal.
class CaptureCoordinator final : public QObject,
                                 public ScreenCaptureKitServiceDelegate,
                                 public KeyboardShortcutManagerDelegate,
                                 public std::enable_shared_from_this<CaptureCoordinator> {
    Q_OBJECT
    struct Private { };

public:
    struct Services {
        ClipLibrary& library;
        PermissionManager& permissionManager;
        KeyboardShortcutManager& shortcutManager;
        std::shared_ptr<ScreenCaptureKitService> captureService;
        std::shared_ptr<platform::AssetWriterFactory> assetWriters;
        std::shared_ptr<platform::FileManager> fileManager;
        std::shared_ptr<platform::Workspace> workspace;
        std::shared_ptr<platform::Clock> clock;
        std::shared_ptr<Executor> mainExecutor;
    };

    /// Becomes the delegate of the capture service and of the shortcut manager, and observes the workspace.
    static std::shared_ptr<CaptureCoordinator> create(Services services);

    using StartOutcome = ScreenCaptureKitService::StartOutcome;
    using StartCompletion = UniqueFunction<void(const Result<StartOutcome>&)>;
    using SaveCompletion = UniqueFunction<void(const Result<std::filesystem::path>&)>;

    /// Asked when a call has failed: true if whoever made it tells the user, so that the shell need not.
    using CallerTells = std::function<bool()>;

    /// The one coordinator of the process.
    static CaptureCoordinator& shared();

    CaptureCoordinator(Private, Services services);
    ~CaptureCoordinator() override;

    [[nodiscard]] const CaptureState& state() const { return state_; }
    [[nodiscard]] const std::optional<CapturedWindowInfo>& selectedWindow() const { return selectedWindow_; }

    /// The recording that was saved last.
    [[nodiscard]] const std::optional<std::filesystem::path>& lastSavedClipURL() const { return lastSavedClipURL_; }

    [[nodiscard]] ClipLibrary& library() const { return services_.library; }

    /// Writes instant-replay clips. No control triggers one.
    [[nodiscard]] const ClipExporter& exporter() const { return exporter_; }

    /// True while frames go into a file.
    [[nodiscard]] bool isRecording() const { return services_.captureService->isRecordingManualClip(); }

    // The caller of any of these is told the outcome of that very call, whatever else goes on: on the main thread, exactly once, after
    // the shell's callbacks. An error's description is the message that the shell also gets.

    /// Chooses the window and captures it. `superseded`: a later call has overtaken this one.
    void selectWindowAndStartCapture(
        const CapturedWindowInfo& window, StartCompletion completion = [](const auto&) {}, CallerTells callerTells = {});

    /// Stops the stream and forgets the window. A running recording is discarded.
    void stopCapture();

    /// Starts a recording when none is running, else stops and saves the one that is.
    void toggleRecording();
    Result<void> startRecording(const CallerTells& callerTells = {});

    /// Saves the running recording, and tells where. Without one nothing happens, and only the completion is told so. All who ask for
    /// the end of one recording get its clip.
    void stopRecording(
        SaveCompletion completion = [](const auto&) {}, CallerTells callerTells = {});

    /// The same, but the capture stops with the recording: nothing can begin in between.
    void stopRecordingAndCapture(SaveCompletion completion, CallerTells callerTells = {});

    /// Keeps the last seconds of what is captured in memory, of this window and those that are chosen later, for this run of the program; none:
    /// no longer. Fails where that is more than longestReplay or not above zero.
    Result<void> setReplayDuration(std::optional<double> seconds);

    struct ReplayState {
        double seconds = 0;  ///< to be kept
        std::uint64_t bytes = 0;  ///< that are held for it
    };

    /// None while nothing is to be kept.
    [[nodiscard]] std::optional<ReplayState> replay() const;

    /// Saves the last `seconds` of what is kept as a clip (none: all), whatever else goes on, and tells where. A shorter clip is saved where
    /// less is kept.
    void saveReplay(
        std::optional<double> seconds, SaveCompletion completion = [](const auto&) {}, CallerTells callerTells = {});

    static constexpr double longestReplay = 25;  ///< seconds; the buffer's pictures last for 30 at the full rate

    /// True between a request to end a recording and the message that it could not be saved, because something else had ended it
    /// first.
    [[nodiscard]] bool isStopInVain() const { return pendingStop_ && !isRecording(); }

    /// True while the shell is given a message about which all who made the call tell the user themselves.
    [[nodiscard]] bool isToldByCallers() const { return isToldByCallers_; }

    /// Calls `completion` once when every recording whose end was asked for is safe or has failed, and whoever asked knows: now, if none
    /// is pending.
    void notifyWhenSaved(UniqueFunction<void()> completion) { saves_.notify(std::move(completion)); }

    /// Waits until what was asked to stop has stopped and what was to be saved is on the disk. Call it before the program ends.
    void drain() { services_.captureService->drain(); }

    void shortcutManagerDidTriggerSaveClip() override;
    void shortcutManagerDidTriggerToggleRecording() override { toggleRecording(); }
    void captureServiceDidEncounterError(ScreenCaptureKitService& service, const Error& error) override;
    void captureServiceDidStopUnexpectedly(ScreenCaptureKitService& service, const std::string& reason) override;

    /// Set by the shell. The duration is 0 (not measured) and the flag true for every recording; for a replay they are its own.
    std::function<void(const std::filesystem::path& clip, double duration, bool isFullDuration)> onClipSaved;

    /// Set by the shell; gets a message for the user.
    std::function<void(const std::string& message)> onCaptureError;

signals:
    void stateChanged();
    void selectedWindowChanged();
    void lastSavedClipURLChanged();

    /// The shell gets the same message.
    void captureFailed(const std::string& message);

private:
    struct StopCaller {
        SaveCompletion completion;
        CallerTells tells;
    };

    /// A request to end a recording.
    struct Stop {
        std::vector<StopCaller> callers;
        bool stopsCapture = false;
    };

    /// A request to save what was kept until then.
    struct ReplaySave {
        RollingBufferExtraction extraction;
        StopCaller caller;
    };

    void observeWorkspace();
    void exportNextReplay();
    void replayWasExported(ReplaySave save, const Result<std::filesystem::path>& result);
    void replayFailed(StopCaller caller, Error error);
    void clipWasSaved(const std::filesystem::path& clip, double duration, bool isFullDuration);
    void stopAndSave(StopCaller caller, bool stopsCapture);
    void beginSaving();
    void recordingWasFinished(const CaptureState& recording, std::vector<StopCaller> callers, const Result<std::filesystem::path>& result);
    void recordingWasSaved(const CaptureState& recording, const std::filesystem::path& clip);
    void answer(std::vector<StopCaller> callers, const Result<std::filesystem::path>& result);
    void leave(const CaptureState& recording);
    Error report(Error error, bool isToldByCallers = false);
    void setState(CaptureState state);
    void setSelectedWindow(std::optional<CapturedWindowInfo> window);

    const ClipExporter exporter_;  // before all other services
    const Services services_;
    CaptureState state_{CaptureState::NotConfigured{}};
    std::optional<CapturedWindowInfo> selectedWindow_;
    std::optional<std::filesystem::path> lastSavedClipURL_;
    std::optional<Stop> pendingStop_;  // the request to end the recording is on its way to the service
    std::deque<ReplaySave> replaySaves_;  // the first is being written: only then its name is taken
    WaitGroup saves_;
    bool isToldByCallers_ = false;
};

}  // namespace velmora

// The one controller of capturing and recording.
#pragma once

#include "capture/CaptureState.h"
#include "capture/ClipExporter.h"
#include "capture/ScreenCaptureKitService.h"
#include "library/ClipLibrary.h"
#include "platform/Clock.h"
#include "platform/Workspace.h"
#include "system/KeyboardShortcutManager.h"
#include "system/PermissionManager.h"

#include <QObject>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace velmora {

/// Main thread only. While an operation waits for the service or the library, others may run: the last start wins, a stop voids a start
/// in flight, and a recording may begin while the one before is being saved. Every change of a property is announced by
/// objectWillChange() before it takes effect and by the property's own signal after.
class CaptureCoordinator final : public QObject,
                                 public ScreenCaptureKitServiceDelegate,
                                 public KeyboardShortcutManagerDelegate,
                                 public std::enable_shared_from_this<CaptureCoordinator> {
    Q_OBJECT
    struct Private { };

public:
    struct Services {
        std::shared_ptr<ClipLibrary> library;
        std::shared_ptr<PermissionManager> permissionManager;
        std::shared_ptr<KeyboardShortcutManager> shortcutManager;
        std::shared_ptr<ScreenCaptureKitService> captureService;
        std::shared_ptr<platform::AssetWriterFactory> assetWriters;
        std::shared_ptr<platform::FileManager> fileManager;
        std::shared_ptr<platform::Workspace> workspace;
        std::shared_ptr<platform::Clock> clock;
        std::shared_ptr<Executor> mainExecutor;
    };

    /// Becomes the delegate of the capture service and of the shortcut manager, and observes the workspace.
    static std::shared_ptr<CaptureCoordinator> create(Services services);

    /// The one coordinator of the process.
    static std::shared_ptr<CaptureCoordinator> shared();

    CaptureCoordinator(Private, Services services);
    ~CaptureCoordinator() override;

    [[nodiscard]] const CaptureState& state() const { return state_; }
    [[nodiscard]] const std::optional<CapturedWindowInfo>& selectedWindow() const { return selectedWindow_; }

    /// The recording that was saved last.
    [[nodiscard]] const std::optional<std::filesystem::path>& lastSavedClipURL() const { return lastSavedClipURL_; }

    [[nodiscard]] ClipLibrary& library() const { return *services_.library; }

    /// Writes instant-replay clips. No control asks for one.
    [[nodiscard]] const ClipExporter& exporter() const { return exporter_; }

    /// True while frames go into a file.
    [[nodiscard]] bool isRecording() const { return services_.captureService->isRecordingManualClip(); }

    /// Chooses the window and captures it. `completion` is called exactly once, on the main thread, when the capture runs, has failed, or
    /// has been overtaken by a later call; the state tells which.
    void selectWindowAndStartCapture(
        const CapturedWindowInfo& window, UniqueFunction<void()> completion = [] {});

    /// Stops the stream and forgets the window. A recording that runs is discarded.
    void stopCapture();

    /// Starts a recording when none runs, else stops and saves it.
    void toggleRecording();
    void startRecording();

    /// Saves the recording that runs; nothing without one.
    void stopRecording();

    /// Waits until what was asked to stop has stopped. Before the program ends.
    void drain() { services_.captureService->drain(); }

    void shortcutManagerDidTriggerSaveClip() override;
    void shortcutManagerDidTriggerToggleRecording() override { toggleRecording(); }
    void captureServiceDidEncounterError(ScreenCaptureKitService& service, const Error& error) override;
    void captureServiceDidStopUnexpectedly(ScreenCaptureKitService& service, const std::string& reason) override;

    /// The shell's. The duration is 0 (not measured) and the flag true for every recording.
    std::function<void(const std::filesystem::path& clip, double duration, bool isFullDuration)> onClipSaved;

    /// The shell's; with a message for the user.
    std::function<void(const std::string& message)> onCaptureError;

signals:
    void objectWillChange();
    void stateChanged();
    void selectedWindowChanged();
    void lastSavedClipURLChanged();

    /// A recording has been saved, or could not be: what a caller waits for who asked for it. After the callback of the same.
    void clipSaved(const std::filesystem::path& clip);
    void captureFailed(const std::string& message);

private:
    void observeWorkspace();
    void stopAndSave();
    void recordingWasFinished(const CaptureState& recording, Result<std::filesystem::path> result);
    void recordingWasSaved(const CaptureState& recording, const std::filesystem::path& clip);
    void leave(const CaptureState& recording);
    void report(const std::string& message);
    void setState(CaptureState state);
    void setSelectedWindow(std::optional<CapturedWindowInfo> window);

    const ClipExporter exporter_;  // before all other services
    const Services services_;
    CaptureState state_{CaptureState::NotConfigured{}};
    std::optional<CapturedWindowInfo> selectedWindow_;
    std::optional<std::filesystem::path> lastSavedClipURL_;
    bool isStopping_ = false;  // the recording's end is on its way to the service
};

}  // namespace velmora

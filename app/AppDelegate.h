// What the program does at launch and at its end, and the windows that it presents.
#pragma once

#include "app/ApplicationWindows.h"
#include "app/ClipSavedNotificationController.h"
#include "app/RecordingObserver.h"
#include "app/WindowPresenting.h"
#include "app/menu/MenuBarController.h"
#include "capture/CaptureCoordinator.h"
#include "platform/Clock.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"
#include "system/KeyboardShortcutManager.h"
#include "system/PermissionManager.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace velmora {

/// Main thread only. Lives for the whole process.
class AppDelegate final : public std::enable_shared_from_this<AppDelegate>, public WindowPresenting {
    struct Private { };

public:
    struct Services {
        CaptureCoordinator& coordinator;
        PermissionManager& permissionManager;
        KeyboardShortcutManager& shortcutManager;
        std::shared_ptr<platform::UserDefaults> userDefaults;
        std::shared_ptr<ApplicationWindowFactory> windows;
        std::shared_ptr<AlertPresenter> alerts;
        std::shared_ptr<ClipSavedNotificationController> notificationController;
        std::shared_ptr<platform::Workspace> workspace;
        std::shared_ptr<platform::Clock> clock;
        std::shared_ptr<Executor> mainExecutor;

        /// Makes the controller of the item in the menu bar. Called once, at launch.
        std::function<std::unique_ptr<MenuBarController>(std::weak_ptr<WindowPresenting>)> makeMenuBarController;

        /// That of the services that the coordinator captures with; none: nothing is observed.
        std::shared_ptr<RecordingObserver> recordingObserver = nullptr;

        /// Called every second while a recording runs.
        std::function<void()> recordingGoesOn = {};
    };

    /// Stores the new delegate as the shared one.
    static std::shared_ptr<AppDelegate> create(Services services);

    /// None before the delegate exists and after it is gone.
    static std::shared_ptr<AppDelegate> shared();

    AppDelegate(Private, Services services);

    void applicationDidFinishLaunching();

    /// Closing every window leaves the program in the menu bar.
    [[nodiscard]] static constexpr bool applicationShouldTerminateAfterLastWindowClosed() { return false; }

    /// Stops the capture and calls `terminate` once, when every recording that was stopped is safe. The item in the menu bar says what is
    /// being waited for.
    void applicationShouldTerminate(UniqueFunction<void()> terminate);

    void applicationWillTerminate();

    /// Calls `completion` once, when every recording that was stopped is safe: at once, if none is being saved. Until then the item in the
    /// menu bar says so.
    void awaitSaves(UniqueFunction<void()> completion);

    /// What is wrong or being waited for, in whole sentences; empty when nothing is.
    [[nodiscard]] std::string notice() const;

    void presentOnboarding() override;
    void presentWindowPicker() override;
    void presentClipPreview(const std::filesystem::path& clip) override;
    void presentPlayingClip(const std::filesystem::path& clip) override;
    void presentSettings() override;
    void presentClips() override;

    [[nodiscard]] MenuBarController* menuBarController() const { return menuBarController_.get(); }

private:
    void present(std::shared_ptr<ApplicationWindow>& window, const WindowDescription& description);
    void clipWasSaved(const std::filesystem::path& clip, double duration, bool isFullDuration);
    void captureFailed(const std::string& message);
    void observeRecordings();
    void observeState();
    void followRecording();
    void updateRemarks();

    const Services services_;
    std::unique_ptr<MenuBarController> menuBarController_;
    int saveWaits_ = 0;  // how many wait for the saves
    std::string heldMessage_;  // to be told together with what is sure to follow
    std::string lostWindow_;  // why no window is chosen any more, if the user did not ask for that
    std::unique_ptr<platform::Timer> nextProgress_;  // while a recording runs
    std::shared_ptr<ApplicationWindow> onboardingWindow_;
    std::shared_ptr<ApplicationWindow> windowPickerWindow_;
    std::shared_ptr<ApplicationWindow> previewWindow_;
    std::shared_ptr<ApplicationWindow> settingsWindow_;
    std::shared_ptr<ApplicationWindow> clipsWindow_;
};

}  // namespace velmora

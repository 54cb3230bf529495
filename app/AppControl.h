// The program as commands from outside reach it.
#pragma once

#include "app/RecordingObserver.h"
#include "app/WindowPresenting.h"
#include "app/control/InstanceControl.h"
#include "app/menu/StatusItem.h"
#include "capture/CaptureCoordinator.h"
#include "library/ClipLibrary.h"
#include "platform/UserDefaults.h"
#include "system/KeyboardShortcutManager.h"
#include "system/PermissionManager.h"
#include "windows/WindowSelectionService.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// Main thread only. A command that saves a recording completes when that recording's file is safe, or with the reason why it is not.
class AppControl final : public InstanceControl {
public:
    struct Services {
        CaptureCoordinator& coordinator;
        PermissionManager& permissionManager;
        KeyboardShortcutManager& shortcutManager;
        std::shared_ptr<WindowSelectionService> windowService;
        std::shared_ptr<WindowPresenting> windows;
        std::shared_ptr<platform::UserDefaults> userDefaults;
        std::function<void()> showMenu;
        std::function<void()> quit;

        /// What is wrong or being waited for; may be empty.
        std::function<std::string()> notice = {};
        std::shared_ptr<RecordingObserver> recordingObserver = nullptr;
        std::function<void(const std::filesystem::path&)> copy = {};  ///< to the clipboard
    };

    explicit AppControl(Services services);

    /// Goes on with the walkthrough until that has been completed; after that, opens the list of windows, or the menu where one is chosen.
    void activate() override;
    void chooseWindow() override { services_.windows->presentWindowPicker(); }
    void presentClips() override { services_.windows->presentClips(); }
    void toggleRecording(UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells) override;
    Result<std::string> setPaused(std::optional<bool> isPaused) override;
    void selectWindow(std::uint32_t windowID, std::optional<std::string> sound, UniqueFunction<void(Result<std::string>)> completion,
        CallerTells callerTells) override;
    void stopCapture(UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells) override;
    void selectMatchingWindow(WindowDescriptor descriptor, std::optional<std::string> sound,
        UniqueFunction<void(Result<std::string>)> completion, CallerTells callerTells) override;
    Result<void> setReplayDuration(std::optional<double> seconds) override;
    void saveReplay(std::optional<double> seconds, UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells) override;
    void setEventObserver(EventObserver observer) override { eventObserver_ = std::move(observer); }
    [[nodiscard]] QJsonObject status() const override;
    Result<void> presentClipPreview(const std::filesystem::path& file) override;
    Result<void> copyFile(const std::filesystem::path& file) override;
    void quit() override { services_.quit(); }

private:
    /// Among those that can be recorded, in their order.
    using ChooseWindow = UniqueFunction<Result<CapturedWindowInfo>(const std::vector<CapturedWindowInfo>&)>;

    void observeEvents();
    void tell(const InstanceEvent& event) const;
    void stateHasChanged();
    void selectChosen(ChooseWindow choose, std::optional<std::string> sound, UniqueFunction<void(Result<std::string>)> completion,
        CallerTells callerTells);
    CaptureCoordinator::SaveCompletion savedClip(UniqueFunction<void(Result<SavedClip>)> completion) const;
    void capture(const CapturedWindowInfo& window, std::string remark, UniqueFunction<void(Result<std::string>)> completion,
        CallerTells callerTells);

    const Services services_;
    EventObserver eventObserver_;
    CaptureState lastState_;
    const QObject observing_;
};

}  // namespace velmora

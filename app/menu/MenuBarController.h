// The item in the menu bar and what its menu does.
#pragma once

#include "app/ApplicationWindows.h"
#include "app/WindowPresenting.h"
#include "app/menu/MenuDescription.h"
#include "app/menu/StateRemarks.h"
#include "app/menu/StatusItem.h"
#include "capture/CaptureCoordinator.h"
#include "library/ClipLibrary.h"
#include "platform/Workspace.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// Main thread only. Keeps no subscription: the menu is read when it opens, and the image is refreshed when it is asked for.
class MenuBarController final : public QObject {
    Q_OBJECT

public:
    struct Services {
        CaptureCoordinator& coordinator;
        ClipLibrary& library;
        std::shared_ptr<platform::Workspace> workspace;
        std::shared_ptr<AlertPresenter> alerts;
        std::weak_ptr<WindowPresenting> windows;
        std::function<void()> terminate;
        std::function<void()> togglePause = {};  ///< of the recording in progress
    };

    MenuBarController(Services services, std::unique_ptr<StatusItem> statusItem);
    ~MenuBarController() override;

    /// Sets the item's image to that of the coordinator's state.
    void updateStatusItemIcon();

    /// What is said beside the given texts, in the tooltip and in the menu.
    void setRemarks(StateRemarks remarks);

    /// What captions are made from has changed: the file browser's name.
    void captionsChanged();

    /// What the menu has in it now.
    [[nodiscard]] std::vector<MenuItem> menuNeedsUpdate() const;

    /// Whether the recording in progress is paused; none where there is none, or it cannot be.
    [[nodiscard]] std::optional<bool> isRecordingPaused() const;

    /// Carries out an item of the menu.
    void handle(const MenuItem& item);

    [[nodiscard]] StatusItem& statusItem() const { return *statusItem_; }

signals:
    void remarksChanged();

private:
    void setupStatusItem();
    void handleToggleRecording();
    void handleSelectWindow();
    void handleStopCapture();
    void handleOpenRecentClip(const std::filesystem::path& clip);
    void handleOpenFolder();
    void handleOpenGuide();
    void handleOpenSettings();
    void handleShowClips();
    void handleQuit();

    const Services services_;
    const std::unique_ptr<StatusItem> statusItem_;
    StateRemarks remarks_;
};

}  // namespace velmora

#include "app/menu/MenuBarController.h"

#include <utility>

namespace velmora {

MenuBarController::MenuBarController(Services services, std::unique_ptr<StatusItem> statusItem)
    : services_(std::move(services))
    , statusItem_(std::move(statusItem))
{
    setupStatusItem();
}

MenuBarController::~MenuBarController() = default;

void MenuBarController::setupStatusItem()
{
    statusItem_->setToolTip(toolTip(remarks_));
    statusItem_->setMenuDelegate({
        .menuNeedsUpdate = [this] { return menuNeedsUpdate(); },
        .menuItemTriggered = [this](const MenuItem& item) { handle(item); },
    });
    updateStatusItemIcon();
}

void MenuBarController::updateStatusItemIcon()
{
    statusItem_->setImage(BrandAssets::menuBarImage(services_.coordinator.state()));
}

std::vector<MenuItem> MenuBarController::menuNeedsUpdate() const
{
    const auto& coordinator = services_.coordinator;
    return describeMenu({
        .state = coordinator.state(),
        .selectedWindow = coordinator.selectedWindow(),
        .recentClips = services_.library.recentClips(),
        .isRecording = coordinator.isRecording(),
        .stateCaption = stateCaption(remarks_),
        .fileBrowser = services_.workspace->fileBrowserName(),
        .notice = remarks_.notice,
    });
}

std::optional<bool> MenuBarController::isRecordingPaused() const
{
    if (!services_.togglePause || remarks_.progress.empty())
        return std::nullopt;
    return remarks_.isPaused;
}

void MenuBarController::captionsChanged()
{
    statusItem_->captionsChanged();
    emit remarksChanged();
}

void MenuBarController::setRemarks(StateRemarks remarks)
{
    if (remarks == remarks_)
        return;
    remarks_ = std::move(remarks);
    statusItem_->setToolTip(toolTip(remarks_));
    captionsChanged();
}

void MenuBarController::handle(const MenuItem& item)
{
    switch (item.action) {
    case MenuAction::none:
        return;
    case MenuAction::toggleRecording:
        return handleToggleRecording();
    case MenuAction::togglePause:
        return services_.togglePause ? services_.togglePause() : void();
    case MenuAction::selectWindow:
        return handleSelectWindow();
    case MenuAction::stopCapture:
        return handleStopCapture();
    case MenuAction::openRecentClip:
        return handleOpenRecentClip(item.representedFile);
    case MenuAction::openFolder:
        return handleOpenFolder();
    case MenuAction::openGuide:
        return handleOpenGuide();
    case MenuAction::openSettings:
        return handleOpenSettings();
    case MenuAction::showClips:
        return handleShowClips();
    case MenuAction::quit:
        return handleQuit();
    }
}

void MenuBarController::handleToggleRecording()
{
    if (services_.coordinator.selectedWindow()) {
        services_.coordinator.toggleRecording();
        updateStatusItemIcon();
        return;
    }
    services_.alerts->present(
        {Alert::Style::informational, "No Video Window Selected",
            "To start a live recording, first choose the video window you want to capture.", {"Choose Window Now", "Cancel"}},
        [windows = services_.windows](std::size_t button) {
            if (const auto presenting = windows.lock(); presenting && button == 0)
                presenting->presentWindowPicker();
        });
}

void MenuBarController::handleSelectWindow()
{
    if (const auto windows = services_.windows.lock())
        windows->presentWindowPicker();
}

void MenuBarController::handleStopCapture()
{
    services_.coordinator.stopCapture();
    updateStatusItemIcon();
}

void MenuBarController::handleOpenRecentClip(const std::filesystem::path& clip)
{
    if (const auto windows = services_.windows.lock(); windows && !clip.empty())
        windows->presentClipPreview(clip);
}

void MenuBarController::handleOpenFolder()
{
    services_.workspace->open(services_.library.effectiveOutputDirectory());
}

void MenuBarController::handleOpenGuide()
{
    if (const auto windows = services_.windows.lock())
        windows->presentOnboarding();
}

void MenuBarController::handleOpenSettings()
{
    if (const auto windows = services_.windows.lock())
        windows->presentSettings();
}

void MenuBarController::handleShowClips()
{
    if (const auto windows = services_.windows.lock())
        windows->presentClips();
}

void MenuBarController::handleQuit()
{
    services_.coordinator.stopCapture();
    services_.terminate();
}

}  // namespace velmora

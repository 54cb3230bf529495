#include "app/AppDelegate.h"

#include "onboarding/CompletedWalkthrough.h"

#include <utility>

namespace velmora {

namespace {

std::weak_ptr<AppDelegate>& sharedDelegate()
{
    static std::weak_ptr<AppDelegate> instance;
    return instance;
}

WindowDescription onboarding()
{
    return {WindowContent::onboarding, 640, 530, true, false, "Welcome to Velmora — Quick Walkthrough", {}};
}

WindowDescription windowPicker()
{
    return {WindowContent::windowPicker, 560, 480, false, true, "Select Video Window — Velmora", {}};
}

WindowDescription clipPreview(const std::filesystem::path& clip)
{
    return {WindowContent::clipPreview, 680, 600, true, true, "Preview & Trim — " + clip.filename().string(), clip};
}

WindowDescription settings()
{
    return {WindowContent::settings, 540, 500, false, false, "Velmora Settings", {}};
}

}  // namespace

std::shared_ptr<AppDelegate> AppDelegate::create(Services services)
{
    auto delegate = std::make_shared<AppDelegate>(Private{}, std::move(services));
    sharedDelegate() = delegate;
    return delegate;
}

std::shared_ptr<AppDelegate> AppDelegate::shared()
{
    return sharedDelegate().lock();
}

AppDelegate::AppDelegate(Private, Services services) : services_(std::move(services)) { }

void AppDelegate::applicationDidFinishLaunching()
{
    menuBarController_ = services_.makeMenuBarController(weak_from_this());
    services_.coordinator->onClipSaved = [self = weak_from_this()](
                                             const std::filesystem::path& clip, double duration, bool isFullDuration) {
        if (const auto delegate = self.lock())
            delegate->clipWasSaved(clip, duration, isFullDuration);
    };
    services_.coordinator->onCaptureError = [self = weak_from_this()](const std::string& message) {
        if (const auto delegate = self.lock())
            delegate->captureFailed(message);
    };
    // The image follows the state however it changes: by the shortcut, by a window that closes, by sleep.
    QObject::connect(
        services_.coordinator.get(), &CaptureCoordinator::stateChanged, menuBarController_.get(), &MenuBarController::updateStatusItemIcon);

    if (!services_.userDefaults->boolean(hasCompletedWalkthroughKey) || !services_.permissionManager->hasScreenRecordingPermission())
        presentOnboarding();
}

void AppDelegate::applicationWillTerminate()
{
    services_.coordinator->stopCapture();
}

void AppDelegate::clipWasSaved(const std::filesystem::path& clip, double duration, bool isFullDuration)
{
    services_.notificationController->showClipSaved(clip, duration, isFullDuration);
    if (menuBarController_)
        menuBarController_->updateStatusItemIcon();
}

void AppDelegate::captureFailed(const std::string& message)
{
    services_.mainExecutor->async([alerts = services_.alerts, message] {
        alerts->present({Alert::Style::warning, "Velmora", message, {"OK"}}, [](std::size_t) {});
    });
}

void AppDelegate::present(std::shared_ptr<ApplicationWindow>& window, const WindowDescription& description)
{
    if (!window || description.content == WindowContent::clipPreview)
        window = services_.windows->makeWindow(description);
    window->makeKeyAndOrderFront(description.content == WindowContent::onboarding);
}

void AppDelegate::presentOnboarding()
{
    present(onboardingWindow_, onboarding());
}

void AppDelegate::presentWindowPicker()
{
    present(windowPickerWindow_, windowPicker());
}

void AppDelegate::presentClipPreview(const std::filesystem::path& clip)
{
    present(previewWindow_, clipPreview(clip));
}

void AppDelegate::presentSettings()
{
    present(settingsWindow_, settings());
}

}  // namespace velmora

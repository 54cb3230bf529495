#include "app/AppDelegate.h"

#include "capture/CaptureMessages.h"
#include "onboarding/CompletedWalkthrough.h"

#include <utility>

namespace velmora {

namespace {

constexpr std::chrono::seconds progressInterval{1};

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

WindowDescription clips()
{
    return {WindowContent::clips, 760, 600, true, true, "Clips — Velmora", {}};
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
    services_.coordinator.onClipSaved = [self = weak_from_this()](const std::filesystem::path& clip, double duration, bool isFullDuration) {
        if (const auto delegate = self.lock())
            delegate->clipWasSaved(clip, duration, isFullDuration);
    };
    services_.coordinator.onCaptureError = [self = weak_from_this()](const std::string& message) {
        if (const auto delegate = self.lock())
            delegate->captureFailed(message);
    };
    // The image follows the state however it changes: by the shortcut, by a window that closes, by sleep.
    QObject::connect(
        &services_.coordinator, &CaptureCoordinator::stateChanged, menuBarController_.get(), &MenuBarController::updateStatusItemIcon);

    observeRecordings();
    observeState();

    if (!services_.userDefaults->boolean(hasCompletedWalkthroughKey) || !services_.permissionManager.hasScreenRecordingPermission())
        presentOnboarding();
}

/// What the parts below keep to themselves: a recording that cannot go on is saved as if its end had been asked for.
void AppDelegate::observeRecordings()
{
    const auto& observer = services_.recordingObserver;
    if (!observer)
        return;
    observer->onNothingMoreCanBeWritten = [self = weak_from_this()](const std::string&) {
        if (const auto delegate = self.lock())
            delegate->services_.coordinator.stopRecording();
    };
    observer->onFileWasMoved = [notifications = services_.notificationController](
                                   const std::filesystem::path& place) { notifications->showClipMoved(place); };
    observer->onChange = [self = weak_from_this()] {
        if (const auto delegate = self.lock())
            delegate->updateRemarks();
    };
    observer->onFileChange = [self = weak_from_this()] {
        if (const auto delegate = self.lock())
            delegate->followRecording();
    };
}

void AppDelegate::observeState()
{
    auto& coordinator = services_.coordinator;
    auto& shortcuts = services_.shortcutManager;
    const auto update = [this] { updateRemarks(); };
    auto* context = menuBarController_.get();
    QObject::connect(&coordinator, &CaptureCoordinator::stateChanged, context, update);
    QObject::connect(&coordinator, &CaptureCoordinator::selectedWindowChanged, context, [this] {
        if (services_.coordinator.selectedWindow())
            lostWindow_.clear();
        updateRemarks();
    });
    QObject::connect(&services_.permissionManager, &PermissionManager::hasScreenRecordingPermissionChanged, context, update);
    QObject::connect(&shortcuts, &KeyboardShortcutManager::isRegisteredChanged, context, update);
    QObject::connect(&shortcuts, &KeyboardShortcutManager::registrationErrorMessageChanged, context, update);
    services_.workspace->addObserver({
        .willSleep =
            [self = weak_from_this()](const UniqueFunction<void()>&) {
                if (const auto delegate = self.lock(); delegate && delegate->services_.coordinator.selectedWindow())
                    delegate->lostWindow_ = machineSlept;
            },
        .didWake = {},
        .screenParametersDidChange = {},
        .accessibilityDisplayOptionsDidChange = {},
        .fileBrowserDidChange =
            [self = weak_from_this()] {
                if (const auto delegate = self.lock())
                    delegate->menuBarController_->captionsChanged();
            },
    });
    updateRemarks();
}

/// Nothing runs by the clock but this, and this only while a recording does.
void AppDelegate::followRecording()
{
    nextProgress_.reset();
    if (const auto progress = services_.recordingObserver->progress(); progress && !progress->isPaused) {
        if (services_.recordingGoesOn)
            services_.recordingGoesOn();
        nextProgress_ = services_.clock->schedule(progressInterval, [self = weak_from_this()] {
            if (const auto delegate = self.lock())
                delegate->followRecording();
        });
    }
    updateRemarks();
}

std::string AppDelegate::notice() const
{
    if (saveWaits_ > 0)
        return "Saving a clip. Velmora ends when it is on the disk.";
    return services_.recordingObserver ? services_.recordingObserver->notice() : std::string{};
}

void AppDelegate::updateRemarks()
{
    if (!menuBarController_)
        return;
    const auto& shortcuts = services_.shortcutManager;
    StateFacts facts{
        .state = services_.coordinator.state(),
        .permissionExplanation = services_.permissionManager.screenRecordingExplanation(),
        .lostWindow = lostWindow_,
        .isShortcutRefused = shortcuts.isRefused(),
        .notice = notice(),
        .isRecording = services_.coordinator.isRecording(),
    };
    // A file that is being finished is no longer being recorded.
    if (services_.recordingObserver && services_.coordinator.isRecording())
        facts.progress = services_.recordingObserver->progress();
    if (shortcuts.isRegistrationErrorExplained())
        facts.shortcutReason = shortcuts.registrationErrorMessage().value_or("");
    menuBarController_->setRemarks(remarks(facts));
}

void AppDelegate::applicationShouldTerminate(UniqueFunction<void()> terminate)
{
    // After the end of a recording that was asked for just before.
    services_.mainExecutor->async([self = shared_from_this(), terminate = std::move(terminate)]() mutable {
        self->services_.coordinator.stopCapture();
        self->awaitSaves(std::move(terminate));
    });
}

void AppDelegate::awaitSaves(UniqueFunction<void()> completion)
{
    ++saveWaits_;
    services_.coordinator.notifyWhenSaved([self = shared_from_this(), completion = std::move(completion)]() mutable {
        --self->saveWaits_;
        self->updateRemarks();
        completion();
    });
    updateRemarks();
}

void AppDelegate::applicationWillTerminate()
{
    services_.coordinator.stopCapture();
}

void AppDelegate::clipWasSaved(const std::filesystem::path& clip, double duration, bool isFullDuration)
{
    services_.notificationController->showClipSaved(clip, duration, isFullDuration);
    if (menuBarController_)
        menuBarController_->updateStatusItemIcon();
}

void AppDelegate::captureFailed(const std::string& message)
{
    if (message == capture_message::windowClosed) {
        lostWindow_ = windowIsGone;
        updateRemarks();
    }
    std::string text = std::exchange(heldMessage_, {});
    if (!services_.coordinator.isToldByCallers()) {
        if (!text.empty())
            text += "\n\n";
        text += services_.recordingObserver ? services_.recordingObserver->explained(message) : message;
    }
    if (text.empty())
        return;
    if (services_.coordinator.isStopInVain()) {
        heldMessage_ = std::move(text);
        return;
    }
    services_.mainExecutor->async([alerts = services_.alerts, text = std::move(text)] {
        alerts->present({Alert::Style::warning, "Velmora", text, {"OK"}}, [](std::size_t) {});
    });
}

void AppDelegate::present(std::shared_ptr<ApplicationWindow>& window, const WindowDescription& description)
{
    if (!window || description.content == WindowContent::clipPreview)
        window = services_.windows->makeWindow(description);
    window->makeKeyAndOrderFront();
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

void AppDelegate::presentPlayingClip(const std::filesystem::path& clip)
{
    auto description = clipPreview(clip);
    description.playsAtOnce = true;
    present(previewWindow_, description);
}

void AppDelegate::presentSettings()
{
    present(settingsWindow_, settings());
}

void AppDelegate::presentClips()
{
    present(clipsWindow_, clips());
}

}  // namespace velmora

#include "capture/CaptureCoordinator.h"

#include "capture/CaptureMessages.h"
#include "library/PathUtilities.h"
#include "system/Log.h"
#include "system/SharedServices.h"

#include <utility>

namespace velmora {

using StartOutcome = ScreenCaptureKitService::StartOutcome;

std::shared_ptr<CaptureCoordinator> CaptureCoordinator::create(Services services)
{
    auto coordinator = std::make_shared<CaptureCoordinator>(Private{}, std::move(services));
    coordinator->services_.captureService->setDelegate(coordinator);
    coordinator->services_.shortcutManager->setDelegate(coordinator);
    coordinator->observeWorkspace();
    if (coordinator->services_.permissionManager->hasScreenRecordingPermission())
        coordinator->setState({CaptureState::WaitingForWindowSelection{}});
    return coordinator;
}

std::shared_ptr<CaptureCoordinator> CaptureCoordinator::shared()
{
    static const auto& instance = *new std::shared_ptr<CaptureCoordinator>([] {
        const auto& shared = SharedServices::current();
        const auto& platform = shared.platform;
        return create({
            .library = ClipLibrary::shared(),
            .permissionManager = PermissionManager::shared(),
            .shortcutManager = KeyboardShortcutManager::shared(),
            .captureService = ScreenCaptureKitService::create({
                .shareableContent = platform.shareableContent,
                .captureStreams = platform.captureStreams,
                .compressionSessions = platform.compressionSessions,
                .assetWriters = platform.assetWriters,
                .fileManager = platform.fileManager,
                .screens = platform.screens,
                .mainExecutor = shared.mainExecutor,
            }),
            .assetWriters = platform.assetWriters,
            .fileManager = platform.fileManager,
            .workspace = platform.workspace,
            .clock = shared.clock,
            .mainExecutor = shared.mainExecutor,
        });
    }());
    return instance;
}

CaptureCoordinator::CaptureCoordinator(Private, Services services)
    : exporter_(services.assetWriters, services.fileManager)
    , services_(std::move(services))
{
}

CaptureCoordinator::~CaptureCoordinator() = default;

void CaptureCoordinator::observeWorkspace()
{
    const auto later = [weak = weak_from_this(), mainExecutor = services_.mainExecutor](auto work) {
        mainExecutor->async([weak, work = std::move(work)]() mutable {
            if (const auto self = weak.lock())
                work(*self);
        });
    };
    services_.workspace->addObserver({
        .willSleep =
            [later](UniqueFunction<void()> readyToSleep) {
                Log::app().info(log_line::systemWillSleep);
                later([readyToSleep = std::move(readyToSleep)](CaptureCoordinator& self) mutable {
                    self.stopCapture();
                    self.services_.captureService->notifyWhenStopped(std::move(readyToSleep));
                });
            },
        .didWake =
            [later] {
                Log::app().info(log_line::systemWoke);
                later([](CaptureCoordinator& self) { self.services_.permissionManager->checkPermissions(); });
            },
        .screenParametersDidChange = [] { Log::app().info(log_line::displayConfigurationChanged); },
        .accessibilityDisplayOptionsDidChange = {},
    });
}

void CaptureCoordinator::selectWindowAndStartCapture(const CapturedWindowInfo& window, UniqueFunction<void()> completion)
{
    if (!services_.permissionManager->hasScreenRecordingPermission()) {
        setState({CaptureState::NotConfigured{}});
        report(std::string{capture_message::permissionRequired});
        return completion();
    }
    setSelectedWindow(window);
    services_.captureService->startCapture(
        window, [self = shared_from_this(), window, completion = std::move(completion)](Result<StartOutcome> outcome) mutable {
            if (!outcome) {
                const auto& description = outcome.error().localizedDescription;
                Log::capture().error(log_line::failedToStartCapture, description);
                self->setState({CaptureState::CaptureUnavailable{description}});
                self->report(std::string{capture_message::failedToCapture} + description);
            } else if (*outcome == StartOutcome::started) {
                self->setState({CaptureState::Capturing{window}});
                Log::capture().info(log_line::captureStarted, window.displayName());
            }
            completion();
        });
}

void CaptureCoordinator::stopCapture()
{
    services_.captureService->stopCapture();
    setState({CaptureState::WaitingForWindowSelection{}});
    setSelectedWindow(std::nullopt);
}

void CaptureCoordinator::toggleRecording()
{
    if (isRecording())
        stopAndSave();
    else
        startRecording();
}

void CaptureCoordinator::startRecording()
{
    if (!selectedWindow_ || !services_.captureService->isCapturing())
        return report(std::string{capture_message::selectWindowFirst});
    const auto folder = services_.library->effectiveOutputDirectory();
    PathUtilities::ensureDirectoryExists(folder, *services_.fileManager);
    const auto url = PathUtilities::generateUniqueFileURL(
        folder, PathUtilities::prefixRecording, *services_.fileManager, PathUtilities::defaultExtension, services_.clock->now());
    if (const auto started = services_.captureService->startManualRecording(url); !started) {
        const auto& description = started.error().localizedDescription;
        Log::capture().error(log_line::failedStartingManualRecording, description);
        return report(std::string{capture_message::failedToStartRecording} + description);
    }
    setState({CaptureState::RecordingClip{*selectedWindow_, services_.clock->now()}});
    Log::capture().info(log_line::startedManualRecording, url.filename().native());
}

void CaptureCoordinator::stopRecording()
{
    if (isRecording())
        stopAndSave();
}

void CaptureCoordinator::stopAndSave()
{
    if (std::exchange(isStopping_, true))
        return;
    services_.mainExecutor->async([self = shared_from_this()] {
        self->isStopping_ = false;
        self->services_.captureService->stopManualRecording([self, recording = self->state_](Result<std::filesystem::path> result) {
            self->recordingWasFinished(recording, std::move(result));
        });
    });
}

void CaptureCoordinator::recordingWasFinished(const CaptureState& recording, Result<std::filesystem::path> result)
{
    if (!result) {
        const auto& description = result.error().localizedDescription;
        Log::capture().error(log_line::failedStoppingManualRecording, description);
        leave(recording);
        return report(std::string{capture_message::failedToSave} + description);
    }
    services_.library->addClip(
        *result, [self = shared_from_this(), recording, clip = *result] { self->recordingWasSaved(recording, clip); });
}

void CaptureCoordinator::recordingWasSaved(const CaptureState& recording, const std::filesystem::path& clip)
{
    emit objectWillChange();
    lastSavedClipURL_ = clip;
    emit lastSavedClipURLChanged();
    leave(recording);
    Log::capture().info(log_line::finishedManualRecording, clip.native());
    if (onClipSaved)
        onClipSaved(clip, 0.0, true);
    emit clipSaved(clip);
}

/// Ends the state that a recording put us into, unless something else has ended it since: another recording, another window, a stop.
void CaptureCoordinator::leave(const CaptureState& recording)
{
    if (state_ != recording || isRecording())
        return;
    if (selectedWindow_)
        setState({CaptureState::Capturing{*selectedWindow_}});
    else
        setState({CaptureState::WaitingForWindowSelection{}});
}

void CaptureCoordinator::shortcutManagerDidTriggerSaveClip()
{
    Log::hotkey().info(log_line::saveClipTriggered);
}

void CaptureCoordinator::captureServiceDidEncounterError(ScreenCaptureKitService&, const Error& error)
{
    setState({CaptureState::CaptureUnavailable{error.localizedDescription}});
    report(error.localizedDescription);
}

void CaptureCoordinator::captureServiceDidStopUnexpectedly(ScreenCaptureKitService&, const std::string& reason)
{
    Log::capture().notice(log_line::captureStoppedUnexpectedly, reason);
    setState({CaptureState::WaitingForWindowSelection{}});
    setSelectedWindow(std::nullopt);
    report(std::string{capture_message::windowClosed});
}

void CaptureCoordinator::report(const std::string& message)
{
    if (onCaptureError)
        onCaptureError(message);
    emit captureFailed(message);
}

void CaptureCoordinator::setState(CaptureState state)
{
    emit objectWillChange();
    state_ = std::move(state);
    emit stateChanged();
}

void CaptureCoordinator::setSelectedWindow(std::optional<CapturedWindowInfo> window)
{
    emit objectWillChange();
    selectedWindow_ = std::move(window);
    emit selectedWindowChanged();
}

}  // namespace velmora

#include "capture/CaptureCoordinator.h"

#include "capture/CaptureMessages.h"
#include "library/PathUtilities.h"
#include "system/Log.h"
#include "system/SharedServices.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

constexpr const char* errorDomain = "Velmora.CaptureCoordinator";
enum ErrorCode { notPermitted = 1, noWindow = 2, stoppedByItself = 3, noRecording = 4, noReplay = 5 };

Error withPrefix(std::string_view prefix, const Error& error)
{
    return {error.domain, error.code, std::string{prefix} + error.localizedDescription, std::make_shared<const Error>(error)};
}

bool isTold(const CaptureCoordinator::CallerTells& callerTells)
{
    return callerTells && callerTells();
}

}  // namespace

std::shared_ptr<CaptureCoordinator> CaptureCoordinator::create(Services services)
{
    auto coordinator = std::make_shared<CaptureCoordinator>(Private{}, std::move(services));
    coordinator->services_.captureService->setDelegate(coordinator);
    coordinator->services_.shortcutManager.setDelegate(coordinator);
    coordinator->observeWorkspace();
    if (coordinator->services_.permissionManager.hasScreenRecordingPermission())
        coordinator->setState({CaptureState::WaitingForWindowSelection{}});
    return coordinator;
}

CaptureCoordinator& CaptureCoordinator::shared()
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
            .assetWriters = platform.exportWriters,
            .fileManager = platform.fileManager,
            .workspace = platform.workspace,
            .clock = shared.clock,
            .mainExecutor = shared.mainExecutor,
        });
    }());
    return *instance;
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
                later([](CaptureCoordinator& self) { self.services_.permissionManager.checkPermissions(); });
            },
        .screenParametersDidChange = [] { Log::app().info(log_line::displayConfigurationChanged); },
        .accessibilityDisplayOptionsDidChange = {},
    });
}

void CaptureCoordinator::selectWindowAndStartCapture(const CapturedWindowInfo& window, StartCompletion completion, CallerTells callerTells)
{
    if (!services_.permissionManager.hasScreenRecordingPermission()) {
        setState({CaptureState::NotConfigured{}});
        return completion(
            fail(report({errorDomain, notPermitted, std::string{capture_message::permissionRequired}, nullptr}, isTold(callerTells))));
    }
    setSelectedWindow(window);
    services_.captureService->startCapture(window,
        [self = shared_from_this(), window, completion = std::move(completion), callerTells = std::move(callerTells)](
            Result<StartOutcome> outcome) mutable {
            if (!outcome) {
                const auto& description = outcome.error().localizedDescription;
                Log::capture().error(log_line::failedToStartCapture, description);
                self->setState({CaptureState::CaptureUnavailable{description}});
                outcome = fail(self->report(withPrefix(capture_message::failedToCapture, outcome.error()), isTold(callerTells)));
            } else if (*outcome == StartOutcome::started) {
                self->setState({CaptureState::Capturing{window}});
                Log::capture().info(log_line::captureStarted, window.displayName());
            }
            completion(outcome);
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
        stopRecording();
    else
        // What stands in its way is told by captureFailed().
        static_cast<void>(startRecording());
}

Result<void> CaptureCoordinator::startRecording(const CallerTells& callerTells)
{
    if (!selectedWindow_ || !services_.captureService->isCapturing())
        return fail(report({errorDomain, noWindow, std::string{capture_message::selectWindowFirst}, nullptr}, isTold(callerTells)));
    const auto folder = services_.library.effectiveOutputDirectory();
    PathUtilities::ensureDirectoryExists(folder, *services_.fileManager);
    const auto url = PathUtilities::generateUniqueFileURL(
        folder, PathUtilities::prefixRecording, *services_.fileManager, PathUtilities::defaultExtension, services_.clock->now());
    if (const auto started = services_.captureService->startManualRecording(url); !started) {
        Log::capture().error(log_line::failedStartingManualRecording, started.error().localizedDescription);
        return fail(report(withPrefix(capture_message::failedToStartRecording, started.error()), isTold(callerTells)));
    }
    setState({CaptureState::RecordingClip{*selectedWindow_, services_.clock->now()}});
    Log::capture().info(log_line::startedManualRecording, url.filename().native());
    return {};
}

void CaptureCoordinator::stopRecording(SaveCompletion completion, CallerTells callerTells)
{
    stopAndSave({std::move(completion), std::move(callerTells)}, false);
}

void CaptureCoordinator::stopRecordingAndCapture(SaveCompletion completion, CallerTells callerTells)
{
    stopAndSave({std::move(completion), std::move(callerTells)}, true);
}

void CaptureCoordinator::stopAndSave(StopCaller caller, bool stopsCapture)
{
    if (!isRecording()) {
        if (stopsCapture)
            stopCapture();
        return caller.completion(fail(errorDomain, noRecording, "No recording is running."));
    }
    if (!pendingStop_) {
        pendingStop_ = Stop{};
        saves_.enter();
        services_.mainExecutor->async([self = shared_from_this()] { self->beginSaving(); });
    }
    pendingStop_->callers.push_back(std::move(caller));
    pendingStop_->stopsCapture = pendingStop_->stopsCapture || stopsCapture;
}

void CaptureCoordinator::beginSaving()
{
    auto stop = *std::exchange(pendingStop_, std::nullopt);
    services_.captureService->stopManualRecording(
        [self = shared_from_this(), recording = state_, callers = std::move(stop.callers)](
            const Result<std::filesystem::path>& result) mutable { self->recordingWasFinished(recording, std::move(callers), result); });
    if (stop.stopsCapture)
        stopCapture();
}

void CaptureCoordinator::recordingWasFinished(
    const CaptureState& recording, std::vector<StopCaller> callers, const Result<std::filesystem::path>& result)
{
    if (!result) {
        const bool isToldByAll = std::all_of(callers.begin(), callers.end(), [](const auto& caller) { return isTold(caller.tells); });
        Log::capture().error(log_line::failedStoppingManualRecording, result.error().localizedDescription);
        leave(recording);
        return answer(std::move(callers), fail(report(withPrefix(capture_message::failedToSave, result.error()), isToldByAll)));
    }
    services_.library.addClip(*result, [self = shared_from_this(), recording, callers = std::move(callers), clip = *result]() mutable {
        self->recordingWasSaved(recording, clip);
        self->answer(std::move(callers), clip);
    });
}

void CaptureCoordinator::recordingWasSaved(const CaptureState& recording, const std::filesystem::path& clip)
{
    lastSavedClipURL_ = clip;
    emit lastSavedClipURLChanged();
    leave(recording);
    Log::capture().info(log_line::finishedManualRecording, clip.native());
    if (onClipSaved)
        onClipSaved(clip, 0.0, true);
}

Result<void> CaptureCoordinator::setReplayDuration(std::optional<double> seconds)
{
    // Not a number is not above zero either.
    if (seconds && !(*seconds > 0 && *seconds <= longestReplay))
        return fail(errorDomain, noReplay, "Instant replay keeps at most 25 seconds.");
    services_.captureService->setReplayDuration(seconds);
    return {};
}

std::optional<CaptureCoordinator::ReplayState> CaptureCoordinator::replay() const
{
    const auto& seconds = services_.captureService->replayDuration();
    if (!seconds)
        return std::nullopt;
    const auto buffer = services_.captureService->replayBuffer();
    return ReplayState{*seconds, buffer ? buffer->bytesHeld() : 0};
}

void CaptureCoordinator::saveReplay(std::optional<double> seconds, SaveCompletion completion, CallerTells callerTells)
{
    saves_.enter();
    StopCaller caller{std::move(completion), std::move(callerTells)};
    const auto& kept = services_.captureService->replayDuration();
    if (!kept)
        return replayFailed(std::move(caller), {errorDomain, noReplay, "Instant replay is off; 'velmora replay on' begins it.", nullptr});
    if (seconds && !(*seconds > 0 && *seconds <= longestReplay))
        return replayFailed(std::move(caller), {errorDomain, noReplay, "Instant replay keeps at most 25 seconds.", nullptr});
    const auto buffer = services_.captureService->replayBuffer();
    if (!buffer)
        return replayFailed(std::move(caller), {errorDomain, noWindow, std::string{capture_message::selectWindowFirst}, nullptr});
    buffer->extractRecentClip(seconds.value_or(*kept),
        [self = shared_from_this(), caller = std::move(caller)](std::optional<RollingBufferExtraction> extraction) mutable {
            auto& executor = *self->services_.mainExecutor;
            executor.async([self = std::move(self), caller = std::move(caller), extraction = std::move(extraction)]() mutable {
                if (!extraction)
                    return self->replayFailed(std::move(caller), {errorDomain, noReplay, "Nothing has been kept yet.", nullptr});
                self->replaySaves_.push_back({std::move(*extraction), std::move(caller)});
                if (self->replaySaves_.size() == 1)
                    self->exportNextReplay();
            });
        });
}

// One after another: a name is free until its file is there.
void CaptureCoordinator::exportNextReplay()
{
    const auto folder = services_.library.effectiveOutputDirectory();
    PathUtilities::ensureDirectoryExists(folder, *services_.fileManager);
    const auto url = PathUtilities::generateUniqueFileURL(
        folder, PathUtilities::prefixInstant, *services_.fileManager, PathUtilities::defaultExtension, services_.clock->now());
    exporter_.exportClip(replaySaves_.front().extraction, url, [self = shared_from_this()](Result<std::filesystem::path> result) mutable {
        auto& executor = *self->services_.mainExecutor;
        executor.async([self = std::move(self), result = std::move(result)] {
            auto save = std::move(self->replaySaves_.front());
            self->replaySaves_.pop_front();
            if (!self->replaySaves_.empty())
                self->exportNextReplay();
            self->replayWasExported(std::move(save), result);
        });
    });
}

void CaptureCoordinator::replayWasExported(ReplaySave save, const Result<std::filesystem::path>& result)
{
    if (!result)
        return replayFailed(std::move(save.caller), withPrefix(capture_message::failedToSave, result.error()));
    services_.library.addClip(*result,
        [self = shared_from_this(), caller = std::move(save.caller), clip = *result, duration = save.extraction.actualDuration,
            isFull = save.extraction.isFullDuration]() mutable {
            self->clipWasSaved(clip, duration, isFull);
            caller.completion(clip);
            self->saves_.leave();
        });
}

void CaptureCoordinator::replayFailed(StopCaller caller, Error error)
{
    const bool isToldByCaller = isTold(caller.tells);
    caller.completion(fail(report(std::move(error), isToldByCaller)));
    saves_.leave();
}

void CaptureCoordinator::clipWasSaved(const std::filesystem::path& clip, double duration, bool isFullDuration)
{
    lastSavedClipURL_ = clip;
    emit lastSavedClipURLChanged();
    if (onClipSaved)
        onClipSaved(clip, duration, isFullDuration);
}

void CaptureCoordinator::answer(std::vector<StopCaller> callers, const Result<std::filesystem::path>& result)
{
    for (auto& caller : callers)
        caller.completion(result);
    saves_.leave();
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
    report(error);
}

void CaptureCoordinator::captureServiceDidStopUnexpectedly(ScreenCaptureKitService&, const std::string& reason)
{
    Log::capture().notice(log_line::captureStoppedUnexpectedly, reason);
    setState({CaptureState::WaitingForWindowSelection{}});
    setSelectedWindow(std::nullopt);
    report({errorDomain, stoppedByItself, std::string{capture_message::windowClosed}, nullptr});
}

/// Tells the shell; returns what it was told.
Error CaptureCoordinator::report(Error error, bool isToldByCallers)
{
    isToldByCallers_ = isToldByCallers;
    if (onCaptureError)
        onCaptureError(error.localizedDescription);
    emit captureFailed(error.localizedDescription);
    isToldByCallers_ = false;
    return error;
}

void CaptureCoordinator::setState(CaptureState state)
{
    state_ = std::move(state);
    emit stateChanged();
}

void CaptureCoordinator::setSelectedWindow(std::optional<CapturedWindowInfo> window)
{
    selectedWindow_ = std::move(window);
    emit selectedWindowChanged();
}

}  // namespace velmora

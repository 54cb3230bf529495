#include "app/AppControl.h"

#include "app/control/BusRequests.h"
#include "onboarding/CompletedWalkthrough.h"
#include "windows/SoundDecision.h"

#include <QPointer>

#include <algorithm>
#include <string_view>
#include <utility>

namespace velmora {

namespace {

enum ErrorCode { captureFailed = 1, noSuchFile = 3, soundIsKnown = 4, overtaken = 5, nothingIsRecorded = 6 };

tl::unexpected<Error> noWindow(std::string message)
{
    return fail(InstanceControl::errorDomain, InstanceControl::noSuchWindow, std::move(message));
}

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

bool fits(const CapturedWindowInfo& window, const WindowDescriptor& descriptor)
{
    const auto equals = [](const std::string& a, const std::string& b) { return text(a).compare(text(b), Qt::CaseInsensitive) == 0; };
    const auto& application = descriptor.application;
    return (application.empty() || equals(window.appName, application) || equals(window.bundleID, application))
        && text(window.title).contains(text(descriptor.title), Qt::CaseInsensitive);
}

const char* name(const CaptureState& state)
{
    if (state.is<CaptureState::Capturing>())
        return "capturing";
    if (state.is<CaptureState::SavingClip>())
        return "savingClip";
    if (state.is<CaptureState::RecordingClip>())
        return "recordingClip";
    if (state.is<CaptureState::CaptureUnavailable>())
        return "captureUnavailable";
    return state.is<CaptureState::NotConfigured>() ? "notConfigured" : "waitingForWindowSelection";
}

}  // namespace

AppControl::AppControl(Services services) : services_(std::move(services)), lastState_(services_.coordinator.state())
{
    observeEvents();
}

void AppControl::observeEvents()
{
    const auto& coordinator = services_.coordinator;
    using Kind = InstanceEvent::Kind;
    QObject::connect(&coordinator, &CaptureCoordinator::stateChanged, &observing_, [this] { stateHasChanged(); });
    QObject::connect(&coordinator, &CaptureCoordinator::lastSavedClipURLChanged, &observing_,
        [this] { tell({.kind = Kind::clipSaved, .clip = *services_.coordinator.lastSavedClipURL()}); });
    QObject::connect(&coordinator, &CaptureCoordinator::captureFailed, &observing_,
        [this](const std::string& message) { tell({.kind = Kind::captureFailed, .text = message}); });
    if (services_.recordingObserver) {
        services_.recordingObserver->onPauseChange = [this, observing = QPointer{&observing_}](bool isPaused) {
            if (observing)
                tell({.kind = isPaused ? Kind::recordingPaused : Kind::recordingResumed});
        };
    }
}

void AppControl::tell(const InstanceEvent& event) const
{
    if (eventObserver_)
        eventObserver_(event);
}

void AppControl::stateHasChanged()
{
    const auto& state = services_.coordinator.state();
    const auto last = std::exchange(lastState_, state);
    using Kind = InstanceEvent::Kind;
    if (std::string_view{name(state)} != name(last))
        tell({.kind = Kind::stateChanged, .text = name(state)});
    // A recording may follow another that is still being saved.
    if (state.is<CaptureState::RecordingClip>() && state != last)
        tell({.kind = Kind::recordingStarted});
}

void AppControl::activate()
{
    if (!services_.userDefaults->boolean(hasCompletedWalkthroughKey))
        services_.windows->presentOnboarding();
    else if (services_.coordinator.selectedWindow())
        services_.showMenu();
    else
        services_.windows->presentWindowPicker();
}

void AppControl::toggleRecording(UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells)
{
    auto& coordinator = services_.coordinator;
    if (coordinator.isRecording())
        return coordinator.stopRecording(savedClip(std::move(completion)), std::move(callerTells));
    if (const auto started = coordinator.startRecording(callerTells))
        completion(SavedClip{});
    else
        completion(fail(started.error()));
}

Result<std::string> AppControl::setPaused(std::optional<bool> isPaused)
{
    using Outcome = RecordingObserver::PauseOutcome;
    // One whose end was asked for is no longer being recorded, though its file may not have heard of that yet.
    if (!services_.recordingObserver || !services_.coordinator.isRecording())
        return fail(errorDomain, nothingIsRecorded, "Nothing is being recorded.");
    return services_.recordingObserver->setPaused(isPaused).map([](Outcome outcome) -> std::string {
        switch (outcome) {
        case Outcome::paused:
            return "The recording is paused.";
        case Outcome::wasPaused:
            return "The recording is paused already.";
        case Outcome::resumed:
            return "The recording goes on.";
        case Outcome::wasNotPaused:
            break;
        }
        return "The recording is not paused.";
    });
}

/// The answer of a command that saves a recording, out of the coordinator's.
CaptureCoordinator::SaveCompletion AppControl::savedClip(UniqueFunction<void(Result<SavedClip>)> completion) const
{
    return [observer = services_.recordingObserver, completion = std::move(completion)](const Result<std::filesystem::path>& clip) mutable {
        if (clip)
            return completion(SavedClip{*clip});
        auto error = clip.error();
        if (observer)
            error.localizedDescription = observer->explained(error.localizedDescription);
        completion(fail(std::move(error)));
    };
}

void AppControl::selectWindow(
    std::uint32_t windowID, std::optional<std::string> sound, UniqueFunction<void(Result<std::string>)> completion, CallerTells callerTells)
{
    const auto choose = [windowID](const std::vector<CapturedWindowInfo>& windows) -> Result<CapturedWindowInfo> {
        const auto chosen = std::find_if(windows.begin(), windows.end(), [&](const auto& window) { return window.id == windowID; });
        if (chosen == windows.end())
            return noWindow("There is no window " + std::to_string(windowID) + " that can be recorded.");
        return *chosen;
    };
    selectChosen(choose, std::move(sound), std::move(completion), std::move(callerTells));
}

void AppControl::selectMatchingWindow(WindowDescriptor descriptor, std::optional<std::string> sound,
    UniqueFunction<void(Result<std::string>)> completion, CallerTells callerTells)
{
    const auto choose = [descriptor = std::move(descriptor)](const std::vector<CapturedWindowInfo>& windows) -> Result<CapturedWindowInfo> {
        const CapturedWindowInfo* chosen = nullptr;
        for (const auto& window : windows) {
            if (fits(window, descriptor) && (!chosen || (window.isOnScreen && !chosen->isOnScreen)))
                chosen = &window;
        }
        if (!chosen)
            return noWindow("There is no such window that can be recorded.");
        return *chosen;
    };
    selectChosen(choose, std::move(sound), std::move(completion), std::move(callerTells));
}

void AppControl::selectChosen(
    ChooseWindow choose, std::optional<std::string> sound, UniqueFunction<void(Result<std::string>)> completion, CallerTells callerTells)
{
    services_.windowService->refreshWindows([this, choose = std::move(choose), sound = std::move(sound), completion = std::move(completion),
                                                callerTells = std::move(callerTells)]() mutable {
        if (const auto& error = services_.windowService->lastError())
            return completion(fail(errorDomain, captureFailed, *error));
        const auto chosen = choose(services_.windowService->availableWindows());
        if (!chosen)
            return completion(fail(chosen.error()));
        const auto windowID = chosen->id;
        if (!services_.windowService->needsRequest(windowID)) {
            if (sound)
                return completion(fail(errorDomain, soundIsKnown, soundIsTheWindowsOwn));
            return capture(*chosen, {}, std::move(completion), std::move(callerTells));
        }
        requestWindowWithSound(*services_.windowService, windowID, std::move(sound),
            [this, completion = std::move(completion), callerTells = std::move(callerTells)](
                Result<std::optional<RequestedWindow>> granted) mutable {
                if (!granted)
                    return completion(fail(errorDomain, captureFailed, granted.error().localizedDescription));
                if (!*granted)
                    return completion(fail(errorDomain, captureFailed, "No window was chosen."));
                capture((*granted)->window, (*granted)->remark, std::move(completion), std::move(callerTells));
            });
    });
}

void AppControl::capture(
    const CapturedWindowInfo& window, std::string remark, UniqueFunction<void(Result<std::string>)> completion, CallerTells callerTells)
{
    services_.coordinator.selectWindowAndStartCapture(
        window,
        [this, id = window.id, remark = std::move(remark), completion = std::move(completion)](
            const Result<CaptureCoordinator::StartOutcome>& outcome) mutable {
            // If it was not taken, nobody wants it any more.
            services_.windowService->giveBackWindow(id);
            if (!outcome)
                completion(fail(outcome.error()));
            else if (*outcome == CaptureCoordinator::StartOutcome::superseded)
                completion(fail(errorDomain, overtaken, "Another window was chosen meanwhile, or the capture was stopped."));
            else
                completion(std::move(remark));
        },
        std::move(callerTells));
}

void AppControl::stopCapture(UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells)
{
    auto& coordinator = services_.coordinator;
    if (coordinator.isRecording())
        return coordinator.stopRecordingAndCapture(savedClip(std::move(completion)), std::move(callerTells));
    coordinator.stopCapture();
    completion(SavedClip{});
}

Result<void> AppControl::setReplayDuration(std::optional<double> seconds)
{
    return services_.coordinator.setReplayDuration(seconds);
}

void AppControl::saveReplay(std::optional<double> seconds, UniqueFunction<void(Result<SavedClip>)> completion, CallerTells callerTells)
{
    services_.coordinator.saveReplay(seconds, savedClip(std::move(completion)), std::move(callerTells));
}

QJsonObject AppControl::status() const
{
    const auto& coordinator = services_.coordinator;
    QJsonObject status{
        {QStringLiteral("state"), QLatin1String{name(coordinator.state())}},
        {QStringLiteral("description"), text(coordinator.state().statusDescription())},
        {QStringLiteral("isRecording"), coordinator.isRecording()},
        {QStringLiteral("shortcutIsRegistered"), services_.shortcutManager.isRegistered()},
    };
    status.insert(QStringLiteral("clipsFolder"), bus_requests::text(coordinator.library().effectiveOutputDirectory()));
    if (const auto replay = coordinator.replay()) {
        status.insert(QStringLiteral("replay"),
            QJsonObject{{QStringLiteral("seconds"), replay->seconds}, {QStringLiteral("bytes"), static_cast<qint64>(replay->bytes)}});
    }
    if (const auto& window = coordinator.selectedWindow()) {
        status.insert(QStringLiteral("window"),
            QJsonObject{
                {QStringLiteral("id"), static_cast<qint64>(window->id)},
                {QStringLiteral("title"), text(window->title)},
                {QStringLiteral("application"), text(window->appName)},
            });
    }
    const auto& observer = services_.recordingObserver;
    if (const auto progress = observer && coordinator.isRecording() ? observer->progress() : std::nullopt) {
        status.insert(QStringLiteral("recordingSeconds"), std::chrono::duration<double>{progress->elapsed}.count());
        status.insert(QStringLiteral("recordingBytes"), static_cast<qint64>(progress->bytes));
        status.insert(QStringLiteral("isPaused"), progress->isPaused);
    }
    if (const auto loss = observer ? observer->lostPictures() : std::nullopt) {
        status.insert(QStringLiteral("lostPictures"),
            QJsonObject{{QStringLiteral("lost"), static_cast<qint64>(loss->lost)}, {QStringLiteral("of"), static_cast<qint64>(loss->ofAll)},
                {QStringLiteral("text"), text(loss->text)}});
    }
    if (const auto& clip = coordinator.lastSavedClipURL())
        status.insert(QStringLiteral("lastSavedClip"), bus_requests::text(*clip));
    if (const auto notice = services_.notice ? services_.notice() : std::string{}; !notice.empty())
        status.insert(QStringLiteral("notice"), text(notice));
    if (const auto& error = services_.shortcutManager.registrationErrorMessage())
        status.insert(QStringLiteral("shortcutError"), text(*error));
    if (const auto explanation = services_.permissionManager.screenRecordingExplanation(); !explanation.empty())
        status.insert(QStringLiteral("permissionExplanation"), text(explanation));
    return status;
}

namespace {

Result<void> checkIsFile(const std::filesystem::path& file)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error))
        return fail(InstanceControl::errorDomain, noSuchFile, file.string() + " is not a file.");
    return {};
}

}  // namespace

Result<void> AppControl::presentClipPreview(const std::filesystem::path& file)
{
    if (auto checked = checkIsFile(file); !checked)
        return checked;
    services_.windows->presentClipPreview(file);
    return {};
}

Result<void> AppControl::copyFile(const std::filesystem::path& file)
{
    if (auto checked = checkIsFile(file); !checked)
        return checked;
    services_.copy(file);
    return {};
}

}  // namespace velmora

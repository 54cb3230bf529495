#include "app/AppControl.h"

#include "app/control/BusRequests.h"
#include "capture/CaptureMessages.h"
#include "onboarding/CompletedWalkthrough.h"
#include "windows/SoundDecision.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

constexpr const char* errorDomain = "Velmora.AppControl";
enum ErrorCode { captureFailed = 1, noSuchWindow = 2, noSuchFile = 3, soundIsKnown = 4 };

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
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

AppControl::AppControl(Services services) : services_(std::move(services))
{
    auto* coordinator = services_.coordinator.get();
    connect(coordinator, &CaptureCoordinator::clipSaved, this, [this](const std::filesystem::path& clip) { finishSaves(SavedClip{clip}); });
    connect(coordinator, &CaptureCoordinator::captureFailed, this,
        [this](const std::string& message) { finishSaves(fail(errorDomain, captureFailed, message)); });
}

void AppControl::activate()
{
    if (!services_.userDefaults->boolean(hasCompletedWalkthroughKey))
        services_.windows->presentOnboarding();
    else if (services_.coordinator->selectedWindow())
        services_.showMenu();
    else
        services_.windows->presentWindowPicker();
}

void AppControl::toggleRecording(SaveCompletion completion)
{
    auto& coordinator = *services_.coordinator;
    if (coordinator.isRecording())
        return saveRecording(std::move(completion));
    coordinator.toggleRecording();
    if (coordinator.isRecording())
        completion(SavedClip{});
    else
        completion(fail(errorDomain, captureFailed, std::string{capture_message::selectWindowFirst}));
}

void AppControl::saveRecording(SaveCompletion completion)
{
    saves_.push_back(std::move(completion));
    services_.coordinator->stopRecording();
}

void AppControl::finishSaves(const Result<SavedClip>& result)
{
    for (auto& completion : std::exchange(saves_, {}))
        completion(result);
}

void AppControl::selectWindow(
    std::uint32_t windowID, std::optional<std::string> sound, UniqueFunction<void(Result<std::string>)> completion)
{
    services_.windowService->refreshWindows([this, windowID, sound = std::move(sound), completion = std::move(completion)]() mutable {
        if (const auto& error = services_.windowService->lastError())
            return completion(fail(errorDomain, captureFailed, *error));
        const auto& windows = services_.windowService->availableWindows();
        const auto chosen = std::find_if(windows.begin(), windows.end(), [&](const auto& window) { return window.id == windowID; });
        if (chosen == windows.end())
            return completion(fail(errorDomain, noSuchWindow, "There is no window " + std::to_string(windowID) + " that can be recorded."));
        if (!services_.windowService->needsRequest(windowID)) {
            if (sound)
                return completion(fail(errorDomain, soundIsKnown, soundIsTheWindowsOwn));
            return capture(*chosen, {}, std::move(completion));
        }
        requestWindowWithSound(*services_.windowService, windowID, std::move(sound),
            [this, completion = std::move(completion)](Result<std::optional<RequestedWindow>> granted) mutable {
                if (!granted)
                    return completion(fail(errorDomain, captureFailed, granted.error().localizedDescription));
                if (!*granted)
                    return completion(fail(errorDomain, captureFailed, "No window was chosen."));
                capture((*granted)->window, (*granted)->remark, std::move(completion));
            });
    });
}

void AppControl::capture(const CapturedWindowInfo& window, std::string remark, UniqueFunction<void(Result<std::string>)> completion)
{
    services_.coordinator->selectWindowAndStartCapture(
        window, [this, id = window.id, remark = std::move(remark), completion = std::move(completion)]() mutable {
            const auto& coordinator = *services_.coordinator;
            // Where it was not taken, nobody wants it any more.
            services_.windowService->giveBackWindow(id);
            if (coordinator.state().is<CaptureState::Capturing>() && coordinator.selectedWindow() && coordinator.selectedWindow()->id == id)
                completion(std::move(remark));
            else
                completion(fail(errorDomain, captureFailed, coordinator.state().statusDescription()));
        });
}

void AppControl::stopCapture(SaveCompletion completion)
{
    if (!services_.coordinator->isRecording()) {
        services_.coordinator->stopCapture();
        return completion(SavedClip{});
    }
    saveRecording([this, completion = std::move(completion)](Result<SavedClip> result) mutable {
        services_.coordinator->stopCapture();
        completion(std::move(result));
    });
}

QJsonObject AppControl::status() const
{
    const auto& coordinator = *services_.coordinator;
    QJsonObject status{
        {QStringLiteral("state"), QLatin1String{name(coordinator.state())}},
        {QStringLiteral("description"), text(coordinator.state().statusDescription())},
        {QStringLiteral("isRecording"), coordinator.isRecording()},
        {QStringLiteral("shortcutIsRegistered"), services_.shortcutManager->isRegistered()},
    };
    if (const auto& window = coordinator.selectedWindow()) {
        status.insert(QStringLiteral("window"),
            QJsonObject{
                {QStringLiteral("id"), static_cast<qint64>(window->id)},
                {QStringLiteral("title"), text(window->title)},
                {QStringLiteral("application"), text(window->appName)},
            });
    }
    if (const auto& clip = coordinator.lastSavedClipURL())
        status.insert(QStringLiteral("lastSavedClip"), bus_requests::text(*clip));
    if (const auto& error = services_.shortcutManager->registrationErrorMessage())
        status.insert(QStringLiteral("shortcutError"), text(*error));
    if (const auto explanation = services_.permissionManager->screenRecordingExplanation(); !explanation.empty())
        status.insert(QStringLiteral("permissionExplanation"), text(explanation));
    return status;
}

Result<void> AppControl::presentClipPreview(const std::filesystem::path& file)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error))
        return fail(errorDomain, noSuchFile, file.string() + " is not a file.");
    services_.windows->presentClipPreview(file);
    return {};
}

}  // namespace velmora

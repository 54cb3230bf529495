#include "windows/WindowSelectionService.h"

#include "platform/WindowIcons.h"
#include "system/Log.h"
#include "windows/SoundingWindows.h"

#include <QCoreApplication>

#include <cassert>
#include <cstddef>
#include <utility>

namespace velmora {

WindowSelectionService::WindowSelectionService(
    std::shared_ptr<platform::ShareableContentProvider> content, std::shared_ptr<Executor> mainExecutor, QObject* parent)
    : QObject(parent)
    , content_(std::move(content))
    , mainExecutor_(std::move(mainExecutor))
{
}

WindowSelectionService::~WindowSelectionService()
{
    stopFindingIcons();
}

void WindowSelectionService::refreshWindows(UniqueFunction<void()> completion)
{
    setIsLoading(true);
    setLastError(std::nullopt);
    content_->getShareableContent(true, false,
        [weak = self_.weak(), mainExecutor = mainExecutor_, completion = std::move(completion)](
            Result<platform::ShareableContent> result) mutable {
            mainExecutor->async([weak, completion = std::move(completion), result = std::move(result)]() mutable {
                const auto self = weak.lock();
                if (!self)
                    return;
                self->publish(std::move(result));
                completion();
            });
        });
}

WindowAbsence WindowSelectionService::absence(std::uint32_t id) const
{
    const auto found = absences_.find(id);
    return found == absences_.end() ? WindowAbsence{} : found->second;
}

bool WindowSelectionService::hasIcons() const
{
    return content_->icons() != nullptr;
}

void WindowSelectionService::findIcons(int side, IconFound found)
{
    constexpr std::size_t mostIcons = 256;
    stopFindingIcons();
    auto* icons = content_->icons();
    if (!icons || availableWindows_.empty())
        return;
    std::vector<std::uint32_t> ids;
    for (const auto& window : availableWindows_) {
        if (ids.size() < mostIcons)
            ids.push_back(window.id);
    }
    areIconsWanted_ = std::make_shared<std::atomic<bool>>(true);
    icons->findIcons(std::move(ids), side,
        [wanted = areIconsWanted_, mainExecutor = mainExecutor_, found = std::make_shared<const IconFound>(std::move(found))](
            std::uint32_t id, platform::ApplicationIcon icon) {
            mainExecutor->async([wanted, found, id, icon = std::move(icon)] {
                if (*wanted)
                    (*found)(id, icon);
            });
            return wanted->load();
        });
}

void WindowSelectionService::stopFindingIcons()
{
    *areIconsWanted_ = false;
}

void WindowSelectionService::followSounds(std::function<void()> changed)
{
    stopFollowingSounds();
    auto* activity = content_->soundActivity();
    if (!activity)
        return;
    soundsChanged_ = std::move(changed);
    // What is on its way from an observation that has ended is not believed.
    const auto isWanted = std::make_shared<std::byte>();
    followingSounds_ = isWanted;
    soundObservation_ = activity->observe([weak = self_.weak(), wanted = std::weak_ptr{isWanted}, mainExecutor = mainExecutor_](
                                              std::vector<platform::ProcessLineage> playing) {
        mainExecutor->async([weak, wanted, playing = std::move(playing)]() mutable {
            const auto self = weak.lock();
            if (!self || wanted.expired())
                return;
            self->playing_ = std::move(playing);
            self->updateSoundingWindows();
        });
    });
}

void WindowSelectionService::stopFollowingSounds()
{
    soundObservation_.reset();
    followingSounds_.reset();
    soundsChanged_ = nullptr;
    playing_.clear();
    soundingWindows_.clear();
}

void WindowSelectionService::updateSoundingWindows()
{
    auto sounding = soundingWindows(playing_, owners_);
    if (std::exchange(soundingWindows_, std::move(sounding)) != soundingWindows_ && soundsChanged_)
        soundsChanged_();
}

platform::WindowRequests& WindowSelectionService::requests() const
{
    auto* requests = content_->requests();
    assert(requests && "only what needs a request is requested");
    return *requests;
}

bool WindowSelectionService::needsRequest(std::uint32_t id) const
{
    const auto* requests = content_->requests();
    return requests && requests->needsRequest(id);
}

void WindowSelectionService::requestWindow(std::uint32_t id, RequestCompletion completion)
{
    requests().requestWindow(
        id, [weak = self_.weak(), completion = std::move(completion)](Result<std::optional<platform::ShareableWindow>> granted) mutable {
            if (weak.expired())
                return;
            if (!granted)
                return completion(fail(std::move(granted.error())));
            if (!*granted)
                return completion(std::optional<CapturedWindowInfo>{});
            // A window that may not be recorded cannot be the one that the user meant.
            completion(window_catalogue::entry(**granted, static_cast<std::int32_t>(QCoreApplication::applicationPid())));
        });
}

void WindowSelectionService::suggestSound(std::uint32_t id, SoundCompletion completion)
{
    requests().getSoundChoices(
        id, [weak = self_.weak(), completion = std::move(completion)](std::optional<platform::SoundChoices> choices) mutable {
            if (!weak.expired())
                completion(choices ? std::optional{velmora::suggestSound(std::move(*choices))} : std::nullopt);
        });
}

void WindowSelectionService::chooseSound(std::uint32_t id, const platform::SoundChoice& choice)
{
    requests().chooseSound(id, choice);
}

void WindowSelectionService::giveBackWindow(std::uint32_t id)
{
    if (auto* requests = content_->requests())
        requests->giveBackWindow(id);
}

void WindowSelectionService::publish(Result<platform::ShareableContent> result)
{
    absences_.clear();
    owners_.clear();
    if (result) {
        for (const auto& window : result->windows) {
            if (window.owningApplication && window.owningApplication->processID > 0)
                owners_[window.windowID] = window.owningApplication->processID;
            if (window.isMinimised || window.otherWorkspace)
                absences_[window.windowID] = {window.isMinimised, window.otherWorkspace};
        }
        setAvailableWindows(window_catalogue::entries(result->windows, static_cast<std::int32_t>(QCoreApplication::applicationPid())));
    } else {
        const auto& description = result.error().localizedDescription;
        Log::capture().error(log_line::failedToQueryContent, description);
        setLastError(description);
        setAvailableWindows({});
    }
    updateSoundingWindows();
    setIsLoading(false);
}

void WindowSelectionService::findSCWindow(
    platform::ShareableContentProvider& content, Executor& mainExecutor, std::uint32_t id, window_catalogue::FindCompletion completion)
{
    window_catalogue::findWindow(content, mainExecutor, id, std::move(completion));
}

void WindowSelectionService::setAvailableWindows(std::vector<CapturedWindowInfo> windows)
{
    emit objectWillChange();
    stopFindingIcons();
    availableWindows_ = std::move(windows);
    emit availableWindowsChanged();
}

void WindowSelectionService::setIsLoading(bool isLoading)
{
    emit objectWillChange();
    isLoading_ = isLoading;
    emit isLoadingChanged();
}

void WindowSelectionService::setLastError(std::optional<std::string> error)
{
    emit objectWillChange();
    lastError_ = std::move(error);
    emit lastErrorChanged();
}

}  // namespace velmora

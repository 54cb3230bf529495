// The list of windows that the picker shows.
#pragma once

#include "base/SelfReference.h"
#include "base/SerialQueue.h"
#include "platform/ApplicationIcon.h"
#include "platform/ShareableContent.h"
#include "platform/SoundActivity.h"
#include "platform/WindowRequests.h"
#include "windows/CapturedWindowInfo.h"
#include "windows/SoundSuggestion.h"
#include "windows/WindowCatalogue.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace velmora {

/// What keeps a listed window from the screen, as far as the desktop says.
struct WindowAbsence {
    bool isMinimised = false;
    std::optional<platform::DesktopWorkspace> otherWorkspace = std::nullopt;

    friend bool operator==(const WindowAbsence&, const WindowAbsence&) = default;
};

/// Main thread only. Every change of a property is announced by objectWillChange() before it takes effect and by the property's own
/// signal after.
class WindowSelectionService : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)

public:
    WindowSelectionService(
        std::shared_ptr<platform::ShareableContentProvider> content, std::shared_ptr<Executor> mainExecutor, QObject* parent = nullptr);
    ~WindowSelectionService() override;

    /// The eligible windows of the last successful query, in display order.
    [[nodiscard]] const std::vector<CapturedWindowInfo>& availableWindows() const { return availableWindows_; }

    /// As the query found it that availableWindows() is from.
    [[nodiscard]] WindowAbsence absence(std::uint32_t id) const;

    /// True while a query is outstanding.
    [[nodiscard]] bool isLoading() const { return isLoading_; }

    /// Why the last query failed; none once a new one has begun.
    [[nodiscard]] const std::optional<std::string>& lastError() const { return lastError_; }

    /// Queries the desktop afresh and replaces availableWindows(). `completion` is called once, on the main thread, when the result or
    /// the failure has been published; never if the service is gone first. Calls may overlap: the later completion wins.
    void refreshWindows(UniqueFunction<void()> completion = [] {});

    /// Whether the desktop tells of icons at all.
    [[nodiscard]] bool hasIcons() const;

    using IconFound = std::function<void(std::uint32_t id, const platform::ApplicationIcon& icon)>;

    /// Looks for the icons of the first 256 windows that are listed. `found` is called for each that has one, on the main thread, until the
    /// list changes or the service is gone.
    void findIcons(int side, IconFound found);

    /// None is found any more of those that were asked for.
    void stopFindingIcons();

    /// Tells from now on which windows' applications play: `changed` is called on the main thread with every change, until it is stopped or the
    /// service is gone. Nothing where the desktop cannot tell.
    void followSounds(std::function<void()> changed);
    void stopFollowingSounds();

    /// Whether the application of that window plays, as far as is known; false while that is not followed.
    [[nodiscard]] bool isSounding(std::uint32_t id) const { return soundingWindows_.contains(id); }

    /// True for an entry that the user has to grant in the desktop's own dialog: then requestWindow() comes before a capture.
    [[nodiscard]] bool needsRequest(std::uint32_t id) const;

    using RequestCompletion = UniqueFunction<void(Result<std::optional<CapturedWindowInfo>>)>;

    /// Has the desktop ask the user. `completion` gets what is to be captured, none if the user cancelled; once, on the main thread, never
    /// if the service is gone first.
    void requestWindow(std::uint32_t id, RequestCompletion completion);

    using SoundCompletion = UniqueFunction<void(std::optional<SoundSuggestion>)>;

    /// Whose sound may go with the window that was granted, asked afresh each time; none when there can be no sound. `completion` is called
    /// once, on the main thread, never if the service is gone first.
    void suggestSound(std::uint32_t id, SoundCompletion completion);

    /// One of the choices; none: no sound. Applies to captures that begin from now on.
    void chooseSound(std::uint32_t id, const platform::SoundChoice& choice);

    /// A granted window is not to be captured after all. Does nothing for one that is being captured, or that needed no request.
    void giveBackWindow(std::uint32_t id);

    /// See window_catalogue::findWindow.
    static void findSCWindow(
        platform::ShareableContentProvider& content, Executor& mainExecutor, std::uint32_t id, window_catalogue::FindCompletion completion);

signals:
    void objectWillChange();
    void availableWindowsChanged();
    void isLoadingChanged();
    void lastErrorChanged();

private:
    [[nodiscard]] platform::WindowRequests& requests() const;
    void updateSoundingWindows();
    void publish(Result<platform::ShareableContent> result);
    void setAvailableWindows(std::vector<CapturedWindowInfo> windows);
    void setIsLoading(bool isLoading);
    void setLastError(std::optional<std::string> error);

    std::shared_ptr<platform::ShareableContentProvider> content_;
    std::shared_ptr<Executor> mainExecutor_;
    std::vector<CapturedWindowInfo> availableWindows_;
    std::map<std::uint32_t, WindowAbsence> absences_;  ///< of windows that are kept from the screen
    std::map<std::uint32_t, std::int32_t> owners_;  ///< the process of each window, where that is known
    std::vector<platform::ProcessLineage> playing_;
    std::set<std::uint32_t> soundingWindows_;
    std::function<void()> soundsChanged_;
    std::shared_ptr<std::byte> followingSounds_;  ///< as long as the last observation is wanted
    std::shared_ptr<std::atomic<bool>> areIconsWanted_ = std::make_shared<std::atomic<bool>>(false);  ///< by the last search for them
    bool isLoading_ = false;
    std::optional<std::string> lastError_;

    std::unique_ptr<platform::SoundActivity::Observation> soundObservation_;

    // Gone with the service, so that a late result finds nobody.
    const SelfReference<WindowSelectionService> self_{*this};
};

}  // namespace velmora

// Tells the user that a clip was saved, a notification and a panel for a few seconds, or that it is elsewhere.
#pragma once

#include "app/WindowPresenting.h"
#include "base/SerialQueue.h"
#include "library/ClipItem.h"
#include "platform/Clock.h"
#include "platform/UserNotificationCenter.h"
#include "platform/Workspace.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

/// The floating panel. It never takes the focus.
class HudPanel {
public:
    struct Content {
        std::filesystem::path clip;
        std::string title;  ///< plain text, as the caption is
        std::string caption = {};  ///< the clip's length and size; empty where they are not known
        std::function<void()> onDismiss;
    };

    virtual ~HudPanel() = default;

    virtual void setContent(Content content) = 0;

    /// To the top right corner of the main screen's free area, if there is a screen.
    virtual void place() = 0;

    /// Shows it, transparent, above everything, and fades it in.
    virtual void orderFrontAndFadeIn() = 0;

    /// Fades it out over `duration`, hides it and then calls `completion`; does not call it if it is shown again before that.
    virtual void fadeOutAndOrderOut(std::chrono::milliseconds duration) = 0;
};

/// What the panel says of a saved clip beneath its title: "The whole recording: 1:05, 12.3 MB". Empty where the clip is not among `clips`.
[[nodiscard]] std::string savedClipCaption(const std::vector<ClipItem>& clips, const std::filesystem::path& clip);

/// Main thread, except where said.
class ClipSavedNotificationController final : public platform::UserNotificationCenterDelegate,
                                              public std::enable_shared_from_this<ClipSavedNotificationController> {
    struct Private { };

public:
    static constexpr const char* categoryIdentifier = "CLIP_SAVED_CATEGORY";
    static constexpr const char* previewAction = "PREVIEW_ACTION";
    static constexpr const char* revealAction = "REVEAL_ACTION";
    static constexpr const char* clipURLKey = "clipURL";
    static constexpr std::chrono::milliseconds timeOnScreen{7000};
    static constexpr std::chrono::milliseconds fadeOut{250};
    /// How often a panel that shows work looks whether that has ended.
    static constexpr std::chrono::milliseconds busyTime{1000};

    /// What the notification asks for: on many desktops it appears where the panel stands, and it has to be readable and usable when the
    /// panel has gone.
    static constexpr std::chrono::milliseconds notificationTime = timeOnScreen + fadeOut + std::chrono::seconds{8};

    struct Services {
        std::shared_ptr<platform::UserNotificationCenter> notificationCenter;
        std::shared_ptr<platform::Workspace> workspace;
        std::shared_ptr<platform::Clock> clock;
        std::shared_ptr<Executor> mainExecutor;
        std::function<std::shared_ptr<WindowPresenting>()> windows;  ///< none when there is no delegate
        std::function<std::unique_ptr<HudPanel>()> makePanel;  ///< called for the first panel only
        std::function<std::string(const std::filesystem::path&)> describeClip = {};  ///< gives a clip's caption; none: panels have none
        std::function<bool(const std::filesystem::path&)> isBusyWith = {};  ///< whether the panel shows work on it; none: it never does
    };

    /// Becomes the centre's delegate and registers the one category.
    static std::shared_ptr<ClipSavedNotificationController> create(Services services);

    ClipSavedNotificationController(Private, Services services);

    /// Any thread. `duration` in seconds; zero or less means that it is not known.
    void showClipSaved(const std::filesystem::path& clip, double duration, bool isFullDuration);

    /// For a recording whose file was moved meanwhile: a notification of where the whole file is, with the same actions. Any thread.
    void showClipMoved(const std::filesystem::path& place);

    /// For a discarded recording that is among the clips again, with the same actions. Any thread.
    void showClipRestored(const std::filesystem::path& clip);

    /// Something else that has to do with a file, with the same actions. Any thread.
    void show(const std::string& title, const std::string& body, const std::filesystem::path& file) { post(title, body, file); }

    void presentHUD(const std::filesystem::path& clip, const std::string& title);
    void dismissHUD();

    /// Any thread.
    void willPresent(const platform::NotificationContent& content, UniqueFunction<void(unsigned)> completion) override;
    void didReceive(const platform::NotificationResponse& response, UniqueFunction<void()> completion) override;

private:
    void dismissLater(const std::filesystem::path& clip, bool wasBusy);
    void post(std::string title, std::string body, const std::filesystem::path& clip);

    const Services services_;
    std::unique_ptr<HudPanel> hudWindow_;
    std::unique_ptr<platform::Timer> dismissTimer_;
};

}  // namespace velmora

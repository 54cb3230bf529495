#include "app/ClipSavedNotificationController.h"

#include <QByteArray>
#include <QUuid>

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

std::string durationText(double seconds)
{
    // QByteArray, because printf writes the decimal point of the user's locale.
    return seconds > 0 ? QByteArray::number(seconds, 'f', 1).toStdString() + "s" : "Full";
}

std::string titleText(double seconds, bool isFullDuration)
{
    return "Clip Saved (" + durationText(seconds) + (isFullDuration ? ")" : " buffered)");
}

}  // namespace

std::string savedClipCaption(const std::vector<ClipItem>& clips, const std::filesystem::path& clip)
{
    const auto saved = std::find_if(clips.begin(), clips.end(), [&](const ClipItem& item) { return item.url == clip; });
    if (saved == clips.end())
        return {};
    const auto length = saved->duration > 0 ? saved->formattedDuration() + ", " : std::string{};
    return "The whole recording: " + length + saved->formattedFileSize();
}

std::shared_ptr<ClipSavedNotificationController> ClipSavedNotificationController::create(Services services)
{
    auto controller = std::make_shared<ClipSavedNotificationController>(Private{}, std::move(services));
    auto& centre = *controller->services_.notificationCenter;
    centre.setDelegate(controller);
    centre.setNotificationCategories(
        {{categoryIdentifier, {{previewAction, "Preview & Trim", true}, {revealAction, "Reveal in Finder", false}}}});
    return controller;
}

ClipSavedNotificationController::ClipSavedNotificationController(Private, Services services) : services_(std::move(services)) { }

void ClipSavedNotificationController::showClipSaved(const std::filesystem::path& clip, double duration, bool isFullDuration)
{
    auto title = titleText(duration, isFullDuration);
    post(title, clip.filename().string() + " has been saved to your library.", clip);
    services_.mainExecutor->async([self = weak_from_this(), clip, title = std::move(title)] {
        if (const auto controller = self.lock())
            controller->presentHUD(clip, title);
    });
}

void ClipSavedNotificationController::showClipMoved(const std::filesystem::path& place)
{
    post("Clip Moved",
        place.filename().string() + " was moved while it was being recorded. The whole clip is in " + place.parent_path().string() + ".",
        place);
}

void ClipSavedNotificationController::showClipRestored(const std::filesystem::path& clip)
{
    post("Clip Restored", clip.filename().string() + " is in your library again.", clip);
}

void ClipSavedNotificationController::post(std::string title, std::string body, const std::filesystem::path& clip)
{
    services_.notificationCenter->add({QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString(),
        {
            .title = std::move(title),
            .body = std::move(body),
            .playsDefaultSound = true,
            .categoryIdentifier = categoryIdentifier,
            .userInfo = {{clipURLKey, clip.string()}},
            .leastTimeOnScreen = notificationTime,
        }});
}

void ClipSavedNotificationController::presentHUD(const std::filesystem::path& clip, const std::string& title)
{
    dismissTimer_.reset();
    if (!hudWindow_)
        hudWindow_ = services_.makePanel();
    const auto dismiss = [self = weak_from_this()] {
        if (const auto controller = self.lock())
            controller->dismissHUD();
    };
    hudWindow_->setContent({.clip = clip,
        .title = title,
        .caption = services_.describeClip ? services_.describeClip(clip) : std::string{},
        .onDismiss = dismiss});
    hudWindow_->place();
    hudWindow_->orderFrontAndFadeIn();
    dismissLater(clip, false);
}

void ClipSavedNotificationController::dismissLater(const std::filesystem::path& clip, bool wasBusy)
{
    dismissTimer_ = services_.clock->schedule(wasBusy ? busyTime : timeOnScreen, [self = weak_from_this(), clip, wasBusy] {
        const auto controller = self.lock();
        if (!controller)
            return;
        const bool isBusy = controller->services_.isBusyWith && controller->services_.isBusyWith(clip);
        // What came of the work stays as long as a saved clip does.
        if (isBusy || wasBusy)
            return controller->dismissLater(clip, isBusy);
        controller->dismissHUD();
    });
}

void ClipSavedNotificationController::dismissHUD()
{
    dismissTimer_.reset();
    if (hudWindow_)
        hudWindow_->fadeOutAndOrderOut(fadeOut);
}

void ClipSavedNotificationController::willPresent(const platform::NotificationContent&, UniqueFunction<void(unsigned)> completion)
{
    completion(platform::presentation_option::banner | platform::presentation_option::sound);
}

void ClipSavedNotificationController::didReceive(const platform::NotificationResponse& response, UniqueFunction<void()> completion)
{
    const auto& userInfo = response.content.userInfo;
    if (const auto path = userInfo.find(clipURLKey); path != userInfo.end()) {
        const std::filesystem::path clip = path->second;
        if (response.actionIdentifier == previewAction
            || response.actionIdentifier == platform::NotificationResponse::defaultActionIdentifier) {
            services_.mainExecutor->async([windows = services_.windows, clip] {
                if (const auto presenting = windows())
                    presenting->presentClipPreview(clip);
            });
        } else if (response.actionIdentifier == revealAction) {
            services_.mainExecutor->async([workspace = services_.workspace, clip] { workspace->activateFileViewerSelecting({clip}); });
        }
    }
    completion();
}

}  // namespace velmora

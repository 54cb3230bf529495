#include "app/UnheardSoundNotice.h"

#include <QUuid>

#include <algorithm>
#include <optional>
#include <utility>

namespace velmora {

using platform::UnheardReason;

namespace {

constexpr std::chrono::seconds longEnough{10};
constexpr std::chrono::seconds longestInterval{60};

}  // namespace

std::string unheardSoundText(UnheardReason reason, const std::string& application)
{
    const auto name = application.empty() ? std::string{"The application"} : application;
    switch (reason) {
    case UnheardReason::muted:
        return name + " plays, but its sound is muted, so the recording is silent. Unmute it in the desktop's sound settings.";
    case UnheardReason::undecoded:
        return name + " sends its sound to a digital output that decodes it, where it cannot be recorded.";
    case UnheardReason::anotherServer:
        return name + " plays on a sound server other than the one whose sound is recorded.";
    case UnheardReason::noStream:
        return name + " plays, but not known to the desktop as the window's own application, so the recording is silent.";
    case UnheardReason::noServer:
        break;
    }
    return "No sound server answers any more, so the recording is silent until one does.";
}

void UnheardSoundNotice::look(MonotonicTime now)
{
    const auto since = services_.observer->silentSince();
    if (!since)
        return;
    if (std::exchange(capture_, services_.observer->capture()) != services_.observer->capture())
        told_.clear();
    if (std::exchange(silentSince_, *since) != *since)
        nextQuestion_ = longEnough;
    const std::chrono::nanoseconds silence = now - *since;
    if (silence < nextQuestion_)
        return;
    nextQuestion_ = silence + std::min<std::chrono::nanoseconds>(silence, longestInterval);
    services_.observer->explainSilence([self = self_.weak(), since = *since, capture = capture_](std::optional<UnheardReason> reason) {
        const auto notice = self.lock();
        // It may have been heard, or have ended, while that was found out.
        if (!notice || !reason || notice->services_.observer->silentSince() != since || notice->services_.observer->capture() != capture)
            return;
        // Without a server nobody knows whether it plays; but it did.
        if (*reason == UnheardReason::noServer && !notice->services_.observer->wasHeard())
            return;
        notice->tell(*reason);
    });
}

void UnheardSoundNotice::tell(UnheardReason reason)
{
    if (!told_.insert(reason).second)
        return;
    platform::NotificationContent content;
    content.title = "No Sound in the Recording";
    content.body = unheardSoundText(reason, services_.applicationName ? services_.applicationName() : std::string{});
    services_.notificationCenter->add(
        {QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString(), std::move(content)}, [](const Result<void>&) {});
}

}  // namespace velmora

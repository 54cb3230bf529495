#include "platform/mac/MacDesktopInspection.h"

#include "base/MonotonicClock.h"
#include "base/Mutex.h"
#include "platform/mac/EncoderTrial.h"

#include <Carbon/Carbon.h>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace velmora::mac_backend {

namespace {

using platform::AuthorizationStatus;
using platform::DesktopFacts;

// As those of the program's own hot key.
constexpr platform::HotKeyID trialHotKey{0x56656C74 /* 'Velt' */, 1};

/// An answer that may come late, or never.
template <typename Answer>
class Pending {
public:
    void set(Answer answer)
    {
        MutexLock lock(mutex_);
        answer_ = std::move(answer);
        changed_.notifyAll();
    }

    std::optional<Answer> await(MonotonicClock::time_point deadline)
    {
        MutexLock lock(mutex_);
        while (!answer_ && changed_.waitUntil(mutex_, deadline)) { }
        return answer_;
    }

private:
    Mutex mutex_;
    ConditionVariable changed_;
    std::optional<Answer> answer_ GUARDED_BY(mutex_);
};

/// Asks on a thread of its own.
template <typename Ask>
auto ask(Ask question)
{
    const auto pending = std::make_shared<Pending<decltype(question())>>();
    std::thread{[pending, question = std::move(question)] { pending->set(question()); }}.detach();
    return pending;
}

/// A folder that is not there is made with the first clip: what counts is the nearest one above it.
DesktopFacts::Disk diskOf(const platform::FileManager& files, std::filesystem::path folder)
{
    DesktopFacts::Disk disk;
    disk.folder = folder;
    disk.exists = files.fileExists(folder);
    while (!files.fileExists(folder) && folder.has_relative_path())
        folder = folder.parent_path();
    if (const auto writable = files.checkWritable(folder); !writable)
        disk.refusal = writable.error().localizedDescription;
    std::error_code error;
    if (const auto space = std::filesystem::space(folder, error); !error)
        disk.freeBytes = space.available;
    return disk;
}

DesktopFacts::Notifications notificationsOf(AuthorizationStatus status)
{
    DesktopFacts::Notifications notifications;
    switch (status) {
    case AuthorizationStatus::authorized:
    case AuthorizationStatus::provisional:
    case AuthorizationStatus::ephemeral:
        notifications.service = "The system";
        break;
    case AuthorizationStatus::notDetermined:
        notifications.canBeStarted = true;
        break;
    case AuthorizationStatus::denied:
        break;
    }
    return notifications;
}

class MacDesktopInspection final : public platform::DesktopInspection {
public:
    explicit MacDesktopInspection(InspectedServices services) : services_(std::move(services)) { }

    DesktopFacts inspect(const Questions& questions, std::chrono::milliseconds patience) override
    {
        const auto deadline = MonotonicClock::now() + patience;
        const auto encoder = ask([sessions = services_.compressionSessions] { return tryEncoder(*sessions); });
        const auto disk = ask([files = services_.fileManager, folder = questions.clipsFolder] { return diskOf(*files, folder); });
        const auto notifications = std::make_shared<Pending<AuthorizationStatus>>();
        services_.userNotificationCenter->getAuthorizationStatus(
            [notifications](AuthorizationStatus status) { notifications->set(status); });

        const auto late =
            "no answer within " + std::to_string(std::chrono::duration_cast<std::chrono::seconds>(patience).count()) + " seconds";
        DesktopFacts facts;
        facts.system = services_.system;
        facts.display = display();
        facts.shortcut = shortcut(questions);
        facts.program.failure = "on a Mac there is no way to it yet";
        // On a Mac it is a part of the system.
        facts.tray.hasStatusNotifierHost = true;
        facts.encoders.library = "VideoToolbox";
        if (auto answer = encoder->await(deadline))
            facts.encoders.tried.push_back(std::move(*answer));
        else
            facts.encoders.failure = late;
        if (const auto answer = notifications->await(deadline))
            facts.notifications = notificationsOf(*answer);
        else
            facts.notifications.failure = late;
        if (auto answer = disk->await(deadline))
            facts.disk = std::move(*answer);
        else {
            facts.disk.folder = questions.clipsFolder;
            facts.disk.failure = late;
        }
        return facts;
    }

private:
    [[nodiscard]] DesktopFacts::Display display() const
    {
        DesktopFacts::Display display;
        display.kind = DesktopFacts::DisplayKind::mac;
        if (!services_.screenCaptureAccess->preflightScreenCaptureAccess()) {
            const auto explanation = services_.screenCaptureAccess->explanation();
            display.failure = "the screen may not be captured" + (explanation.empty() ? "" : ": " + explanation);
        }
        return display;
    }

    [[nodiscard]] DesktopFacts::Shortcut shortcut(const Questions& questions) const
    {
        using State = DesktopFacts::Shortcut::State;
        const auto registered = services_.hotKeyCenter->registerEventHotKey(questions.keyCode, questions.modifiers, trialHotKey);
        if (!registered)
            return {registered.error() == eventHotKeyExistsErr ? State::taken : State::unknown};
        services_.hotKeyCenter->unregisterEventHotKey(*registered);
        return {State::free};
    }

    const InspectedServices services_;
};

}  // namespace

std::unique_ptr<platform::DesktopInspection> makeDesktopInspection(InspectedServices services)
{
    return std::make_unique<MacDesktopInspection>(std::move(services));
}

}  // namespace velmora::mac_backend

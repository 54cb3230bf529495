#include "platform/linux/portal/PortalShareableContent.h"

#include "base/Mutex.h"
#include "platform/linux/kernel/ProcessRecords.h"
#include "platform/linux/portal/CastLife.h"
#include "platform/linux/portal/CastStream.h"
#include "platform/linux/portal/Errors.h"
#include "platform/linux/portal/ScreenCastSession.h"

#include <QTimer>

#include <algorithm>
#include <cassert>
#include <ctime>
#include <functional>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

namespace {

// The least that the catalogue lists. What the user chose in the desktop's dialog is not too small to be listed.
constexpr double smallestSide = 100;

/// A window while it is shared. Made and destroyed on the main thread.
struct Cast {
    CastLife life;
    QTimer patience;  ///< with the first picture, or with those who want to capture it
    WindowGrant grant;
    std::unique_ptr<ScreenCastSession> session;
    std::unique_ptr<CastStream> stream;

    std::string application;  ///< the name of its desktop entry, where the desktop gives it
    std::vector<engine::SoundingApplication> listed;  ///< each was offered as the one whose sound to take
    std::optional<engine::SoundingApplication> sounding;  ///< the one whose sound is taken
};

platform::ShareableWindow chooserEntry()
{
    platform::ShareableWindow entry;
    entry.windowID = PortalShareableContent::chooserID;
    entry.isChoice = true;
    return entry;
}

platform::ShareableWindow entryFor(const WindowGrant& grant, bool isOnScreen)
{
    platform::ShareableWindow entry;
    entry.windowID = grant.id;
    entry.chosenAt = std::chrono::sys_seconds{std::chrono::seconds{grant.grantedAt}};
    entry.frame = {0, 0, std::max<double>(smallestSide, grant.width), std::max<double>(smallestSide, grant.height)};
    entry.isOnScreen = isOnScreen;
    return entry;
}

platform::RunningApplication runningApplication(const engine::SoundingApplication& application)
{
    const auto& identity = application.identity;
    return {
        .bundleIdentifier = identity.portalApplicationID.empty() ? identity.binary : identity.portalApplicationID,
        .applicationName = application.displayName(),
        .processID = application.processID,
    };
}

/// Whether an application of that desktop entry would call itself that: "org.mozilla.firefox" and "firefox" are one.
bool hasDesktopEntry(const engine::ApplicationIdentity& application, std::string_view entry)
{
    const auto last = entry.substr(entry.rfind('.') + 1);
    for (const auto name : {entry, last}) {
        if (engine::equalNames(application.portalApplicationID, name) || engine::equalNames(application.binary, name)
            || engine::equalNames(application.name, name))
            return true;
    }
    return false;
}

/// What there is to choose from for a window for which `before` was chosen last time. `entry` is the desktop entry of its application,
/// or empty. An application that was chosen before is added to `applications` if it is missing.
platform::SoundChoices soundChoices(std::vector<engine::SoundingApplication>& applications,
    const std::optional<engine::ApplicationIdentity>& before, const std::string& entry)
{
    platform::SoundChoices choices;
    bool isThere = false;
    for (const auto& application : applications) {
        const bool wasChosen = before && engine::isSameApplication(*before, application.identity);
        isThere = isThere || wasChosen;
        choices.applications.push_back({runningApplication(application), application.nowPlaying, application.isPlaying,
            !entry.empty() && hasDesktopEntry(application.identity, entry), wasChosen});
    }
    choices.wasNoSoundChosen = before && !before->isKnown();
    if (before && before->isKnown() && !isThere) {
        applications.push_back({.identity = *before, .processID = 0, .nowPlaying = {}, .isPlaying = false});
        choices.applications.push_back({.application = runningApplication(applications.back()), .nowPlaying = {}, .wasChosen = true});
    }
    return choices;
}

Error noLongerShared()
{
    return failPortal(PortalErrorCode::windowUnavailable, "The desktop no longer shares the window.").value();
}

}  // namespace

/// The main thread's, but for what the lock guards.
class PortalShareableContent::State : public std::enable_shared_from_this<PortalShareableContent::State> {
public:
    State(std::shared_ptr<Executor> mainExecutor, PortalShareableContentOptions options)
        : mainExecutor_(std::move(mainExecutor))
        , options_(std::move(options))
        , grants_(options_.grantsFile)
    {
    }

    platform::ShareableContent content(bool onScreenOnly)
    {
        std::optional<WindowGrant> shared;
        {
            MutexLock lock(mutex_);
            shared = shared_;
        }
        platform::ShareableContent content;
        if (shared)
            content.windows.push_back(entryFor(*shared, true));
        if (onScreenOnly)
            return content;
        for (const auto& grant : grants_.grants()) {
            if (!shared || shared->id != grant.id)
                content.windows.push_back(entryFor(grant, false));
        }
        content.windows.push_back(chooserEntry());
        return content;
    }

    [[nodiscard]] bool isListed(std::uint32_t id)
    {
        const auto listed = content(false).windows;
        return std::any_of(listed.begin(), listed.end(), [&](const auto& window) { return window.windowID == id; });
    }

    void request(std::uint32_t id, RequestCompletion completion)
    {
        finish(std::optional<platform::ShareableWindow>{});
        if (const auto cast = live(id)) {
            happen(cast, CastLife::Event::requestedAgain);
            return mainExecutor_->async([entry = entryFor(cast->grant, true), completion = std::move(completion)]() mutable {
                completion(std::optional{std::move(entry)});
            });
        }
        completion_ = std::move(completion);
        requested_ = std::make_shared<Cast>();
        requested_->patience.setSingleShot(true);
        casts_.push_back(requested_);
        const auto known = grants_.grants();
        const auto found = std::find_if(known.begin(), known.end(), [&](const auto& grant) { return grant.id == id; });
        requested_->grant = found == known.end() ? WindowGrant{} : *found;
        const std::weak_ptr<State> weak = weak_from_this();
        const std::weak_ptr<Cast> cast = requested_;
        QObject::connect(&requested_->patience, &QTimer::timeout, [weak, cast] {
            const auto self = weak.lock();
            const auto waiting = cast.lock();
            if (!self || !waiting)
                return;
            self->lostPatience(waiting);
            // The timer is not to go while it calls.
            self->mainExecutor_->async([waiting] {});
        });
        requested_->session = std::make_unique<ScreenCastSession>(
            options_.busAddress, requested_->grant.restoreToken,
            [weak, cast](Result<std::optional<SharedWindow>> window) {
                const auto self = weak.lock();
                const auto asked = cast.lock();
                if (self && asked)
                    self->opened(asked, std::move(window));
            },
            [weak, cast] {
                const auto self = weak.lock();
                const auto closed = cast.lock();
                if (self && closed)
                    self->ended(closed, noLongerShared());
            });
    }

    void getSoundChoices(std::uint32_t id, SoundCompletion completion)
    {
        const auto cast = live(id);
        if (!cast || !options_.listSoundStreams)
            return mainExecutor_->async([completion = std::move(completion)]() mutable { completion(std::nullopt); });
        happen(cast, CastLife::Event::soundAsked);
        const std::weak_ptr<State> weak = weak_from_this();
        soundQueue_.async([weak, cast = std::weak_ptr(cast), list = options_.listSoundStreams, executor = mainExecutor_,
                              completion = std::move(completion)]() mutable {
            executor->async([weak, cast, streams = list(), completion = std::move(completion)]() mutable {
                const auto self = weak.lock();
                const auto asked = cast.lock();
                if (self && asked && streams)
                    return completion(choicesFor(*asked, *streams));
                if (self && asked)
                    self->happen(asked, CastLife::Event::soundDecided);
                completion(std::nullopt);
            });
        });
    }

    void chooseSound(std::uint32_t id, const platform::SoundChoice& choice)
    {
        const auto cast = live(id);
        if (!cast)
            return;
        cast->sounding.reset();
        cast->grant.sound.emplace();
        if (choice.application) {
            const auto chosen = std::find_if(cast->listed.begin(), cast->listed.end(),
                [&](const auto& application) { return runningApplication(application) == *choice.application; });
            assert(chosen != cast->listed.end() && "only what was offered is chosen");
            cast->sounding = *chosen;
            cast->grant.sound = chosen->identity;
        }
        remember(cast->grant);
        happen(cast, CastLife::Event::soundDecided);
    }

    void giveBack(std::uint32_t id)
    {
        if (const auto cast = live(id))
            happen(cast, CastLife::Event::givenBack);
    }

    [[nodiscard]] std::optional<engine::AudioTarget> audioTarget(std::uint32_t id) const
    {
        const auto cast = live(id);
        if (!cast || !cast->sounding)
            return std::nullopt;
        const auto& application = *cast->sounding;
        return engine::AudioTarget{
            .processID = application.processID,
            .applicationName = application.identity.name,
            .bundleIdentifier = application.identity.binary,
            .portalApplicationID = application.identity.portalApplicationID,
            .isFollowedByName = true,
            // What it has started itself was offered as another application.
            .ownsWindowsOfAnotherApplication =
                [program = readExecutable(application.processID)](std::int32_t processID) {
                    const auto other = readExecutable(processID);
                    return !program.empty() && !other.empty() && other != program;
                },
        };
    }

    /// Held until it is released as often as it was taken: so it ends here, whatever becomes of work that is never run.
    std::shared_ptr<Cast> take(std::uint32_t id)
    {
        const auto cast = live_.lock();
        if (!cast)
            return nullptr;
        if (cast->grant.id == id)
            return happen(cast, CastLife::Event::taken) ? cast : nullptr;
        happen(cast, CastLife::Event::givenBack);
        return nullptr;
    }

    void release(const Cast* released)
    {
        const auto found = std::find_if(casts_.begin(), casts_.end(), [&](const auto& cast) { return cast.get() == released; });
        if (found != casts_.end())
            happen(std::shared_ptr{*found}, CastLife::Event::released);
    }

    [[nodiscard]] const std::shared_ptr<Executor>& mainExecutor() const { return mainExecutor_; }

private:
    [[nodiscard]] std::shared_ptr<Cast> live(std::uint32_t id) const
    {
        auto cast = live_.lock();
        return cast && cast->life.isGranted() && cast->grant.id == id ? cast : nullptr;
    }

    /// The one place where a cast's state changes, and what hangs on it. False when nothing comes of the event.
    bool happen(const std::shared_ptr<Cast>& cast, CastLife::Event event)
    {
        if (!cast->life.happen(event))
            return false;
        if (cast->life.state() == CastLife::State::connecting)
            cast->patience.start(options_.firstPicturePatience);
        else if (cast->life.isToBeTakenSoon())
            cast->patience.start(options_.unclaimedPatience);
        else
            cast->patience.stop();
        if (!cast->life.isGranted() && cast == live_.lock())
            nothingIsShared();
        if (cast->life.state() == CastLife::State::over)
            std::erase(casts_, cast);
        return true;
    }

    void lostPatience(const std::shared_ptr<Cast>& cast)
    {
        if (cast->life.state() == CastLife::State::connecting)
            finish(failPortal(PortalErrorCode::noPicture, "The desktop shared the window, but showed no picture of it."));
        else
            happen(cast, CastLife::Event::givenBack);
    }

    static platform::SoundChoices choicesFor(Cast& cast, const std::vector<engine::SoundStream>& streams)
    {
        auto applications = engine::soundingApplications(streams, systemProcesses());
        auto choices = soundChoices(applications, cast.grant.sound, cast.application);
        cast.listed.insert(cast.listed.end(), applications.begin(), applications.end());
        return choices;
    }

    void opened(const std::shared_ptr<Cast>& asked, Result<std::optional<SharedWindow>> window)
    {
        if (!window)
            return finish(fail(std::move(window.error())));
        if (!*window)
            return finish(std::optional<platform::ShareableWindow>{});
        if (!happen(asked, CastLife::Event::handedOut))
            return;
        auto& grant = asked->grant;
        const bool wasKnown = grant.id != 0;
        grant.restoreToken = (*window)->restoreToken;
        grant.grantedAt = wasKnown ? grant.grantedAt : std::time(nullptr);
        // The old token is used up, whatever becomes of this session.
        if (wasKnown)
            remember(grant);

        const std::weak_ptr<State> weak = weak_from_this();
        const std::weak_ptr<Cast> cast = asked;
        const auto post = [weak, cast, executor = mainExecutor_](auto work) {
            executor->async([weak, cast, work = std::move(work)]() mutable {
                const auto self = weak.lock();
                const auto owner = cast.lock();
                if (self && owner)
                    work(*self, owner);
            });
        };
        auto stream = CastStream::create(std::move((*window)->remote), (*window)->nodeID,
            {.firstPicture =
                    [post](std::int32_t width, std::int32_t height, const std::string& application) {
                        post([width, height, application](State& self, const std::shared_ptr<Cast>& owner) {
                            owner->application = application;
                            self.shown(owner, width, height);
                        });
                    },
                .stopped =
                    [post](const Error& error) {
                        post([error](State& self, const std::shared_ptr<Cast>& owner) { self.ended(owner, error); });
                    }});
        if (!stream)
            return finish(fail(std::move(stream.error())));
        asked->stream = std::move(*stream);
    }

    void shown(const std::shared_ptr<Cast>& cast, std::int32_t width, std::int32_t height)
    {
        if (!happen(cast, CastLife::Event::shown))
            return;
        // Of what was granted before, only a capture is wanted any more.
        if (const auto before = live_.lock())
            happen(before, CastLife::Event::givenBack);
        auto& grant = cast->grant;
        if (grant.id == 0)
            grant.id = freeID();
        grant.width = width;
        grant.height = height;
        remember(grant);
        {
            MutexLock lock(mutex_);
            shared_ = grant;
        }
        live_ = cast;
        finish(std::optional{entryFor(grant, true)});
    }

    [[nodiscard]] std::uint32_t freeID()
    {
        const auto id = grants_.freeID();
        MutexLock lock(mutex_);
        return shared_ && shared_->id == id ? id + 1 : id;
    }

    void nothingIsShared()
    {
        MutexLock lock(mutex_);
        shared_.reset();
    }

    /// Sharing ended by itself.
    void ended(const std::shared_ptr<Cast>& cast, const Error& error)
    {
        const bool wasGranted = cast->life.isGranted();
        if (!happen(cast, CastLife::Event::endedByDesktop))
            return;
        if (wasGranted)
            cast->stream->end(error);
        else
            finish(fail(error));
    }

    void remember(const WindowGrant& grant)
    {
        if (grant.restoreToken.empty())
            grants_.remove(grant.id);
        else
            grants_.store(grant);
    }

    void finish(Result<std::optional<platform::ShareableWindow>> result)
    {
        if (const auto cast = std::exchange(requested_, nullptr))
            happen(cast, CastLife::Event::requestEnded);
        if (auto completion = std::exchange(completion_, nullptr))
            completion(std::move(result));
    }

    const std::shared_ptr<Executor> mainExecutor_;
    const PortalShareableContentOptions options_;
    SerialQueue soundQueue_{"com.velmora.portal.sound"};
    WindowGrants grants_;
    RequestCompletion completion_;
    std::vector<std::shared_ptr<Cast>> casts_;  // until they are over, so that they end here
    std::shared_ptr<Cast> requested_;  // on its way
    std::weak_ptr<Cast> live_;  // the last one that was granted
    Mutex mutex_;
    std::optional<WindowGrant> shared_ GUARDED_BY(mutex_);
};

namespace {

/// Says when the sharing is no longer wanted. It ends on the main thread.
class PortalVideoSource final : public engine::VideoSource {
public:
    PortalVideoSource(std::shared_ptr<Cast> cast, std::function<void()> release, const platform::StreamConfiguration& configuration,
        engine::PictureScalerFactory makeScaler)
        : cast_(std::move(cast))
        , release_(std::move(release))
        , configuration_(configuration)
        , makeScaler_(std::move(makeScaler))
    {
    }

    ~PortalVideoSource() override { stop(); }

    Result<void> start(Callbacks callbacks) override
    {
        if (!cast_)
            return fail(noLongerShared());
        auto attached = cast_->stream->attach(configuration_, std::move(makeScaler_), std::move(callbacks));
        if (!attached)
            return fail(std::move(attached.error()));
        attachment_ = *attached;
        return {};
    }

    Result<void> updateSize(std::int32_t width, std::int32_t height) override
    {
        if (!attachment_)
            return fail(noLongerShared());
        return cast_->stream->updateSize(*attachment_, width, height);
    }

    void wantPicture() override
    {
        if (attachment_)
            cast_->stream->wantPicture(*attachment_);
    }

    void stop() override
    {
        if (!cast_)
            return;
        if (attachment_)
            cast_->stream->detach(*attachment_);
        cast_.reset();
        release_();
    }

private:
    std::shared_ptr<Cast> cast_;
    const std::function<void()> release_;
    const platform::StreamConfiguration configuration_;
    engine::PictureScalerFactory makeScaler_;
    std::optional<CastStream::Attachment> attachment_;
};

}  // namespace

PortalShareableContent::PortalShareableContent(std::shared_ptr<Executor> mainExecutor, PortalShareableContentOptions options)
    : state_(std::make_shared<State>(std::move(mainExecutor), std::move(options)))
{
}

PortalShareableContent::~PortalShareableContent() = default;

void PortalShareableContent::getShareableContent(bool, bool onScreenWindowsOnly, Completion completion)
{
    completion(state_->content(onScreenWindowsOnly));
}

bool PortalShareableContent::needsRequest(std::uint32_t windowID) const
{
    return state_->isListed(windowID);
}

void PortalShareableContent::requestWindow(std::uint32_t windowID, RequestCompletion completion)
{
    state_->request(windowID, std::move(completion));
}

void PortalShareableContent::getSoundChoices(std::uint32_t windowID, SoundCompletion completion)
{
    state_->getSoundChoices(windowID, std::move(completion));
}

void PortalShareableContent::chooseSound(std::uint32_t windowID, const platform::SoundChoice& choice)
{
    state_->chooseSound(windowID, choice);
}

void PortalShareableContent::giveBackWindow(std::uint32_t windowID)
{
    state_->giveBack(windowID);
}

std::optional<engine::AudioTarget> PortalShareableContent::audioTarget(std::uint32_t windowID) const
{
    return state_->audioTarget(windowID);
}

std::unique_ptr<engine::VideoSource> PortalShareableContent::makeVideoSource(
    std::uint32_t windowID, const platform::StreamConfiguration& configuration, engine::PictureScalerFactory makeScaler)
{
    auto cast = state_->take(windowID);
    auto release = [weak = std::weak_ptr(state_), executor = state_->mainExecutor(), taken = cast.get()] {
        executor->async([weak, taken] {
            if (const auto state = weak.lock())
                state->release(taken);
        });
    };
    return std::make_unique<PortalVideoSource>(std::move(cast), std::move(release), configuration, std::move(makeScaler));
}

}  // namespace velmora::linux_backend

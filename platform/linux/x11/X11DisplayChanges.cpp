#include "platform/linux/x11/X11DisplayChanges.h"

#include "platform/linux/x11/Errors.h"

#include <atomic>
#include <utility>
#include <xcb/randr.h>

namespace velmora::linux_backend {

namespace {

constexpr std::uint32_t majorVersion = 1;
constexpr std::uint32_t minorVersion = 2;
constexpr std::uint8_t eventCount = 2;  // RRScreenChangeNotify and RRNotify

bool selectEvents(const Connection& connection)
{
    if (!connection.has(xcb_randr_id))
        return false;
    const auto version =
        connection.reply(xcb_randr_query_version_reply, xcb_randr_query_version(connection.xcb(), majorVersion, minorVersion));
    if (!version || (version->major_version == majorVersion && version->minor_version < minorVersion))
        return false;
    return connection.succeeded(xcb_randr_select_input_checked(connection.xcb(), connection.root(),
        XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE | XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE));
}

}  // namespace

struct X11DisplayChanges::State {
    std::function<void()> changed;  // the main thread's
    std::atomic<bool> isTold = false;  // but not heard yet
};

class X11DisplayChanges::Listener final : public X11EventThread::Listener {
public:
    Listener(std::uint8_t firstEvent, std::shared_ptr<Executor> mainExecutor, std::weak_ptr<State> state)
        : firstEvent_(firstEvent)
        , mainExecutor_(std::move(mainExecutor))
        , state_(std::move(state))
    {
    }

    void handle(const xcb_generic_event_t& event) override
    {
        const auto type = typeOf(event);
        if (type >= firstEvent_ && type < firstEvent_ + unsigned{eventCount})
            isChanged_ = true;
    }

    void eventsHandled(Connection&) override
    {
        if (!std::exchange(isChanged_, false))
            return;
        const auto state = state_.lock();
        if (!state || state->isTold.exchange(true))
            return;
        mainExecutor_->async([weak = state_] {
            const auto told = weak.lock();
            if (!told)
                return;
            told->isTold = false;
            told->changed();
        });
    }

private:
    const std::uint8_t firstEvent_;
    const std::shared_ptr<Executor> mainExecutor_;
    const std::weak_ptr<State> state_;
    bool isChanged_ = false;
};

Result<std::unique_ptr<X11DisplayChanges>> X11DisplayChanges::observe(
    std::shared_ptr<X11EventThread> events, std::shared_ptr<Executor> mainExecutor, std::function<void()> changed)
{
    std::unique_ptr<X11DisplayChanges> changes{new X11DisplayChanges(std::move(events))};
    changes->state_ = std::make_shared<State>();
    changes->state_->changed = std::move(changed);
    auto ran = changes->events_->run([&](X11EventThread::Context& context) {
        if (!selectEvents(context.connection))
            return;
        changes->listener_ =
            std::make_shared<Listener>(context.connection.firstEvent(xcb_randr_id), std::move(mainExecutor), changes->state_);
        context.listeners.push_back(changes->listener_);
    });
    if (!ran)
        return fail(std::move(ran.error()));
    if (!changes->listener_)
        return failX11(X11ErrorCode::extensionMissing, "The X server does not offer the RandR 1.2 extension.");
    return changes;
}

X11DisplayChanges::~X11DisplayChanges()
{
    // The thread goes on hearing the events: another observer may need them.
    if (listener_)
        static_cast<void>(events_->run([&](X11EventThread::Context& context) { std::erase(context.listeners, listener_); }));
}

}  // namespace velmora::linux_backend

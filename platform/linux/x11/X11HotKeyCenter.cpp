#include "platform/linux/x11/X11HotKeyCenter.h"

#include "platform/linux/x11/KeyGrabs.h"
#include "platform/linux/x11/KeyText.h"

#include <map>
#include <utility>

namespace velmora::linux_backend {

/// What belongs to the main thread. Presses on their way hold it weakly.
struct X11HotKeyCenter::State {
    void deliver(HotKeyReference pressed)
    {
        // It may have been unregistered since the press, and a handler may remove handlers.
        const auto found = registrations.find(pressed);
        if (found == registrations.end())
            return;
        const platform::HotKeyEvent event{found->second};
        const auto current = handlers;
        for (const auto& [reference, handler] : current) {
            if (handlers.contains(reference))
                handler(event);
        }
    }

    std::function<void()> keyTextsChanged;
    std::map<EventHandlerReference, EventHandler> handlers;
    std::map<HotKeyReference, platform::HotKeyID> registrations;
    std::uint64_t lastReference = 0;
};

X11HotKeyCenter::X11HotKeyCenter(std::shared_ptr<X11EventThread> events, std::shared_ptr<Executor> mainExecutor)
    : events_(std::move(events))
    , mainExecutor_(std::move(mainExecutor))
    , state_(std::make_shared<State>())
{
}

X11HotKeyCenter::~X11HotKeyCenter()
{
    if (!grabs_)
        return;
    // Where the display is gone, so are the grabs.
    static_cast<void>(events_->run([grabs = grabs_](X11EventThread::Context& context) {
        grabs->removeAll(context.connection);
        std::erase(context.listeners, grabs);
    }));
}

tl::expected<X11HotKeyCenter::EventHandlerReference, platform::HotKeyStatus> X11HotKeyCenter::installEventHandler(EventHandler handler)
{
    state_->handlers[++state_->lastReference] = std::move(handler);
    return state_->lastReference;
}

void X11HotKeyCenter::removeEventHandler(EventHandlerReference reference)
{
    state_->handlers.erase(reference);
}

tl::expected<X11HotKeyCenter::HotKeyReference, platform::HotKeyStatus> X11HotKeyCenter::registerEventHotKey(
    std::uint32_t keyCode, std::uint32_t modifiers, platform::HotKeyID hotKeyID)
{
    const bool isFirst = !grabs_;
    if (isFirst) {
        const auto later = [executor = mainExecutor_, state = std::weak_ptr{state_}](auto work) {
            executor->async([state, work] {
                if (const auto center = state.lock())
                    work(*center);
            });
        };
        grabs_ =
            std::make_shared<KeyGrabs>([later](HotKeyReference pressed) { later([pressed](State& center) { center.deliver(pressed); }); },
                [later, areObserved = areKeyTextsObserved_] {
                    if (!*areObserved)
                        return;
                    later([](const State& center) {
                        if (center.keyTextsChanged)
                            center.keyTextsChanged();
                    });
                });
    }
    const auto reference = ++state_->lastReference;
    platform::HotKeyStatus status = 0;
    const auto ran = events_->run([&](X11EventThread::Context& context) {
        if (isFirst)
            context.listeners.push_back(grabs_);
        status = grabs_->add(context.connection, reference, keyCode, modifiers);
    });
    if (!ran) {
        // Not among the listeners yet: the next registration tries again.
        if (isFirst)
            grabs_.reset();
        return tl::unexpected(hot_key_status::displayUnavailable);
    }
    if (status != 0)
        return tl::unexpected(status);
    state_->registrations[reference] = hotKeyID;
    return reference;
}

void X11HotKeyCenter::unregisterEventHotKey(HotKeyReference reference)
{
    if (state_->registrations.erase(reference) == 0)
        return;
    // Where the display is gone, so is the grab.
    static_cast<void>(events_->run([&](X11EventThread::Context& context) { grabs_->remove(context.connection, reference); }));
}

std::string X11HotKeyCenter::keyText(std::uint32_t keyCode) const
{
    std::string text;
    // Where the display is gone, nothing is reported.
    static_cast<void>(events_->run([&](X11EventThread::Context& context) { text = readTextOfKey(context.connection, keyCode); }));
    return text;
}

void X11HotKeyCenter::observeKeyTexts(std::function<void()> changed)
{
    *areKeyTextsObserved_ = changed != nullptr;
    state_->keyTextsChanged = std::move(changed);
}

}  // namespace velmora::linux_backend

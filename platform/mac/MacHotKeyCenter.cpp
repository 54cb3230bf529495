#include "platform/mac/MacHotKeyCenter.h"

#include <Carbon/Carbon.h>
#include <map>
#include <optional>
#include <utility>

namespace velmora::mac_backend {

namespace {

using platform::HotKeyCenter;
using platform::HotKeyEvent;
using platform::HotKeyID;
using platform::HotKeyStatus;

static_assert(HotKeyCenter::commandModifier == cmdKey && HotKeyCenter::shiftModifier == shiftKey
    && HotKeyCenter::optionModifier == optionKey && HotKeyCenter::controlModifier == controlKey);

class MacHotKeyCenter final : public HotKeyCenter {
public:
    MacHotKeyCenter() = default;
    MacHotKeyCenter(const MacHotKeyCenter&) = delete;
    MacHotKeyCenter& operator=(const MacHotKeyCenter&) = delete;
    ~MacHotKeyCenter() override
    {
        for (const auto& [reference, hotKey] : hotKeys_)
            UnregisterEventHotKey(hotKey);
        handlers_->clear();
        endListening();
    }

    tl::expected<EventHandlerReference, HotKeyStatus> installEventHandler(EventHandler handler) override
    {
        // One for all handlers: the system offers an event to the newest first, and to no other once one has taken it.
        if (!listener_) {
            const EventTypeSpec pressed{kEventClassKeyboard, kEventHotKeyPressed};
            EventHandlerRef listener = nullptr;
            const OSStatus status =
                InstallEventHandler(GetEventDispatcherTarget(), &MacHotKeyCenter::didPress, 1, &pressed, handlers_.get(), &listener);
            if (status != noErr)
                return tl::unexpected(HotKeyStatus{status});
            listener_ = listener;
        }
        (*handlers_)[++lastReference_] = std::move(handler);
        return lastReference_;
    }

    void removeEventHandler(EventHandlerReference reference) override
    {
        handlers_->erase(reference);
        if (handlers_->empty())
            endListening();
    }

    tl::expected<HotKeyReference, HotKeyStatus> registerEventHotKey(
        std::uint32_t keyCode, std::uint32_t modifiers, HotKeyID hotKeyID) override
    {
        EventHotKeyRef hotKey = nullptr;
        const OSStatus status =
            RegisterEventHotKey(keyCode, modifiers, {hotKeyID.signature, hotKeyID.id}, GetEventDispatcherTarget(), 0, &hotKey);
        if (status != noErr)
            return tl::unexpected(HotKeyStatus{status});
        hotKeys_[++lastReference_] = hotKey;
        return lastReference_;
    }

    void unregisterEventHotKey(HotKeyReference reference) override
    {
        if (const auto node = hotKeys_.extract(reference))
            UnregisterEventHotKey(node.mapped());
    }

private:
    struct Handlers : std::map<EventHandlerReference, EventHandler>, std::enable_shared_from_this<Handlers> { };

    static OSStatus didPress(EventHandlerCallRef, EventRef event, void* handlers)
    {
        EventHotKeyID pressed{};
        const bool isTold =
            GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, nullptr, sizeof pressed, nullptr, &pressed) == noErr;
        const HotKeyEvent hotKeyEvent{isTold ? std::optional{HotKeyID{pressed.signature, pressed.id}} : std::nullopt};
        // A handler may remove handlers, and may end the center.
        const auto current = static_cast<Handlers*>(handlers)->shared_from_this();
        const std::map<EventHandlerReference, EventHandler> all = *current;
        HotKeyStatus status = eventNotHandledErr;
        for (const auto& [reference, handler] : all) {
            if (!current->contains(reference))
                continue;
            if (const auto answer = handler(hotKeyEvent); status != noErr)
                status = answer;
        }
        return status;
    }

    void endListening()
    {
        if (auto* listener = std::exchange(listener_, nullptr))
            RemoveEventHandler(listener);
    }

    const std::shared_ptr<Handlers> handlers_ = std::make_shared<Handlers>();
    std::map<HotKeyReference, EventHotKeyRef> hotKeys_;
    EventHandlerRef listener_ = nullptr;
    std::uint64_t lastReference_ = 0;
};

}  // namespace

std::shared_ptr<HotKeyCenter> makeHotKeyCenter()
{
    return std::make_shared<MacHotKeyCenter>();
}

}  // namespace velmora::mac_backend

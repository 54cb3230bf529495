#include "tests/platform/mac/standins/CarbonStandIn.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

struct OpaqueEventHandlerRef {
    EventHandlerUPP handler;
    void* userData;
};
struct EventHotKeyRefStructure {
    EventHotKeyID id;
};
struct OpaqueEventRef {
    std::optional<EventHotKeyID> id;
};
struct OpaqueEventTargetRef { };

namespace {

using velmora::standin::carbon;

std::vector<std::unique_ptr<OpaqueEventHandlerRef>> handlers;
std::vector<std::unique_ptr<EventHotKeyRefStructure>> hotKeys;
OpaqueEventTargetRef dispatcher;

[[noreturn]] void refuse(const char* what)
{
    std::fprintf(stderr, "Carbon stand-in: %s\n", what);
    std::abort();
}

// What is not known any more is an error of the caller that the real one need not survive.
template <typename All, typename Reference>
void forget(All& all, Reference reference, const char* what)
{
    const auto found = std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.get() == reference; });
    if (found == all.end())
        refuse(what);
    all.erase(found);
}

}  // namespace

namespace velmora::standin {

Carbon& carbon()
{
    static Carbon state;
    return state;
}

void resetCarbon()
{
    if (!handlers.empty())
        refuse("a handler was left installed");
    if (!hotKeys.empty())
        refuse("a hot key was left registered");
    carbon() = {};
}

std::size_t hotKeyCount()
{
    return hotKeys.size();
}

std::size_t handlerCount()
{
    return handlers.size();
}

std::optional<OSStatus> pressHotKey(std::optional<EventHotKeyID> id)
{
    const auto isThePressed = [&](const auto& hotKey) { return hotKey->id.signature == id->signature && hotKey->id.id == id->id; };
    if (id && std::none_of(hotKeys.begin(), hotKeys.end(), isThePressed))
        return std::nullopt;
    OpaqueEventRef event{id};
    std::vector<OpaqueEventHandlerRef*> asked;
    for (auto each = handlers.rbegin(); each != handlers.rend(); ++each)
        asked.push_back(each->get());
    std::optional<OSStatus> status;
    for (const auto* each : asked) {
        const bool isThere = std::any_of(handlers.begin(), handlers.end(), [&](const auto& handler) { return handler.get() == each; });
        if (isThere && status.value_or(eventNotHandledErr) == eventNotHandledErr)
            status = each->handler(nullptr, &event, each->userData);
    }
    return status;
}

}  // namespace velmora::standin

extern "C" {

EventTargetRef GetEventDispatcherTarget()
{
    return &dispatcher;
}

OSStatus InstallEventHandler(EventTargetRef target, EventHandlerUPP handler, ItemCount typeCount, const EventTypeSpec* types,
    void* userData, EventHandlerRef* installed)
{
    if (target != &dispatcher || typeCount != 1 || types->eventClass != kEventClassKeyboard || types->eventKind != kEventHotKeyPressed)
        refuse("a handler for something else than the presses of hot keys");
    if (carbon().installStatus != noErr)
        return carbon().installStatus;
    handlers.push_back(std::make_unique<OpaqueEventHandlerRef>(OpaqueEventHandlerRef{handler, userData}));
    *installed = handlers.back().get();
    return noErr;
}

OSStatus RemoveEventHandler(EventHandlerRef handler)
{
    forget(handlers, handler, "a handler that is not installed was removed");
    return noErr;
}

OSStatus RegisterEventHotKey(UInt32, UInt32, EventHotKeyID id, EventTargetRef target, OptionBits options, EventHotKeyRef* registered)
{
    if (target != &dispatcher || options != 0)
        refuse("a hot key for another target, or with options");
    if (carbon().registerStatus != noErr)
        return carbon().registerStatus;
    hotKeys.push_back(std::make_unique<EventHotKeyRefStructure>(EventHotKeyRefStructure{id}));
    *registered = hotKeys.back().get();
    return noErr;
}

OSStatus UnregisterEventHotKey(EventHotKeyRef hotKey)
{
    forget(hotKeys, hotKey, "a hot key that is not registered was unregistered");
    return noErr;
}

OSStatus GetEventParameter(
    EventRef event, EventParamName name, EventParamType type, EventParamType*, ByteCount size, ByteCount*, void* data)
{
    constexpr OSStatus parameterNotFound = -9870;
    if (!event->id || name != kEventParamDirectObject || type != typeEventHotKeyID || size < sizeof *event->id)
        return parameterNotFound;
    std::memcpy(data, &*event->id, sizeof *event->id);
    return noErr;
}

}  // extern "C"

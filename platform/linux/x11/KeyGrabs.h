// Inside the hot keys of X11: the keys that are grabbed, as the event thread has them.
#pragma once

#include "platform/HotKeyCenter.h"
#include "platform/linux/x11/ModifierMasks.h"
#include "platform/linux/x11/RepeatFilter.h"
#include "platform/linux/x11/X11EventThread.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace velmora::linux_backend {

/// Used on the event thread only. Each registration is grabbed on the root in every state of the locks, or in none: a combination that is
/// another's in one of them is not ours. When the keyboard's mapping changes, what it affects is grabbed again; a combination that is
/// another's by then is silent until the next change that frees it.
class KeyGrabs final : public X11EventThread::Listener {
public:
    using Reference = platform::HotKeyCenter::HotKeyReference;

    /// `mappingChanged` is told of every change of the keyboard's mapping.
    KeyGrabs(std::function<void(Reference)> pressed, std::function<void()> mappingChanged)
        : pressed_(std::move(pressed))
        , mappingChanged_(std::move(mappingChanged))
    {
    }

    /// The status of X11HotKeyCenter::registerEventHotKey.
    platform::HotKeyStatus add(const Connection& connection, Reference reference, std::uint32_t keyCode, std::uint32_t modifiers);
    void remove(const Connection& connection, Reference reference);
    void removeAll(const Connection& connection);

    void handle(const xcb_generic_event_t& event) override;
    void eventsHandled(Connection& connection) override;

private:
    struct Registration {
        Reference reference = 0;
        xcb_keycode_t key = 0;
        std::uint32_t modifiers = 0;
        std::uint16_t state = 0;
        std::vector<std::uint16_t> grabbed;  // states with locks; empty: not grabbed
    };

    platform::HotKeyStatus grab(const Connection& connection, Registration& registration);
    static void release(const Connection& connection, Registration& registration);
    void notePress(const xcb_key_press_event_t& press);

    std::function<void(Reference)> pressed_;
    std::function<void()> mappingChanged_;
    std::vector<Registration> registrations_;
    std::optional<ModifierMasks> masks_;
    RepeatFilter repeats_;
    bool isMappingChanged_ = false;
};

}  // namespace velmora::linux_backend

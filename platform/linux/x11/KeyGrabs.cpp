#include "platform/linux/x11/KeyGrabs.h"

#include "platform/linux/x11/KeyPositions.h"
#include "platform/linux/x11/X11HotKeyCenter.h"

#include <algorithm>

namespace velmora::linux_backend {

namespace {

template <typename T>
const T& as(const xcb_generic_event_t& event)
{
    return reinterpret_cast<const T&>(event);
}

}  // namespace

platform::HotKeyStatus KeyGrabs::add(const Connection& connection, Reference reference, std::uint32_t keyCode, std::uint32_t modifiers)
{
    const auto* setup = xcb_get_setup(connection.xcb());
    const auto key = keycodeAt(keyCode);
    if (!key || *key < setup->min_keycode || *key > setup->max_keycode)
        return hot_key_status::keyMissing;
    if (!masks_)
        masks_ = readModifierMasks(connection);
    if (!masks_)
        return hot_key_status::displayUnavailable;
    const bool isOurs = std::any_of(registrations_.begin(), registrations_.end(),
        [&](const Registration& other) { return other.key == *key && other.modifiers == modifiers; });
    if (isOurs)
        return hot_key_status::taken;
    Registration registration{reference, *key, modifiers, 0, {}};
    if (const auto status = grab(connection, registration); status != 0)
        return status;
    registrations_.push_back(std::move(registration));
    return 0;
}

void KeyGrabs::remove(const Connection& connection, Reference reference)
{
    const auto found = std::find_if(
        registrations_.begin(), registrations_.end(), [&](const Registration& candidate) { return candidate.reference == reference; });
    if (found == registrations_.end())
        return;
    release(connection, *found);
    registrations_.erase(found);
}

void KeyGrabs::removeAll(const Connection& connection)
{
    for (auto& registration : registrations_)
        release(connection, registration);
    registrations_.clear();
}

void KeyGrabs::handle(const xcb_generic_event_t& event)
{
    switch (event.response_type) {
    case XCB_KEY_PRESS:
        notePress(as<xcb_key_press_event_t>(event));
        break;
    case XCB_KEY_RELEASE: {
        const auto& release = as<xcb_key_release_event_t>(event);
        repeats_.release(release.detail, release.time);
        break;
    }
    default:
        if (typeOf(event) == XCB_MAPPING_NOTIFY && as<xcb_mapping_notify_event_t>(event).request != XCB_MAPPING_POINTER)
            isMappingChanged_ = true;
        break;
    }
}

void KeyGrabs::eventsHandled(Connection& connection)
{
    if (!std::exchange(isMappingChanged_, false))
        return;
    const auto masks = readModifierMasks(connection);
    if (!masks)
        return;
    const bool allGrabbed = std::none_of(
        registrations_.begin(), registrations_.end(), [](const Registration& registration) { return registration.grabbed.empty(); });
    if (masks == masks_ && allGrabbed)
        return;
    masks_ = masks;
    // All are released before the first is grabbed: they may change places.
    for (auto& registration : registrations_)
        release(connection, registration);
    for (auto& registration : registrations_)
        static_cast<void>(grab(connection, registration));
}

platform::HotKeyStatus KeyGrabs::grab(const Connection& connection, Registration& registration)
{
    const auto state = modifierState(registration.modifiers, *masks_);
    if (!state)
        return hot_key_status::modifierMissing;
    registration.state = *state;
    std::vector<xcb_void_cookie_t> requests;
    const auto locks = lockStates(*masks_);
    for (const auto lock : locks) {
        requests.push_back(xcb_grab_key_checked(connection.xcb(), 0, connection.root(), static_cast<std::uint16_t>(*state | lock),
            registration.key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    platform::HotKeyStatus status = 0;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        if (const auto error = connection.errorCode(requests[i]); error != 0)
            status = error;
        else
            registration.grabbed.push_back(static_cast<std::uint16_t>(*state | locks[i]));
    }
    if (connection.isBroken())
        status = hot_key_status::displayUnavailable;
    if (status != 0)
        release(connection, registration);
    return status;
}

void KeyGrabs::release(const Connection& connection, Registration& registration)
{
    for (const auto state : std::exchange(registration.grabbed, {}))
        xcb_ungrab_key(connection.xcb(), registration.key, connection.root(), state);
}

void KeyGrabs::notePress(const xcb_key_press_event_t& press)
{
    if (!masks_ || repeats_.isRepetition(press.detail, press.time))
        return;
    const auto state = withoutLocks(press.state, *masks_);
    for (const auto& registration : registrations_) {
        if (registration.key == press.detail && registration.state == state && !registration.grabbed.empty())
            pressed_(registration.reference);
    }
}

}  // namespace velmora::linux_backend

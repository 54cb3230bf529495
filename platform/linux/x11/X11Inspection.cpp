#include "platform/linux/x11/X11Inspection.h"

#include "platform/linux/x11/Connection.h"
#include "platform/linux/x11/KeyGrabs.h"
#include "platform/linux/x11/X11HotKeyCenter.h"
#include "platform/linux/x11/X11VideoSource.h"

namespace velmora::linux_backend {

namespace {

using ShortcutState = platform::DesktopFacts::Shortcut::State;

ShortcutState stateOf(const Connection& connection, std::uint32_t keyCode, std::uint32_t modifiers)
{
    constexpr KeyGrabs::Reference any = 1;
    KeyGrabs grabs{[](auto) {}, [] {}};
    const auto status = grabs.add(connection, any, keyCode, modifiers);
    grabs.removeAll(connection);
    connection.flush();
    if (status == 0)
        return ShortcutState::free;
    if (status == hot_key_status::taken)
        return ShortcutState::taken;
    return status == hot_key_status::displayUnavailable ? ShortcutState::unknown : ShortcutState::impossible;
}

}  // namespace

Result<X11Facts> inspectX11(std::uint32_t keyCode, std::uint32_t modifiers, const std::string& displayName)
{
    if (auto available = X11VideoSource::checkAvailable(displayName); !available)
        return fail(std::move(available.error()));
    const auto opened = Connection::open(displayName.empty() ? nullptr : displayName.c_str());
    if (!opened)
        return fail(opened.error());
    const auto& connection = **opened;
    const auto* setup = xcb_get_setup(connection.xcb());
    X11Facts facts;
    facts.server = std::string{xcb_setup_vendor(setup), static_cast<std::size_t>(xcb_setup_vendor_length(setup))} + ' '
        + std::to_string(setup->release_number);
    facts.shortcut = stateOf(connection, keyCode, modifiers);
    const auto selection = connection.atom("_NET_SYSTEM_TRAY_S" + std::to_string(connection.screenNumber()));
    const auto owner = connection.reply(xcb_get_selection_owner_reply, xcb_get_selection_owner(connection.xcb(), selection));
    facts.hasTray = owner && owner->owner != XCB_WINDOW_NONE;
    return facts;
}

}  // namespace velmora::linux_backend

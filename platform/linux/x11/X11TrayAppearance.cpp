#include "platform/linux/x11/X11TrayAppearance.h"

#include <string>

namespace velmora::linux_backend {

namespace {

// The first three of twelve values, of 16 bits each: the ordinary foreground. Those of errors, warnings and success follow.
constexpr std::size_t foregroundValues = 3;
constexpr std::uint32_t propertyValues = 12;

std::uint8_t eightBits(std::uint32_t value)
{
    return static_cast<std::uint8_t>(value >> 8);
}

}  // namespace

std::optional<platform::ItemColor> X11TrayAppearance::itemColor()
{
    if (!connection_ || connection_->isBroken()) {
        auto connection = Connection::open(displayName_.empty() ? nullptr : displayName_.c_str());
        if (!connection)
            return {};
        connection_ = std::move(*connection);
    }
    const auto selection = connection_->atom("_NET_SYSTEM_TRAY_S" + std::to_string(connection_->screenNumber()));
    const auto owner = connection_->reply(xcb_get_selection_owner_reply, xcb_get_selection_owner(connection_->xcb(), selection));
    if (!owner || owner->owner == XCB_WINDOW_NONE)
        return {};
    const auto asked = xcb_get_property(
        connection_->xcb(), 0, owner->owner, connection_->atom("_NET_SYSTEM_TRAY_COLORS"), XCB_ATOM_CARDINAL, 0, propertyValues);
    const auto values = values32(connection_->reply(xcb_get_property_reply, asked).get());
    if (values.size() < foregroundValues)
        return {};
    return platform::ItemColor{eightBits(values[0]), eightBits(values[1]), eightBits(values[2])};
}

}  // namespace velmora::linux_backend

#include "platform/linux/x11/XSettings.h"

#include "platform/linux/x11/Text.h"

#include <cstddef>
#include <cstdint>

namespace velmora::linux_backend {

namespace {

constexpr std::uint32_t longestSettings = 16384;  // in 32-bit units
constexpr std::uint8_t bigEndian = 1;

enum SettingType : std::uint8_t { integer = 0, text = 1, colour = 2 };

/// Takes values from the front of the property; false, and nothing more to take, where there are too few bytes.
class SettingsReader {
public:
    explicit SettingsReader(std::string_view bytes) : rest_(bytes) { }

    bool skip(std::size_t count)
    {
        const bool isThere = count <= rest_.size();
        rest_.remove_prefix(isThere ? count : rest_.size());
        return isThere;
    }

    bool take(std::string_view& taken, std::size_t count)
    {
        taken = rest_.substr(0, count);
        // Each text is filled up to a multiple of four bytes.
        return skip((count + 3) / 4 * 4);
    }

    bool take(std::uint32_t& value, std::size_t byteCount)
    {
        const auto bytes = rest_.substr(0, byteCount);
        value = 0;
        for (std::size_t index = 0; index < bytes.size(); ++index) {
            const auto byte = static_cast<std::uint8_t>(bytes[isBigEndian ? index : bytes.size() - 1 - index]);
            value = value << 8 | byte;
        }
        return skip(byteCount);
    }

    bool isBigEndian = false;

private:
    std::string_view rest_;
};

}  // namespace

std::optional<std::string> settingIn(std::string_view bytes, std::string_view name)
{
    SettingsReader reader{bytes};
    std::uint32_t byteOrder = 0;
    std::uint32_t serial = 0;
    std::uint32_t count = 0;
    if (!reader.take(byteOrder, 1))
        return std::nullopt;
    reader.isBigEndian = byteOrder == bigEndian;
    if (!reader.skip(3) || !reader.take(serial, 4) || !reader.take(count, 4))
        return std::nullopt;
    for (; count > 0; --count) {
        std::uint32_t type = 0;
        std::uint32_t length = 0;
        std::string_view found;
        if (!reader.take(type, 1) || !reader.skip(1) || !reader.take(length, 2) || !reader.take(found, length) || !reader.skip(4))
            return std::nullopt;
        std::string_view value;
        const bool isRead = type == text ? reader.take(length, 4) && reader.take(value, length)
            : type == integer            ? reader.skip(4)
                                         : type == colour && reader.skip(8);
        if (!isRead)
            return std::nullopt;
        if (found == name)
            return type == text ? std::optional{validUtf8(value)} : std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::string> readSetting(const Connection& connection, std::string_view name)
{
    const auto selection = connection.atom("_XSETTINGS_S" + std::to_string(connection.screenNumber()));
    const auto owner = connection.reply(xcb_get_selection_owner_reply, xcb_get_selection_owner(connection.xcb(), selection));
    if (!owner || owner->owner == XCB_WINDOW_NONE)
        return std::nullopt;
    const auto property = connection.atom("_XSETTINGS_SETTINGS");
    const auto asked = xcb_get_property(connection.xcb(), 0, owner->owner, property, property, 0, longestSettings);
    return settingIn(bytes8(connection.reply(xcb_get_property_reply, asked).get()), name);
}

}  // namespace velmora::linux_backend

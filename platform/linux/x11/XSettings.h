// What the desktop tells every client of an X screen (freedesktop.org XSETTINGS, version 0.5).
#pragma once

#include "platform/linux/x11/Connection.h"

#include <optional>
#include <string>
#include <string_view>

namespace velmora::linux_backend {

/// The text of the setting `name` in the property's bytes; none when it is not there, not a text, or behind what cannot be read.
[[nodiscard]] std::optional<std::string> settingIn(std::string_view bytes, std::string_view name);

/// As the settings' owner has it now; none without an owner. Waits for the server.
[[nodiscard]] std::optional<std::string> readSetting(const Connection& connection, std::string_view name);

}  // namespace velmora::linux_backend

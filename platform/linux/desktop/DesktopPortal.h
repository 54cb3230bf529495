// Where the desktop's portal is found on the session bus.
#pragma once

namespace velmora::linux_backend::desktop_portal {

inline constexpr const char* service = "org.freedesktop.portal.Desktop";
inline constexpr const char* path = "/org/freedesktop/portal/desktop";

}  // namespace velmora::linux_backend::desktop_portal

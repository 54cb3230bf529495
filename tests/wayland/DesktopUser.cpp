#include "tests/wayland/DesktopUser.h"

#include <cstdlib>
#include <stdexcept>

namespace velmora::test {

std::unique_ptr<DesktopUser> DesktopUser::create()
{
    const char* name = std::getenv("VELMORA_WAYLAND_DESKTOP");
    const std::string desktop = name ? name : "";
    if (desktop == "GNOME")
        return makeGnomeUser();
    if (desktop == "KDE")
        return makeKdeUser();
    throw std::runtime_error("no Wayland desktop: these tests run in scripts/wayland");
}

}  // namespace velmora::test

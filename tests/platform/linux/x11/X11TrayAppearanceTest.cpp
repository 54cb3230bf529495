#include "platform/linux/x11/X11TrayAppearance.h"

#include "tests/platform/linux/x11/TestDesktop.h"

#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using platform::ItemColor;

TEST(X11TrayAppearance, TellsTheForegroundThatTheTrayAsksFor)
{
    TestDesktop desktop;
    X11TrayAppearance appearance;
    EXPECT_EQ(appearance.itemColor(), std::nullopt) << "there is no tray";

    const auto tray = desktop.makeWindow({});
    xcb_set_selection_owner(desktop.xcb(), tray, desktop.atom("_NET_SYSTEM_TRAY_S0"), XCB_CURRENT_TIME);
    desktop.sync();
    EXPECT_EQ(appearance.itemColor(), std::nullopt) << "a tray that gives no colours";

    desktop.setValues(tray, "_NET_SYSTEM_TRAY_COLORS", "CARDINAL", {0x1234, 0x8000, 0xFFFF, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    desktop.sync();
    EXPECT_EQ(appearance.itemColor(), (ItemColor{0x12, 0x80, 0xFF}));

    desktop.setValues(tray, "_NET_SYSTEM_TRAY_COLORS", "CARDINAL", {0x1234, 0x8000});
    desktop.sync();
    EXPECT_EQ(appearance.itemColor(), std::nullopt) << "too few values";

    desktop.destroy(tray);
    desktop.sync();
    EXPECT_EQ(appearance.itemColor(), std::nullopt) << "the tray is gone";
}

TEST(X11TrayAppearance, TellsNothingWithoutAServer)
{
    X11TrayAppearance appearance{":12345"};
    EXPECT_EQ(appearance.itemColor(), std::nullopt);
}

}  // namespace
}  // namespace velmora::linux_backend

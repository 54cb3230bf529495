#include "app/menu/TrayStatusItem.h"

#include "brand/BrandAssets.h"
#include "tests/brand/QuickTestWindow.h"

#include <QMenu>

#include <gtest/gtest.h>

namespace velmora {
namespace {

struct UntoldAppearance final : platform::TrayAppearance {
    [[nodiscard]] std::optional<platform::ItemColor> itemColor() override { return std::nullopt; }
};

TEST(TrayStatusItem, AssistiveTechnologyReadsTheImagesDescriptionOfItsMenu)
{
    auto& application = static_cast<QApplication&>(test::application());
    TrayHost host;
    const auto item = makeTrayStatusItem(std::make_shared<UntoldAppearance>(), host, [] {});
    item->setMenuDelegate({.menuNeedsUpdate = [] { return std::vector<MenuItem>{MenuItem{}}; }, .menuItemTriggered = {}});
    auto image = BrandAssets::menuBarImage(CaptureState{CaptureState::WaitingForWindowSelection{}});
    for (const auto* description : {"Velmora", "Another"}) {
        image.accessibleDescription = QLatin1String(description);
        item->setImage(image);
        item->popUpMenu();
        auto* menu = application.activePopupWidget();
        ASSERT_TRUE(menu);
        EXPECT_EQ(QAccessible::queryAccessibleInterface(menu)->text(QAccessible::Name), QLatin1String(description));
        menu->close();
    }
}

TEST(TrayStatusItem, SaysThatItsMenuIsOpenOnceItIsOnTheScreen)
{
    auto& application = static_cast<QApplication&>(test::application());
    int openings = 0;
    TrayHost host;
    const auto item = makeTrayStatusItem(std::make_shared<UntoldAppearance>(), host, [&] {
        EXPECT_TRUE(application.activePopupWidget());
        ++openings;
    });
    item->setMenuDelegate({.menuNeedsUpdate = [] { return std::vector<MenuItem>{MenuItem{}}; }, .menuItemTriggered = {}});
    item->popUpMenu();
    EXPECT_EQ(openings, 0) << "it is not painted yet";
    while (openings == 0)
        application.processEvents(QEventLoop::WaitForMoreEvents);
    application.activePopupWidget()->close();
    EXPECT_EQ(openings, 1);
}

}  // namespace
}  // namespace velmora

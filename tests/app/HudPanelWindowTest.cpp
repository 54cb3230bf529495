#include "app/views/HudPanelWindow.h"

#include "app/views/QuickEngine.h"
#include "tests/brand/QuickTestWindow.h"

#include <QWindow>

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;

class HudPanelWindowTest : public testing::Test {
protected:
    /// Where QML keeps its pointers no leak checker looks.
    static void TearDownTestSuite() { delete &quickEngine(); }

    void open()
    {
        panel = makeHudPanelWindow({.preview = {}, .share = {}, .reveal = {}});
        for (auto* candidate : QGuiApplication::topLevelWindows()) {
            if (candidate->flags().testFlag(Qt::WindowDoesNotAcceptFocus))
                window = candidate;
        }
    }
    ~HudPanelWindowTest() override { setReducesMotion(false); }

    QGuiApplication& application = test::application();
    std::unique_ptr<HudPanel> panel;
    QWindow* window = nullptr;
};

TEST_F(HudPanelWindowTest, ItFadesInAndOut)
{
    open();
    ASSERT_TRUE(window);
    panel->orderFrontAndFadeIn();
    EXPECT_EQ(window->opacity(), 0.0);
    EXPECT_TRUE(window->isVisible());
    panel->fadeOutAndOrderOut(250ms);
    EXPECT_TRUE(window->isVisible());
}

TEST_F(HudPanelWindowTest, WhereLessMotionIsAskedForItIsThereAndGoneAtOnce)
{
    setReducesMotion(true);  // before there is an engine, if this test runs alone
    open();
    ASSERT_TRUE(window);
    panel->orderFrontAndFadeIn();
    EXPECT_EQ(window->opacity(), 1.0);
    panel->fadeOutAndOrderOut(250ms);
    EXPECT_FALSE(window->isVisible());
}

}  // namespace
}  // namespace velmora

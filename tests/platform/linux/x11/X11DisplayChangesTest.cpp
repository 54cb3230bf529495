#include "platform/linux/x11/X11DisplayChanges.h"

#include "platform/fake/ManualExecutor.h"
#include "tests/platform/linux/x11/TestDesktop.h"

#include <gtest/gtest.h>
#include <xcb/randr.h>

namespace velmora::linux_backend {
namespace {

/// Another client that changes the displays, as a settings panel would.
class Settings {
public:
    explicit Settings(const std::string& displayName) : desktop_(displayName)
    {
        const auto& connection = desktop_.connection();
        EXPECT_TRUE(connection.reply(xcb_randr_query_version_reply, xcb_randr_query_version(connection.xcb(), 1, 2)));
    }

    /// The screen must not end inside a display that is on, so the displays go off first.
    void turnOff()
    {
        const auto& connection = desktop_.connection();
        const auto resources =
            connection.reply(xcb_randr_get_screen_resources_reply, xcb_randr_get_screen_resources(connection.xcb(), connection.root()));
        ASSERT_TRUE(resources);
        const auto* controllers = xcb_randr_get_screen_resources_crtcs(resources.get());
        for (int i = 0; i < resources->num_crtcs; ++i) {
            const auto answer = connection.reply(xcb_randr_set_crtc_config_reply,
                xcb_randr_set_crtc_config(connection.xcb(), controllers[i], XCB_CURRENT_TIME, resources->config_timestamp, 0, 0, XCB_NONE,
                    XCB_RANDR_ROTATION_ROTATE_0, 0, nullptr));
            ASSERT_TRUE(answer);
            EXPECT_EQ(answer->status, XCB_RANDR_SET_CONFIG_SUCCESS);
        }
    }

    void setSize(std::uint16_t width, std::uint16_t height)
    {
        const auto& connection = desktop_.connection();
        EXPECT_EQ(connection.errorCode(
                      xcb_randr_set_screen_size_checked(connection.xcb(), connection.root(), width, height, width / 4U, height / 4U)),
            0);
    }

    TestDesktop& desktop() { return desktop_; }

private:
    TestDesktop desktop_;
};

class X11DisplayChangesTest : public ::testing::Test {
protected:
    std::unique_ptr<X11DisplayChanges> observe()
    {
        auto observed = X11DisplayChanges::observe(events_, executor_, [this] { ++changeCount_; });
        EXPECT_TRUE(observed) << observed.error().localizedDescription;
        return observed ? std::move(*observed) : nullptr;
    }

    PrivateServer server_{{"-screen", "0", "1280x1024x24"}};
    std::shared_ptr<fake::ManualExecutor> executor_ = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<X11EventThread> events_ = std::make_shared<X11EventThread>(server_.displayName());
    int changeCount_ = 0;
};

TEST_F(X11DisplayChangesTest, ADisplayThatGoesOffIsTold)
{
    const auto changes = observe();
    Settings settings{server_.displayName()};
    settings.turnOff();
    settings.desktop().waitUntil("the change is told", [&] { return executor_->pendingCount() == 1; });
    executor_->runAll();
    EXPECT_EQ(changeCount_, 1);
}

TEST_F(X11DisplayChangesTest, AScreenOfAnotherSizeIsToldOnTheMainThread)
{
    Settings settings{server_.displayName()};
    settings.turnOff();
    const auto changes = observe();
    settings.setSize(800, 600);
    settings.desktop().waitUntil("the change is told", [&] { return executor_->pendingCount() == 1; });
    EXPECT_EQ(changeCount_, 0);
    executor_->runAll();
    EXPECT_EQ(changeCount_, 1);
    settings.setSize(1024, 768);
    settings.desktop().waitUntil("the next change is told", [&] {
        executor_->runAll();
        return changeCount_ == 2;
    });
}

TEST_F(X11DisplayChangesTest, ChangesThatWereNotHeardOfYetAreToldOnce)
{
    Settings settings{server_.displayName()};
    settings.turnOff();
    const auto changes = observe();
    for (const int width : {640, 800, 1024, 640, 800})
        settings.setSize(static_cast<std::uint16_t>(width), 600);
    settings.desktop().waitUntil("the change is told", [&] { return executor_->pendingCount() >= 1; });
    // All of them have arrived once the thread has answered after the last.
    ASSERT_TRUE(events_->run([](X11EventThread::Context& context) {
        EXPECT_TRUE(context.connection.reply(xcb_get_input_focus_reply, xcb_get_input_focus(context.connection.xcb())));
    }));
    ASSERT_TRUE(events_->run([](X11EventThread::Context&) {}));
    EXPECT_EQ(executor_->pendingCount(), 1U);
    executor_->runAll();
    EXPECT_EQ(changeCount_, 1);
}

TEST_F(X11DisplayChangesTest, NothingIsToldAfterItsEnd)
{
    Settings settings{server_.displayName()};
    settings.turnOff();
    auto changes = observe();
    settings.setSize(800, 600);
    settings.desktop().waitUntil("the change is told", [&] { return executor_->pendingCount() == 1; });
    changes.reset();
    executor_->runAll();
    EXPECT_EQ(changeCount_, 0);
    const auto later = observe();
    settings.setSize(1024, 768);
    settings.desktop().waitUntil("the next change is told", [&] {
        executor_->runAll();
        return changeCount_ == 1;
    });
}

TEST_F(X11DisplayChangesTest, TwoObserversShareOneConnection)
{
    const auto first = observe();
    int otherCount = 0;
    const auto second = X11DisplayChanges::observe(events_, executor_, [&] { ++otherCount; });
    ASSERT_TRUE(second);
    Settings settings{server_.displayName()};
    settings.turnOff();
    settings.desktop().waitUntil("both are told", [&] {
        executor_->runAll();
        return changeCount_ > 0 && otherCount > 0;
    });
}

TEST(X11DisplayChanges, AServerWithoutRandrIsAnError)
{
    const PrivateServer server{{"-extension", "RANDR"}};
    const auto observed =
        X11DisplayChanges::observe(std::make_shared<X11EventThread>(server.displayName()), std::make_shared<fake::ManualExecutor>(), [] {});
    ASSERT_FALSE(observed);
    EXPECT_EQ(observed.error().localizedDescription, "The X server does not offer the RandR 1.2 extension.");
}

TEST(X11DisplayChanges, ADisplayThatIsNotThereIsAnError)
{
    EXPECT_FALSE(X11DisplayChanges::observe(std::make_shared<X11EventThread>(":54321"), std::make_shared<fake::ManualExecutor>(), [] {}));
}

}  // namespace
}  // namespace velmora::linux_backend

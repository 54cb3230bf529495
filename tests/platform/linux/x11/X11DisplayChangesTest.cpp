#include "platform/linux/x11/X11DisplayChanges.h"

#include "platform/fake/ManualExecutor.h"
#include "tests/platform/linux/x11/TestDesktop.h"

#include <gtest/gtest.h>
#include <xcb/randr.h>

namespace velmora::linux_backend {
namespace {

/// Another client that changes the size of the screen, as a display settings panel would.
class Settings {
public:
    explicit Settings(const std::string& displayName) : desktop_(displayName)
    {
        const auto& connection = desktop_.connection();
        EXPECT_TRUE(connection.reply(xcb_randr_query_version_reply, xcb_randr_query_version(connection.xcb(), 1, 2)));
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

TEST_F(X11DisplayChangesTest, AScreenOfAnotherSizeIsToldOnTheMainThread)
{
    const auto changes = observe();
    Settings settings{server_.displayName()};
    settings.setSize(800, 600);
    settings.desktop().waitUntil("the change is told", [&] { return executor_->pendingCount() == 1; });
    EXPECT_EQ(changeCount_, 0);
    executor_->runAll();
    EXPECT_EQ(changeCount_, 1);
    settings.setSize(1024, 768);
    executor_->runUntil([&] { return changeCount_ == 2; });
}

TEST_F(X11DisplayChangesTest, ChangesThatWereNotHeardOfYetAreToldOnce)
{
    const auto changes = observe();
    Settings settings{server_.displayName()};
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
    auto changes = observe();
    Settings settings{server_.displayName()};
    settings.setSize(800, 600);
    settings.desktop().waitUntil("the change is told", [&] { return executor_->pendingCount() == 1; });
    changes.reset();
    executor_->runAll();
    EXPECT_EQ(changeCount_, 0);
    const auto later = observe();
    settings.setSize(1024, 768);
    executor_->runUntil([&] { return changeCount_ == 1; });
}

TEST_F(X11DisplayChangesTest, TwoObserversShareOneConnection)
{
    const auto first = observe();
    int otherCount = 0;
    const auto second = X11DisplayChanges::observe(events_, executor_, [&] { ++otherCount; });
    ASSERT_TRUE(second);
    Settings settings{server_.displayName()};
    settings.setSize(800, 600);
    executor_->runUntil([&] { return changeCount_ == 1 && otherCount == 1; });
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

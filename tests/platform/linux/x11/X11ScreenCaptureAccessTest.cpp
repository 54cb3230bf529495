#include "platform/linux/x11/X11ScreenCaptureAccess.h"

#include "tests/platform/linux/x11/TestDesktop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using ::testing::HasSubstr;

TEST(X11ScreenCaptureAccess, IsThereOnAnOrdinaryServer)
{
    X11ScreenCaptureAccess access;
    EXPECT_TRUE(access.preflightScreenCaptureAccess());
    EXPECT_TRUE(access.requestScreenCaptureAccess());
    EXPECT_EQ(access.explanation(), "");
}

TEST(X11ScreenCaptureAccess, SaysWhichExtensionIsMissing)
{
    const PrivateServer server{{"-extension", "Composite"}};
    X11ScreenCaptureAccess access{server.displayName()};
    EXPECT_FALSE(access.requestScreenCaptureAccess());
    EXPECT_THAT(access.explanation(), HasSubstr("Composite"));
}

TEST(X11ScreenCaptureAccess, IsAskedAnewEachTime)
{
    PrivateServer server{{"-screen", "0", "640x480x24"}};
    X11ScreenCaptureAccess access{server.displayName()};
    EXPECT_TRUE(access.preflightScreenCaptureAccess());
    server.kill();
    EXPECT_FALSE(access.preflightScreenCaptureAccess());
    EXPECT_THAT(access.explanation(), HasSubstr("display"));
}

}  // namespace
}  // namespace velmora::linux_backend

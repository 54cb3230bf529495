#include "platform/mac/MacScreenCaptureAccess.h"

#include "tests/platform/mac/standins/CoreGraphicsStandIn.h"

#include <gtest/gtest.h>

namespace velmora::mac_backend {
namespace {

class MacScreenCaptureAccessTest : public testing::Test {
protected:
    ~MacScreenCaptureAccessTest() override { standin::screenAccess() = {}; }

    const std::shared_ptr<platform::ScreenCaptureAccess> access_ = makeScreenCaptureAccess();
};

TEST_F(MacScreenCaptureAccessTest, LookingAsksNobody)
{
    EXPECT_FALSE(access_->preflightScreenCaptureAccess());
    EXPECT_EQ(standin::screenAccess().questions, 0);
    EXPECT_EQ(access_->explanation(), "");
}

TEST_F(MacScreenCaptureAccessTest, AccessIsWhatTheSystemSaysEachTime)
{
    EXPECT_FALSE(access_->preflightScreenCaptureAccess());
    standin::screenAccess().isAllowed = true;
    EXPECT_TRUE(access_->preflightScreenCaptureAccess());
    standin::screenAccess().isAllowed = false;
    EXPECT_FALSE(access_->preflightScreenCaptureAccess());
}

TEST_F(MacScreenCaptureAccessTest, ARequestAsksAndSaysWhatCameOfIt)
{
    EXPECT_FALSE(access_->requestScreenCaptureAccess());
    standin::screenAccess().isAllowedWhenAsked = true;
    EXPECT_TRUE(access_->requestScreenCaptureAccess());
    EXPECT_EQ(standin::screenAccess().questions, 2);
    EXPECT_EQ(access_->explanation(), "");
}

TEST_F(MacScreenCaptureAccessTest, WhoWasAskedAndHasNoAccessIsToldOfTheNextStart)
{
    EXPECT_FALSE(access_->requestScreenCaptureAccess());
    EXPECT_NE(access_->explanation(), "");
    standin::screenAccess().isAllowed = true;
    EXPECT_TRUE(access_->preflightScreenCaptureAccess());
    EXPECT_EQ(access_->explanation(), "");
}

}  // namespace
}  // namespace velmora::mac_backend

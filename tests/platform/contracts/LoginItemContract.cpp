#include "tests/platform/contracts/LoginItemContract.h"

namespace velmora::test {
namespace {

TEST_P(LoginItemContract, IsOffUntilItIsSwitchedOn)
{
    EXPECT_FALSE(item_->status().isOn);
    EXPECT_TRUE(item_->status().canBeChanged);
    ASSERT_TRUE(item_->setOn(true));
    EXPECT_TRUE(item_->status().isOn);
    ASSERT_TRUE(item_->setOn(false));
    EXPECT_FALSE(item_->status().isOn);
}

TEST_P(LoginItemContract, WhatIsSoAlreadyIsNoFailure)
{
    EXPECT_TRUE(item_->setOn(false));
    ASSERT_TRUE(item_->setOn(true));
    EXPECT_TRUE(item_->setOn(true));
    EXPECT_TRUE(item_->status().isOn);
}

TEST_P(LoginItemContract, SaysWhatTheDesktopHasNow)
{
    ASSERT_TRUE(item_->setOn(true));
    desktop_->switchOffElsewhere();
    EXPECT_FALSE(item_->status().isOn);
}

TEST_P(LoginItemContract, ARefusedChangeIsAnErrorInWordsAndChangesNothing)
{
    desktop_->refuseChanges();
    const auto result = item_->setOn(true);
    ASSERT_FALSE(result);
    EXPECT_FALSE(result.error().localizedDescription.empty());
    EXPECT_FALSE(item_->status().isOn);
}

}  // namespace
}  // namespace velmora::test

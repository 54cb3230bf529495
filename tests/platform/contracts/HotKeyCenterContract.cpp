#include "tests/platform/contracts/HotKeyCenterContract.h"

#include <gmock/gmock.h>
#include <vector>

namespace velmora::test {
namespace {

using platform::HotKeyCenter;
using platform::HotKeyEvent;
using platform::HotKeyID;
using testing::ElementsAre;

constexpr HotKeyID firstID{0x56454C4D, 1};
constexpr HotKeyID secondID{0x56454C4D, 2};
constexpr std::uint32_t cKey = 8;

TEST_P(HotKeyCenterContract, APressSaysWhichHotKeyItIs)
{
    std::vector<std::optional<HotKeyID>> heard;
    ASSERT_TRUE(center_->installEventHandler([&](const HotKeyEvent& event) {
        heard.push_back(event.hotKeyID);
        return 0;
    }));
    ASSERT_TRUE(center_->registerEventHotKey(cKey, HotKeyCenter::optionModifier | HotKeyCenter::commandModifier, firstID));
    ASSERT_TRUE(center_->registerEventHotKey(cKey, HotKeyCenter::shiftModifier | HotKeyCenter::controlModifier, secondID));

    desktop_->press(secondID);
    desktop_->press(firstID);

    EXPECT_THAT(heard, ElementsAre(secondID, firstID));
}

TEST_P(HotKeyCenterContract, APressThatDoesNotSayWhatItIsIsHeardAsSuch)
{
    std::vector<std::optional<HotKeyID>> heard;
    ASSERT_TRUE(center_->installEventHandler([&](const HotKeyEvent& event) {
        heard.push_back(event.hotKeyID);
        return 0;
    }));
    ASSERT_TRUE(center_->registerEventHotKey(cKey, HotKeyCenter::commandModifier, firstID));

    desktop_->press(std::nullopt);

    EXPECT_THAT(heard, ElementsAre(std::nullopt));
}

TEST_P(HotKeyCenterContract, EveryHandlerHearsEveryPress)
{
    std::vector<int> heard;
    ASSERT_TRUE(center_->installEventHandler([&](const HotKeyEvent&) {
        heard.push_back(1);
        return 0;
    }));
    ASSERT_TRUE(center_->installEventHandler([&](const HotKeyEvent&) {
        heard.push_back(2);
        return 0;
    }));
    ASSERT_TRUE(center_->registerEventHotKey(cKey, HotKeyCenter::commandModifier, firstID));

    desktop_->press(firstID);

    EXPECT_THAT(heard, testing::UnorderedElementsAre(1, 2));
}

TEST_P(HotKeyCenterContract, ARemovedHandlerHearsNothingAndTheOthersStillDo)
{
    std::vector<int> heard;
    const auto removed = center_->installEventHandler([&](const HotKeyEvent&) {
        heard.push_back(1);
        return 0;
    });
    ASSERT_TRUE(removed);
    ASSERT_TRUE(center_->installEventHandler([&](const HotKeyEvent&) {
        heard.push_back(2);
        return 0;
    }));
    ASSERT_TRUE(center_->registerEventHotKey(cKey, HotKeyCenter::commandModifier, firstID));
    center_->removeEventHandler(*removed);
    center_->removeEventHandler(*removed);

    desktop_->press(firstID);

    EXPECT_THAT(heard, ElementsAre(2));
}

TEST_P(HotKeyCenterContract, AHandlerMayRemoveItselfWhileItIsCalled)
{
    HotKeyCenter::EventHandlerReference own = 0;
    int count = 0;
    // Large enough that the closure lies on the heap, and is gone if nobody keeps it.
    const std::string text(100, 'x');
    const auto installed = center_->installEventHandler([&, text](const HotKeyEvent&) {
        center_->removeEventHandler(own);
        count += static_cast<int>(text.size());
        return 0;
    });
    ASSERT_TRUE(installed);
    own = *installed;
    ASSERT_TRUE(center_->registerEventHotKey(cKey, HotKeyCenter::commandModifier, firstID));

    desktop_->press(firstID);
    desktop_->press(firstID);

    EXPECT_EQ(count, 100);
}

TEST_P(HotKeyCenterContract, AHandlerThatIsInstalledAfterTheLastWasRemovedIsHeard)
{
    ASSERT_TRUE(center_->registerEventHotKey(cKey, HotKeyCenter::commandModifier, firstID));
    const auto removed = center_->installEventHandler([](const HotKeyEvent&) { return 0; });
    ASSERT_TRUE(removed);
    center_->removeEventHandler(*removed);
    int count = 0;
    ASSERT_TRUE(center_->installEventHandler([&](const HotKeyEvent&) { return ++count, 0; }));

    desktop_->press(firstID);

    EXPECT_EQ(count, 1);
}

TEST_P(HotKeyCenterContract, ARefusedRegistrationIsItsStatus)
{
    desktop_->refuseRegistrations(-9878);
    const auto refused = center_->registerEventHotKey(cKey, HotKeyCenter::commandModifier, firstID);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), -9878);
    EXPECT_EQ(desktop_->registeredCount(), 0U);
}

TEST_P(HotKeyCenterContract, ReferencesAreNeverNothingAndNeverTheSame)
{
    const auto first = center_->registerEventHotKey(cKey, HotKeyCenter::commandModifier, firstID);
    const auto other = center_->registerEventHotKey(cKey + 1, HotKeyCenter::commandModifier, secondID);
    ASSERT_TRUE(first);
    ASSERT_TRUE(other);
    EXPECT_NE(*first, 0U);
    EXPECT_NE(*other, 0U);
    EXPECT_NE(*first, *other);
}

TEST_P(HotKeyCenterContract, UnregisteringIsDoneOnceHoweverOftenItIsAskedFor)
{
    const auto first = center_->registerEventHotKey(cKey, HotKeyCenter::commandModifier, firstID);
    ASSERT_TRUE(first);
    ASSERT_TRUE(center_->registerEventHotKey(cKey + 1, HotKeyCenter::commandModifier, secondID));
    center_->unregisterEventHotKey(*first);
    center_->unregisterEventHotKey(*first);
    EXPECT_EQ(desktop_->registeredCount(), 1U);
}

}  // namespace
}  // namespace velmora::test

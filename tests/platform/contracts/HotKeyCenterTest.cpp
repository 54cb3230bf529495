// The contract of HotKeyCenter for the fake of the tests and for the adapter of a Mac on its stand-in.
#include "platform/fake/FakeHotKeyCenter.h"
#include "platform/mac/MacHotKeyCenter.h"
#include "tests/platform/contracts/HotKeyCenterContract.h"
#include "tests/platform/mac/standins/CarbonStandIn.h"

namespace velmora::test {
namespace {

using platform::HotKeyCenter;
using platform::HotKeyEvent;
using platform::HotKeyID;
using platform::HotKeyStatus;

class FakeDesktop final : public HotKeyDesktop {
public:
    std::shared_ptr<HotKeyCenter> makeCenter() override { return center_; }
    std::optional<HotKeyStatus> press(std::optional<HotKeyID> hotKeyID) override { return center_->press(hotKeyID); }
    void refuseRegistrations(HotKeyStatus status) override { center_->registerStatus = status; }
    [[nodiscard]] std::size_t registeredCount() const override { return center_->registrations.size(); }

private:
    const std::shared_ptr<fake::FakeHotKeyCenter> center_ = std::make_shared<fake::FakeHotKeyCenter>();
};

class MacDesktop final : public HotKeyDesktop {
public:
    MacDesktop() = default;
    MacDesktop(const MacDesktop&) = delete;
    MacDesktop& operator=(const MacDesktop&) = delete;
    ~MacDesktop() override { standin::resetCarbon(); }

    std::shared_ptr<HotKeyCenter> makeCenter() override { return mac_backend::makeHotKeyCenter(); }
    std::optional<HotKeyStatus> press(std::optional<HotKeyID> hotKeyID) override
    {
        return standin::pressHotKey(hotKeyID ? std::optional{EventHotKeyID{hotKeyID->signature, hotKeyID->id}} : std::nullopt);
    }
    void refuseRegistrations(HotKeyStatus status) override { standin::carbon().registerStatus = status; }
    [[nodiscard]] std::size_t registeredCount() const override { return standin::hotKeyCount(); }
};

INSTANTIATE_TEST_SUITE_P(BackEnds, HotKeyCenterContract,
    testing::Values(HotKeyBackEnd{"Fake", [] { return std::make_unique<FakeDesktop>(); }},
        HotKeyBackEnd{"MacOnStandIns", [] { return std::make_unique<MacDesktop>(); }}),
    [](const auto& parameter) { return parameter.param.name; });

class MacHotKeyCenterTest : public testing::Test {
protected:
    ~MacHotKeyCenterTest() override { standin::resetCarbon(); }
};

TEST_F(MacHotKeyCenterTest, LeavesNothingWithTheSystemWhenItEnds)
{
    auto center = mac_backend::makeHotKeyCenter();
    ASSERT_TRUE(center->installEventHandler([](const HotKeyEvent&) { return 0; }));
    ASSERT_TRUE(center->installEventHandler([](const HotKeyEvent&) { return 0; }));
    ASSERT_TRUE(center->registerEventHotKey(8, HotKeyCenter::commandModifier, {1, 2}));
    center.reset();
    EXPECT_EQ(standin::hotKeyCount(), 0U);
    EXPECT_EQ(standin::handlerCount(), 0U);
}

TEST_F(MacHotKeyCenterTest, ListensOnlyWhileThereIsAHandler)
{
    const auto center = mac_backend::makeHotKeyCenter();
    EXPECT_EQ(standin::handlerCount(), 0U);
    const auto first = center->installEventHandler([](const HotKeyEvent&) { return 0; });
    const auto second = center->installEventHandler([](const HotKeyEvent&) { return 0; });
    EXPECT_EQ(standin::handlerCount(), 1U);
    center->removeEventHandler(*first);
    EXPECT_EQ(standin::handlerCount(), 1U);
    center->removeEventHandler(*second);
    EXPECT_EQ(standin::handlerCount(), 0U);
}

TEST_F(MacHotKeyCenterTest, ARefusedHandlerIsItsStatusAndTheNextIsTriedAgain)
{
    const auto center = mac_backend::makeHotKeyCenter();
    standin::carbon().installStatus = -50;
    const auto refused = center->installEventHandler([](const HotKeyEvent&) { return 0; });
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), -50);
    standin::carbon().installStatus = noErr;
    EXPECT_TRUE(center->installEventHandler([](const HotKeyEvent&) { return 0; }));
}

TEST_F(MacHotKeyCenterTest, AnswersTheSystemThatAPressIsTakenWhenAnyHandlerTookIt)
{
    const auto center = mac_backend::makeHotKeyCenter();
    ASSERT_TRUE(center->registerEventHotKey(8, HotKeyCenter::commandModifier, {1, 2}));
    const auto taking = center->installEventHandler([](const HotKeyEvent&) { return 0; });
    ASSERT_TRUE(center->installEventHandler([](const HotKeyEvent&) { return HotKeyStatus{eventNotHandledErr}; }));
    EXPECT_EQ(standin::pressHotKey(EventHotKeyID{1, 2}), noErr);
    center->removeEventHandler(*taking);
    EXPECT_EQ(standin::pressHotKey(EventHotKeyID{1, 2}), eventNotHandledErr);
}

TEST_F(MacHotKeyCenterTest, AHandlerMayEndTheCenterWhileItIsCalledAndNoOtherHearsThePress)
{
    auto center = mac_backend::makeHotKeyCenter();
    ASSERT_TRUE(center->registerEventHotKey(8, HotKeyCenter::commandModifier, {1, 2}));
    int others = 0;
    ASSERT_TRUE(center->installEventHandler([&](const HotKeyEvent&) { return center.reset(), 0; }));
    ASSERT_TRUE(center->installEventHandler([&](const HotKeyEvent&) { return ++others, 0; }));
    EXPECT_EQ(standin::pressHotKey(EventHotKeyID{1, 2}), noErr);
    EXPECT_EQ(others, 0);
}

}  // namespace
}  // namespace velmora::test

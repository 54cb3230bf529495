#include "platform/linux/x11/X11HotKeyCenter.h"

#include "platform/fake/ManualExecutor.h"
#include "tests/platform/linux/x11/TestDesktop.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>
#include <xcb/xtest.h>

namespace velmora::linux_backend {
namespace {

using platform::HotKeyCenter;
using platform::HotKeyEvent;
using platform::HotKeyID;
using ::testing::ElementsAre;

constexpr std::uint32_t positionOfC = 8;
constexpr std::uint32_t optionCommand = HotKeyCenter::optionModifier | HotKeyCenter::commandModifier;
constexpr HotKeyID toggle{0x434C4950, 2};

constexpr xcb_keycode_t keyC = 54;
constexpr xcb_keycode_t keyX = 53;
constexpr xcb_keycode_t keyAlt = 64;
constexpr xcb_keycode_t keySuper = 133;
constexpr xcb_keycode_t keyControl = 37;
constexpr xcb_keycode_t keyCapsLock = 66;
constexpr xcb_keycode_t keyNumLock = 77;

constexpr std::uint16_t altSuper = XCB_MOD_MASK_1 | XCB_MOD_MASK_4;

/// Hands are slower than the server's clock, by which it tells their presses from the repetitions that it makes up.
constexpr std::chrono::milliseconds fastestFinger{20};

/// Another client of the server: the user's hands, and a program that wants keys too.
class OtherClient {
public:
    explicit OtherClient(const std::string& displayName) : desktop_(displayName) { }

    void down(std::initializer_list<xcb_keycode_t> keys)
    {
        for (const auto key : keys)
            fake(XCB_KEY_PRESS, key);
    }
    void up(std::initializer_list<xcb_keycode_t> keys)
    {
        for (const auto key : keys)
            fake(XCB_KEY_RELEASE, key);
        std::this_thread::sleep_for(fastestFinger);
    }
    void press(xcb_keycode_t key = keyC)
    {
        down({keyAlt, keySuper, key});
        up({key, keySuper, keyAlt});
    }
    void tap(xcb_keycode_t key)
    {
        down({key});
        up({key});
    }

    /// The error code that the server answers a grab with; 0: it is ours now.
    std::uint8_t grab(std::uint16_t state, xcb_keycode_t key = keyC)
    {
        return desktop_.connection().errorCode(
            xcb_grab_key_checked(desktop_.xcb(), 0, desktop_.root(), state, key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    void ungrab(std::uint16_t state, xcb_keycode_t key = keyC)
    {
        EXPECT_EQ(desktop_.connection().errorCode(xcb_ungrab_key_checked(desktop_.xcb(), key, desktop_.root(), state)), 0);
    }
    /// Whether nobody else has the combination. To find out it takes it for a moment: not to be asked while another may want it.
    bool isFree(std::uint16_t state, xcb_keycode_t key = keyC)
    {
        if (grab(state, key) != 0)
            return false;
        ungrab(state, key);
        return true;
    }

    [[nodiscard]] std::uint16_t heldState()
    {
        const auto& connection = desktop_.connection();
        const auto pointer = connection.reply(xcb_query_pointer_reply, xcb_query_pointer(connection.xcb(), connection.root()));
        return pointer ? pointer->mask : std::uint16_t{0};
    }

    /// Makes `keys` the ones of a modifier (0: Shift, 3: Mod1).
    void setModifier(std::size_t modifier, const std::vector<xcb_keycode_t>& keys)
    {
        const auto& connection = desktop_.connection();
        const auto current = connection.reply(xcb_get_modifier_mapping_reply, xcb_get_modifier_mapping(connection.xcb()));
        ASSERT_TRUE(current);
        const std::size_t width = current->keycodes_per_modifier;
        ASSERT_LE(keys.size(), width);
        const auto* all = xcb_get_modifier_mapping_keycodes(current.get());
        std::vector<xcb_keycode_t> changed(all, all + 8 * width);
        for (std::size_t i = 0; i < width; ++i)
            changed[modifier * width + i] = i < keys.size() ? keys[i] : xcb_keycode_t{0};
        const auto answer = connection.reply(
            xcb_set_modifier_mapping_reply, xcb_set_modifier_mapping(connection.xcb(), static_cast<std::uint8_t>(width), changed.data()));
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, XCB_MAPPING_STATUS_SUCCESS);
    }

    TestDesktop& desktop() { return desktop_; }

private:
    void fake(std::uint8_t type, xcb_keycode_t key)
    {
        xcb_test_fake_input(desktop_.xcb(), type, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        desktop_.sync();
    }

    TestDesktop desktop_;
};

/// Counts what arrives on the connection under test.
class CountingListener final : public X11EventThread::Listener {
public:
    void handle(const xcb_generic_event_t& event) override
    {
        if (event.response_type == XCB_KEY_PRESS)
            ++pressCount;
        if (event.response_type == XCB_KEY_RELEASE)
            ++releaseCount;
    }
    void eventsHandled(Connection&) override { }

    std::atomic<int> pressCount = 0;
    std::atomic<int> releaseCount = 0;
};

class X11HotKeyCenterTest : public ::testing::Test {
protected:
    X11HotKeyCenterTest()
    {
        EXPECT_TRUE(center_->installEventHandler([this](const HotKeyEvent& event) {
            pressed_.push_back(event.hotKeyID.value_or(HotKeyID{}).id);
            return 0;
        }));
    }

    HotKeyCenter::HotKeyReference registerToggle()
    {
        const auto registered = center_->registerEventHotKey(positionOfC, optionCommand, toggle);
        EXPECT_TRUE(registered) << registered.error();
        return registered.value_or(0);
    }

    std::shared_ptr<CountingListener> count()
    {
        auto listener = std::make_shared<CountingListener>();
        EXPECT_TRUE(events_->run([&](X11EventThread::Context& context) { context.listeners.push_back(listener); }));
        return listener;
    }

    /// Everything that the server has sent by now was handled afterwards, and presses are on the main thread's queue: the first work
    /// reads it in, the second comes after it.
    void settle()
    {
        for (int i = 0; i < 2; ++i) {
            EXPECT_TRUE(events_->run([](X11EventThread::Context& context) {
                static_cast<void>(context.connection.reply(xcb_get_input_focus_reply, xcb_get_input_focus(context.connection.xcb())));
            }));
        }
        executor_->runAll();
    }

    /// As the user's settings do it; returns when the server has it.
    void setLayout(const std::string& layout)
    {
        EXPECT_EQ(std::system(("setxkbmap -display " + server_.displayName() + " " + layout).c_str()), 0);
    }

    PrivateServer server_{{"-screen", "0", "640x480x24"}};
    std::shared_ptr<fake::ManualExecutor> executor_ = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<X11EventThread> events_ = std::make_shared<X11EventThread>(server_.displayName());
    std::unique_ptr<X11HotKeyCenter> center_ = std::make_unique<X11HotKeyCenter>(events_, executor_);
    OtherClient other_{server_.displayName()};
    std::vector<std::uint32_t> pressed_;
};

TEST_F(X11HotKeyCenterTest, APressIsToldOnTheMainThread)
{
    registerToggle();
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2));
}

TEST_F(X11HotKeyCenterTest, EveryHandlerIsTold)
{
    std::vector<HotKeyID> seen;
    const auto second = center_->installEventHandler([&](const HotKeyEvent& event) {
        seen.push_back(event.hotKeyID.value_or(HotKeyID{}));
        return 0;
    });
    ASSERT_TRUE(second);
    registerToggle();
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2));
    EXPECT_THAT(seen, ElementsAre(toggle));
    center_->removeEventHandler(*second);
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2, 2));
    EXPECT_THAT(seen, ElementsAre(toggle));
}

TEST_F(X11HotKeyCenterTest, APressCountsWithTheLocksOn)
{
    registerToggle();
    other_.tap(keyNumLock);
    EXPECT_EQ(other_.heldState() & XCB_MOD_MASK_2, XCB_MOD_MASK_2);
    other_.press();
    settle();
    EXPECT_EQ(pressed_.size(), 1U) << "NumLock";
    other_.tap(keyCapsLock);
    EXPECT_EQ(other_.heldState() & XCB_MOD_MASK_LOCK, XCB_MOD_MASK_LOCK);
    other_.press();
    settle();
    EXPECT_EQ(pressed_.size(), 2U) << "NumLock and CapsLock";
    other_.tap(keyNumLock);
    EXPECT_EQ(other_.heldState() & XCB_MOD_MASK_2, 0);
    other_.press();
    settle();
    EXPECT_EQ(pressed_.size(), 3U) << "CapsLock";
}

TEST_F(X11HotKeyCenterTest, OtherCombinationsAreLeftToOthers)
{
    registerToggle();
    other_.tap(keyC);
    other_.down({keyAlt});
    other_.tap(keyC);
    other_.up({keyAlt});
    other_.down({keyControl});
    other_.press();
    other_.up({keyControl});
    other_.press(keyX);
    settle();
    EXPECT_THAT(pressed_, ElementsAre());
}

TEST_F(X11HotKeyCenterTest, HoldingTheKeysIsOnePress)
{
    registerToggle();
    const auto counted = count();
    other_.down({keyAlt, keySuper, keyC});
    other_.desktop().waitUntil("the server repeats the key", [&] { return counted->pressCount >= 6; });
    other_.up({keyC, keySuper, keyAlt});
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2));
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2, 2));
}

TEST_F(X11HotKeyCenterTest, TheSecondOfTwoPressesCountsWhileTheModifiersStayDown)
{
    registerToggle();
    const auto counted = count();
    other_.down({keyAlt, keySuper});
    other_.tap(keyC);
    other_.desktop().waitUntil("the release", [&] { return counted->releaseCount >= 1; });
    other_.tap(keyC);
    other_.up({keySuper, keyAlt});
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2, 2));
}

TEST_F(X11HotKeyCenterTest, ACombinationOfAnotherProgramIsBadAccessAndStaysItsOwn)
{
    // It has only one of the four states, and loses none of them; nothing of ours stays in the other three.
    ASSERT_EQ(other_.grab(altSuper | XCB_MOD_MASK_LOCK), 0);
    const auto registered = center_->registerEventHotKey(positionOfC, optionCommand, toggle);
    ASSERT_FALSE(registered);
    EXPECT_EQ(registered.error(), 10);
    OtherClient third{server_.displayName()};
    EXPECT_EQ(third.grab(altSuper | XCB_MOD_MASK_LOCK), XCB_ACCESS);
    for (const auto state : {int{altSuper}, altSuper | XCB_MOD_MASK_2, altSuper | XCB_MOD_MASK_2 | XCB_MOD_MASK_LOCK})
        third.desktop().waitUntil("the state is free", [&] { return third.isFree(static_cast<std::uint16_t>(state)); });

    other_.ungrab(altSuper | XCB_MOD_MASK_LOCK);
    registerToggle();
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2));
}

TEST_F(X11HotKeyCenterTest, OurCombinationIsBadAccessToOthers)
{
    registerToggle();
    for (const auto lock : {0, int{XCB_MOD_MASK_LOCK}, int{XCB_MOD_MASK_2}, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2})
        EXPECT_EQ(other_.grab(static_cast<std::uint16_t>(altSuper | lock)), XCB_ACCESS) << lock;
}

TEST_F(X11HotKeyCenterTest, RegisteringTwiceIsBadAccessAndTheFirstKeepsItsPresses)
{
    registerToggle();
    const auto second = center_->registerEventHotKey(positionOfC, optionCommand, {toggle.signature, 3});
    ASSERT_FALSE(second);
    EXPECT_EQ(second.error(), hot_key_status::taken);
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2));
}

TEST_F(X11HotKeyCenterTest, UnregisteringFreesTheCombination)
{
    const auto reference = registerToggle();
    EXPECT_FALSE(other_.isFree(altSuper));
    center_->unregisterEventHotKey(reference);
    other_.desktop().waitUntil("the combination is free", [&] { return other_.isFree(altSuper); });
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre());
    EXPECT_NE(registerToggle(), reference);
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2));
}

TEST_F(X11HotKeyCenterTest, APressBeforeUnregisteringIsNotToldAfterIt)
{
    const auto reference = registerToggle();
    other_.press();
    other_.desktop().waitUntil("the press arrives", [&] { return executor_->pendingCount() == 1; });
    center_->unregisterEventHotKey(reference);
    executor_->runAll();
    EXPECT_THAT(pressed_, ElementsAre());
}

TEST_F(X11HotKeyCenterTest, TheEndOfTheCenterFreesTheCombination)
{
    registerToggle();
    other_.press();
    other_.desktop().waitUntil("the press arrives", [&] { return executor_->pendingCount() == 1; });
    center_.reset();
    other_.desktop().waitUntil("the combination is free", [&] { return other_.isFree(altSuper); });
    executor_->runAll();
    EXPECT_THAT(pressed_, ElementsAre());
}

TEST_F(X11HotKeyCenterTest, SeveralCombinationsAreToldApart)
{
    registerToggle();
    ASSERT_TRUE(center_->registerEventHotKey(7, optionCommand, {toggle.signature, 7}));
    ASSERT_TRUE(
        center_->registerEventHotKey(positionOfC, HotKeyCenter::controlModifier | HotKeyCenter::shiftModifier, {toggle.signature, 8}));
    other_.press(keyX);
    other_.press(keyC);
    other_.down({keyControl, 50});
    other_.tap(keyC);
    other_.up({50, keyControl});
    settle();
    EXPECT_THAT(pressed_, ElementsAre(7, 2, 8));
}

TEST_F(X11HotKeyCenterTest, TheShortcutFollowsAModifierToAnotherBit)
{
    registerToggle();
    const auto wide = static_cast<std::uint16_t>(XCB_MOD_MASK_1 | XCB_MOD_MASK_3);
    EXPECT_TRUE(other_.isFree(wide));
    other_.setModifier(6, {});
    other_.setModifier(5, {keySuper});
    settle();
    EXPECT_FALSE(other_.isFree(wide));
    EXPECT_TRUE(other_.isFree(altSuper));
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2));
}

TEST_F(X11HotKeyCenterTest, AShortcutWhoseModifierWentAwayComesBackWithIt)
{
    registerToggle();
    other_.setModifier(6, {});
    settle();
    EXPECT_TRUE(other_.isFree(altSuper));
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre());
    other_.setModifier(6, {keySuper});
    settle();
    EXPECT_FALSE(other_.isFree(altSuper));
    other_.press();
    settle();
    EXPECT_THAT(pressed_, ElementsAre(2));
}

TEST_F(X11HotKeyCenterTest, TheKeysTextIsThatOfTheLayoutAndAnotherMappingIsTold)
{
    std::vector<std::string> told;
    center_->observeKeyTexts([&] { told.push_back(center_->keyText(positionOfC)); });
    EXPECT_EQ(center_->keyText(positionOfC), "C") << "before the first registration";
    registerToggle();
    for (const auto& [layout, text] : {std::pair{"us dvorak", "J"}, {"fr", "C"}, {"ru", "С"}, {"us", "C"}}) {
        told.clear();
        setLayout(layout);
        settle();
        EXPECT_EQ(center_->keyText(positionOfC), text) << layout;
        ASSERT_FALSE(told.empty()) << layout;
        EXPECT_EQ(told.back(), text);
    }
}

TEST_F(X11HotKeyCenterTest, OfSeveralLayoutsTheOneThatIsInUseGivesTheKeysText)
{
    setLayout("us,ru -option grp:caps_toggle");
    EXPECT_EQ(center_->keyText(positionOfC), "C");
    other_.tap(keyCapsLock);
    EXPECT_EQ(center_->keyText(positionOfC), "С");
}

TEST_F(X11HotKeyCenterTest, AKeyWithoutATextAndAPositionThatIsNoneHaveNoText)
{
    EXPECT_EQ(center_->keyText(122), "") << "F1";
    EXPECT_EQ(center_->keyText(999), "");
}

TEST_F(X11HotKeyCenterTest, AKeyThatDoesNotExistHasAStatusOfItsOwn)
{
    const auto noPosition = center_->registerEventHotKey(999, optionCommand, toggle);
    ASSERT_FALSE(noPosition);
    EXPECT_EQ(noPosition.error(), hot_key_status::keyMissing);
    const auto noModifier = center_->registerEventHotKey(positionOfC, 0x80000, toggle);
    ASSERT_FALSE(noModifier);
    EXPECT_EQ(noModifier.error(), hot_key_status::modifierMissing);
    registerToggle();
}

/// The names of this process's threads.
std::vector<std::string> threadNames()
{
    std::vector<std::string> names;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::ifstream file{task.path() / "comm"};
        if (std::getline(file, name))
            names.push_back(name);
    }
    return names;
}

TEST_F(X11HotKeyCenterTest, TheDeathOfTheServerEndsTheThreadAndFailsWhatFollows)
{
    const auto reference = registerToggle();
    EXPECT_THAT(threadNames(), ::testing::Contains("x11Events"));
    server_.kill();
    // One that ended cannot be busy. Another server lends its connection to wait with.
    const PrivateServer living{{"-screen", "0", "640x480x24"}};
    TestDesktop desktop{living.displayName()};
    desktop.waitUntil("the thread ends", [] {
        const auto names = threadNames();
        return std::find(names.begin(), names.end(), "x11Events") == names.end();
    });
    const auto registered = center_->registerEventHotKey(7, optionCommand, toggle);
    ASSERT_FALSE(registered);
    EXPECT_EQ(registered.error(), hot_key_status::displayUnavailable);
    center_->unregisterEventHotKey(reference);
    executor_->runAll();
    EXPECT_THAT(pressed_, ElementsAre());
}

TEST_F(X11HotKeyCenterTest, TheServerMayDieDuringARegistration)
{
    registerToggle();
    server_.kill();
    // Whether the thread has seen it yet or not.
    const auto registered = center_->registerEventHotKey(7, optionCommand, toggle);
    ASSERT_FALSE(registered);
    EXPECT_EQ(registered.error(), hot_key_status::displayUnavailable);
}

TEST(X11HotKeyCenter, ADisplayThatIsNotThereIsAskedForAgainNextTime)
{
    const auto executor = std::make_shared<fake::ManualExecutor>();
    X11HotKeyCenter center{std::make_shared<X11EventThread>(":54321"), executor};
    ASSERT_TRUE(center.installEventHandler([](const HotKeyEvent&) { return 0; }));
    for (int i = 0; i < 2; ++i) {
        const auto registered = center.registerEventHotKey(positionOfC, optionCommand, toggle);
        ASSERT_FALSE(registered);
        EXPECT_EQ(registered.error(), hot_key_status::displayUnavailable);
    }
}

TEST(X11HotKeyCenter, ConnectsToNothingBeforeTheFirstRegistration)
{
    X11HotKeyCenter center{std::make_shared<X11EventThread>(), std::make_shared<fake::ManualExecutor>()};
    ASSERT_TRUE(center.installEventHandler([](const HotKeyEvent&) { return 0; }));
    EXPECT_THAT(threadNames(), ::testing::Not(::testing::Contains("x11Events")));
}

}  // namespace
}  // namespace velmora::linux_backend

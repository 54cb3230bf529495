// Shortcuts through the real portal: the desktop behind it is the test's.
#include "platform/linux/portal/PortalHotKeyCenter.h"

#include "platform/linux/portal_access/PortalConnection.h"
#include "tests/platform/linux/portal/TestPortal.h"
#include "tests/platform/linux/portal/TestShortcuts.h"

#include <QDBusPendingCall>

#include <gmock/gmock.h>

namespace velmora::linux_backend {
namespace {

using platform::HotKeyCenter;
using test::PrivateBus;
using ::testing::AllOf;
using ::testing::HasSubstr;

class PortalHotKeyCenterTest : public testing::Test {
protected:
    PortalHotKeyCenterTest()
    {
        static_cast<void>(center->installEventHandler([this](const platform::HotKeyEvent& event) {
            EXPECT_EQ(event.hotKeyID, id);
            ++presses;
            return 0;
        }));
        center->observeDecisions([this] { ++decisions; });
    }

    ~PortalHotKeyCenterTest() override { center.reset(); }

    void startPortal(bool hasShortcuts = true) { portal = std::make_unique<TestPortal>(bus, 3, hasShortcuts ? &shortcuts : nullptr); }

    auto registerKeys() { return center->registerEventHotKey(8, HotKeyCenter::commandModifier | HotKeyCenter::optionModifier, id); }

    /// The status of one that is decided on: 0 is success.
    platform::HotKeyStatus registerAgain()
    {
        const auto registered = registerKeys();
        reference = registered.value_or(0);
        return registered ? 0 : registered.error();
    }

    /// The status of a registration, when it has been decided on.
    platform::HotKeyStatus ask()
    {
        const auto before = decisions;
        EXPECT_EQ(registerAgain(), HotKeyCenter::pending);
        EXPECT_TRUE(PrivateBus::runUntil([&] { return decisions > before; }));
        return registerAgain();
    }

    /// Which the portal does while it waits for a desktop that is slow.
    void answerQuestionsOfAnother(int count) const
    {
        const auto other = bus.connect("another");
        for (int question = 0; question < count; ++question) {
            const QDBusPendingCall call = other.asyncCall(portal::propertiesCall("org.freedesktop.portal.GlobalShortcuts"));
            EXPECT_TRUE(PrivateBus::runUntil([&] { return call.isFinished(); }));
            EXPECT_FALSE(call.isError());
        }
        QDBusConnection::disconnectFromBus(QStringLiteral("another"));
    }

    const platform::HotKeyID id{0x434C4950, 2};
    PrivateBus bus;
    TestShortcuts shortcuts;
    std::unique_ptr<TestPortal> portal;
    std::unique_ptr<PortalHotKeyCenter> center =
        std::make_unique<PortalHotKeyCenter>(PortalHotKeyCenterOptions{.busAddress = bus.address(), .desktop = "ubuntu:GNOME"});
    HotKeyCenter::HotKeyReference reference = 0;
    int decisions = 0;
    int presses = 0;
};

TEST_F(PortalHotKeyCenterTest, TheDesktopIsAskedForTheKeysAndSaysWhichItHasBound)
{
    startPortal();
    ASSERT_EQ(ask(), 0);
    EXPECT_EQ(shortcuts.asked.properties.value(QStringLiteral("preferred_trigger")).toString(), QStringLiteral("ALT+LOGO+c"));
    EXPECT_FALSE(shortcuts.asked.properties.value(QStringLiteral("description")).toString().isEmpty());
    EXPECT_EQ(center->boundKeys(reference), "Alt+Super+K");
    EXPECT_EQ(center->explanation(), "");
}

TEST_F(PortalHotKeyCenterTest, EveryPressReachesTheHandlerOnce)
{
    startPortal();
    ASSERT_EQ(ask(), 0);
    for (int count = 1; count <= 3; ++count) {
        shortcuts.press();
        EXPECT_TRUE(PrivateBus::runUntil([&] { return presses >= count; }));
        EXPECT_EQ(presses, count);
    }
}

TEST_F(PortalHotKeyCenterTest, WhereNoProgramCanHaveAShortcutItSaysHowToBindKeys)
{
    startPortal(false);
    EXPECT_EQ(ask(), hot_key_status::portalMissing);
    EXPECT_THAT(center->explanation(), AllOf(HasSubstr("velmora toggle"), HasSubstr("Custom Shortcuts")));
}

TEST_F(PortalHotKeyCenterTest, WithoutABusItSaysHowToBindKeys)
{
    center->observeDecisions(nullptr);
    center = std::make_unique<PortalHotKeyCenter>(PortalHotKeyCenterOptions{.busAddress = "unix:path=/nonexistent/bus", .desktop = "KDE"});
    center->observeDecisions([this] { ++decisions; });
    EXPECT_EQ(ask(), hot_key_status::portalMissing);
    EXPECT_THAT(center->explanation(), AllOf(HasSubstr("velmora toggle"), HasSubstr("Add Command")));
}

TEST_F(PortalHotKeyCenterTest, AUserWhoRefusesIsAskedAgainOnlyWhenItIsRegisteredOnceMore)
{
    startPortal();
    shortcuts.isAllowed = false;
    EXPECT_EQ(ask(), hot_key_status::portalRefused);
    EXPECT_THAT(center->explanation(), HasSubstr("velmora toggle"));
    EXPECT_EQ(shortcuts.questions, 1);
    shortcuts.isAllowed = true;
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(shortcuts.questions, 2);
}

TEST_F(PortalHotKeyCenterTest, KeysThatAreBoundAreThereWhateverElseTheDesktopSaysOfTheQuestion)
{
    startPortal();
    shortcuts.answer = 2;
    shortcuts.keys = QStringLiteral("Press <Alt><Super>c");
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(center->boundKeys(reference), "Alt+Super+C");
    shortcuts.press();
    EXPECT_TRUE(PrivateBus::runUntil([&] { return presses == 1; }));
    EXPECT_EQ(center->explanation(), "");
}

TEST_F(PortalHotKeyCenterTest, KeysAreNamedAsPeopleWriteThem)
{
    startPortal();
    ASSERT_EQ(ask(), 0);
    const std::pair<const char*, const char*> descriptions[] = {{"<Control><Shift>F9 drücken", "Ctrl+Shift+F9"},
        {"Press <Super>Print", "Super+Print"}, {"Meta+Alt+C", "Meta+Alt+C"}, {"Press c", "Press c"}, {"a < b > c", "a < b > c"}};
    int before = decisions;
    for (const auto& [description, keys] : descriptions) {
        shortcuts.change(QString::fromUtf8(description));
        EXPECT_TRUE(PrivateBus::runUntil([&] { return decisions == before + 1; }));
        before = decisions;
        EXPECT_EQ(center->boundKeys(reference), keys);
    }
}

TEST_F(PortalHotKeyCenterTest, AShortcutWithoutKeysIsRegisteredWhenTheUserBindsSome)
{
    startPortal();
    shortcuts.keys.clear();
    EXPECT_EQ(ask(), hot_key_status::unbound);
    EXPECT_EQ(registerAgain(), hot_key_status::unbound) << "the desktop still has it";
    shortcuts.change(QStringLiteral("F9"));
    ASSERT_TRUE(PrivateBus::runUntil([&] { return decisions == 2; }));
    const auto registered = registerKeys();
    ASSERT_TRUE(registered);
    EXPECT_EQ(center->boundKeys(*registered), "F9");
    EXPECT_EQ(shortcuts.questions, 1);
}

TEST_F(PortalHotKeyCenterTest, OtherKeysAreTakenOverWithoutAskingAgain)
{
    startPortal();
    ASSERT_EQ(ask(), 0);
    shortcuts.change(QStringLiteral("Ctrl+F9"));
    ASSERT_TRUE(PrivateBus::runUntil([&] { return decisions == 2; }));
    center->unregisterEventHotKey(reference);
    const auto again = registerKeys();
    ASSERT_TRUE(again);
    EXPECT_EQ(center->boundKeys(*again), "Ctrl+F9");
    shortcuts.press();
    EXPECT_TRUE(PrivateBus::runUntil([&] { return presses == 1; }));
    EXPECT_EQ(shortcuts.questions, 1);
    EXPECT_EQ(shortcuts.sessionsClosed, 0);
}

TEST_F(PortalHotKeyCenterTest, UnregisteringGivesTheKeysBack)
{
    startPortal();
    ASSERT_EQ(ask(), 0);
    center->unregisterEventHotKey(reference);
    EXPECT_TRUE(PrivateBus::runUntil([&] { return shortcuts.sessionsClosed == 1; }));
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(shortcuts.questions, 2);
    shortcuts.press();
    EXPECT_TRUE(PrivateBus::runUntil([&] { return presses == 1; }));
}

TEST_F(PortalHotKeyCenterTest, KeysAreAskedForAgainOnceTheDesktopHasLetGoOfThem)
{
    shortcuts.takesItsTimeToLetGo = true;
    startPortal();
    ASSERT_EQ(ask(), 0);
    center->unregisterEventHotKey(reference);
    ASSERT_TRUE(PrivateBus::runUntil([&] { return shortcuts.sessionsClosed == 1; }));
    const auto before = decisions;
    EXPECT_EQ(registerAgain(), HotKeyCenter::pending);
    // A program that does not wait has asked for its new session by then.
    answerQuestionsOfAnother(3);
    EXPECT_EQ(shortcuts.questions, 1);
    shortcuts.letGo();
    ASSERT_TRUE(PrivateBus::runUntil([&] { return decisions > before; }));
    EXPECT_EQ(registerAgain(), 0);
    EXPECT_EQ(shortcuts.questions, 2);
    shortcuts.press();
    EXPECT_TRUE(PrivateBus::runUntil([&] { return presses == 1; }));
}

TEST_F(PortalHotKeyCenterTest, ADesktopThatEndsTheShortcutIsHeard)
{
    startPortal();
    ASSERT_EQ(ask(), 0);
    shortcuts.closeSession();
    ASSERT_TRUE(PrivateBus::runUntil([&] { return decisions == 2; }));
    center->unregisterEventHotKey(reference);
    EXPECT_EQ(registerAgain(), hot_key_status::portalRefused);
}

TEST_F(PortalHotKeyCenterTest, APortalThatEndsTakesTheShortcutWithIt)
{
    startPortal();
    ASSERT_EQ(ask(), 0);
    portal.reset();
    ASSERT_TRUE(PrivateBus::runUntil([&] { return decisions == 2; }));
    center->unregisterEventHotKey(reference);
    EXPECT_EQ(registerAgain(), hot_key_status::portalRefused);
}

}  // namespace
}  // namespace velmora::linux_backend

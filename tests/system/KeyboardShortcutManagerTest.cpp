#include "system/KeyboardShortcutManager.h"

#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeHotKeyCenter.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/CapturedLog.h"

#include <QJsonArray>
#include <QStringList>

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CountingDelegate final : public KeyboardShortcutManagerDelegate {
public:
    void shortcutManagerDidTriggerSaveClip() override { ++saves; }
    void shortcutManagerDidTriggerToggleRecording() override { ++toggles; }

    int saves = 0;
    int toggles = 0;
};

class KeyboardShortcutManagerTest : public testing::Test {
protected:
    KeyboardShortcutManager& manager()
    {
        if (!manager_) {
            manager_ = std::make_unique<KeyboardShortcutManager>(KeyboardShortcutManager::Services{centre, clock, executor});
            manager_->setDelegate(delegate);
        }
        return *manager_;
    }

    void press(std::optional<platform::HotKeyID> id = platform::HotKeyID{0x434C4950, 2})
    {
        EXPECT_EQ(centre->press(id), 0);
        executor->runAll();
    }

    test::CapturedLog log;
    std::shared_ptr<fake::FakeHotKeyCenter> centre = std::make_shared<fake::FakeHotKeyCenter>();
    std::shared_ptr<fake::FakeClock> clock = std::make_shared<fake::FakeClock>();
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<CountingDelegate> delegate = std::make_shared<CountingDelegate>();
    std::unique_ptr<KeyboardShortcutManager> manager_;
};

TEST_F(KeyboardShortcutManagerTest, RegistersOptionCommandCWhenItIsMade)
{
    EXPECT_TRUE(manager().isRegistered());
    EXPECT_FALSE(manager().registrationErrorMessage());
    ASSERT_EQ(centre->registrations.size(), 1U);
    EXPECT_EQ(centre->registrations.begin()->second, (fake::FakeHotKeyCenter::Registration{8, 0x900, {0x434C4950, 2}}));
    EXPECT_EQ(log->messages().back(), "Global shortcut ⌥⌘C registered successfully.");
}

TEST_F(KeyboardShortcutManagerTest, APressReachesTheDelegateWhenTheMainThreadIsFree)
{
    manager();
    EXPECT_EQ(centre->press(platform::HotKeyID{0x434C4950, 2}), 0);
    EXPECT_EQ(delegate->toggles, 0);
    executor->runAll();
    EXPECT_EQ(delegate->toggles, 1);
    EXPECT_EQ(delegate->saves, 0);
    EXPECT_EQ(log->messages().back(), "Toggle recording hotkey triggered (⌥⌘C)");
}

TEST_F(KeyboardShortcutManagerTest, ADroppedPressDoesNotResetTheClock)
{
    manager();
    press();
    clock->advance(300ms);
    press();
    EXPECT_EQ(delegate->toggles, 1);
    clock->advance(400ms);
    press();
    EXPECT_EQ(delegate->toggles, 2);
}

TEST_F(KeyboardShortcutManagerTest, OfTwoPressesExactlyHalfASecondApartTheSecondIsDropped)
{
    manager();
    press();
    clock->advance(500ms);
    press();
    EXPECT_EQ(delegate->toggles, 1);
    clock->advance(1us);
    press();
    EXPECT_EQ(delegate->toggles, 2);
}

TEST_F(KeyboardShortcutManagerTest, TheHalfSecondIsMeasuredWhenTheMainThreadComesToThePress)
{
    manager();
    press();
    clock->advance(300ms);
    centre->press(platform::HotKeyID{0x434C4950, 2});
    clock->advance(300ms);
    executor->runAll();
    EXPECT_EQ(delegate->toggles, 2) << "a press that waited until the half second was over";
    clock->advance(1s);
    centre->press(platform::HotKeyID{0x434C4950, 2});
    clock->advance(1s);
    centre->press(platform::HotKeyID{0x434C4950, 2});
    executor->runAll();
    EXPECT_EQ(delegate->toggles, 3) << "two presses that waited and come at once";
}

TEST_F(KeyboardShortcutManagerTest, OtherSignaturesAndNumbersAndUnreadableEventsAreIgnored)
{
    manager();
    press(platform::HotKeyID{0x434C4951, 2});
    press(platform::HotKeyID{0x434C4950, 1});
    press(std::nullopt);
    EXPECT_EQ(delegate->toggles, 0);
    press();
    EXPECT_EQ(delegate->toggles, 1) << "the clock was not touched";
}

TEST_F(KeyboardShortcutManagerTest, AShortcutThatAnotherProgramOwnsIsReportedWithItsStatus)
{
    centre->registerStatus = -9878;
    EXPECT_FALSE(manager().isRegistered());
    EXPECT_EQ(manager().registrationErrorMessage(), "Failed to register ⌥⌘C (Status: -9878)");
    EXPECT_EQ(log->messages().back(), "Failed to register recording shortcut: -9878");
    centre->registerStatus = 0;
    manager().registerAll();
    EXPECT_TRUE(manager().isRegistered());
    EXPECT_FALSE(manager().registrationErrorMessage());
}

TEST_F(KeyboardShortcutManagerTest, ASecondRegistrationThatFailsLeavesNothingRegistered)
{
    ASSERT_TRUE(manager().isRegistered());
    centre->registerStatus = -9878;
    manager().registerAll();
    EXPECT_FALSE(manager().isRegistered());
    EXPECT_EQ(manager().registrationErrorMessage(), "Failed to register ⌥⌘C (Status: -9878)");
    EXPECT_THAT(centre->registrations, IsEmpty());
    EXPECT_EQ(manager().boundKeys(), "");
}

TEST_F(KeyboardShortcutManagerTest, ObserversHearOfEachStepOfARegistrationOnceItHasTakenEffect)
{
    centre->registerStatus = 10;
    manager();
    centre->registerStatus = 0;
    using Seen = std::tuple<bool, bool, std::string>;
    const auto now = [&] {
        return Seen{
            manager().isRegistered(), manager().registrationErrorMessage().has_value(), manager().toggleRecordingShortcut().displayString};
    };
    std::vector<Seen> after;
    const auto noteAfter = [&] { after.push_back(now()); };
    QObject::connect(&manager(), &KeyboardShortcutManager::isRegisteredChanged, noteAfter);
    QObject::connect(&manager(), &KeyboardShortcutManager::registrationErrorMessageChanged, noteAfter);
    QObject::connect(&manager(), &KeyboardShortcutManager::toggleRecordingShortcutChanged, noteAfter);
    manager().updateToggleRecordingShortcut({9, 0x100, "⌘V"});
    manager().unregisterAll();
    const Seen changed{false, true, "⌘V"};
    const Seen cleared{false, false, "⌘V"};
    const Seen registered{true, false, "⌘V"};
    EXPECT_THAT(after, ElementsAre(changed, changed, cleared, registered, cleared));
    QObject::disconnect(&manager(), nullptr, nullptr, nullptr);
}

TEST_F(KeyboardShortcutManagerTest, RegisteringTwiceLeavesOneRegistration)
{
    manager().registerAll();
    manager().registerAll();
    EXPECT_EQ(centre->registrations.size(), 1U);
}

TEST_F(KeyboardShortcutManagerTest, AHandlerThatCannotBeInstalledIsLoggedAndRegistrationGoesOn)
{
    centre->installStatus = -50;
    EXPECT_TRUE(manager().isRegistered());
    EXPECT_EQ(log->count("Failed to install Carbon event handler: -50"), 1U);
}

TEST_F(KeyboardShortcutManagerTest, UnregisteringKeepsTheHandlerAndTheMessage)
{
    centre->registerStatus = 10;
    manager();
    manager().unregisterAll();
    EXPECT_FALSE(manager().isRegistered());
    EXPECT_EQ(manager().registrationErrorMessage(), "Failed to register ⌥⌘C (Status: 10)");
    EXPECT_EQ(centre->handlers.size(), 1U);
    centre->registerStatus = 0;
    manager().registerAll();
    manager().unregisterAll();
    EXPECT_THAT(centre->registrations, IsEmpty());
}

TEST_F(KeyboardShortcutManagerTest, ADesktopThatTakesItsTimeIsHeardWhenItHasDecided)
{
    centre->registerStatus = platform::HotKeyCenter::pending;
    centre->reason = "The desktop is being asked.";
    EXPECT_FALSE(manager().isRegistered());
    EXPECT_EQ(manager().registrationErrorMessage(), "The desktop is being asked.");
    EXPECT_EQ(log->count("Failed to register recording shortcut: -100"), 0U) << "it has not failed";
    EXPECT_FALSE(manager().isRefused()) << "nor is it refused";
    centre->registerStatus = -11;
    centre->decided();
    EXPECT_TRUE(manager().isRefused());
    centre->registerStatus = 0;
    centre->keys = "Ctrl+F9";
    centre->decided();
    EXPECT_TRUE(manager().isRegistered());
    EXPECT_FALSE(manager().registrationErrorMessage());
    EXPECT_EQ(manager().boundKeys(), "Ctrl+F9");
    EXPECT_EQ(centre->registrations.size(), 1U);
}

TEST_F(KeyboardShortcutManagerTest, TheKeysTextIsThatOfTheKeyboardAndItsChangesAreTold)
{
    EXPECT_EQ(manager().keyText(), "C") << "nobody says";
    centre->texts = {{7, "Q"}, {8, "J"}};
    EXPECT_EQ(manager().keyText(), "J");
    std::vector<std::string> told;
    QObject::connect(&manager(), &KeyboardShortcutManager::keyTextChanged, &manager(), [&] { told.push_back(manager().keyText()); });
    centre->texts[8] = "С";
    centre->textsChanged();
    EXPECT_EQ(told, std::vector<std::string>{"С"});
}

TEST_F(KeyboardShortcutManagerTest, WhereADesktopTellsNoMoreTheStatusIsTheMessageAndTheKeyIsC)
{
    centre->hasDecisions = false;
    centre->hasKeyTexts = false;
    centre->reason = "Not to be asked.";
    centre->keys = "F9";
    centre->texts = {{8, "J"}};
    centre->registerStatus = 10;
    EXPECT_EQ(manager().registrationErrorMessage(), "Failed to register ⌥⌘C (Status: 10)");
    EXPECT_FALSE(manager().isRegistrationErrorExplained());
    EXPECT_EQ(manager().keyText(), "C");
    centre->registerStatus = 0;
    manager().registerAll();
    EXPECT_EQ(manager().boundKeys(), "");
    EXPECT_FALSE(centre->decided);
    EXPECT_FALSE(centre->textsChanged);
}

TEST_F(KeyboardShortcutManagerTest, WhatTheDesktopSaysOfAFailureIsTheMessage)
{
    centre->registerStatus = -11;
    EXPECT_FALSE(manager().isRegistrationErrorExplained());
    centre->reason = "Bind keys in the settings.";
    manager().registerAll();
    EXPECT_EQ(manager().registrationErrorMessage(), "Bind keys in the settings.");
    EXPECT_TRUE(manager().isRegistrationErrorExplained());
    EXPECT_EQ(manager().boundKeys(), "");
}

TEST_F(KeyboardShortcutManagerTest, ADecisionOnAShortcutThatIsNoLongerWantedRegistersNothing)
{
    centre->registerStatus = platform::HotKeyCenter::pending;
    manager().unregisterAll();
    centre->registerStatus = 0;
    centre->decided();
    EXPECT_FALSE(manager().isRegistered());
    EXPECT_THAT(centre->registrations, IsEmpty());
    manager_.reset();
    EXPECT_FALSE(centre->decided) << "nobody listens any more";
}

TEST_F(KeyboardShortcutManagerTest, AnotherShortcutReplacesTheRegisteredOne)
{
    int changes = 0;
    QObject::connect(&manager(), &KeyboardShortcutManager::toggleRecordingShortcutChanged, &manager(), [&] { ++changes; });
    manager().updateToggleRecordingShortcut({9, 0x100, "⌘V"});
    EXPECT_EQ(changes, 1);
    ASSERT_EQ(centre->registrations.size(), 1U);
    EXPECT_EQ(centre->registrations.begin()->second.keyCode, 9U);
    EXPECT_EQ(log->messages().back(), "Global shortcut ⌥⌘C registered successfully.");
    centre->registerStatus = 10;
    manager().registerAll();
    EXPECT_EQ(manager().registrationErrorMessage(), "Failed to register ⌘V (Status: 10)");
}

TEST_F(KeyboardShortcutManagerTest, ItsEndReleasesEverything)
{
    manager();
    centre->press(platform::HotKeyID{0x434C4950, 2});
    manager_.reset();
    EXPECT_THAT(centre->registrations, IsEmpty());
    EXPECT_THAT(centre->handlers, IsEmpty());
    executor->runAll();
    EXPECT_EQ(delegate->toggles, 0);
}

TEST_F(KeyboardShortcutManagerTest, WithItsEndItIsRegisteredNoLonger)
{
    std::optional<bool> announced;
    const auto* ending = &manager();
    QObject::connect(ending, &KeyboardShortcutManager::isRegisteredChanged, ending, [&] { announced = ending->isRegistered(); });
    manager_.reset();
    EXPECT_EQ(announced, false);
}

TEST_F(KeyboardShortcutManagerTest, WithItsEndNobodyTellsItOfKeysAndDecisions)
{
    manager();
    ASSERT_TRUE(centre->textsChanged);
    ASSERT_TRUE(centre->decided);
    manager_.reset();
    EXPECT_FALSE(centre->textsChanged);
    EXPECT_FALSE(centre->decided);
}

TEST_F(KeyboardShortcutManagerTest, NothingIsExplainedWhereNothingFailed)
{
    EXPECT_FALSE(manager().isRegistrationErrorExplained());
    centre->reason = "Bind keys in the settings.";
    centre->registerStatus = -11;
    manager().registerAll();
    ASSERT_TRUE(manager().isRegistrationErrorExplained());
    centre->registerStatus = 0;
    manager().registerAll();
    EXPECT_FALSE(manager().isRegistrationErrorExplained());
}

TEST_F(KeyboardShortcutManagerTest, ADelegateThatIsGoneIsNotCalled)
{
    manager();
    const std::weak_ptr<CountingDelegate> gone = delegate;
    delegate.reset();
    ASSERT_TRUE(gone.expired()) << "the manager keeps nobody alive";
    press();
    EXPECT_EQ(log->messages().back(), "Toggle recording hotkey triggered (⌥⌘C)");
    delegate = std::make_shared<CountingDelegate>();
    manager().setDelegate(delegate);
    press();
    EXPECT_EQ(delegate->toggles, 0) << "a press that nobody heard counts as one";
    clock->advance(501ms);
    press();
    EXPECT_EQ(delegate->toggles, 1);
}

TEST(ShortcutDefinitionTest, ComesBackFromItsKeys)
{
    const auto& shortcut = ShortcutDefinition::defaultToggleRecording();
    const auto encoded = shortcut.encoded();
    EXPECT_EQ(encoded.keys(), (QStringList{QStringLiteral("displayString"), QStringLiteral("keyCode"), QStringLiteral("modifiers")}));
    EXPECT_EQ(encoded.value(QStringLiteral("keyCode")).toInt(), 8);
    EXPECT_EQ(encoded.value(QStringLiteral("modifiers")).toInt(), 0x900);
    EXPECT_EQ(ShortcutDefinition::decoded(encoded), shortcut);
    const ShortcutDefinition extreme{0xFFFFFFFF, 0xFFFFFFFF, "x"};
    EXPECT_EQ(ShortcutDefinition::decoded(extreme.encoded()), extreme);
}

TEST(ShortcutDefinitionTest, NeedsAllThreeKeysOfTheirKinds)
{
    for (const auto* key : {"keyCode", "modifiers", "displayString"}) {
        auto object = ShortcutDefinition::defaultToggleRecording().encoded();
        object.remove(QLatin1String{key});
        EXPECT_FALSE(ShortcutDefinition::decoded(object)) << key;
        object.insert(QLatin1String{key}, QJsonArray{});
        EXPECT_FALSE(ShortcutDefinition::decoded(object)) << key;
    }
    auto object = ShortcutDefinition::defaultToggleRecording().encoded();
    for (const double wrong : {-1.0, 0.5, 4294967296.0}) {
        object.insert(QStringLiteral("keyCode"), wrong);
        EXPECT_FALSE(ShortcutDefinition::decoded(object)) << wrong;
    }
}

TEST(ShortcutDefinitionTest, EqualMeansAllThreeFields)
{
    const ShortcutDefinition shortcut{8, 0x900, "⌥⌘C"};
    EXPECT_EQ(shortcut, ShortcutDefinition::defaultToggleRecording());
    EXPECT_NE(shortcut, (ShortcutDefinition{9, 0x900, "⌥⌘C"}));
    EXPECT_NE(shortcut, (ShortcutDefinition{8, 0x100, "⌥⌘C"}));
    EXPECT_NE(shortcut, (ShortcutDefinition{8, 0x900, "C"}));
}

}  // namespace
}  // namespace velmora

// The program in a Wayland session: the real portal and a real PipeWire, the desktop behind them the test's.

#include "tests/platform/linux/desktop/PrivateBus.h"
#include "tests/platform/linux/portal/TestCast.h"
#include "tests/platform/linux/portal/TestPortal.h"
#include "tests/platform/linux/portal/TestShortcuts.h"
#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Velmora.h"
#include "tests/support/sound/ChildProcess.h"

#include <QMetaObject>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <thread>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::uint32_t chooser = 1;
constexpr std::uint32_t firstGrant = 2;

class WaylandSessionTest : public ::testing::Test {
protected:
    WaylandSessionTest() { portal.node = cast.nodeID(); }

    /// No compositor answers to that name: what the program shows comes by way of the X server.
    [[nodiscard]] Environment environment() const
    {
        return {{"DBUS_SESSION_BUS_ADDRESS", bus.address()}, {"WAYLAND_DISPLAY", "velmora-test"},
            {"XDG_STATE_HOME", directory.path().string()}};
    }

    [[nodiscard]] std::filesystem::path file() const { return directory.path() / "clip.mp4"; }

    /// Does the user's work, which waits for programs, while this thread is the desktop and the window draws.
    void run(const std::function<void()>& work)
    {
        std::atomic<bool> isDone = false;
        std::thread window{[&] {
            for (std::uint32_t number = 1; !isDone; ++number) {
                cast.showIfWanted(number);
                record(33ms);
            }
        }};
        std::thread user{[&] {
            work();
            isDone = true;
        }};
        while (!isDone)
            PrivateBus::runUntil([&] { return isDone.load(); });
        user.join();
        window.join();
    }

    /// On the desktop's thread, and waits.
    static void onDesktop(const std::function<void()>& work)
    {
        QMetaObject::invokeMethod(QCoreApplication::instance(), work, Qt::BlockingQueuedConnection);
    }

    static void expectTheWindow(const std::filesystem::path& clipFile)
    {
        const auto clip = readClip(clipFile);
        ASSERT_TRUE(clip.opened && clip.video);
        EXPECT_THAT(clip.complaints, IsEmpty());
        EXPECT_EQ(clip.video->width, 640);
        EXPECT_EQ(clip.video->height, 480);
        const auto& pictures = clip.video->pictures;
        ASSERT_GT(pictures.size(), 5U);
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            ASSERT_TRUE(pictures[i].reading.isReadable()) << "picture " << i;
            ASSERT_FALSE(pictures[i].reading.isTorn()) << "picture " << i;
            if (i > 0) {
                EXPECT_GE(*pictures[i].reading.top, *pictures[i - 1].reading.top) << "picture " << i;
            }
        }
        EXPECT_GT(*pictures.back().reading.top, *pictures.front().reading.top + 5);
    }

    PrivateBus bus;
    TemporaryDirectory directory;
    linux_backend::TestCast cast;
    linux_backend::TestShortcuts shortcuts;
    linux_backend::TestPortal portal{bus, 3, &shortcuts};
};

TEST_F(WaylandSessionTest, AWindowThatTheUserChoosesInTheDesktopsDialogIsRecordedAndNextTimeWithoutTheDialog)
{
    run([&] {
        const auto listed = runVelmora({"windows", "--json"}, environment());
        EXPECT_THAT(listed.output, HasSubstr("Choose a window")) << listed.messages;
        const auto outcome = test::record(chooser, file(), 2, environment());
        ASSERT_EQ(outcome.status, 0) << outcome.messages;
        expectTheWindow(file());
        EXPECT_THAT(runVelmora({"windows", "--json"}, environment()).output, HasSubstr("Shared window"));
        std::filesystem::remove(file());
        const auto again = test::record(firstGrant, file(), 1, environment());
        ASSERT_EQ(again.status, 0) << again.messages;
        expectTheWindow(file());
    });
    EXPECT_EQ(portal.dialogs, 1);
    EXPECT_EQ(portal.restored, 1);
}

/// Two applications play: the first 440 Hz, the second 1000 Hz.
class WaylandSoundTest : public WaylandSessionTest {
protected:
    static constexpr double firstTone = 440;
    static constexpr double secondTone = 1000;

    static std::unique_ptr<ChildProcess> player(double frequency, const std::string& name)
    {
        auto child = std::make_unique<ChildProcess>(std::vector<std::string>{VELMORA_TONE_PLAYER, std::to_string(frequency), name});
        EXPECT_EQ(child->readLine(), "playing");
        return child;
    }

    static void expectToneAlone(const std::filesystem::path& clipFile, double tone, double other)
    {
        const auto clip = readClip(clipFile);
        ASSERT_TRUE(clip.opened && clip.audio);
        for (const int channel : {0, 1}) {
            const auto levels = clip.audio->levels(tone, other, channel);
            EXPECT_GT(levels.tone, -20) << channel;
            EXPECT_LT(levels.otherAgainstTone, -60) << channel;
        }
    }

    /// A clip of the window that is chosen.
    static std::filesystem::path clipOf(TrayProgram& program)
    {
        const auto started = program.run({"toggle"});
        EXPECT_EQ(started.status, 0) << started.messages;
        record(2500ms);
        const auto saved = program.run({"toggle"});
        EXPECT_EQ(saved.status, 0) << saved.messages;
        return saved.lastLine();
    }

    WaylandSoundTest()
    {
        // For assistive technology too, and for those who ask it: the program's bus is where they meet.
        setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    }

    ~WaylandSoundTest() override { setenv("DBUS_SESSION_BUS_ADDRESS", desktopsBus_.c_str(), 1); }

    [[nodiscard]] Environment visibleEnvironment() const
    {
        auto all = environment();
        all.merge(AssistiveTechnology::environment());
        return all;
    }

    std::unique_ptr<ChildProcess> first = player(firstTone, "First player");
    std::unique_ptr<ChildProcess> second = player(secondTone, "Second player");

private:
    const std::string desktopsBus_ = std::getenv("DBUS_SESSION_BUS_ADDRESS");
};

TEST_F(WaylandSoundTest, ThePickerAsksWhoseSoundItIsAndTheClipHasThatAloneAlsoAfterItsPlayerStartedAgain)
{
    run([&] {
        const AssistiveTechnology assistiveTechnology;
        TrayProgram::Options options;
        options.environment = visibleEnvironment();
        TrayProgram program{options};
        ASSERT_EQ(program.run({}).status, 0);
        ASSERT_TRUE(isShown("Select Video Window"));
        ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "Choose a window"));
        ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Start Clipping This Window"));

        ASSERT_TRUE(AssistiveTechnology::find("heading", "Choose Its Sound"));
        ASSERT_TRUE(AssistiveTechnology::find("list item", "Second player"));
        ASSERT_TRUE(AssistiveTechnology::find("list item", "No sound"));
        EXPECT_FALSE(AssistiveTechnology::find("list item", "First player")->has("checked")) << "of two, none is suggested";
        EXPECT_FALSE(AssistiveTechnology::find("list item", "Second player")->has("checked"));
        ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "First player"));
        ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Start Clipping This Window"));
        ASSERT_TRUE(program.hasState("capturing"));
        EXPECT_TRUE(isHidden("Select Video Window"));
        const auto clip = clipOf(program);
        expectTheWindow(clip);
        expectToneAlone(clip, firstTone, secondTone);

        first->kill();
        first = player(firstTone, "First player");
        expectToneAlone(clipOf(program), firstTone, secondTone);
    });
    EXPECT_EQ(portal.dialogs, 1);
}

TEST_F(WaylandSoundTest, TheSecondStepIsUsableByKeyboardAndEscapeGoesBackAndGivesTheWindowBack)
{
    second->kill();
    run([&] {
        const AssistiveTechnology assistiveTechnology;
        TrayProgram::Options options;
        options.environment = visibleEnvironment();
        TrayProgram program{options};
        ASSERT_EQ(program.run({}).status, 0);
        ASSERT_TRUE(hasFocus("Select Video Window"));
        ASSERT_TRUE(AssistiveTechnology::find("list item", "Choose a window"));
        pressKeys({"Return"});
        ASSERT_TRUE(AssistiveTechnology::find("list item", "First player"));
        pressKeys({"Escape"});
        ASSERT_TRUE(AssistiveTechnology::find("list item", "Choose a window"));
        EXPECT_TRUE(waitUntil([&] {
            int closed = 0;
            onDesktop([&] { closed = portal.sessionsClosed; });
            return closed == 1;
        }));
        EXPECT_TRUE(program.hasState("waitingForWindowSelection"));
        pressKeys({"Return"});
        ASSERT_TRUE(AssistiveTechnology::find("list item", "First player")->has("checked")) << "the only one that plays is suggested";
        pressKeys({"Return"});
        ASSERT_TRUE(program.hasState("capturing"));
    });
}

TEST_F(WaylandSoundTest, ACommandSaysWhoseSoundItWantsAndIsToldHow)
{
    run([&] {
        const auto refused = test::record(chooser, file(), 1, environment());
        EXPECT_EQ(refused.status, 1) << refused.messages;
        EXPECT_THAT(refused.messages, HasSubstr("--sound NAME"));
        EXPECT_THAT(refused.messages, HasSubstr("First player"));
        EXPECT_FALSE(std::filesystem::exists(file()));

        RecordingProcess chosen{firstGrant, file(), {"--duration", "2.5", "--sound", "second player"}, environment()};
        const auto outcome = chosen.finish();
        ASSERT_EQ(outcome.status, 0) << outcome.messages;
        expectTheWindow(file());
        expectToneAlone(file(), secondTone, firstTone);

        std::filesystem::remove(file());
        const auto again = test::record(firstGrant, file(), 2.5, environment());
        ASSERT_EQ(again.status, 0) << "what was chosen is remembered: " << again.messages;
        expectToneAlone(file(), secondTone, firstTone);

        std::filesystem::remove(file());
        RecordingProcess silent{firstGrant, file(), {"--duration", "1", "--sound", "none"}, environment()};
        const auto withoutSound = silent.finish();
        ASSERT_EQ(withoutSound.status, 0) << withoutSound.messages;
        EXPECT_FALSE(readClip(file()).audio);
    });
    EXPECT_EQ(portal.dialogs, 1);
}

TEST_F(WaylandSessionTest, ACancelledDialogRecordsNothing)
{
    portal.user = linux_backend::TestPortal::User::cancels;
    run([&] {
        const auto outcome = test::record(chooser, file(), 2, environment());
        EXPECT_EQ(outcome.status, 1) << outcome.messages;
        EXPECT_FALSE(std::filesystem::exists(file()));
    });
    EXPECT_EQ(portal.dialogs, 1);
}

TEST_F(WaylandSessionTest, TheDesktopsShortcutStartsAndEndsARecording)
{
    run([&] {
        TrayProgram::Options options;
        options.environment = environment();
        TrayProgram program{options};
        const auto selected = program.run({"select", std::to_string(chooser)});
        ASSERT_EQ(selected.status, 0) << selected.messages;
        ASSERT_TRUE(waitUntil([&] { return program.status().value(QStringLiteral("shortcutIsRegistered")).toBool(); }));
        onDesktop([&] { shortcuts.press(); });
        ASSERT_TRUE(waitUntil([&] { return program.hasState("recordingClip"); }));
        record(1500ms);
        onDesktop([&] { shortcuts.press(); });
        ASSERT_TRUE(waitUntil([&] { return !program.lastSavedClip().empty(); }));
        expectTheWindow(program.lastSavedClip());
    });
    EXPECT_EQ(portal.dialogs, 1);
}

}  // namespace
}  // namespace velmora::test

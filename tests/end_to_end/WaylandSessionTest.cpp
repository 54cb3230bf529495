// The program in a Wayland session: the real portal and a real PipeWire, the desktop behind them the test's.

#include "tests/platform/linux/desktop/PrivateBus.h"
#include "tests/platform/linux/portal/TestCast.h"
#include "tests/platform/linux/portal/TestPortal.h"
#include "tests/platform/linux/portal/TestShortcuts.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Velmora.h"

#include <QMetaObject>

#include <atomic>
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

    /// No compositor answers under that name: what the program shows comes by way of the X server.
    [[nodiscard]] Environment environment() const
    {
        return {{"DBUS_SESSION_BUS_ADDRESS", bus.address()}, {"WAYLAND_DISPLAY", "velmora-test"}, {"QT_QPA_PLATFORM", "xcb"},
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

TEST_F(WaylandSessionTest, ACancelledDialogRecordsNothing)
{
    portal.user = linux_backend::TestPortal::User::cancels;
    run([&] {
        EXPECT_EQ(test::record(chooser, file(), 2, environment()).status, 1);
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

// The questions themselves, on machines that lack what they ask for. What a real desktop answers: tests/end_to_end/DoctorTest.cpp.

#include "platform/DesktopInspection.h"
#include "tests/support/TemporaryDirectory.h"

#include <QCoreApplication>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

/// A session with nothing in it: no display, no bus, no sound server.
class DesktopInspectionTest : public ::testing::Test {
protected:
    DesktopInspectionTest()
    {
        for (const auto* name : {"DISPLAY", "WAYLAND_DISPLAY", "XDG_SESSION_TYPE", "PULSE_SERVER", "PIPEWIRE_REMOTE", "PULSE_RUNTIME_PATH",
                 "PIPEWIRE_RUNTIME_DIR"})
            ::unsetenv(name);
        set("XDG_RUNTIME_DIR", directory_.path().string());
        set("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (directory_.path() / "bus").string());
        questions_.clipsFolder = directory_.path() / "Videos" / "Velmora";
    }

    static void set(const char* name, const std::string& value) { ::setenv(name, value.c_str(), 1); }

    platform::DesktopFacts inspect(std::chrono::milliseconds patience = 100s)
    {
        return platform::makeDesktopInspection()->inspect(questions_, patience);
    }

    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
    test::TemporaryDirectory directory_;
    platform::DesktopInspection::Questions questions_;
};

TEST_F(DesktopInspectionTest, ASessionWithNothingInItLacksAllThatIsAskedFor)
{
    const auto facts = inspect();
    EXPECT_EQ(facts.display.kind, platform::DesktopFacts::DisplayKind::none);
    EXPECT_NE(facts.sound.reason, "");
    EXPECT_EQ(facts.sound.server, "");
    EXPECT_THAT(facts.notifications.failure, HasSubstr("session bus"));
    EXPECT_THAT(facts.program.failure, HasSubstr("session bus"));
    EXPECT_FALSE(facts.tray.hasStatusNotifierHost || facts.tray.hasXEmbedHost);
    EXPECT_NE(facts.system, "");
}

TEST_F(DesktopInspectionTest, TheSoftwareEncoderStandsItsTrial)
{
    const auto facts = inspect();
    EXPECT_EQ(facts.encoders.failure, "");
    EXPECT_THAT(facts.encoders.library, HasSubstr("FFmpeg"));
    bool works = false;
    for (const auto& encoder : facts.encoders.tried)
        works = works
            || (encoder.name == "libx264" && encoder.isSoftware && encoder.outcome == platform::DesktopFacts::Encoder::Outcome::works);
    EXPECT_TRUE(works);
}

TEST_F(DesktopInspectionTest, ADisplayThatIsGoneIsAFailureOfTheDisplay)
{
    set("DISPLAY", ":4711");
    const auto facts = inspect();
    EXPECT_EQ(facts.display.kind, platform::DesktopFacts::DisplayKind::x11);
    EXPECT_EQ(facts.display.name, ":4711");
    EXPECT_NE(facts.display.failure, "");
    EXPECT_EQ(facts.shortcut.state, platform::DesktopFacts::Shortcut::State::unknown);
}

TEST_F(DesktopInspectionTest, AWaylandSessionWithoutACompositorAndAPortalLacksBoth)
{
    set("WAYLAND_DISPLAY", "wayland-4711");
    const auto facts = inspect();
    EXPECT_EQ(facts.display.kind, platform::DesktopFacts::DisplayKind::wayland);
    EXPECT_THAT(facts.display.failure, HasSubstr("wayland-4711"));
    EXPECT_THAT(facts.portal.failure, HasSubstr("session bus"));
}

TEST_F(DesktopInspectionTest, AFolderThatIsNotThereIsJudgedByTheOneAboveItAndNotMade)
{
    const auto facts = inspect();
    EXPECT_FALSE(facts.disk.exists);
    EXPECT_EQ(facts.disk.refusal, "");
    EXPECT_GT(facts.disk.freeBytes.value_or(0), 0U);
    EXPECT_FALSE(std::filesystem::exists(questions_.clipsFolder.parent_path()));
}

TEST_F(DesktopInspectionTest, AFolderThatCannotBeMadeIsRefusedWithTheSystemsWords)
{
    std::ofstream{questions_.clipsFolder.parent_path()} << "a file";
    const auto facts = inspect();
    EXPECT_THAT(facts.disk.refusal, HasSubstr(std::strerror(ENOTDIR)));
}

TEST_F(DesktopInspectionTest, ABusThatNeverAnswersIsAFailureWithinThePatience)
{
    const auto path = (directory_.path() / "bus").string();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 16), 0);
    const auto facts = inspect(2s);
    EXPECT_THAT(facts.notifications.failure, HasSubstr("no answer within 2 seconds"));
    EXPECT_THAT(facts.program.failure, HasSubstr("no answer within 2 seconds"));
    EXPECT_EQ(facts.disk.failure, "");
    ::close(listener);
}

}  // namespace
}  // namespace velmora

// What `velmora doctor` says of a real desktop, whole and with something missing.

#include "tests/support/recording/Velmora.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <gmock/gmock.h>
#include <sys/mount.h>

namespace velmora::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

struct Doctor {
    explicit Doctor(Environment environment = {}) : outcome(runVelmora({"doctor", "--json"}, std::move(environment)))
    {
        report = QJsonDocument::fromJson(QByteArray::fromStdString(outcome.output)).object();
    }

    /// "severity: text / remedy" of the first finding on it.
    [[nodiscard]] std::string on(const char* topic) const
    {
        for (const auto& value : report.value(QStringLiteral("findings")).toArray()) {
            const auto finding = value.toObject();
            const auto said = [&](const char* key) { return finding.value(QLatin1String{key}).toString().toStdString(); };
            if (said("topic") == topic)
                return said("severity") + ": " + said("text") + " / " + said("remedy");
        }
        return "nothing";
    }

    ProgramOutcome outcome;
    QJsonObject report;
};

/// A volume of its own for the clips, where one can be mounted.
class ClipsVolume {
public:
    explicit ClipsVolume(unsigned long flags, const char* options)
    {
        error_ = ::mount("tmpfs", directory_.path().c_str(), "tmpfs", flags, options) == 0 ? 0 : errno;
        environment_["XDG_CONFIG_HOME"] = configuration_.path().string();
        std::FILE* file = std::fopen((configuration_.path() / "user-dirs.dirs").c_str(), "w");
        std::fprintf(file, "XDG_VIDEOS_DIR=\"%s\"\n", directory_.path().c_str());
        std::fclose(file);
    }
    ~ClipsVolume()
    {
        if (error_ == 0)
            ::umount2(directory_.path().c_str(), MNT_DETACH);
    }
    ClipsVolume(const ClipsVolume&) = delete;
    ClipsVolume& operator=(const ClipsVolume&) = delete;

    [[nodiscard]] int error() const { return error_; }
    [[nodiscard]] const Environment& environment() const { return environment_; }

private:
    TemporaryDirectory directory_;
    TemporaryDirectory configuration_;
    Environment environment_;
    int error_ = 0;
};

TEST(Doctor, OnABareDesktopNamesTheTrayAndTheNotificationsThatAreMissingAndNothingElse)
{
    const Doctor doctor;
    EXPECT_EQ(doctor.outcome.status, 0) << doctor.outcome.messages;
    EXPECT_EQ(doctor.outcome.messages, "");
    EXPECT_TRUE(doctor.report.value(QStringLiteral("canRecord")).toBool());
    EXPECT_THAT(doctor.on("display"), HasSubstr("good: X11 display "));
    EXPECT_THAT(doctor.on("shortcut"), HasSubstr("good: Alt+Super+C is free"));
    EXPECT_THAT(doctor.on("sound"), HasSubstr("good: PipeWire"));
    EXPECT_THAT(doctor.on("disk"), HasSubstr("good: "));
    EXPECT_THAT(doctor.on("program"), HasSubstr("not running"));
    EXPECT_THAT(doctor.on("tray"), AllOf(HasSubstr("warning: "), HasSubstr("small window")));
    EXPECT_THAT(doctor.on("notifications"), AllOf(HasSubstr("warning: "), HasSubstr("dunst")));
    EXPECT_EQ(doctor.on("portal"), "nothing");
}

TEST(Doctor, TheTextForPeopleHasALineForEveryFindingAndTheVerdict)
{
    const auto outcome = runVelmora({"doctor"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(
        outcome.output, AllOf(HasSubstr("Velmora "), HasSubstr("libx264 works, and is the one in use"), HasSubstr("warning  tray")));
    EXPECT_EQ(outcome.lastLine(), "Nothing stands in the way of a recording.");
}

TEST(Doctor, WithoutASoundServerItSaysHowToStartOne)
{
    const TemporaryDirectory empty;
    const Doctor doctor{{{"PIPEWIRE_RUNTIME_DIR", empty.path().string()}, {"PULSE_RUNTIME_PATH", empty.path().string()},
        {"PULSE_SERVER", "unix:" + (empty.path() / "native").string()}}};
    EXPECT_THAT(doctor.on("sound"), AllOf(HasSubstr("warning: No sound server answers"), HasSubstr("Start PipeWire")));
    EXPECT_EQ(doctor.outcome.status, 0);
}

TEST(Doctor, ADisplayThatIsGoneIsAFault)
{
    const Doctor doctor{{{"DISPLAY", ":4711"}}};
    EXPECT_EQ(doctor.outcome.status, 1);
    EXPECT_THAT(doctor.on("display"), AllOf(HasSubstr("fault: X11 display :4711"), HasSubstr("DISPLAY or WAYLAND_DISPLAY")));
}

TEST(Doctor, AWaylandSessionWithoutAPortalIsAFault)
{
    const Doctor doctor{{{"WAYLAND_DISPLAY", "wayland-4711"}}};
    EXPECT_EQ(doctor.outcome.status, 1);
    EXPECT_THAT(doctor.on("portal"), AllOf(HasSubstr("fault: No portal"), HasSubstr("xdg-desktop-portal-gnome")));
}

TEST(Doctor, AFullDiskAndAFolderThatIsOnlyReadAreFaultsAndNothingIsMadeThere)
{
    const ClipsVolume small{0, "size=4k"};
    const ClipsVolume readOnly{MS_RDONLY, "size=1g"};
    if (small.error() != 0 || readOnly.error() != 0)
        GTEST_SKIP() << "no file system can be mounted here: " << std::strerror(small.error());
    const Doctor full{small.environment()};
    EXPECT_EQ(full.outcome.status, 1);
    EXPECT_THAT(full.on("disk"), AllOf(HasSubstr("is full"), HasSubstr("Make room")));
    const Doctor closed{readOnly.environment()};
    EXPECT_EQ(closed.outcome.status, 1);
    EXPECT_THAT(closed.on("disk"), AllOf(HasSubstr("Read-only file system"), HasSubstr("another clips folder")));
}

TEST(Doctor, AnEncoderThatIsNotThereIsAFaultOfWhoNamedIt)
{
    const Doctor doctor{{{"VELMORA_VIDEO_ENCODER", "h264_imaginary"}}};
    EXPECT_EQ(doctor.outcome.status, 1);
    EXPECT_THAT(doctor.outcome.output, HasSubstr("Unset VELMORA_VIDEO_ENCODER"));
}

TEST(Doctor, TheRunningProgramIsAskedForItsShortcut)
{
    Program first{velmora({})};
    ASSERT_TRUE(waitUntil([] { return runVelmora({"status"}).status == 0; }));
    const Doctor doctor;
    EXPECT_THAT(doctor.on("shortcut"), HasSubstr("good: The running program has its shortcut"));
    EXPECT_THAT(doctor.on("program"), HasSubstr("good: Velmora is running"));
    runVelmora({"quit"});
    EXPECT_EQ(first.finish().status, 0);
    EXPECT_THAT(Doctor{}.on("shortcut"), HasSubstr("is free"));
}

}  // namespace
}  // namespace velmora::test

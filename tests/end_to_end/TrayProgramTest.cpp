// The program in the tray, as a person uses it: real keys, real windows, a real tray and a real notification service.

#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <regex>

namespace velmora::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// The program itself, running until the test ends, with a home of its own.
class TrayProgram {
public:
    explicit TrayProgram(bool hasSeenTheWalkthrough = true)
        : environment_{{"HOME", home_.path().string()}, {"XDG_CONFIG_HOME", (home_.path() / "config").string()}}
    {
        const auto configuration = home_.path() / "config" / "velmora";
        std::filesystem::create_directories(configuration);
        if (hasSeenTheWalkthrough)
            std::ofstream{configuration / "velmora.conf"} << "[General]\nhasCompletedWalkthrough=true\n";
        program_.emplace(velmora({}), environment_);
        if (!waitUntil([this] { return run({"status"}).status == 0; }))
            throw std::runtime_error("the program does not answer");
    }

    ~TrayProgram()
    {
        if (program_->isRunning())
            run({"quit"});
        const auto outcome = program_->finish();
        EXPECT_EQ(outcome.status, 0) << outcome.messages;
        EXPECT_EQ(outcome.messages, "");
    }

    ProgramOutcome run(const std::vector<std::string>& arguments) { return runVelmora(arguments, environment_); }

    [[nodiscard]] QJsonObject status()
    {
        return QJsonDocument::fromJson(QByteArray::fromStdString(run({"status", "--json"}).output)).object();
    }

    [[nodiscard]] bool hasState(const char* state)
    {
        return waitUntil([&] { return status().value(QStringLiteral("state")).toString() == QLatin1String{state}; });
    }

    [[nodiscard]] std::string lastSavedClip() { return status().value(QStringLiteral("lastSavedClip")).toString().toStdString(); }

    [[nodiscard]] std::vector<std::filesystem::path> clips() const
    {
        std::vector<std::filesystem::path> files;
        const auto folder = home_.path() / "Movies" / "Velmora";
        if (std::filesystem::exists(folder)) {
            for (const auto& entry : std::filesystem::directory_iterator{folder})
                files.push_back(entry.path());
        }
        return files;
    }

    [[nodiscard]] pid_t processID() const { return program_->processID(); }
    void signal(int number) { program_->signal(number); }
    [[nodiscard]] bool isRunning() const { return program_->isRunning(); }

private:
    TemporaryDirectory home_;
    Environment environment_;
    std::optional<Program> program_;
};

void pressShortcut()
{
    ASSERT_EQ(runProgram({"xdotool", "key", "alt+super+c"}).status, 0);
}

/// Whether a window of ours with this title is on the screen.
bool isShown(const std::string& title)
{
    return waitUntil([&] { return runProgram({"xdotool", "search", "--onlyvisible", "--name", title}).status == 0; });
}

bool isHidden(const std::string& title)
{
    return waitUntil([&] { return runProgram({"xdotool", "search", "--onlyvisible", "--name", title}).status != 0; });
}

void expectAClip(const std::filesystem::path& file)
{
    const auto clip = readClip(file);
    ASSERT_TRUE(clip.opened && clip.video) << file;
    EXPECT_THAT(clip.complaints, IsEmpty());
    EXPECT_GT(clip.video->pictures.size(), 3U);
}

TEST(TrayProgramTest, TheShortcutStartsARecordingAndTheNextOneSavesIt)
{
    const NumberedWindow window{{"--size", "640x480", "--position", "100,100"}};
    TrayProgram program;
    EXPECT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.hasState("capturing"));
    pressShortcut();
    ASSERT_TRUE(program.hasState("recordingClip"));
    const auto begin = monotonicNow();
    ASSERT_TRUE(waitUntil([&] { return monotonicNow() - begin > 1'500'000'000; }));
    pressShortcut();
    ASSERT_TRUE(program.hasState("capturing"));
    const auto clip = program.lastSavedClip();
    ASSERT_THAT(clip, HasSubstr("Velmora-Recording-"));
    expectAClip(clip);
}

TEST(TrayProgramTest, HoldingTheKeysIsOnePress)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_EQ(runProgram({"xdotool", "keydown", "alt", "keydown", "super", "keydown", "c"}).status, 0);
    ASSERT_TRUE(program.hasState("recordingClip"));
    const auto begin = monotonicNow();
    ASSERT_TRUE(waitUntil([&] { return monotonicNow() - begin > 2'000'000'000; }));
    EXPECT_TRUE(program.status().value(QStringLiteral("isRecording")).toBool());
    ASSERT_EQ(runProgram({"xdotool", "keyup", "c", "keyup", "super", "keyup", "alt"}).status, 0);
}

TEST(TrayProgramTest, ThePickerIsUsableByKeyboardAlone)
{
    const NumberedWindow first{{"--size", "320x240", "--class", "Alpha"}};
    const NumberedWindow second{{"--size", "320x240", "--class", "Omega"}};
    TrayProgram program;
    ASSERT_EQ(program.run({}).status, 0) << "a second start brings up the first, which has no window yet: the picker";
    ASSERT_TRUE(isShown("Select Video Window"));
    ASSERT_TRUE(waitUntil([&] { return runProgram({"xdotool", "getactivewindow", "getwindowname"}).output.starts_with("Select"); }));
    ASSERT_EQ(runProgram({"xdotool", "type", "OMEG"}).status, 0);
    ASSERT_EQ(runProgram({"xdotool", "key", "Down"}).status, 0);
    ASSERT_EQ(runProgram({"xdotool", "key", "Return"}).status, 0);
    ASSERT_TRUE(program.hasState("capturing"));
    EXPECT_EQ(program.status().value(QStringLiteral("window")).toObject().value(QStringLiteral("id")).toDouble(), second.id());
    EXPECT_TRUE(isHidden("Select Video Window"));
}

TEST(TrayProgramTest, EscapeClosesThePickerAndChoosesNothing)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ASSERT_EQ(program.run({}).status, 0);
    ASSERT_TRUE(isShown("Select Video Window"));
    ASSERT_TRUE(waitUntil([&] { return runProgram({"xdotool", "getactivewindow", "getwindowname"}).output.starts_with("Select"); }));
    ASSERT_EQ(runProgram({"xdotool", "key", "Escape"}).status, 0);
    EXPECT_TRUE(isHidden("Select Video Window"));
    EXPECT_TRUE(program.hasState("waitingForWindowSelection"));
}

TEST(TrayProgramTest, AToggleThatEndsARecordingPrintsThePathOfASafeFile)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    EXPECT_EQ(program.run({"toggle"}).output, "");
    const auto begin = monotonicNow();
    ASSERT_TRUE(waitUntil([&] { return monotonicNow() - begin > 1'500'000'000; }));
    const auto stopped = program.run({"toggle"});
    ASSERT_EQ(stopped.status, 0) << stopped.messages;
    expectAClip(stopped.lastLine());
}

TEST(TrayProgramTest, StopSavesARecordingAndThenStopsCapturing)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_EQ(program.run({"toggle"}).status, 0);
    const auto begin = monotonicNow();
    ASSERT_TRUE(waitUntil([&] { return monotonicNow() - begin > 1'500'000'000; }));
    const auto stopped = program.run({"stop"});
    ASSERT_EQ(stopped.status, 0) << stopped.messages;
    expectAClip(stopped.lastLine());
    EXPECT_TRUE(program.hasState("waitingForWindowSelection"));
}

TEST(TrayProgramTest, AWindowThatClosesInMidRecordingLeavesAMessageAndNoFile)
{
    // With a tray, so that the alert is the only window of that name.
    const Program tray{{"trayer"}};
    ASSERT_TRUE(isShown("^panel$"));
    NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_EQ(program.run({"toggle"}).status, 0);
    ASSERT_TRUE(waitUntil([&] { return !program.clips().empty(); }));
    EXPECT_TRUE(isHidden("^Velmora$"));
    window.close();
    ASSERT_TRUE(program.hasState("waitingForWindowSelection"));
    EXPECT_TRUE(isShown("^Velmora$"));
    EXPECT_TRUE(waitUntil([&] { return program.clips().empty(); }));
    EXPECT_EQ(program.lastSavedClip(), "");
}

TEST(TrayProgramTest, ATerminationInMidRecordingStopsTheCaptureAndEndsTheProgram)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_EQ(program.run({"toggle"}).status, 0);
    ASSERT_TRUE(waitUntil([&] { return !program.clips().empty(); }));
    program.signal(SIGTERM);
    EXPECT_TRUE(waitUntil([&] { return !program.isRunning(); }));
    EXPECT_THAT(program.clips(), IsEmpty());
}

TEST(TrayProgramTest, CommandsSayThatNoProgramRuns)
{
    for (const auto* command : {"toggle", "stop", "status", "quit"}) {
        const auto outcome = runVelmora({command});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.messages, HasSubstr("is not running"));
    }
}

TEST(TrayProgramTest, TheFirstStartShowsTheWalkthrough)
{
    TrayProgram program{false};
    EXPECT_TRUE(isShown("Welcome to Velmora — Quick Walkthrough"));
}

TEST(TrayProgramTest, WithoutATrayTheMenuLiesOpenInAWindow)
{
    TrayProgram program;
    EXPECT_TRUE(isShown("^Velmora$"));
}

TEST(TrayProgramTest, TheIconAppearsWhenATrayComesLater)
{
    TrayProgram program;
    const Program tray{{"trayer"}};
    // The icon's window has the program's class and, unlike its other windows, the program's own name for a title.
    constexpr const char* iconWindow = R"("velmora": ("velmora" "velmora"))";
    EXPECT_TRUE(waitUntil([] { return runProgram({"xwininfo", "-root", "-tree"}).output.find(iconWindow) != std::string::npos; }));
}

/// Whether the program has a window on the screen that is as large as its menu, and not as an icon is.
bool aMenuIsOpen()
{
    const auto windows = runProgram({"xdotool", "search", "--onlyvisible", "--class", "velmora", "getwindowgeometry", "%@"}).output;
    static const std::regex menu{R"(Geometry: [2-6]\d\dx[2-4]\d\d)"};
    return std::regex_search(windows, menu);
}

TEST(TrayProgramTest, EitherMouseButtonOnTheIconOpensTheMenu)
{
    const Program tray{{"trayer"}};
    ASSERT_TRUE(isShown("^panel$"));
    TrayProgram program;
    static const std::regex icon{R"re((0x[0-9a-f]+) "velmora": \("velmora" "velmora"\))re"};
    std::smatch found;
    std::string tree;
    ASSERT_TRUE(waitUntil([&] {
        tree = runProgram({"xwininfo", "-root", "-tree"}).output;
        return std::regex_search(tree, found, icon);
    }));
    for (const auto* button : {"1", "3"}) {
        EXPECT_FALSE(aMenuIsOpen());
        ASSERT_EQ(runProgram({"xdotool", "mousemove", "--window", found[1], "8", "8", "click", button}).status, 0);
        EXPECT_TRUE(waitUntil(aMenuIsOpen)) << "button " << button;
        ASSERT_EQ(runProgram({"xdotool", "key", "Escape"}).status, 0);
        EXPECT_TRUE(waitUntil([] { return !aMenuIsOpen(); })) << "button " << button;
    }
}

TEST(TrayProgramTest, NoSocketLeavesTheMachine)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.hasState("capturing"));
    const auto task = "/proc/" + std::to_string(program.processID());
    std::vector<std::string> sockets;
    for (const auto& entry : std::filesystem::directory_iterator{task + "/fd"}) {
        std::error_code ignored;
        const auto target = std::filesystem::read_symlink(entry.path(), ignored).string();
        if (target.starts_with("socket:["))
            sockets.push_back(target.substr(8, target.size() - 9));
    }
    EXPECT_FALSE(sockets.empty());
    for (const auto* table : {"tcp", "tcp6", "udp", "udp6", "raw"}) {
        std::ifstream file{task + "/net/" + table};
        const std::string lines{std::istreambuf_iterator<char>{file}, {}};
        for (const auto& socket : sockets)
            EXPECT_EQ(lines.find(" " + socket + " "), std::string::npos) << table;
    }
}

}  // namespace
}  // namespace velmora::test

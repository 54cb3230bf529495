// The program in the tray, as a person uses it: real keys, real windows, a real tray and a real notification service.

#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <optional>
#include <regex>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

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
    ASSERT_TRUE(program.startByShortcut());
    record(1500ms);
    ASSERT_TRUE(program.saveByShortcut());
    const auto clip = program.lastSavedClip();
    ASSERT_THAT(clip, HasSubstr("Velmora-Recording-"));
    expectAClip(clip);
}

TEST(TrayProgramTest, ARecordingBeginsWithWhatTheWindowShowsWhenItIsStartedMovingOrStill)
{
    NumberedWindow window{{"--size", "640x480", "--position", "100,100"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.hasState("capturing"));
    for (int round = 0; round < 2; ++round) {
        const bool isStill = round == 0;
        const auto still = isStill ? std::stoul(window.command("still").substr(6)) : 0;
        record(1s);
        ASSERT_EQ(program.run({"toggle"}).status, 0);
        const auto isKnown = monotonicNow();
        if (isStill)
            window.command("go");
        record(700ms);
        const auto saved = program.run({"toggle"});
        ASSERT_EQ(saved.status, 0) << saved.messages;
        const auto clip = readClip(saved.lastLine());
        EXPECT_THAT(clip.complaints, IsEmpty());
        ASSERT_TRUE(clip.video && !clip.video->pictures.empty());
        const auto first = clip.video->pictures.front().reading.number();
        const auto shown = window.shown();
        ASSERT_TRUE(first && shown.contains(*first)) << "round " << round;
        EXPECT_LE(shown.at(*first), isKnown) << "round " << round;
        if (isStill) {
            EXPECT_EQ(*first, still) << "round " << round;
        }
        // Nothing is lost from there on.
        auto last = *first;
        for (const auto& picture : clip.video->pictures) {
            ASSERT_TRUE(picture.reading.isReadable()) << picture.time;
            EXPECT_GE(*picture.reading.number(), last) << picture.time;
            last = *picture.reading.number();
        }
    }
}

TEST(TrayProgramTest, AWindowThatIsResizedWhileNothingIsRecordedIsRecordedInItsNewSize)
{
    NumberedWindow window{{"--size", "640x360", "--position", "50,50"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_EQ(window.command("resize 960x700"), "ok");
    // Nothing tells when the pictures have changed but the clips, the first of which may be from before.
    std::optional<ClipVideo> video;
    ASSERT_TRUE(waitUntil([&] {
        if (program.run({"toggle"}).status != 0 || !program.hasState("recordingClip"))
            return false;
        record(700ms);
        const auto saved = program.run({"toggle"});
        EXPECT_EQ(saved.status, 0) << saved.messages;
        const auto clip = readClip(saved.lastLine());
        EXPECT_THAT(clip.complaints, IsEmpty());
        video = clip.video;
        EXPECT_TRUE(video && !video->pictures.empty());
        for (const auto& picture : video->pictures) {
            EXPECT_EQ(picture.width, video->width);
            EXPECT_EQ(picture.height, video->height);
        }
        return ::testing::Test::HasFailure() || video->width != 640;
    }));
    EXPECT_EQ(video->width, 960);
    EXPECT_EQ(video->height, 700);
    for (const auto& picture : video->pictures)
        EXPECT_TRUE(picture.reading.isReadable()) << picture.time;
}

TEST(TrayProgramTest, HoldingTheKeysIsOnePress)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_EQ(runProgram({"xdotool", "keydown", "alt", "keydown", "super", "keydown", "c"}).status, 0);
    ASSERT_TRUE(program.hasState("recordingClip"));
    record(2000ms);
    EXPECT_TRUE(program.status().value(QStringLiteral("isRecording")).toBool());
    ASSERT_EQ(runProgram({"xdotool", "keyup", "c", "keyup", "super", "keyup", "alt"}).status, 0);
}

TEST(TrayProgramTest, WhatCommandsMakeInTheClipsFolderIsInRecentClipsAtOnceAndTheProgramsWindowsAreNotListed)
{
    const NumberedWindow window{{"--size", "320x240"}};
    const AssistiveTechnology assistiveTechnology;
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    const auto recorded = program.run({"record", "--window", std::to_string(window.id()), "--duration", "1"});
    ASSERT_EQ(recorded.status, 0) << recorded.messages;
    const std::filesystem::path clip{recorded.lastLine()};
    ASSERT_EQ(clip.parent_path(), program.clipsFolder());
    EXPECT_TRUE(AssistiveTechnology::find("menu item", clip.filename().string() + " ("));
    const auto trimmed = program.run({"trim", clip.string(), "--start", "0.2", "--end", "0.8"});
    ASSERT_EQ(trimmed.status, 0) << trimmed.messages;
    const std::filesystem::path part{trimmed.lastLine()};
    EXPECT_TRUE(AssistiveTechnology::find("menu item", part.filename().string() + " ("));
    std::filesystem::remove(clip);
    EXPECT_TRUE(AssistiveTechnology::isAbsent("menu item", clip.filename().string() + " ("));

    ASSERT_EQ(program.run({"choose"}).status, 0);
    ASSERT_TRUE(isShown("Select Video Window"));
    const auto windows = program.run({"windows"}).output;
    EXPECT_THAT(windows, HasSubstr(window.title()));
    EXPECT_THAT(windows, ::testing::Not(HasSubstr("Velmora")));
}

TEST(TrayProgramTest, ANameThatIsNoTextWorksThroughTheWholeProgram)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program{{.environment = {}, .prepareHome = [](const auto& home) {
                             std::ofstream{home / "config" / "user-dirs.dirs"} << "XDG_VIDEOS_DIR=\"$HOME/caf\xE9 \xFF\"\n";
                         }}};
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_EQ(program.run({"toggle"}).status, 0);
    ASSERT_TRUE(program.hasState("recordingClip"));
    record(1000ms);
    const auto saved = program.run({"toggle"});
    ASSERT_EQ(saved.status, 0) << saved.messages;
    const std::filesystem::path clip{saved.lastLine()};
    EXPECT_EQ(clip.parent_path(), program.home() / "caf\xE9 \xFF" / "Velmora");
    expectAClip(clip);
    const auto preview = program.run({"preview", clip.string()});
    EXPECT_EQ(preview.status, 0) << preview.messages;
    EXPECT_TRUE(isShown("Preview & Trim"));
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

TEST(TrayProgramTest, ReturnInTheListOfWindowsStartsWhereTheDesktopsButtonsTakeItToo)
{
    const NumberedWindow window{{"--size", "320x240", "--class", "Omega"}};
    const AssistiveTechnology assistiveTechnology;
    auto environment = AssistiveTechnology::environment();
    // Qt's buttons, and rows of a list are such, take Return on GNOME and its kin.
    environment["XDG_CURRENT_DESKTOP"] = "GNOME";
    TrayProgram program{{.environment = environment, .prepareHome = {}}};
    ASSERT_EQ(program.run({"choose"}).status, 0);
    ASSERT_TRUE(hasFocus("Select Video Window"));
    ASSERT_TRUE(AssistiveTechnology::find("list item", "Omega"));
    pressKeys({"Down"});
    pressKeys({"Tab"});
    ASSERT_TRUE(waitUntil([] {
        const auto row = AssistiveTechnology::find("list item", "Omega");
        return row && row->has("focused");
    }));
    pressKeys({"Return"});
    ASSERT_TRUE(program.hasState("capturing"));
    EXPECT_TRUE(isHidden("Select Video Window"));
}

TEST(TrayProgramTest, ThePickerIsUsableByMouseAlone)
{
    const std::string markup = R"(<img src="http://127.0.0.1/pixel.png"> &amp; <b>_A&B</b>)";
    const NumberedWindow first{{"--size", "320x240", "--class", "Alpha"}};
    const NumberedWindow second{{"--size", "320x240", "--class", "Omega"}};
    ASSERT_EQ(runProgram({"xdotool", "set_window", "--name", markup, std::to_string(second.id())}).status, 0);
    const AssistiveTechnology assistiveTechnology;
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    ASSERT_EQ(program.run({}).status, 0);
    ASSERT_TRUE(isShown("Select Video Window"));
    ASSERT_TRUE(AssistiveTechnology::find("label", markup)) << "titles are shown as they are";
    ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "Omega"));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Start Clipping This Window"));
    ASSERT_TRUE(program.hasState("capturing"));
    EXPECT_EQ(program.status().value(QStringLiteral("window")).toObject().value(QStringLiteral("id")).toDouble(), second.id());
    EXPECT_TRUE(isHidden("Select Video Window"));
    EXPECT_TRUE(AssistiveTechnology::find("label", "📺 Target: Omega — " + markup)) << "and so they are in the menu";
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

TEST(TrayProgramTest, TheCodecsAreLoadedWhileTheListOfWindowsIsOnTheScreen)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    const auto hasCodecs = [&] {
        std::ifstream maps{"/proc/" + std::to_string(program.processID()) + "/maps"};
        return std::string{std::istreambuf_iterator{maps}, {}}.find("velmora_codecs.so") != std::string::npos;
    };
    EXPECT_FALSE(hasCodecs()) << "nobody needs them yet";
    ASSERT_EQ(program.run({}).status, 0);
    ASSERT_TRUE(isShown("Select Video Window"));
    EXPECT_TRUE(waitUntil(hasCodecs));
}

TEST(TrayProgramTest, AToggleThatEndsARecordingPrintsThePathOfASafeFile)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    EXPECT_EQ(program.run({"toggle"}).output, "");
    record(1500ms);
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
    record(1500ms);
    const auto stopped = program.run({"stop"});
    ASSERT_EQ(stopped.status, 0) << stopped.messages;
    expectAClip(stopped.lastLine());
    EXPECT_TRUE(program.hasState("waitingForWindowSelection"));
}

/// Starts a recording and lets more than a second of it pass; its file.
std::filesystem::path startALongRecording(TrayProgram& program)
{
    EXPECT_EQ(program.run({"toggle"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return !program.clips().empty(); }));
    record(1800ms);
    const auto clips = program.clips();
    return clips.empty() ? std::filesystem::path{} : clips.front();
}

/// Whole, and where file browsers find it and put it back.
void expectInTheTrash(const TrayProgram& program, const std::filesystem::path& clip)
{
    const auto trash = program.home() / "data" / "Trash";
    const auto file = trash / "files" / clip.filename();
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(file); }));
    EXPECT_TRUE(waitUntil([&] {
        const auto boxes = topLevelBoxes(file);
        return std::find(boxes.begin(), boxes.end(), "moof") == boxes.end();
    }));
    expectAClip(file);
    EXPECT_GE(readClip(file).video->pictures.back().time, 1.0);
    std::ifstream info{trash / "info" / (clip.filename().native() + ".trashinfo")};
    const std::string text{std::istreambuf_iterator<char>{info}, {}};
    EXPECT_THAT(text, HasSubstr("[Trash Info]\nPath=" + clip.native() + "\nDeletionDate=2"));
}

TEST(TrayProgramTest, AWindowThatClosesInMidRecordingLeavesAMessageAndTheRecordingInTheTrashOnly)
{
    // With a tray, so that the alert is the only window of that name.
    const Program tray{{"trayer"}};
    ASSERT_TRUE(isShown("^panel$"));
    const AssistiveTechnology assistiveTechnology;
    NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    const auto clip = startALongRecording(program);
    EXPECT_TRUE(isHidden("^Velmora$"));
    window.close();
    ASSERT_TRUE(program.hasState("waitingForWindowSelection"));
    EXPECT_TRUE(AssistiveTechnology::clickOn("push button", "OK"));
    EXPECT_TRUE(isHidden("^Velmora$"));
    EXPECT_TRUE(waitUntil([&] { return program.clips().empty(); }));
    EXPECT_EQ(program.lastSavedClip(), "");
    expectInTheTrash(program, clip);
}

TEST(TrayProgramTest, ATerminationInMidRecordingEndsTheProgramWhenTheRecordingIsInTheTrash)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    const auto clip = startALongRecording(program);
    program.signal(SIGTERM);
    EXPECT_EQ(program.awaitEnd().status, 0);
    EXPECT_THAT(program.clips(), IsEmpty());
    expectInTheTrash(program, clip);
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
    TrayProgram program{{.hasSeenTheWalkthrough = false, .environment = {}, .prepareHome = {}}};
    EXPECT_TRUE(isShown("Welcome to Velmora — Quick Walkthrough"));
}

TEST(TrayProgramTest, WithoutATrayTheMenuLiesOpenInAWindow)
{
    TrayProgram program;
    EXPECT_TRUE(isShown("^Velmora$"));
}

bool theTitleBarShowsTheIcon(const std::string& title)
{
    constexpr int titleBar = 20;
    const QColor coral{255, 59, 48};
    const auto corner = contentPlace(title).topLeft() - QPoint{0, titleBar};
    return waitUntil([&] { return countPixels(screenPicture({corner, QSize{24, titleBar}}), coral, 60) > 10; });
}

TEST(TrayProgramTest, ItsWindowsShowItsIconInTheirTitleBars)
{
    TrayProgram program;
    ASSERT_TRUE(isShown("^Velmora$"));
    EXPECT_TRUE(theTitleBarShowsTheIcon("^Velmora$"));
    ASSERT_EQ(program.run({"choose"}).status, 0);
    ASSERT_TRUE(isShown("^Select Video Window"));
    EXPECT_TRUE(theTitleBarShowsTheIcon("^Select Video Window"));
}

// The icon's window has the program's class and, unlike its other windows, the program's own name for a title.
constexpr const char* iconWindow = R"("Velmora": ("velmora" "Velmora"))";

bool theIconIsInATray()
{
    return waitUntil([] { return runProgram({"xwininfo", "-root", "-tree"}).output.find(iconWindow) != std::string::npos; });
}

/// The icon's window has the same name.
bool theSmallWindowIsShown()
{
    const auto windows = visibleWindows("^Velmora$");
    return std::any_of(windows.begin(), windows.end(), [](const QRect& window) { return window.width() > 100; });
}

TEST(TrayProgramTest, TheSmallWindowGoesWhenATrayComes)
{
    TrayProgram program;
    ASSERT_TRUE(waitUntil(theSmallWindowIsShown));
    const Program tray{{"trayer"}};
    EXPECT_TRUE(waitUntil([] { return !theSmallWindowIsShown(); }));
    EXPECT_TRUE(theIconIsInATray());
}

TEST(TrayProgramTest, TheSmallWindowStaysWhenItWasUsedBeforeTheTrayCame)
{
    TrayProgram program;
    ASSERT_TRUE(waitUntil(theSmallWindowIsShown));
    ASSERT_TRUE(waitUntil([] { return runProgram({"xdotool", "getactivewindow", "getwindowname"}).output == "Velmora\n"; }));
    pressKeys({"Tab"});
    const Program tray{{"trayer"}};
    ASSERT_TRUE(theIconIsInATray());
    EXPECT_TRUE(theSmallWindowIsShown());
}

TEST(TrayProgramTest, TheIconAppearsWhenATrayComesLater)
{
    TrayProgram program;
    const Program tray{{"trayer"}};
    EXPECT_TRUE(theIconIsInATray());
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
    static const std::regex icon{R"re((0x[0-9a-f]+) "Velmora": \("velmora" "Velmora"\))re"};
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

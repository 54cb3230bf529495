// The program in the session of a real Wayland desktop, whose dialog, portal and keys are used as a person uses them.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/DesktopServices.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/sound/ChildProcess.h"
#include "tests/wayland/DesktopUser.h"
#include "tests/wayland/SharedWindow.h"

#include <QCoreApplication>
#include <QDBusInterface>
#include <QJsonObject>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <iostream>
#include <memory>
#include <set>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* chooser = "1";
constexpr const char* firstGrant = "2";
constexpr int width = 640;
constexpr int height = 480;

/// Where clips and pictures of the screen stay.
std::filesystem::path results()
{
    const char* folder = std::getenv("VELMORA_WAYLAND_RESULTS");
    return folder ? std::filesystem::path{folder} : std::filesystem::current_path();
}

std::string testName()
{
    return ::testing::UnitTest::GetInstance()->current_test_info()->name();
}

TrayProgram::Options quietOptions()
{
    TrayProgram::Options options;
    // Qt's own, where a desktop has no tray.
    options.environment = {{"QT_LOGGING_RULES", "qt.core.qobject.connect=false"}};
    return options;
}

std::vector<std::string> optionsOf(WindowKind kind)
{
    if (kind == WindowKind::x11)
        return {"--title", "A numbered window", "--size", "640x480", "--position", "200,150", "--fps", "20", "--motion", "0"};
    return {"--title", "A numbered window", "--size", "640x480", "--shadow", "32"};
}

/// `kind` is that of the window that is shared.
template <WindowKind kind>
class SessionTest : public ::testing::Test {
protected:
    ~SessionTest() override
    {
        if (HasFailure())
            keepLook("failed");
    }

    void SetUp() override
    {
        if (user->desktopHasShortcuts())
            user->allowShortcut([this] { return program.status().value(QStringLiteral("shortcutIsRegistered")).toBool(); });
    }

    void keepLook(const std::string& name) const
    {
        const auto file = results() / (testName() + "-" + name + ".png");
        EXPECT_TRUE(user->look().save(QString::fromStdString(file.string()))) << file;
    }

    /// In the desktop's dialog, as a person does: whoever has seen it crash, as KDE's does now and then, opens it again.
    void choose(const std::vector<std::string>& options = {})
    {
        std::vector<std::string> command{"select", chooser};
        command.insert(command.end(), options.begin(), options.end());
        constexpr int attempts = 4;
        ProgramOutcome outcome;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            auto selected = std::async(std::launch::async, [&] { return program.run(command); });
            user->awaitChooser();
            keepLook("chooser");
            user->chooseFirstWindow();
            outcome = selected.get();
            if (outcome.status == 0 || outcome.messages.find("The desktop's portal gave no answer.") == std::string::npos)
                break;
            std::cout << "  the desktop's dialog crashed\n";
        }
        ASSERT_EQ(outcome.status, 0) << outcome.messages;
        ASSERT_TRUE(program.hasState("capturing"));
    }

    /// As above, from the picker, which is open.
    void chooseByKeys()
    {
        constexpr int attempts = 4;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            user->press({Key::enter});
            user->awaitChooser();
            user->chooseFirstWindow();
            bool hasCrashed = false;
            EXPECT_TRUE(waitUntil([&] {
                hasCrashed = shows("Failed to capture window: The desktop's portal gave no answer.");
                return hasCrashed || shows("Choose Its Sound");
            }));
            if (!hasCrashed)
                return;
            std::cout << "  the desktop's dialog crashed\n";
            user->press({Key::enter});
        }
    }

    static bool shows(const std::string& text)
    {
        const auto controls = AssistiveTechnology::controls();
        return std::any_of(controls.begin(), controls.end(), [&](const Control& control) { return control.name.starts_with(text); });
    }

    /// A clip begins up to half a second later.
    void start()
    {
        const auto outcome = program.run({"toggle"});
        ASSERT_EQ(outcome.status, 0) << outcome.messages;
        ASSERT_TRUE(program.hasState("recordingClip"));
    }

    /// Waits for the clip, which is kept.
    std::filesystem::path save()
    {
        EXPECT_EQ(program.run({"toggle"}).status, 0);
        return awaitClip();
    }

    std::filesystem::path awaitClip()
    {
        EXPECT_TRUE(waitUntil([this] { return !program.lastSavedClip().empty(); }));
        const std::filesystem::path clip = program.lastSavedClip();
        const auto kept = results() / (testName() + ".mp4");
        std::filesystem::copy_file(clip, kept, std::filesystem::copy_options::overwrite_existing);
        return kept;
    }

    /// A clip of the window alone: every picture holds a whole frame from edge to edge, and none is older than the one before. Above it may
    /// be the title bar that the desktop draws around an X11 program's window.
    static RecordedClip expectTheWindow(const std::filesystem::path& file, int titleBar = 0)
    {
        auto clip = readClip(file, {{0, titleBar, width, height}});
        EXPECT_THAT(clip.complaints, IsEmpty());
        if (!clip.opened || !clip.video) {
            ADD_FAILURE() << "no video in " << file;
            return clip;
        }
        const auto& pictures = clip.video->pictures;
        EXPECT_EQ(clip.video->codec, "h264");
        EXPECT_EQ(clip.video->width, width);
        EXPECT_EQ(clip.video->height, height + titleBar);
        EXPECT_FALSE(pictures.empty());
        std::vector<double> unreadable;
        std::vector<double> outOfOrder;
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            if (!pictures[i].reading.number())
                unreadable.push_back(pictures[i].time);
            if (i > 0 && (pictures[i].time <= pictures[i - 1].time || pictures[i].reading.top < pictures[i - 1].reading.top))
                outOfOrder.push_back(pictures[i].time);
        }
        EXPECT_THAT(unreadable, IsEmpty()) << "seconds at which no frame is whole, of " << pictures.size();
        EXPECT_THAT(outOfOrder, IsEmpty()) << "seconds";
        std::cout << "  " << file.filename().string() << ": " << clip.video->width << "x" << clip.video->height << ", " << pictures.size()
                  << " pictures in " << clip.duration << " s, frames " << pictures.front().reading.top.value_or(0) << " to "
                  << pictures.back().reading.top.value_or(0) << ", sound: " << (clip.audio ? clip.audio->codec : "none") << "\n";
        return clip;
    }

    /// Whether the panel of a saved clip is at the top right, by its colour.
    [[nodiscard]] bool panelIsInItsCorner() const
    {
        constexpr QRgb background = 0xFF0F172A;
        constexpr QSize panel{340, 110};
        constexpr int fromRightEdge = 360;
        constexpr int lowest = 60;  // below a bar of the desktop's
        const auto picture = user->look();
        int found = 0;
        for (int y = 0; y < lowest + panel.height(); ++y) {
            for (int x = picture.width() - fromRightEdge; x < picture.width() - fromRightEdge + panel.width(); ++x)
                found += picture.pixel(x, y) == background ? 1 : 0;
        }
        return found > panel.width() * panel.height() / 2;
    }

    static std::uint32_t framesSeen(const RecordedClip& clip)
    {
        std::set<std::uint32_t> numbers;
        for (const auto& picture : clip.video->pictures)
            numbers.insert(picture.reading.top.value_or(0));
        return static_cast<std::uint32_t>(numbers.size());
    }

    std::unique_ptr<DesktopUser> user = DesktopUser::create();
    SharedWindow window{kind, optionsOf(kind)};
    TrayProgram program{quietOptions()};
};

using WaylandDesktopTest = SessionTest<WindowKind::wayland>;
/// A window of an X11 program's, through Xwayland.
using XwaylandTest = SessionTest<WindowKind::x11>;

TEST_F(WaylandDesktopTest, AWindowThatIsChosenInTheDesktopsDialogIsRecordedAndNextTimeWithoutTheDialog)
{
    choose();
    start();
    record(3s);
    keepLook("recording");
    const auto file = save();
    EXPECT_TRUE(waitUntil([this] { return panelIsInItsCorner(); }));
    keepLook("saved");
    const auto clip = expectTheWindow(file);
    EXPECT_GT(framesSeen(clip), 5U);
    EXPECT_GT(clip.duration, 2.0);

    program.restart();
    const auto selected = program.run({"select", firstGrant});
    ASSERT_EQ(selected.status, 0) << selected.messages;
    ASSERT_TRUE(program.hasState("capturing"));
    start();
    record(1s);
    const auto again = expectTheWindow(save());
    EXPECT_GT(framesSeen(again), 2U);
}

class WaylandSoundTest : public WaylandDesktopTest {
protected:
    void SetUp() override
    {
        WaylandDesktopTest::SetUp();
        ASSERT_EQ(first.readLine(patience), "playing");
        ASSERT_EQ(second.readLine(patience), "playing");
    }

    void expectTheSecondAlone()
    {
        start();
        record(3s);
        const auto clip = expectTheWindow(save());
        ASSERT_TRUE(clip.audio);
        const auto levels = clip.audio->levels(1000, 440);
        std::cout << "  tone " << levels.tone << " dB, the other " << levels.otherAgainstTone << " dB against it\n";
        EXPECT_GT(levels.tone, -20);
        EXPECT_LT(levels.otherAgainstTone, -60);
    }

    ChildProcess first{{VELMORA_TONE_PLAYER, "440", "First player"}};
    ChildProcess second{{VELMORA_TONE_PLAYER, "1000", "Second player"}};
};

TEST_F(WaylandSoundTest, OfTwoApplicationsThatPlayTheOneThatTheCommandNamesIsHeardAlone)
{
    choose({"--sound", "Second player"});
    expectTheSecondAlone();
}

TEST_F(WaylandSoundTest, OfTwoApplicationsThatPlayTheOneThatIsChosenInThePickerIsHeardAlone)
{
    ASSERT_EQ(program.run({"choose"}).status, 0);
    ASSERT_TRUE(AssistiveTechnology::find("list item", "Choose a window"));
    chooseByKeys();
    ASSERT_TRUE(AssistiveTechnology::find("heading", "Choose Its Sound"));
    for (int presses = 0; presses < 3 && !AssistiveTechnology::find("list item", "Second player")->has("checked"); ++presses)
        user->press({Key::down});
    ASSERT_TRUE(AssistiveTechnology::find("list item", "Second player")->has("checked"));
    // For it to be drawn.
    record(1s);
    keepLook("sound");
    user->press({Key::enter});
    ASSERT_TRUE(program.hasState("capturing"));
    expectTheSecondAlone();
}

TEST_F(WaylandDesktopTest, AWindowThatStandsStillIsRecorded)
{
    choose();
    const auto answer = window.command("still");
    ASSERT_THAT(answer, HasSubstr("still "));
    record(1s);
    start();
    record(3s);
    const auto clip = expectTheWindow(save());
    EXPECT_GT(clip.duration, 2.0);
    EXPECT_EQ(framesSeen(clip), 1U);
    const auto shown = static_cast<std::int64_t>(clip.video->pictures.back().reading.top.value_or(0));
    EXPECT_EQ(std::stoll(answer.substr(6)), shown) << "the frame at which the window stands still";
}

TEST_F(WaylandDesktopTest, AClipEndsWithWhatAWindowThatCameToAStandstillShows)
{
    choose();
    start();
    std::set<std::uint32_t> stills;
    for (int stop = 0; stop < 6; ++stop) {
        record(700ms);
        const auto answer = window.command("still");
        ASSERT_THAT(answer, HasSubstr("still "));
        stills.insert(static_cast<std::uint32_t>(std::stoul(answer.substr(6))));
        // As long as it may take to be noticed, and the pictures of a window that stands still.
        record(3s);
        ASSERT_EQ(window.command("go"), "ok");
    }
    ASSERT_THAT(window.command("still"), HasSubstr("still "));
    const auto clip = expectTheWindow(save());
    std::set<std::uint32_t> seen;
    for (const auto& picture : clip.video->pictures)
        seen.insert(picture.reading.top.value_or(0));
    for (const auto number : stills)
        EXPECT_TRUE(seen.contains(number)) << "frame " << number << ", at which the window stood still";
}

TEST_F(WaylandDesktopTest, AWindowThatIsResizedGoesOnInTheSizeOfTheClip)
{
    choose();
    start();
    record(1s);
    ASSERT_EQ(window.command("resize 960x720"), "ok");
    record(2s);
    ASSERT_EQ(window.command("resize 480x360"), "ok");
    record(2s);
    const auto clip = expectTheWindow(save());
    EXPECT_GT(clip.duration, 4.0);
    const auto& pictures = clip.video->pictures;
    double longest = 0;
    for (std::size_t i = 1; i < pictures.size(); ++i)
        longest = std::max(longest, pictures[i].time - pictures[i - 1].time);
    std::cout << "  longest wait for a picture: " << longest << " s\n";
    // Frames of both later sizes are in it: a stream that stands still would only repeat its last.
    for (const double begin : {2.0, 4.0}) {
        std::set<std::uint32_t> numbers;
        for (const auto& picture : pictures) {
            if (picture.time > begin && picture.time < begin + 1)
                numbers.insert(picture.reading.top.value_or(0));
        }
        EXPECT_GT(numbers.size(), 2U) << "in the second after " << begin << " s";
    }
}

TEST_F(XwaylandTest, AWindowOfAnX11ProgramIsRecorded)
{
    choose();
    start();
    record(3s);
    keepLook("recording");
    const auto file = save();
    const auto all = readClip(file);
    ASSERT_TRUE(all.video) << file;
    // GNOME shares its own title bar with the window, KDE does not.
    const auto clip = expectTheWindow(file, all.video->height - height);
    EXPECT_GT(framesSeen(clip), 5U);
    record(1s);
    keepLook("saved");
    ASSERT_EQ(program.run({"choose"}).status, 0);
    ASSERT_TRUE(AssistiveTechnology::find("frame", "Select Video Window"));
    record(1s);
    keepLook("picker");
}

TEST_F(WaylandDesktopTest, AMinimisedWindowLeavesAClipThatPlays)
{
    choose();
    start();
    record(1s);
    ASSERT_EQ(window.command("minimise"), "ok");
    record(2s);
    const auto clip = expectTheWindow(save());
    EXPECT_GT(clip.duration, 2.0);
    std::cout << "  frames seen of " << clip.duration * 30 << ": " << framesSeen(clip) << "\n";
}

TEST_F(WaylandDesktopTest, AWindowThatIsClosedInMidRecordingLeavesAMessageAndNoFile)
{
    choose();
    start();
    record(1s);
    window.close();
    ASSERT_TRUE(program.hasState("waitingForWindowSelection"));
    EXPECT_TRUE(waitUntil([&] { return program.clips().empty(); }));
    EXPECT_EQ(program.lastSavedClip(), "");
    EXPECT_TRUE(AssistiveTechnology::find("label", "Selected window was closed or is no longer available."));
    record(1s);
    keepLook("closed");
}

TEST_F(WaylandDesktopTest, ThereIsAnItemInTheTrayOrWhereThereIsNoneAMenuInAWindow)
{
    constexpr const char* watcher = "org.kde.StatusNotifierWatcher";
    if (!isOnTheBus(watcher)) {
        EXPECT_TRUE(AssistiveTechnology::find("frame", "Velmora"));
        return;
    }
    QDBusInterface tray{QLatin1String{watcher}, QStringLiteral("/StatusNotifierWatcher"), QLatin1String{watcher}};
    EXPECT_TRUE(waitUntil([&] { return !tray.property("RegisteredStatusNotifierItems").toStringList().isEmpty(); }));
}

TEST_F(WaylandDesktopTest, TheListOfWindowsComesToTheFrontAndTakesTheKeys)
{
    ASSERT_EQ(program.run({"choose"}).status, 0);
    ASSERT_TRUE(AssistiveTechnology::find("frame", "Select Video Window"));
    // For it to be drawn.
    record(1s);
    keepLook("picker");
    user->press({Key::escape});
    EXPECT_TRUE(waitUntil([] { return !shows("Select Video Window"); }));
}

TEST_F(WaylandDesktopTest, TheKeysStartAndEndARecordingWhereTheDesktopHasShortcuts)
{
    if (!user->desktopHasShortcuts()) {
        // What the settings say instead.
        EXPECT_THAT(program.run({"status"}).output, HasSubstr("velmora toggle"));
        return;
    }
    choose();
    user->press({Key::leftAlt, Key::leftSuper, Key::c});
    ASSERT_TRUE(program.hasState("recordingClip"));
    record(2s);
    user->press({Key::leftAlt, Key::leftSuper, Key::c});
    const auto clip = expectTheWindow(awaitClip());
    EXPECT_GT(framesSeen(clip), 5U);
}

}  // namespace
}  // namespace velmora::test

int main(int argc, char** argv)
{
    QCoreApplication application{argc, argv};
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}

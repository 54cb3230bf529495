// The item and its menu in a real panel: a host of StatusNotifierItem that draws the menu itself.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/DesktopServices.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <iterator>
#include <regex>
#include <sstream>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

const QColor coral{255, 59, 48};
/// The left end of the panel, after the handle of its tray.
QRect itemPlace()
{
    return {9, 2, 40, Panel::height - 4};
}

/// Where an item is in the panel: all that differs from the panel's background.
std::optional<QPoint> findItem()
{
    std::optional<QPoint> position;
    waitUntil([&] {
        const auto picture = screenPicture(itemPlace());
        const QColor ground = picture.pixelColor(picture.width() - 1, 0);
        QRect item;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (qAbs(qGray(picture.pixel(x, y)) - qGray(ground.rgb())) > 80)
                    item |= QRect{x, y, 1, 1};
            }
        }
        if (!item.isEmpty())
            position = itemPlace().topLeft() + item.center();
        return position.has_value();
    });
    return position;
}

int coralPixels()
{
    return countPixels(screenPicture(itemPlace()), coral);
}

/// The names of what can be chosen.
std::vector<std::string> commands(const std::vector<Control>& menu)
{
    std::vector<std::string> names;
    for (const auto& control : menu) {
        if (control.role == "menu item" && !control.has("disabled"))
            names.push_back(control.name);
    }
    return names;
}

/// A label as the host shows it: an underscore comes before the key of an item, two are one.
std::string shownLabel(const std::string& label)
{
    std::string shown;
    for (std::size_t i = 0; i < label.size(); ++i) {
        if (label[i] == '_' && i + 1 < label.size())
            ++i;
        shown += label[i];
    }
    return shown;
}

/// The bus name of the program's item in its host; empty when there is none.
std::string itemOwner()
{
    const auto watcher =
        runProgram({"dbus-send", "--session", "--print-reply=literal", "--dest=org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
            "org.freedesktop.DBus.Properties.Get", "string:org.kde.StatusNotifierWatcher", "string:RegisteredStatusNotifierItems"});
    static const std::regex owner{R"((:[0-9.]+)/StatusNotifierItem)"};
    std::smatch item;
    return std::regex_search(watcher.output, item, owner) ? item[1].str() : std::string{};
}

/// A property of the item, as text.
std::string itemProperty(const std::string& name)
{
    const auto told = runProgram({"dbus-send", "--session", "--print-reply=literal", "--dest=" + itemOwner(), "/StatusNotifierItem",
        "org.freedesktop.DBus.Properties.Get", "string:org.kde.StatusNotifierItem", "string:" + name});
    static const std::regex value{R"(variant\s+(\S.*\S))"};
    std::smatch found;
    return std::regex_search(told.output, found, value) ? found[1].str() : told.output + told.messages;
}

/// The program's menu as its host is told it when it is about to show it: a number that is another after each change, then the rows and
/// their numbers.
std::string layoutForTheHost()
{
    const auto owner = itemOwner();
    if (owner.empty())
        return {};
    runProgram({"dbus-send", "--session", "--print-reply", "--dest=" + owner, "/MenuBar", "com.canonical.dbusmenu.AboutToShow", "int32:0"});
    const auto layout = runProgram({"dbus-send", "--session", "--print-reply", "--dest=" + owner, "/MenuBar",
        "com.canonical.dbusmenu.GetLayout", "int32:0", "int32:-1", "array:string:label"});
    // The first line is about the message.
    return layout.output.substr(std::min(layout.output.find('\n'), layout.output.size()));
}

/// What the program's menu shows in its host, in the order of its rows.
std::vector<std::string> labelsForTheHost()
{
    const auto layout = layoutForTheHost();
    static const std::regex label{R"re(string "label"\s+variant\s+string "(.*)")re"};
    std::vector<std::string> labels;
    for (std::sregex_iterator found{layout.begin(), layout.end(), label}; found != std::sregex_iterator{}; ++found)
        labels.push_back(shownLabel((*found)[1]));
    return labels;
}

/// The process that knows items and draws them.
pid_t hostProcess()
{
    const auto told = runProgram({"dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
        "org.freedesktop.DBus.GetConnectionUnixProcessID", "string:org.kde.StatusNotifierWatcher"});
    std::string type;
    pid_t pid = 0;
    std::istringstream{told.output} >> type >> pid;
    return pid;
}

class PanelTest : public testing::Test {
protected:
    AssistiveTechnology assistiveTechnology;
    Panel panel{AssistiveTechnology::environment()};
};

TEST_F(PanelTest, TheItemTurnsCoralWhileARecordingRunsAndBackAgain)
{
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    TrayProgram program;
    ASSERT_TRUE(findItem());
    EXPECT_EQ(coralPixels(), 0);
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.startByShortcut());
    EXPECT_TRUE(waitUntil([] { return coralPixels() > 20; }));
    record(1000ms);
    ASSERT_TRUE(program.saveByShortcut());
    EXPECT_TRUE(waitUntil([] { return coralPixels() == 0; }));
}

TEST_F(PanelTest, TheItemIsCalledVelmora)
{
    const TrayProgram program;
    ASSERT_TRUE(findItem());
    EXPECT_EQ(itemProperty("Title"), "Velmora");
    EXPECT_EQ(itemProperty("Id"), "Velmora");
}

TEST_F(PanelTest, ALeftClickOpensOurMenu)
{
    const TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    const auto item = findItem();
    ASSERT_TRUE(item);
    NextMenu menu;
    click(*item, 1);
    EXPECT_THAT(commands(menu.controls()),
        ElementsAre("👉 Click \"Choose Video Window...\" below to start", "⏺️ Start Recording Live Clip Alt+Super+C",
            "🎯 Choose Video Window to Clip... Super+W", "🎞️ Recent Clips",
            // Its caption names the file manager, whichever is installed.
            AllOf(StartsWith("📁 Open Clips Folder in Finder Opens it in "), EndsWith(" on this desktop. Super+O")),
            "📖 How to Use & Walkthrough...", "⚙️ Settings... Super+,", "✕ Quit Velmora Super+Q"));
    pressKeys({"super+comma"});
    EXPECT_TRUE(isShown("^Velmora Settings$"));
}

TEST_F(PanelTest, ARightClickOpensThePanelsOwnMenuWithTheSameRows)
{
    const TrayProgram program;
    const auto item = findItem();
    ASSERT_TRUE(item);
    EXPECT_THAT(labelsForTheHost(),
        ElementsAre(" Velmora", "⚠️ No Video Window Selected", "👉 Click \"Choose Video Window...\" below to start",
            "⏺️ Start Recording Live Clip", "🎯 Choose Video Window to Clip...", "🎞️ Recent Clips", "No clips saved yet",
            "📁 Open Clips Folder in Finder", "📖 How to Use & Walkthrough...", "⚙️ Settings...", "✕ Quit Velmora"));
    // Separators are passed over, and so is what cannot be chosen.
    const auto ground = screenPicture({200, 60, 10, 10});
    click(*item, 3);
    ASSERT_TRUE(waitUntil([&] { return screenPicture({200, 60, 10, 10}) != ground; }));
    pressKeys({"Up", "Up", "Return"});
    EXPECT_TRUE(isShown("^Velmora Settings$"));
}

TEST_F(PanelTest, AMenuThatIsOpenedAgainIsTheSameToItsHostBecauseOtherRowsWouldTakeTheChoiceFromUnderThePointer)
{
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    TrayProgram program;
    ASSERT_TRUE(findItem());
    const auto menu = layoutForTheHost();
    ASSERT_THAT(menu, HasSubstr("No Video Window Selected"));
    EXPECT_TRUE(layoutForTheHost() == menu);
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    EXPECT_THAT(layoutForTheHost(), Not(HasSubstr("No Video Window Selected")));
}

TEST_F(PanelTest, RecentClipsListsTheFiveNewestOfSevenUnderTheirOwnNames)
{
    const auto makeClips = [](const std::filesystem::path& home) {
        const auto folder = home / "Movies" / "Velmora";
        std::filesystem::create_directories(folder);
        makeClip(home / "clip.mp4", "testsrc=size=64x64:rate=10", "sine", 2);
        for (const auto* name : {"1", "2", "3 & 4", "_5_", "6 && _", "%n &amp; <b>7", "8"}) {
            std::filesystem::copy_file(home / "clip.mp4", folder / (std::string{name} + ".mp4"));
            // A file system knows ages only to some milliseconds.
            record(20ms);
        }
    };
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = makeClips}};
    const auto item = findItem();
    ASSERT_TRUE(item);
    const std::vector<std::string> labels = labelsForTheHost();
    std::vector<std::string> clips;
    std::copy_if(
        labels.begin(), labels.end(), std::back_inserter(clips), [](const auto& label) { return label.find(".mp4") != label.npos; });
    EXPECT_THAT(clips, ElementsAre("8.mp4 (0:02)", "%n &amp; <b>7.mp4 (0:02)", "6 && _.mp4 (0:02)", "_5_.mp4 (0:02)", "3 & 4.mp4 (0:02)"));

    std::optional<NextMenu> menu{std::in_place};
    click(*item, 1);
    ASSERT_FALSE(menu->controls().empty());
    menu.emplace();
    pressKeys({"Down", "Down", "Down", "Down", "Right"});
    EXPECT_THAT(commands(menu->controls()),
        ElementsAre("8.mp4 (0:02)", "%n &amp; <b>7.mp4 (0:02)", "6 && _.mp4 (0:02)", "_5_.mp4 (0:02)", "3 & 4.mp4 (0:02)"));
    pressKeys({"Down", "Down", "Return"});
    EXPECT_TRUE(isShown("Preview & Trim — 6 && _.mp4"));
}

TEST_F(PanelTest, APanelThatHangsHoldsNothingUpAndHasTheItemWhenItGoesOn)
{
    const auto host = hostProcess();
    ASSERT_GT(host, 0);
    ASSERT_EQ(::kill(host, SIGSTOP), 0);
    TrayProgram program;
    EXPECT_EQ(program.run({"status"}).status, 0);
    EXPECT_TRUE(isShown("^Velmora$")) << "the small window";
    ASSERT_EQ(::kill(host, SIGCONT), 0);
    // Who waited for the panel until that was given up is not there as one whose menu the panel draws.
    EXPECT_TRUE(waitUntil([] { return !labelsForTheHost().empty(); }));
    EXPECT_TRUE(isHidden("^Velmora$"));
    EXPECT_TRUE(findItem());
}

TEST_F(PanelTest, TheItemIsBackWhenThePanelIs)
{
    TrayProgram program;
    ASSERT_TRUE(findItem());
    panel.kill();
    EXPECT_EQ(program.run({"status"}).status, 0);
    const Panel next{AssistiveTechnology::environment()};
    EXPECT_TRUE(findItem());
}

TEST_F(PanelTest, APanelThatComesBackInMidRecordingShowsTheItemInCoral)
{
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    TrayProgram program;
    ASSERT_EQ(program.run({"select", std::to_string(window.id())}).status, 0);
    ASSERT_TRUE(program.startByShortcut());
    panel.kill();
    const Panel next{AssistiveTechnology::environment()};
    EXPECT_TRUE(waitUntil([] { return coralPixels() > 20; }));
    ASSERT_TRUE(program.saveByShortcut());
    EXPECT_TRUE(waitUntil([] { return coralPixels() == 0; }));
}

}  // namespace
}  // namespace velmora::test

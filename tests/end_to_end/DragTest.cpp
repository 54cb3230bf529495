// Clips that a person drags out of the program's windows: into a page of a real browser that says what it was given, and into a folder that a
// real file manager shows.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/media/EncodedClip.h"
#include "tests/support/media/WrittenClip.h"
#include "tests/support/recording/Subjects.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

constexpr const char* hud = "^Velmora$";

void makeClips(const std::filesystem::path& home)
{
    const auto folder = home / "Movies" / "Velmora";
    std::filesystem::create_directories(folder);
    writeClip(folder / "harbour & sea.mp4", {.pictures = steadyTimes(50, 25), .soundFrames = 2 * 48'000});
    writeClip(folder / "käse.mp4", {.pictures = steadyTimes(75, 25), .soundFrames = 3 * 48'000});
}

std::string bytesOf(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

/// A browser in the lower right corner of the screen. Its page's title says what is held above it, and then the name, the size and the first
/// type of box of each file that was dropped.
class DropTarget {
public:
    DropTarget() : browser_(start()) { static_cast<void>(awaitWindow("Drop here")); }

    [[nodiscard]] static QPoint middle() { return {1600, 800}; }

    /// Whether so many files are held above the page, by a hand that is never quite still until then. The page has heard of the last place when
    /// this returns: a browser that is still asking about it may miss what is dropped there.
    [[nodiscard]] static bool isOffered(int count, const QPoint& place = middle())
    {
        const auto offered = "^Offered " + std::to_string(count) + " at ";
        QPoint held;
        return waitUntil([&, step = 0]() mutable {
            held = place + QPoint{++step % 3, 0};
            movePointer(held);
            return !visibleWindows(offered).empty();
        }) && isShown(offered + std::to_string(held.x()) + " " + std::to_string(held.y()) + "$");
    }

    /// What was dropped, as text; waits for it.
    [[nodiscard]] static std::string dropped()
    {
        if (!isShown("^Dropped "))
            return "nothing";
        return runProgram({"xdotool", "search", "--onlyvisible", "--name", "^Dropped ", "getwindowname"}).output;
    }

    [[nodiscard]] static std::string told(const std::filesystem::path& file)
    {
        return file.filename().native() + " " + std::to_string(std::filesystem::file_size(file)) + " ftyp";
    }

private:
    [[nodiscard]] ChildProcess start() const
    {
        const auto page = directory_.path() / "page.html";
        std::ofstream{page} << R"(<meta charset=utf-8><title>Drop here</title><body style="height:100vh;margin:0"><script>
addEventListener('dragover', e => {
    e.preventDefault();
    const files = [...e.dataTransfer.items].filter(item => item.kind === 'file').length;
    document.title = 'Offered ' + files + ' at ' + e.screenX + ' ' + e.screenY;
});
addEventListener('dragleave', () => document.title = 'Drop here');
addEventListener('drop', async e => {
    e.preventDefault();
    const told = [...e.dataTransfer.files].map(
        async file => file.name + ' ' + file.size + ' ' + await file.slice(4, 8).text());
    document.title = 'Dropped ' + (await Promise.all(told)).join(', ');
});
</script>)";
        auto arguments = chromiumArguments(directory_.path() / "profile");
        arguments.insert(arguments.end(), {"--window-size=500,400", "--window-position=1350,600", "--app=file://" + page.string()});
        return ChildProcess{arguments};
    }

    TemporaryDirectory directory_;
    ChildProcess browser_;
};

/// A file manager that shows an empty folder in the lower right corner of the screen.
class ShownFolder {
public:
    explicit ShownFolder(const std::filesystem::path& home) : path_(home / "Inbox"), browser_(start()) { }

    /// Whether it lies where it is looked for; waits for it.
    [[nodiscard]] bool isReady() const
    {
        return isShown(title) && waitUntil([] {
            // A window manager may place it after it has been moved.
            runProgram({"xdotool", "search", "--onlyvisible", "--name", title, "windowsize", "600", "400", "windowmove", "1250", "620"});
            const auto place = contentPlace(title);
            return place.width() == 600 && place.contains(middle());
        });
    }

    [[nodiscard]] static QPoint middle() { return {1600, 860}; }

    /// Whether what is held above it may be dropped, by a hand that is never quite still: GTK frames what takes it in green. The picture beside
    /// the pointer does not reach the right edge.
    [[nodiscard]] static bool isWilling()
    {
        const auto place = contentPlace(title);
        const QRect rightEdge{place.right() - 8, middle().y() - 20, 16, 40};
        return waitUntil([&, step = 0]() mutable {
            movePointer(middle() + QPoint{++step % 3, 0});
            return countPixels(screenPicture(rightEdge), 0x4e9a06) >= rightEdge.height();
        });
    }

    /// Whether that file arrives as a whole.
    [[nodiscard]] bool receives(const std::filesystem::path& clip) const
    {
        return waitUntil([&] { return bytesOf(path_ / clip.filename()) == bytesOf(clip); });
    }

    /// What is in it, as text.
    [[nodiscard]] std::string list() const { return runProgram({"ls", "-la", path_.string()}).output; }

private:
    static constexpr const char* title = "^Inbox - Thunar$";

    [[nodiscard]] ChildProcess start() const
    {
        std::filesystem::create_directories(path_);
        return ChildProcess{{"thunar", path_.string()}};
    }

    const std::filesystem::path path_;
    ChildProcess browser_;
};

class DragFixture : public testing::Test {
protected:
    /// Whether the panel of a saved clip is shown then.
    [[nodiscard]] bool saveClipOf(const NumberedWindow& window)
    {
        if (program.run({"select", std::to_string(window.id())}).status != 0 || !program.startByShortcut())
            return false;
        record(1200ms);
        return program.saveByShortcut() && isShown(hud);
    }

    [[nodiscard]] std::filesystem::path clip(const char* name) const { return program.clipsFolder() / name; }

    AssistiveTechnology assistiveTechnology;
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = makeClips}};
};

class DragTest : public DragFixture {
    DropTarget target;
};

class DragToFolderTest : public DragFixture {
protected:
    /// Before anything of the program is shown: a new window takes the keyboard.
    void SetUp() override { ASSERT_TRUE(folder.isReady()); }

    /// Drags what is there into the folder, whose file manager has to copy it.
    void expectToArrive(const QPoint& start, const std::vector<std::filesystem::path>& clips)
    {
        dragTo(start, ShownFolder::middle());
        ASSERT_TRUE(folder.isWilling()) << "the file manager does not take it";
        drop();
        for (const auto& clip : clips) {
            EXPECT_TRUE(folder.receives(clip)) << clip << "\n" << folder.list();
            EXPECT_TRUE(std::filesystem::exists(clip)) << "it was moved";
        }
    }

    ShownFolder folder{program.home()};
};

TEST_F(DragTest, TheClipOfThePanelArrivesEvenIfThePanelHasGoneMeanwhile)
{
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    ASSERT_TRUE(saveClipOf(window));
    const auto icon = AssistiveTechnology::find("image", "Clip to Drag");
    ASSERT_TRUE(icon);
    const auto place = visibleWindows(hud).at(0);
    dragTo(icon->place.center(), DropTarget::middle());
    ASSERT_TRUE(DropTarget::isOffered(1));
    EXPECT_EQ(visibleWindows(hud).at(0), place) << "the panel was moved instead";
    ASSERT_TRUE(waitUntil([&] {
        const auto windows = visibleWindows(hud);
        return std::none_of(windows.begin(), windows.end(), [&](const QRect& shown) { return shown.size() == place.size(); });
    }));
    ASSERT_TRUE(DropTarget::isOffered(1, DropTarget::middle() + QPoint{10, 10}));
    drop();
    EXPECT_EQ(DropTarget::dropped(), "Dropped " + DropTarget::told(program.lastSavedClip()) + "\n");
}

TEST_F(DragTest, WhereThereIsNoIconThePanelIsMoved)
{
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    ASSERT_TRUE(saveClipOf(window));
    const auto place = visibleWindows(hud).at(0);
    const auto corner = place.bottomRight() - QPoint{20, 20};
    dragTo(corner, corner - QPoint{200, -60});
    EXPECT_TRUE(waitUntil([&] {
        const auto places = visibleWindows(hud);
        return places.empty() || places.front().left() < place.left() - 100;
    }));
    drop();
    EXPECT_FALSE(visibleWindows(hud).empty());
}

TEST_F(DragTest, SelectedClipsArriveTogetherAndOneThatIsNotSelectedAlone)
{
    ASSERT_EQ(program.run({"clips"}).status, 0);
    ASSERT_TRUE(hasFocus("Clips — Velmora"));
    ASSERT_TRUE(AssistiveTechnology::find("list item", "harbour & sea"));
    pressKeys({"ctrl+a"});
    const auto listed = AssistiveTechnology::find("list item", "käse");
    ASSERT_TRUE(listed);
    dragTo(listed->place.center(), DropTarget::middle());
    ASSERT_TRUE(DropTarget::isOffered(2));
    drop();
    const auto both = DropTarget::dropped();
    EXPECT_NE(both.find(DropTarget::told(clip("harbour & sea.mp4"))), std::string::npos) << both;
    EXPECT_NE(both.find(DropTarget::told(clip("käse.mp4"))), std::string::npos) << both;

    // The window is as usable as before: a click selects one.
    ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "harbour & sea"));
    dragTo(AssistiveTechnology::find("list item", "käse")->place.center(), DropTarget::middle());
    ASSERT_TRUE(DropTarget::isOffered(1));
    drop();
    EXPECT_TRUE(isShown("^Dropped " + DropTarget::told(clip("käse.mp4")) + "$")) << DropTarget::dropped();
    EXPECT_EQ(program.clips().size(), 2U) << "what is dragged is copied";
}

TEST_F(DragTest, TheClipOfAPreviewArrivesFromItsGrip)
{
    ASSERT_EQ(program.run({"preview", clip("käse.mp4").string()}).status, 0);
    ASSERT_TRUE(isShown("^Preview & Trim — käse.mp4$"));
    const auto grip = AssistiveTechnology::find("image", "Clip to Drag");
    ASSERT_TRUE(grip);
    dragTo(grip->place.center(), DropTarget::middle());
    ASSERT_TRUE(DropTarget::isOffered(1));
    pressKeys({"Escape"});
    ASSERT_TRUE(isShown("^Drop here$"));
    drop();
    EXPECT_TRUE(isShown("^Preview & Trim — käse.mp4$")) << "Escape ends the drag, not the window";
    dragTo(grip->place.center(), DropTarget::middle());
    ASSERT_TRUE(DropTarget::isOffered(1));
    drop();
    EXPECT_EQ(DropTarget::dropped(), "Dropped " + DropTarget::told(clip("käse.mp4")) + "\n");
}

TEST_F(DragToFolderTest, TheClipOfThePanelIsCopied)
{
    const NumberedWindow window{{"--size", "320x240", "--position", "100,200"}};
    ASSERT_TRUE(saveClipOf(window));
    const auto icon = AssistiveTechnology::find("image", "Clip to Drag");
    ASSERT_TRUE(icon);
    expectToArrive(icon->place.center(), {program.lastSavedClip()});
}

TEST_F(DragToFolderTest, TheClipOfAPreviewIsCopied)
{
    ASSERT_EQ(program.run({"preview", clip("käse.mp4").string()}).status, 0);
    ASSERT_TRUE(isShown("^Preview & Trim — käse.mp4$"));
    const auto grip = AssistiveTechnology::find("image", "Clip to Drag");
    ASSERT_TRUE(grip);
    expectToArrive(grip->place.center(), {clip("käse.mp4")});
}

TEST_F(DragToFolderTest, SelectedClipsAreCopiedTogether)
{
    ASSERT_EQ(program.run({"clips"}).status, 0);
    ASSERT_TRUE(hasFocus("Clips — Velmora"));
    ASSERT_TRUE(AssistiveTechnology::find("list item", "harbour & sea"));
    pressKeys({"ctrl+a"});
    const auto listed = AssistiveTechnology::find("list item", "käse");
    ASSERT_TRUE(listed);
    ASSERT_TRUE(AssistiveTechnology::find("status bar", "2 clips selected"));
    expectToArrive(listed->place.center(), {clip("harbour & sea.mp4"), clip("käse.mp4")});
    EXPECT_EQ(program.clips().size(), 2U);
}

}  // namespace
}  // namespace velmora::test

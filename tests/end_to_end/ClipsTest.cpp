// All clips in their window, as a person finds, names and removes them.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/media/EncodedClip.h"
#include "tests/support/media/WrittenClip.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* title = "^Clips — Velmora$";

void makeClips(const std::filesystem::path& home)
{
    const auto folder = home / "Movies" / "Velmora";
    std::filesystem::create_directories(folder);
    writeClip(folder / "harbour.mp4", {.pictures = steadyTimes(50, 25), .soundFrames = 2 * 48'000});
    for (const char* name : {"race.mp4", "sunset.mp4"})
        std::filesystem::copy_file(folder / "harbour.mp4", folder / name);
}

class ClipsTest : public testing::Test {
protected:
    [[nodiscard]] bool open()
    {
        return program.run({"clips"}).status == 0 && isShown(title) && hasFocus("Clips — Velmora") && listedAre(3);
    }

    [[nodiscard]] static std::vector<Control> listed()
    {
        auto controls = AssistiveTechnology::controls();
        controls.erase(
            std::remove_if(controls.begin(), controls.end(), [](const Control& one) { return one.role != "list item"; }), controls.end());
        return controls;
    }

    [[nodiscard]] static bool listedAre(std::size_t count)
    {
        return waitUntil([&] { return listed().size() == count; });
    }

    [[nodiscard]] static bool says(const std::string& beginning) { return AssistiveTechnology::find("status bar", beginning).has_value(); }

    [[nodiscard]] std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        for (const auto& clip : program.clips())
            found.push_back(clip.filename().native());
        std::sort(found.begin(), found.end());
        return found;
    }

    [[nodiscard]] std::vector<std::string> stored(const std::string& part)
    {
        auto files = program.storedFiles();
        files.erase(std::remove_if(files.begin(), files.end(), [&](const auto& file) { return file.find(part) == std::string::npos; }),
            files.end());
        return files;
    }

    AssistiveTechnology assistiveTechnology;
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = makeClips}};
};

TEST_F(ClipsTest, ACopyThatFitsAChatGoesBelowTheClipsAndToTheClipboard)
{
    ASSERT_TRUE(open());
    ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "race"));
    NextMenu menu;
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Share"));
    const auto entries = menu.controls();
    ASSERT_TRUE(std::any_of(entries.begin(), entries.end(), [](const Control& one) { return one.name == "Copy as Small File"; }));
    pressKeys({"Down", "Down", "Right", "Return"});
    ASSERT_TRUE(says("It fits as it is, and is on the clipboard: "));
    const auto shared = program.home() / "Movies" / "Velmora" / "Shared" / "race-10MB.mp4";
    EXPECT_TRUE(std::filesystem::exists(shared));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "OK Small File"));
    EXPECT_TRUE(AssistiveTechnology::isAbsent("push button", "OK Small File"));
    ASSERT_TRUE(listedAre(3));
}

TEST_F(ClipsTest, AClipIsFoundNamedRemovedAndBroughtBackByKeyboard)
{
    EXPECT_THAT(stored("thumbnails"), SizeIs(0)) << "nothing before the window";
    ASSERT_TRUE(open());
    EXPECT_TRUE(AssistiveTechnology::find("list", "Clips"));
    EXPECT_TRUE(AssistiveTechnology::find("heading", "Today"));
    typeText("sun");
    ASSERT_TRUE(listedAre(1));
    EXPECT_THAT(listed().front().name, StartsWith("sunset, "));
    EXPECT_TRUE(AssistiveTechnology::find("list item", "sunset, ")->name.find("0:02") != std::string::npos);
    pressKeys({"Down"});
    ASSERT_TRUE(waitUntil([] { return listed().size() == 1 && listed().front().has("focused"); }));

    pressKeys({"F2"});
    ASSERT_TRUE(AssistiveTechnology::find("text", "New name of sunset"));
    typeText("evening/");
    pressKeys({"Return"});
    ASSERT_TRUE(says("A name cannot contain"));
    pressKeys({"BackSpace", "Return"});
    ASSERT_TRUE(says("Its name is “evening.mp4” now."));
    EXPECT_THAT(names(), ElementsAre("evening.mp4", "harbour.mp4", "race.mp4"));

    // It no longer fits the search.
    ASSERT_TRUE(listedAre(0));
    pressKeys({"Escape"});
    ASSERT_TRUE(listedAre(3));
    ASSERT_TRUE(AssistiveTechnology::clickOn("list item", "evening"));
    pressKeys({"Delete"});
    ASSERT_TRUE(says("“evening.mp4” is in the trash."));
    ASSERT_TRUE(listedAre(2));
    EXPECT_THAT(names(), ElementsAre("harbour.mp4", "race.mp4"));
    EXPECT_THAT(stored("Trash"), SizeIs(2)) << "the file and what file browsers have to know of it";
    EXPECT_TRUE(AssistiveTechnology::isAbsent("menu item", "evening.mp4")) << "nor in the menu";
    pressKeys({"ctrl+z"});
    ASSERT_TRUE(says("“evening.mp4” is back."));
    ASSERT_TRUE(listedAre(3));
    EXPECT_THAT(names(), ElementsAre("evening.mp4", "harbour.mp4", "race.mp4"));
    EXPECT_THAT(stored("Trash"), SizeIs(0));
    EXPECT_EQ(program.run({"restore", "--list"}).output, "No recording that was discarded is in the trash.\n");

    pressKeys({"Return"});
    EXPECT_TRUE(isShown("Preview & Trim — evening.mp4"));
}

TEST_F(ClipsTest, WhatHappensInTheFolderIsSeenByItself)
{
    ASSERT_TRUE(open());
    const auto folder = program.clipsFolder();
    std::filesystem::copy_file(folder / "race.mp4", folder / "from outside.mp4");
    ASSERT_TRUE(listedAre(4));
    std::filesystem::rename(folder / "from outside.mp4", folder / "renamed.mp4");
    ASSERT_TRUE(AssistiveTechnology::find("list item", "renamed, "));
    std::filesystem::remove(folder / "renamed.mp4");
    ASSERT_TRUE(listedAre(3));
    std::filesystem::rename(folder, program.home() / "elsewhere");
    ASSERT_TRUE(AssistiveTechnology::find("label", "The clips folder is not there."));
    std::filesystem::rename(program.home() / "elsewhere", folder);
    EXPECT_TRUE(listedAre(3));
}

TEST_F(ClipsTest, ItsPicturesAreTheClipsOwnAndKeptForTheWholeDesktop)
{
    ASSERT_TRUE(open());
    const auto place = contentPlace(title);
    // The numbered pictures have white in them.
    const auto picture = [&] { return screenPicture({place.x() + 44, place.y() + 118, 200, 100}); };
    EXPECT_TRUE(waitUntil([&] { return countPixels(picture(), QColor{255, 255, 255}, 60) > 1000; }));
    ASSERT_TRUE(waitUntil([&] { return stored("thumbnails/large/").size() == 3; }));
    pressKeys({"Escape"});
    ASSERT_TRUE(isHidden(title));
    ASSERT_EQ(program.run({"clips"}).status, 0);
    ASSERT_TRUE(isShown(title));
    EXPECT_TRUE(waitUntil([&] { return countPixels(picture(), QColor{255, 255, 255}, 60) > 1000; }));
    EXPECT_THAT(stored("thumbnails/"), SizeIs(3)) << "none twice, and nothing half done";
}

TEST_F(ClipsTest, TheSmallWindowLeadsThere)
{
    ASSERT_TRUE(AssistiveTechnology::clickOn("menu item", "🎬 Show All Clips..."));
    EXPECT_TRUE(isShown(title));
    EXPECT_TRUE(listedAre(3));
}

}  // namespace
}  // namespace velmora::test

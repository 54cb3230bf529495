// A clip played and cut down in its window, as a person does it.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/Screen.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/media/EncodedClip.h"
#include "tests/support/media/WrittenClip.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

constexpr int pictureRate = 25;

/// Six seconds, a picture every 40 ms, with sound.
void makeNumberedClip(const std::filesystem::path& home)
{
    const auto folder = home / "Movies" / "Velmora";
    std::filesystem::create_directories(folder);
    writeClip(folder / "clip.mp4", {.pictures = steadyTimes(6 * pictureRate, pictureRate), .soundFrames = 6 * 48'000});
}

class PreviewTest : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path clip() const { return program.clipsFolder() / "clip.mp4"; }

    /// Opened as another program would, loaded, and with the focus.
    [[nodiscard]] bool open(const std::filesystem::path& file)
    {
        const auto title = "Preview & Trim — " + file.filename().string();
        return program.run({"preview", file.string()}).status == 0 && isShown(title) && waitUntil([&] {
            return runProgram({"xdotool", "getactivewindow", "getwindowname"}).output == title + "\n" && labelCount("End: 00:06") > 0;
        });
    }

    [[nodiscard]] static std::size_t labelCount(const std::string& name)
    {
        return those([&](const Control& one) { return one.role == "label" && one.name == name; }).size();
    }
    [[nodiscard]] static std::size_t buttonCount(const std::string& name)
    {
        return those([&](const Control& one) { return one.role == "push button" && one.name == name; }).size();
    }

    [[nodiscard]] std::int64_t residentKilobytes() const
    {
        std::ifstream status{"/proc/" + std::to_string(program.processID()) + "/status"};
        for (std::string word; status >> word;) {
            if (word == "VmRSS:") {
                status >> word;
                return std::stoll(word);
            }
        }
        return 0;
    }

    AssistiveTechnology assistiveTechnology;
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = makeNumberedClip}};

private:
    [[nodiscard]] static std::vector<Control> those(const std::function<bool(const Control&)>& isOne)
    {
        auto controls = AssistiveTechnology::controls();
        controls.erase(std::remove_if(controls.begin(), controls.end(), [&](const auto& one) { return !isOne(one); }), controls.end());
        return controls;
    }
};

TEST_F(PreviewTest, AClipIsPlayedCutDownByKeyboardAndSavedBesideIt)
{
    ASSERT_TRUE(open(clip()));
    pressKeys({"space"});
    ASSERT_TRUE(waitUntil([] { return labelCount("00:01") == 1; }));
    pressKeys({"space"});
    ASSERT_TRUE(waitUntil([] { return buttonCount("Play") == 1; }));

    pressKeys({"Tab", "Tab", "Tab"});
    pressKeys(std::vector<std::string>(5, "Right"));
    pressKeys({"Tab"});
    pressKeys(std::vector<std::string>(10, "Left"));
    ASSERT_TRUE(waitUntil([] { return labelCount("Selected: 00:05") == 1; }));
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Save Trimmed Clip"));
    const auto told = AssistiveTechnology::find("status bar", "Trimmed clip saved as ");
    ASSERT_TRUE(told);

    ASSERT_THAT(program.clips(), SizeIs(2));
    const auto part = program.clipsFolder() / told->name.substr(std::string{"Trimmed clip saved as "}.size());
    EXPECT_THAT(part.filename().string(), HasSubstr("Trimmed"));
    expectPartOf(decodeFile(clip()), {{1, 5}, {28, 5}}, decodeFile(part));
    EXPECT_TRUE(AssistiveTechnology::find("menu item", part.filename().string())) << "in the menu";
    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Play Trimmed Clip"));
    EXPECT_TRUE(isShown("Preview & Trim — " + part.filename().string()));
    EXPECT_TRUE(waitUntil([] { return buttonCount("Pause") == 1; })) << "it plays without being told to";
    EXPECT_TRUE(waitUntil([] { return labelCount("00:01") == 1; }));
}

TEST_F(PreviewTest, PlayingStopsAtTheEndOfTheSelectionByItself)
{
    ASSERT_TRUE(open(clip()));
    pressKeys(std::vector<std::string>(pictureRate, "Right"));
    pressKeys({"o"});
    pressKeys(std::vector<std::string>(pictureRate, "Left"));
    ASSERT_TRUE(waitUntil([] { return labelCount("End: 00:01") == 1 && labelCount("00:00") == 1; }));
    pressKeys({"space"});
    ASSERT_TRUE(waitUntil([] { return buttonCount("Pause") == 1; }));
    ASSERT_TRUE(waitUntil([] { return labelCount("00:01") == 1 && buttonCount("Play") == 1; }));
}

TEST_F(PreviewTest, TheMiddleIsCutOutByAKeySkippedAndLeftOutOfWhatIsSaved)
{
    ASSERT_TRUE(open(clip()));
    pressKeys({"x"});
    ASSERT_TRUE(waitUntil([] { return labelCount("Cut: 00:02") == 1 && labelCount("To: 00:04") == 1 && labelCount("Kept: 00:04") == 1; }));
    pressKeys(std::vector<std::string>(10, "Left"));
    pressKeys({"space"});
    bool wasInside = false;
    ASSERT_TRUE(waitUntil([&] {
        wasInside = wasInside || labelCount("00:03") > 0;
        return labelCount("00:05") + labelCount("00:06") > 1;
    }));
    EXPECT_FALSE(wasInside);
    ASSERT_TRUE(waitUntil([] { return buttonCount("Play") == 1; })) << "it plays to the selection's end";

    ASSERT_TRUE(AssistiveTechnology::clickOn("push button", "Save Trimmed Clip"));
    const auto told = AssistiveTechnology::find("status bar", "Trimmed clip saved as ");
    ASSERT_TRUE(told);
    const auto part = decodeFile(program.clipsFolder() / told->name.substr(std::string{"Trimmed clip saved as "}.size()));
    ASSERT_THAT(part.pictures, SizeIs(4 * pictureRate));
    for (int i = 0; i < 4 * pictureRate; ++i)
        EXPECT_EQ(part.pictures[static_cast<std::size_t>(i)].number, i < 2 * pictureRate ? i : i + 2 * pictureRate);
    EXPECT_NEAR(part.duration, 4, 0.001);
}

TEST_F(PreviewTest, TheSlidersTellTheirValuesInSeconds)
{
    const auto tells = [](const char* slider, const char* value) {
        return waitUntil([&] {
            const auto control = AssistiveTechnology::find("slider", slider);
            return control && control->value == value;
        });
    };
    ASSERT_TRUE(open(clip()));
    EXPECT_TRUE(tells("Position", "0"));
    EXPECT_TRUE(tells("Start", "0"));
    EXPECT_TRUE(tells("End", "6"));
    pressKeys({"Tab", "Tab", "Tab", "Right"});
    EXPECT_TRUE(tells("Start", "0.04"));
}

TEST_F(PreviewTest, TwoAtOncePlayEachItsOwn)
{
    const auto other = program.clipsFolder() / "other.mp4";
    std::filesystem::copy_file(clip(), other);
    ASSERT_TRUE(open(clip()));
    ASSERT_TRUE(open(other));
    ASSERT_TRUE(waitUntil([] { return labelCount("End: 00:06") == 2; }));
    pressKeys({"space"});
    ASSERT_TRUE(waitUntil([] { return labelCount("00:01") == 1; }));
    EXPECT_EQ(labelCount("00:00"), 1U) << "the other was never touched";
    pressKeys({"Escape"});
    ASSERT_TRUE(isHidden("Preview & Trim — other.mp4"));
    EXPECT_EQ(labelCount("End: 00:06"), 1U);
}

TEST_F(PreviewTest, PreviewsThatWereClosedLeaveNothingInMemory)
{
    std::int64_t afterTheSecond = 0;
    for (int i = 1; i <= 10; ++i) {
        ASSERT_TRUE(open(clip()));
        pressKeys({"space"});
        ASSERT_TRUE(waitUntil([] { return labelCount("00:01") == 1; }));
        pressKeys({"Escape"});
        ASSERT_TRUE(isHidden("Preview & Trim — clip.mp4"));
        // The window is hidden before it is destroyed; each answer comes from the thread that does both.
        ASSERT_TRUE(program.run({"status"}).status == 0 && program.run({"status"}).status == 0);
        if (i == 2)
            afterTheSecond = residentKilobytes();
    }
    ASSERT_GT(afterTheSecond, 0);
    EXPECT_LE(residentKilobytes() - afterTheSecond, 3 * 1024);
}

}  // namespace
}  // namespace velmora::test

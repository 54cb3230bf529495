// What a person is told of sound: why a recording stays silent though its application plays, and which windows sound.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/DesktopServices.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/sound/SoundServer.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

class UnheardSoundTest : public ::testing::Test {
protected:
    void recordWindowWith(const std::filesystem::path& sound)
    {
        window_.emplace(std::vector<std::string>{"--size", "320x240"}, sound);
        awaitPlayingStreams(1);
        ASSERT_EQ(program_.run({"select", std::to_string(window_->id())}).status, 0);
        ASSERT_TRUE(program_.hasState("capturing"));
        ASSERT_EQ(program_.run({"toggle"}).status, 0);
    }

    static void mute()
    {
        const auto listed = runProgram({"pactl", "list", "short", "sink-inputs"}).output;
        ASSERT_EQ(runProgram({"pactl", "set-sink-input-mute", listed.substr(0, listed.find('\t')), "1"}).status, 0);
    }

    const TemporaryDirectory folder_;
    const Notifier notifier_;
    TrayProgram program_;
    std::optional<NumberedWindow> window_;
};

TEST_F(UnheardSoundTest, AnApplicationWhoseSoundIsMutedWhileItIsRecordedIsTold)
{
    writeTone(folder_.path() / "tone.wav", 440, 120);
    recordWindowWith(folder_.path() / "tone.wav");
    record(2s);
    mute();
    ASSERT_TRUE(waitUntil([&] { return notifier_.displayedCount() == 1; }));
    const auto told = notifier_.closeAndTell();
    EXPECT_THAT(told, HasSubstr("No Sound in the Recording"));
    EXPECT_THAT(told, HasSubstr("plays, but its sound is muted"));
}

TEST_F(UnheardSoundTest, OfSilenceThatIsPlayedNobodyIsTold)
{
    ASSERT_EQ(runProgram({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "anullsrc=r=48000:cl=stereo", "-t", "120",
                             (folder_.path() / "silence.wav").native()})
                  .status,
        0);
    recordWindowWith(folder_.path() / "silence.wav");
    // Two questions would have been answered by then.
    record(23s);
    EXPECT_EQ(notifier_.displayedCount(), 0) << notifier_.closeAndTell();
    EXPECT_EQ(program_.run({"toggle"}).status, 0);
}

TEST(SoundMarkTest, ThePickerMarksTheWindowWhoseApplicationPlays)
{
    const AssistiveTechnology assistiveTechnology;
    const TemporaryDirectory folder;
    writeTone(folder.path() / "tone.wav", 440, 120);
    const NumberedWindow quiet{{"--size", "320x240"}};
    const NumberedWindow playing{{"--size", "320x240"}, folder.path() / "tone.wav"};
    awaitPlayingStreams(1);
    TrayProgram program{{.environment = AssistiveTechnology::environment(), .prepareHome = {}}};
    ASSERT_EQ(program.run({"choose"}).status, 0);
    const auto isMarked = [](const NumberedWindow& window) {
        const auto controls = AssistiveTechnology::controls();
        return std::any_of(controls.begin(), controls.end(), [&](const Control& control) {
            return control.name.find(window.title() + ",") != std::string::npos && control.name.find("Plays sound") != std::string::npos;
        });
    };
    EXPECT_TRUE(waitUntil([&] { return isMarked(playing); }));
    EXPECT_FALSE(isMarked(quiet));
}

}  // namespace
}  // namespace velmora::test

// Whose sound is in a recording, and whether it fits the picture.

#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"
#include "tests/support/sound/SoundServer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <string>

namespace velmora::test {
namespace {

using ::testing::IsEmpty;

class ClipSoundTest : public ::testing::Test {
protected:
    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return directory_.path() / name; }

    RecordedClip recordedClip(std::uint32_t window, double seconds)
    {
        const auto outcome = record(window, path("clip.mp4"), seconds);
        EXPECT_EQ(outcome.status, 0) << outcome.messages;
        auto clip = readClip(path("clip.mp4"));
        EXPECT_THAT(clip.complaints, IsEmpty());
        return clip;
    }

    static void expectToneAlone(const RecordedClip& clip, double tone, double other)
    {
        ASSERT_TRUE(clip.opened && clip.audio);
        for (const int channel : {0, 1}) {
            const auto levels = clip.audio->levels(tone, other, channel);
            EXPECT_GT(levels.tone, -20) << channel;
            EXPECT_LT(levels.otherAgainstTone, -60) << channel;
        }
    }

    TemporaryDirectory directory_;
};

TEST_F(ClipSoundTest, OfTwoProgramsOnlyTheOneWhoseWindowIsRecordedIsHeard)
{
    writeTone(path("440.wav"), 440, 60);
    writeTone(path("1000.wav"), 1000, 60);
    const NumberedWindow first{{}, path("440.wav")};
    const NumberedWindow second{{}, path("1000.wav")};
    awaitPlayingStreams(2);
    expectToneAlone(recordedClip(first.id(), 2.5), 440, 1000);
    std::filesystem::remove(path("clip.mp4"));
    expectToneAlone(recordedClip(second.id(), 2.5), 1000, 440);
}

TEST_F(ClipSoundTest, TwoPlayersOfTheSameNameAreToldApart)
{
    makeClip(path("440.mp4"), "testsrc2=s=480x360:r=30", "sine=frequency=440:sample_rate=48000,volume=4", 20);
    makeClip(path("1000.mp4"), "testsrc2=s=480x360:r=30", "sine=frequency=1000:sample_rate=48000,volume=4", 20);
    const VideoPlayer first{"First player", path("440.mp4")};
    const VideoPlayer second{"Second player", path("1000.mp4")};
    ASSERT_EQ(first.window().appName, second.window().appName);
    awaitPlayingStreams(2);
    expectToneAlone(recordedClip(first.window().id, 2.5), 440, 1000);
    std::filesystem::remove(path("clip.mp4"));
    expectToneAlone(recordedClip(second.window().id, 2.5), 1000, 440);
}

TEST_F(ClipSoundTest, ABrowserWhoseSoundComesFromAnotherOfItsProcessesIsHeard)
{
    std::ofstream{path("page.html")} << R"(<title>Sounding page</title><canvas id=c width=400 height=300></canvas><script>
const sound = new AudioContext(), tone = new OscillatorNode(sound, {frequency: 440}), volume = new GainNode(sound, {gain: 0.5});
tone.connect(volume).connect(sound.destination);
tone.start();
const canvas = c.getContext('2d');
setInterval(() => { canvas.fillStyle = 'hsl(' + performance.now() / 10 + ',80%,50%)'; canvas.fillRect(0, 0, 400, 300); }, 50);
</script>)";
    writeTone(path("1000.wav"), 1000, 120);
    auto arguments = chromiumArguments(path("profile"));
    arguments.insert(arguments.end(), {"--window-size=640,480", "--app=file://" + path("page.html").string()});
    const ChildProcess browser{arguments};
    const NumberedWindow other{{}, path("1000.wav")};
    const auto window = awaitWindow("Sounding page");
    awaitPlayingStreams(2);
    const auto clip = recordedClip(window.id, 3);
    expectToneAlone(clip, 440, 1000);
    ASSERT_TRUE(clip.video);
    EXPECT_GT(clip.video->pictures.size(), 3U);
}

TEST_F(ClipSoundTest, AWindowWithoutSoundHasASilentTrack)
{
    writeTone(path("1000.wav"), 1000, 60);
    const NumberedWindow quiet;
    const NumberedWindow other{{}, path("1000.wav")};
    awaitPlayingStreams(1);
    const auto clip = recordedClip(quiet.id(), 2);
    ASSERT_TRUE(clip.audio);
    EXPECT_GT(clip.audio->frames(), 48000U);
    EXPECT_TRUE(std::all_of(clip.audio->samples.begin(), clip.audio->samples.end(), [](float sample) { return std::abs(sample) < 1e-3F; }));
}

TEST_F(ClipSoundTest, AFlashAndItsBeepStayTogether)
{
    makeFlashAndBeepClip(path("source.mp4"), 30);
    const VideoPlayer player{"Flash and beep", path("source.mp4")};
    awaitPlayingStreams(1);
    const auto offsets = beepsAgainstFlashes(recordedClip(player.window().id, 5));
    ASSERT_GE(offsets.size(), 2U);
    std::printf("beep after flash: median %+.1f ms of %zu\n", median(offsets) * 1e3, offsets.size());
    EXPECT_NEAR(median(offsets), 0, 0.2);
}

}  // namespace
}  // namespace velmora::test

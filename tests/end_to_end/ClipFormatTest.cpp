// What kind of file a recording is, by what the programs that people play files with find in it.

#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>

namespace velmora::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// One clip for all tests: a window that moves, with noise for its sound.
class ClipFormatTest : public ::testing::Test {
protected:
    static constexpr double length = 3.5;

    static void SetUpTestSuite()
    {
        directory_ = std::make_unique<TemporaryDirectory>();
        writeNoise(directory_->path() / "noise.wav", 60);
        const NumberedWindow window{{"--size", "1280x720", "--motion", "60"}, directory_->path() / "noise.wav"};
        awaitPlayingStreams(1);
        const auto outcome = record(window.id(), file(), length);
        ASSERT_EQ(outcome.status, 0) << outcome.messages;
        clip_ = std::make_unique<RecordedClip>(readClip(file()));
    }

    static void TearDownTestSuite()
    {
        clip_.reset();
        directory_.reset();
    }

    void SetUp() override
    {
        ASSERT_TRUE(clip_ && clip_->opened && clip_->video && clip_->audio);
        ASSERT_GT(clip_->video->pictures.size(), 10U);
    }

    static std::filesystem::path file() { return directory_->path() / "clip.mp4"; }
    static const RecordedClip& clip() { return *clip_; }
    static const ClipVideo& video() { return *clip_->video; }
    static const ClipAudio& audio() { return *clip_->audio; }

    static inline std::unique_ptr<TemporaryDirectory> directory_;

private:
    static inline std::unique_ptr<RecordedClip> clip_;
};

TEST_F(ClipFormatTest, TheVideoIsH264InTheHighProfileInTheWindowsSize)
{
    EXPECT_EQ(video().codec, "h264");
    EXPECT_EQ(video().profile, "High");
    EXPECT_EQ(video().pixelFormat, "yuv420p");
    EXPECT_EQ(video().width, 1280);
    EXPECT_EQ(video().height, 720);
}

TEST_F(ClipFormatTest, ThePicturesAreStoredInTheOrderInWhichTheyAreShown)
{
    EXPECT_EQ(video().reorderedFrames, 0);
    const auto& packets = video().packets;
    for (std::size_t i = 0; i < packets.size(); ++i) {
        EXPECT_EQ(packets[i].pts, packets[i].dts) << i;
        if (i > 0) {
            EXPECT_GT(packets[i].pts, packets[i - 1].pts) << i;
        }
    }
}

TEST_F(ClipFormatTest, TheFirstPictureIsAKeyFrameAtTimeZero)
{
    EXPECT_TRUE(video().packets.front().isKey);
    EXPECT_EQ(video().packets.front().pts, 0);
    EXPECT_EQ(video().pictures.front().time, 0);
}

TEST_F(ClipFormatTest, NoMoreThan30PicturesGoFromOneKeyFrameToTheNext)
{
    int sinceKey = 0;
    int keys = 0;
    for (const auto& packet : video().packets) {
        sinceKey = packet.isKey ? 1 : sinceKey + 1;
        keys += packet.isKey ? 1 : 0;
        EXPECT_LE(sinceKey, 30) << packet.time;
    }
    EXPECT_GT(keys, 1);
}

TEST_F(ClipFormatTest, MovingPicturesTakeAbout8MegabitsASecond)
{
    EXPECT_GT(video().bitRate(), 4e6);
    EXPECT_LT(video().bitRate(), 13e6);
}

TEST_F(ClipFormatTest, TheColoursAreMarkedAsLimitedBT709)
{
    EXPECT_EQ(video().primaries, "bt709");
    EXPECT_EQ(video().transfer, "bt709");
    EXPECT_EQ(video().matrix, "bt709");
    EXPECT_EQ(video().range, "tv");
}

TEST_F(ClipFormatTest, TheSoundIsStereoAacAt48kHzWithAbout192KilobitsASecond)
{
    EXPECT_EQ(audio().codec, "aac");
    EXPECT_EQ(audio().sampleRate, 48000);
    EXPECT_EQ(audio().channelCount, 2);
    EXPECT_GT(audio().bitRate(), 150e3);
    EXPECT_LT(audio().bitRate(), 240e3);
}

TEST_F(ClipFormatTest, SoundAndPictureCoverTheSameTime)
{
    // Sound comes once the sound server has been asked, and a loaded machine is still encoding pictures at the end.
    constexpr double tolerance = 2;
    const double soundEnd = audio().secondsOf(audio().frames());
    EXPECT_GE(audio().start, 0);
    EXPECT_LT(audio().start, tolerance);
    EXPECT_NEAR(soundEnd, video().duration, tolerance);
    EXPECT_NEAR(clip().duration, std::max(soundEnd, video().duration), 0.03);
}

TEST_F(ClipFormatTest, TheIndexStandsBeforeThePicturesAndNoFragmentIsLeft)
{
    const auto boxes = topLevelBoxes(file());
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes.front(), "ftyp");
    const auto index = std::find(boxes.begin(), boxes.end(), "moov");
    const auto media = std::find(boxes.begin(), boxes.end(), "mdat");
    EXPECT_NE(index, boxes.end());
    EXPECT_NE(media, boxes.end());
    EXPECT_LT(index - boxes.begin(), media - boxes.begin());
    EXPECT_THAT(boxes, Not(Contains("moof")));
    EXPECT_THAT(boxes, Not(Contains("?")));
}

TEST_F(ClipFormatTest, LibavDecodesEverythingWithoutAComplaint)
{
    EXPECT_THAT(clip().complaints, IsEmpty());
    EXPECT_EQ(video().pictures.size(), video().packets.size());
    const auto outcome = runProgram(
        {"ffmpeg", "-v", "error", "-xerror", "-i", file().string(), "-fps_mode", "passthrough", "-enc_time_base", "-1", "-f", "null", "-"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.messages, "");
}

TEST_F(ClipFormatTest, MpvPlaysItToTheEnd)
{
    // What the player itself warns of is a picture that came late, which is the machine's fault; that sound and picture belong together is
    // asked of the file above.
    const auto outcome = runProgram({"mpv", "--no-config", "--vo=null", "--ao=null", "--ao-null-untimed=yes", "--untimed", "--hwdec=no",
        "--msg-level=all=warn,cplayer=error", file().string()});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output + outcome.messages, "");
}

TEST_F(ClipFormatTest, GStreamerDecodesBothTracks)
{
    const auto outcome =
        runProgram({"gst-launch-1.0", "-q", "filesrc", "location=" + file().string(), "!", "decodebin", "name=d", "d.", "!", "queue", "!",
            "video/x-raw", "!", "fakesink", "sync=false", "d.", "!", "queue", "!", "audio/x-raw", "!", "fakesink", "sync=false"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output + outcome.messages, Not(HasSubstr("ERROR")));
    EXPECT_THAT(outcome.output + outcome.messages, Not(HasSubstr("WARN")));
}

TEST_F(ClipFormatTest, ChromiumShowsEveryPartOfIt)
{
    // Seeks through the clip and reads the frame number's first two blocks, white and black, off each picture.
    const auto page = directory_->path() / "page.html";
    std::ofstream{page} << R"(<video id=v src="clip.mp4" muted></video><script>
const canvas = document.createElement('canvas').getContext('2d', {willReadFrequently: true});
let seen = 0, sought = 0;
const done = text => console.log('clip-report ' + text + ' end-of-report');
const next = () => {
    sought += 1;
    if (sought * 0.25 < v.duration) v.currentTime = sought * 0.25;
    else done([v.videoWidth, v.videoHeight, v.duration, sought, seen].join(' '));
};
v.onerror = () => done('error ' + v.error.code + ' ' + v.error.message);
v.onloadeddata = next;
v.onseeked = () => {
    canvas.canvas.width = v.videoWidth;
    canvas.drawImage(v, 0, 0);
    const light = x => canvas.getImageData(x, 20, 1, 1).data[1];
    if (light(32) > 200 && light(96) < 60) seen += 1;
    next();
};
</script>)";
    const auto report = reportOfPage(page);
    int width = 0;
    int height = 0;
    int sought = 0;
    int seen = 0;
    double duration = 0;
    ASSERT_EQ(std::sscanf(report.c_str(), "%d %d %lf %d %d", &width, &height, &duration, &sought, &seen), 5) << report;
    EXPECT_EQ(width, 1280);
    EXPECT_EQ(height, 720);
    EXPECT_NEAR(duration, clip().duration, 0.05);
    EXPECT_EQ(seen, sought - 1);
    EXPECT_GE(seen, static_cast<int>(video().duration / 0.25) - 1);
}

}  // namespace
}  // namespace velmora::test

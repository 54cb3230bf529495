// Whether a recording shows what the window showed, and nothing else.

#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <set>

namespace velmora::test {
namespace {

using ::testing::IsEmpty;

class ClipPicturesTest : public ::testing::Test {
protected:
    [[nodiscard]] std::filesystem::path file() const { return directory_.path() / "clip.mp4"; }

    /// Every picture shows one whole frame of the window, in order, at about the time at which the window showed it.
    static void expectTheWindowsFrames(
        const RecordedClip& clip, const std::map<std::uint32_t, std::int64_t>& shown, std::size_t firstPicture = 0)
    {
        ASSERT_TRUE(clip.opened && clip.video);
        EXPECT_THAT(clip.complaints, IsEmpty());
        const auto& pictures = clip.video->pictures;
        ASSERT_GT(pictures.size(), 5U);
        std::vector<double> delays;
        std::set<std::uint32_t> numbers;
        for (std::size_t i = firstPicture; i < pictures.size(); ++i) {
            const auto& reading = pictures[i].reading;
            ASSERT_TRUE(reading.isReadable()) << "picture " << i;
            ASSERT_FALSE(reading.isTorn()) << "picture " << i << " shows " << *reading.top << " and " << *reading.bottom;
            ASSERT_TRUE(shown.contains(*reading.top)) << "picture " << i << " shows " << *reading.top << ", which was never on the screen";
            if (i > firstPicture) {
                EXPECT_GE(*reading.top, *pictures[i - 1].reading.top) << "picture " << i;
                EXPECT_GT(pictures[i].time, pictures[i - 1].time) << "picture " << i;
            }
            if (numbers.insert(*reading.top).second)
                delays.push_back(pictures[i].time - static_cast<double>(shown.at(*reading.top)) / 1e9);
        }
        EXPECT_GT(numbers.size(), 5U);
        // The clip's zero is the first picture's time, so only differences mean something. A loaded machine is late now and then.
        const double usual = median(delays);
        for (const double delay : delays)
            EXPECT_NEAR(delay, usual, 0.25);
    }

    TemporaryDirectory directory_;
};

TEST_F(ClipPicturesTest, EveryPictureIsOneWholeFrameOfTheWindowInOrderAndInTime)
{
    const NumberedWindow window{{"--size", "1280x720"}};
    const auto outcome = record(window.id(), file(), 2.5);
    ASSERT_EQ(outcome.status, 0) << outcome.messages;
    expectTheWindowsFrames(readClip(file()), window.shown());
}

TEST_F(ClipPicturesTest, AWindowThatIsCoveredByAnotherIsRecordedAlone)
{
    const NumberedWindow window{{"--size", "640x480", "--position", "100,100"}};
    const NumberedWindow cover{{"--size", "900x700", "--position", "40,40", "--still"}};
    const auto list = listWindows();
    const auto place = [&](const NumberedWindow& sought) {
        return std::find_if(list.begin(), list.end(), [&](const auto& entry) { return entry.id == sought.id(); }) - list.begin();
    };
    ASSERT_LT(place(cover), place(window)) << "the cover is not on top";
    const auto outcome = record(window.id(), file(), 2);
    ASSERT_EQ(outcome.status, 0) << outcome.messages;
    const auto clip = readClip(file());
    expectTheWindowsFrames(clip, window.shown());
    EXPECT_EQ(clip.video->width, 640);
    EXPECT_EQ(clip.video->height, 480);
}

TEST_F(ClipPicturesTest, AWindowHalfOffTheScreenIsRecordedWhole)
{
    NumberedWindow window{{"--size", "640x480", "--position", "200,200"}};
    ASSERT_EQ(window.command("move -320,300"), "ok");
    ASSERT_TRUE(waitUntil([&] { return awaitWindow(window.title()).x < -300; })) << awaitWindow(window.title()).x;
    const auto outcome = record(window.id(), file(), 2);
    ASSERT_EQ(outcome.status, 0) << outcome.messages;
    const auto clip = readClip(file());
    ASSERT_TRUE(clip.video);
    // What was never on the screen has no pixels until the program paints it again, which it does with its next frame.
    const auto& pictures = clip.video->pictures;
    const auto painted = std::find_if(pictures.begin(), pictures.end(), [](const auto& picture) { return picture.reading.isReadable(); });
    ASSERT_LE(painted - pictures.begin(), 2);
    expectTheWindowsFrames(clip, window.shown(), static_cast<std::size_t>(painted - pictures.begin()));
    EXPECT_EQ(clip.video->width, 640);
}

TEST_F(ClipPicturesTest, AWindowThatChangesItsSizeIsFittedIntoTheSizeItHad)
{
    NumberedWindow window{{"--size", "640x480", "--position", "100,100"}};
    RecordingProcess recording{window.id(), file()};
    ASSERT_TRUE(recording.hasFragment());
    ASSERT_EQ(window.command("resize 800x400"), "ok");
    // 800x400 in 640x480 is 640x320 with bars of 80.
    const auto resized = monotonicNow();
    ASSERT_TRUE(waitUntil([&] { return monotonicNow() - resized > 1'500'000'000; }));
    recording.signal(SIGINT);
    const auto outcome = recording.finish();
    ASSERT_EQ(outcome.status, 0) << outcome.messages;

    const auto clip = readClip(file(), {{0, 0, 640, 480}, {0, 80, 640, 320}});
    ASSERT_TRUE(clip.opened && clip.video);
    EXPECT_THAT(clip.complaints, IsEmpty());
    const auto& pictures = clip.video->pictures;
    const auto shown = window.shown();
    std::size_t before = 0;
    std::size_t after = 0;
    std::uint32_t last = 0;
    for (const auto& picture : pictures) {
        EXPECT_EQ(picture.width, 640);
        EXPECT_EQ(picture.height, 480);
        // Between the two sizes the window has not drawn itself yet.
        if (!picture.reading.isReadable())
            continue;
        before += picture.part == 0 ? 1 : 0;
        after += picture.part == 1 ? 1 : 0;
        EXPECT_TRUE(picture.part == 1 || after == 0) << "back in the first size";
        EXPECT_FALSE(picture.reading.isTorn());
        EXPECT_TRUE(shown.contains(*picture.reading.top));
        EXPECT_GE(*picture.reading.top, last);
        last = *picture.reading.top;
    }
    EXPECT_GT(before, 2U);
    EXPECT_GT(after, 2U);
    ASSERT_FALSE(pictures.empty());
    EXPECT_TRUE(pictures.back().reading.isReadable());
    EXPECT_EQ(pictures.back().part, 1U);
}

TEST_F(ClipPicturesTest, AStillWindowGivesAClipOfAboutTwoPicturesASecond)
{
    NumberedWindow window{{"--size", "640x480", "--still"}};
    const auto outcome = record(window.id(), file(), 3);
    ASSERT_EQ(outcome.status, 0) << outcome.messages;
    const auto clip = readClip(file());
    ASSERT_TRUE(clip.opened && clip.video);
    EXPECT_THAT(clip.complaints, IsEmpty());
    EXPECT_GE(clip.video->pictures.size(), 3U);
    EXPECT_LE(clip.video->pictures.size(), 12U);
    EXPECT_NEAR(clip.video->duration, 3, 0.6);
    for (const auto& picture : clip.video->pictures)
        EXPECT_EQ(picture.reading.number(), 0U) << picture.time;
}

TEST_F(ClipPicturesTest, TwoRecordingsAtOnceEachShowTheirOwnWindow)
{
    const NumberedWindow first{{"--size", "640x480", "--fps", "30"}};
    const NumberedWindow second{{"--size", "480x360", "--fps", "20"}};
    const auto secondFile = directory_.path() / "second.mp4";
    RecordingProcess recordingFirst{first.id(), file(), {"--duration", "2.5"}};
    RecordingProcess recordingSecond{second.id(), secondFile, {"--duration", "2.5"}};
    const auto firstOutcome = recordingFirst.finish();
    const auto secondOutcome = recordingSecond.finish();
    ASSERT_EQ(firstOutcome.status, 0) << firstOutcome.messages;
    ASSERT_EQ(secondOutcome.status, 0) << secondOutcome.messages;
    const auto firstClip = readClip(file());
    const auto secondClip = readClip(secondFile);
    expectTheWindowsFrames(firstClip, first.shown());
    expectTheWindowsFrames(secondClip, second.shown());
    EXPECT_EQ(firstClip.video->width, 640);
    EXPECT_EQ(secondClip.video->width, 480);
}

}  // namespace
}  // namespace velmora::test

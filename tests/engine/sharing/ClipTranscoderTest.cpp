// The transcoder with the real codecs: what comes out is decoded.
#include "tests/engine/sharing/ClipTranscoderFixture.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>

namespace velmora::engine {
namespace {

TEST_F(ClipTranscoderTest, EveryPictureAndSoundOfARecordingIsWhereItWas)
{
    const auto clip = beginning(unevenClip(5), 240, 200'000);
    writeClip(path("clip.mp4"), clip);
    const auto original = decodeFile(path("clip.mp4"));
    const auto limit = std::filesystem::file_size(path("clip.mp4")) * 2 / 3;
    const auto copy = transcode({.limit = limit});
    EXPECT_FALSE(report.isCopy);
    expectTheSamePictures(original, copy);
    expectTheSameSound(original, copy);
    EXPECT_NEAR(copy.duration, original.duration, 0.03);
    EXPECT_EQ(copy.colour, original.colour);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("clip.mp4", "small.mp4"));
}

TEST_F(ClipTranscoderTest, ATrimmedClipShowsAndPlaysWhatItsEditListLeaves)
{
    const auto clip = beginning(unevenClip(7), 300, 300'000);
    writeClip(path("whole.mp4"), clip);
    const auto trim = makeExportSessions()->makeExportSession(path("whole.mp4"), platform::ExportPreset::passthrough);
    ASSERT_TRUE(trim);
    (*trim)->setOutputURL(path("clip.mp4"));
    // Between two key frames, and between two pictures.
    const TimeRange range{{1234, 1000}, {3456, 1000}};
    (*trim)->setTimeRange(range);
    finish(**trim);
    ASSERT_EQ((*trim)->status(), Status::completed);
    const auto copy = transcode({.limit = std::filesystem::file_size(path("clip.mp4")) - 1});
    EXPECT_FALSE(report.isCopy);
    const auto expected = picturesIn(decodeFile(path("whole.mp4")), range);
    ASSERT_EQ(copy.pictures.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(copy.pictures[i].number, expected[i].number) << i;
        EXPECT_NEAR(copy.pictures[i].time, expected[i].time, 2.0 / 90000) << i;
    }
    const auto original = decodeFile(path("clip.mp4"));
    expectTheSameSound(original, copy);
    EXPECT_NEAR(copy.duration, 2.222, 0.03);
}

TEST_F(ClipTranscoderTest, AForeignClipWithReorderedPicturesAndNoSoundIsThereInFull)
{
    writeForeignClip(path("clip.mp4"), {.pictureCount = 90, .bFrames = 3});
    const auto original = decodeFile(path("clip.mp4"));
    const auto copy = transcode({.limit = std::filesystem::file_size(path("clip.mp4")) * 3 / 4});
    EXPECT_FALSE(copy.hasAudio);
    EXPECT_EQ(report.soundBitRate, 0);
    expectTheSamePictures(original, copy);
}

TEST_F(ClipTranscoderTest, ATurnedClipStaysTurned)
{
    writeForeignClip(path("clip.mp4"), {.quarterTurns = 1});
    transcode({.limit = std::filesystem::file_size(path("clip.mp4")) * 3 / 4});
    const auto matrixOf = [](const std::filesystem::path& file) {
        const auto opened = mp4::PosixFile::openForReading(file);
        return mp4::readMovie(**opened)->movie.tracks.at(0).matrix;
    };
    EXPECT_EQ(matrixOf(path("small.mp4")), matrixOf(path("clip.mp4")));
}

TEST_F(ClipTranscoderTest, PixelsThatAreNotSquareBecomeSquare)
{
    writeForeignClip(path("clip.mp4"), {.pixelShape = 2});
    const auto copy = transcode({.limit = std::filesystem::file_size(path("clip.mp4")) * 3 / 4});
    EXPECT_EQ(copy.width, 2 * copy.height * 320 / 240);
}

TEST_F(ClipTranscoderTest, FullRangeBecomesLimitedAndTheRestOfTheColourStays)
{
    writeForeignClip(path("clip.mp4"), {.matrix = 6, .fullRange = true});
    const auto copy = transcode({.limit = std::filesystem::file_size(path("clip.mp4")) * 3 / 4});
    EXPECT_EQ(copy.colour.matrix, 6);
    EXPECT_FALSE(copy.colour.fullRange);
    EXPECT_EQ(copy.pictures.size(), 60U);
}

TEST_F(ClipTranscoderTest, ATightLimitMakesPicturesSmaller)
{
    WrittenClip clip;
    for (int i = 0; i < 600; ++i)
        clip.pictures.push_back({i, 60});
    clip.soundFrames = 480'000;
    writeClip(path("clip.mp4"), clip);
    const auto original = decodeFile(path("clip.mp4"));
    const auto copy = transcode({.limit = 60'000});
    EXPECT_LT(copy.width * copy.height, 320 * 240);
    EXPECT_LT(copy.pictures.size(), original.pictures.size());
    EXPECT_NEAR(copy.videoDuration, 10, 0.05);
    for (const auto& picture : copy.pictures) {
        const auto same = std::min_element(original.pictures.begin(), original.pictures.end(),
            [&](const auto& a, const auto& b) { return std::abs(a.time - picture.time) < std::abs(b.time - picture.time); });
        EXPECT_NEAR(same->time, picture.time, 2.0 / 90000) << "a picture of the clip, at its own time";
    }
}

TEST_F(ClipTranscoderTest, AWindowThatStoodStillGetsAKeyFrameOnceAMinute)
{
    WrittenClip clip;
    for (int i = 0; i < 140; ++i)
        clip.pictures.push_back({i, 2});
    writeClip(path("clip.mp4"), clip);
    for (const auto format : {platform::CopyFormat::mp4, platform::CopyFormat::webm}) {
        const auto limit = std::filesystem::file_size(path("clip.mp4")) * 9 / 10;
        const auto copy = transcode({.limit = limit, .format = format});
        EXPECT_FALSE(report.isCopy);
        // Each of its pictures is another number: the encoder may see a scene in one.
        EXPECT_THAT(copy.keyFrames, testing::Contains(testing::DoubleNear(60, 0.001)));
        EXPECT_LT(copy.keyFrames.size(), 5U);
    }
}

TEST_F(ClipTranscoderTest, AConstantRateHasEachPictureAtItsTime)
{
    const auto clip = beginning(unevenClip(11), 200, 100'000);
    writeClip(path("clip.mp4"), clip);
    const auto original = decodeFile(path("clip.mp4"));
    const auto copy = transcode({.limit = 0, .hasConstantRate = true});
    ASSERT_GT(copy.pictures.size(), 100U);
    const auto interval = copy.pictures[1].time - copy.pictures[0].time;
    for (std::size_t i = 0; i < copy.pictures.size(); ++i) {
        EXPECT_NEAR(copy.pictures[i].time, static_cast<double>(i) * interval, 2.0 / 90000);
        // What the clip shows then.
        int shown = original.pictures.front().number;
        for (const auto& picture : original.pictures) {
            if (picture.time <= copy.pictures[i].time + 2.0 / 90000)
                shown = picture.number;
        }
        EXPECT_EQ(copy.pictures[i].number, shown) << copy.pictures[i].time;
    }
}

TEST_F(ClipTranscoderTest, AClipThatFitsIsCopied)
{
    writeForeignClip(path("clip.mp4"));
    transcode({.limit = 10'000'000});
    EXPECT_TRUE(report.isCopy);
    std::ifstream a{path("clip.mp4"), std::ios::binary};
    std::ifstream b{path("small.mp4"), std::ios::binary};
    EXPECT_TRUE(std::equal(std::istreambuf_iterator<char>{a}, {}, std::istreambuf_iterator<char>{b}));
}

TEST_F(ClipTranscoderTest, ACancelledOneLeavesNothing)
{
    writeForeignClip(path("clip.mp4"), {.pictureCount = 600});
    const auto session = makeSession({.limit = std::filesystem::file_size(path("clip.mp4")) / 2});
    std::promise<void> done;
    session->exportAsynchronously([&done] { done.set_value(); });
    while (session->progress() == 0 && session->status() != Status::failed)
        std::this_thread::yield();
    session->cancelExport();
    done.get_future().wait();
    EXPECT_EQ(session->status(), Status::cancelled);
    EXPECT_FALSE(session->report());
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("clip.mp4"));
}

TEST_F(ClipTranscoderTest, WhileItWorksNothingOfItIsInTheFolderThatAKilledOneCouldLeave)
{
    writeForeignClip(path("clip.mp4"), {.pictureCount = 300});
    const auto session = makeSession({.limit = std::filesystem::file_size(path("clip.mp4")) / 2});
    std::promise<void> done;
    session->exportAsynchronously([&done] { done.set_value(); });
    // Past the sound and the first impression, before the last step.
    while (session->progress() < 0.2 && session->status() != Status::failed)
        std::this_thread::yield();
    const auto names = namesIn(folder.path());
    if (session->progress() < 0.9) {
        EXPECT_THAT(names, ElementsAre("clip.mp4"));
    }
    done.get_future().wait();
    EXPECT_EQ(session->status(), Status::completed);
}

TEST_F(ClipTranscoderTest, OneThatIsLetGoOfLeavesNothingAndStillCompletesOnce)
{
    writeForeignClip(path("clip.mp4"), {.pictureCount = 600});
    auto session = makeSession({.limit = std::filesystem::file_size(path("clip.mp4")) / 2});
    std::promise<void> done;
    session->exportAsynchronously([&done] { done.set_value(); });
    session.reset();
    done.get_future().wait();
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("clip.mp4"));
}

TEST_F(ClipTranscoderTest, NothingIsOverwritten)
{
    writeForeignClip(path("clip.mp4"));
    std::ofstream{path("small.mp4")} << "mine";
    const auto session = makeSession({.limit = 10'000'000});
    session->setNextOutputURL([this] { return std::optional{path("small-1.mp4")}; });
    finish(*session);
    EXPECT_EQ(session->status(), Status::completed);
    EXPECT_EQ(session->outputURL(), path("small-1.mp4"));
    EXPECT_EQ(std::filesystem::file_size(path("small.mp4")), 4U);
}

TEST_F(ClipTranscoderTest, WhatIsNoMovieIsCutShortOrHasNoPicturesIsRefused)
{
    std::ofstream{path("text.mp4")} << "this is not a movie";
    writeForeignClip(path("clip.mp4"), {.muxerOptions = "movflags=+faststart"});
    std::filesystem::resize_file(path("clip.mp4"), std::filesystem::file_size(path("clip.mp4")) / 2);
    for (const char* name : {"text.mp4", "clip.mp4"}) {
        const auto session = makeSession({.limit = 3000}, name);
        finish(*session);
        EXPECT_EQ(session->status(), Status::failed) << name;
        ASSERT_TRUE(session->error()) << name;
        EXPECT_FALSE(session->error()->localizedDescription.empty());
    }
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("clip.mp4", "text.mp4"));
    EXPECT_FALSE(transcoder->makeSession(path("none.mp4"), {}));
}

TEST_F(ClipTranscoderTest, AFolderThatMayNotBeWrittenIsNamed)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "everything may be written by root";
    writeForeignClip(path("clip.mp4"));
    std::filesystem::create_directory(path("locked"));
    ASSERT_EQ(chmod(path("locked").c_str(), 0500), 0);
    const auto session = makeSession({.limit = 10'000'000});
    session->setOutputURL(path("locked") / "small.mp4");
    finish(*session);
    ASSERT_TRUE(session->error());
    EXPECT_EQ(session->error()->code, EACCES);
    EXPECT_NE(session->error()->localizedDescription.find("locked"), std::string::npos);
}

TEST_F(ClipTranscoderTest, AMissingFolderIsNamed)
{
    writeForeignClip(path("clip.mp4"));
    const auto session = makeSession({.limit = 10'000'000});
    session->setOutputURL(path("none") / "small.mp4");
    finish(*session);
    ASSERT_TRUE(session->error());
    EXPECT_EQ(session->error()->code, ENOENT);
}

TEST_F(ClipTranscoderTest, PartsAreRefused)
{
    writeForeignClip(path("clip.mp4"));
    const auto session = makeSession({.limit = 10'000'000});
    session->setTimeRange({{0, 1}, {1, 1}});
    finish(*session);
    EXPECT_EQ(session->status(), Status::failed);
}

}  // namespace
}  // namespace velmora::engine

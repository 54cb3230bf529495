// GIF, WebP and WebM by the real codecs: what comes out is decoded.
#include "tests/engine/sharing/ClipTranscoderFixture.h"

#include <cstdlib>
#include <sys/resource.h>

namespace velmora::engine {
namespace {

using platform::CopyFormat;

class MovieFormatsTest : public ClipTranscoderTest {
protected:
    /// Each of the copy's pictures is one that the clip shows then, in its colours; in order, and none is shown twice as long as the rate has it.
    void expectPicturesOf(const DecodedFile& original, const DecodedFile& copy, double toleratedTime, double rate) const
    {
        ASSERT_FALSE(copy.pictures.empty());
        EXPECT_NEAR(copy.pictures.front().time, 0, 0.0005);
        for (std::size_t i = 0; i < copy.pictures.size(); ++i) {
            const auto& picture = copy.pictures[i];
            const auto same = std::find_if(
                original.pictures.begin(), original.pictures.end(), [&](const auto& one) { return one.number == picture.number; });
            ASSERT_NE(same, original.pictures.end()) << "no picture of the clip has the number " << picture.number << " of " << i;
            EXPECT_NEAR(picture.time, same->time, toleratedTime) << i;
            for (std::size_t channel = 0; channel < 3; ++channel)
                EXPECT_NEAR(picture.colour[channel], same->colour[channel], toleratedColour) << i << ", " << channel;
            if (i > 0) {
                EXPECT_GT(picture.time, copy.pictures[i - 1].time);
                EXPECT_LT(picture.time - copy.pictures[i - 1].time, 2 / rate);
            }
        }
    }

    static constexpr double toleratedColour = 4;
};

/// Strong colours, so that those of another standard would be others.
ForeignClip colourful(int matrix)
{
    return {.pictureCount = 90, .matrix = matrix, .cb = 90, .cr = 180};
}

TEST_F(MovieFormatsTest, AGifShowsTheClipsPicturesInItsColoursAtItsTimes)
{
    for (const int matrix : {1, 6}) {
        std::filesystem::remove(path("small.gif"));
        writeForeignClip(path("clip.mp4"), colourful(matrix));
        const auto original = decodeFile(path("clip.mp4"));
        const auto copy = transcode({.limit = 10'000'000, .format = CopyFormat::gif});
        expectPicturesOf(original, copy, 0.0051, 15);
        EXPECT_EQ(copy.width, 320);
        EXPECT_EQ(copy.height, 240);
        EXPECT_NEAR(static_cast<double>(copy.pictures.size()), 45, 1);
        EXPECT_NEAR(copy.duration, 3, 0.04);
        EXPECT_FALSE(copy.hasAudio);
        EXPECT_EQ(report.colours, 256);
        EXPECT_EQ(report.rounds, 1);
        EXPECT_NEAR(report.pictureRate, 15, 0.5);
        EXPECT_FALSE(report.isCopy);
    }
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("clip.mp4", "small.gif"));
}

TEST_F(MovieFormatsTest, AWebpShowsTheClipsPicturesInItsColoursAtItsTimes)
{
    for (const int matrix : {1, 6}) {
        std::filesystem::remove(path("small.webp"));
        writeForeignClip(path("clip.mp4"), colourful(matrix));
        const auto original = decodeFile(path("clip.mp4"));
        const auto copy = transcode({.limit = 10'000'000, .format = CopyFormat::webp});
        expectPicturesOf(original, copy, 0.0011, 15);
        EXPECT_EQ(copy.width, 320);
        EXPECT_EQ(copy.height, 240);
        EXPECT_GT(copy.pictures.size(), 40U);
        EXPECT_NEAR(copy.duration, 3, 0.04);
        EXPECT_EQ(report.colours, 0);
    }
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("clip.mp4", "small.webp"));
}

TEST_F(MovieFormatsTest, AWebmHasEveryPictureAndSoundWhereItWas)
{
    const auto clip = beginning(unevenClip(5), 150, 160'000);
    writeClip(path("clip.mp4"), clip);
    const auto original = decodeFile(path("clip.mp4"));
    const auto copy = transcode({.limit = 10'000'000, .format = CopyFormat::webm});
    ASSERT_EQ(copy.pictures.size(), original.pictures.size());
    for (std::size_t i = 0; i < copy.pictures.size(); ++i) {
        EXPECT_EQ(copy.pictures[i].number, original.pictures[i].number) << i;
        EXPECT_NEAR(copy.pictures[i].time, original.pictures[i].time, 0.0011) << i;
        for (std::size_t channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(copy.pictures[i].colour[channel], original.pictures[i].colour[channel], toleratedColour) << i;
    }
    EXPECT_EQ(copy.colour, original.colour);
    ASSERT_TRUE(copy.hasAudio);
    EXPECT_EQ(copy.sampleRate, 48000);
    EXPECT_EQ(copy.channelCount, 2);
    // The file counts in milliseconds.
    constexpr std::int64_t millisecond = 48;
    expectTheSameSound(original, copy, millisecond);
    EXPECT_NEAR(copy.duration, original.duration, 0.03);
    EXPECT_GT(report.soundBitRate, 0);
}

TEST_F(MovieFormatsTest, AClipWithoutSoundIsAWebmWithout)
{
    writeForeignClip(path("clip.mp4"), {.matrix = 1});
    const auto original = decodeFile(path("clip.mp4"));
    const auto copy = transcode({.limit = 10'000'000, .format = CopyFormat::webm});
    EXPECT_FALSE(copy.hasAudio);
    EXPECT_EQ(report.soundBitRate, 0);
    ASSERT_EQ(copy.pictures.size(), original.pictures.size());
    EXPECT_EQ(copy.pictures.back().number, original.pictures.back().number);
}

TEST_F(MovieFormatsTest, AStillClipIsShownAsLongAsItIs)
{
    // As the recorder leaves it: one picture, twice a second. The second is another, and the only change.
    WrittenClip clip;
    for (int i = 0; i < 8; ++i)
        clip.pictures.push_back({i, 2});
    clip.soundFrames = 192'000;
    writeClip(path("clip.mp4"), clip);
    for (const auto format : {CopyFormat::gif, CopyFormat::webp, CopyFormat::webm}) {
        const auto copy = transcode({.limit = 10'000'000, .format = format});
        ASSERT_EQ(copy.pictures.size(), 8U) << static_cast<int>(format);
        EXPECT_NEAR(copy.duration, 4, 0.021) << "a packet of sound";
        for (int i = 0; i < 8; ++i) {
            EXPECT_EQ(copy.pictures[static_cast<std::size_t>(i)].number, i);
            EXPECT_NEAR(copy.pictures[static_cast<std::size_t>(i)].time, i / 2.0, 0.0011);
        }
    }
}

TEST_F(MovieFormatsTest, ALimitIsKeptAndUsedByEachFormat)
{
    WrittenClip clip;
    for (int i = 0; i < 600; ++i)
        clip.pictures.push_back({i, 60});
    clip.soundFrames = 480'000;
    writeClip(path("clip.mp4"), clip);
    for (const auto& [format, limit] : {std::pair{CopyFormat::gif, 150'000U}, {CopyFormat::webp, 60'000U}, {CopyFormat::webm, 110'000U}}) {
        const auto copy = transcode({.limit = limit, .format = format});
        EXPECT_GE(report.size, limit * 8 / 10) << static_cast<int>(format);
        EXPECT_NEAR(copy.duration, 10, 0.05) << static_cast<int>(format);
        EXPECT_TRUE(copy.width < 320 || copy.pictures.size() < 600) << static_cast<int>(format);
        EXPECT_EQ(copy.hasAudio, format == CopyFormat::webm);
    }
}

TEST_F(MovieFormatsTest, ATurnedClipStandsUpright)
{
    for (const int turns : {1, 2, 3}) {
        writeForeignClip(path("clip.mp4"), {.pictureCount = 5, .quarterTurns = turns});
        std::filesystem::remove(path("small.webm"));
        const auto copy = transcode({.limit = 10'000'000, .format = CopyFormat::webm});
        EXPECT_EQ(copy.width, turns == 2 ? 320 : 240) << turns;
        EXPECT_EQ(copy.height, turns == 2 ? 240 : 320) << turns;
        EXPECT_EQ(report.width, copy.width);
        EXPECT_EQ(report.height, copy.height);
    }
}

TEST_F(MovieFormatsTest, ACancelledOneLeavesNothing)
{
    writeForeignClip(path("clip.mp4"), {.pictureCount = 300});
    for (const auto format : {CopyFormat::gif, CopyFormat::webp, CopyFormat::webm}) {
        const auto session = makeSession({.limit = 10'000'000, .format = format});
        std::promise<void> done;
        session->exportAsynchronously([&done] { done.set_value(); });
        while (session->progress() == 0 && session->status() != Status::failed)
            std::this_thread::yield();
        session->cancelExport();
        done.get_future().wait();
        EXPECT_EQ(session->status(), Status::cancelled) << static_cast<int>(format);
        EXPECT_THAT(namesIn(folder.path()), ElementsAre("clip.mp4"));
    }
}

TEST_F(MovieFormatsTest, NamesNeedNotBeText)
{
    writeForeignClip(path("a\xFF.mp4"), {.pictureCount = 5});
    const auto made = transcoder->makeSession(path("a\xFF.mp4"), {.limit = 10'000'000, .format = CopyFormat::gif});
    ASSERT_TRUE(made);
    (*made)->setOutputURL(path("b\xFE.gif"));
    finish(**made);
    EXPECT_EQ((*made)->status(), Status::completed);
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("a\xFF.mp4", "b\xFE.gif"));
}

TEST_F(MovieFormatsTest, AFolderThatMayNotBeWrittenIsNamed)
{
    writeForeignClip(path("clip.mp4"), {.pictureCount = 5});
    // Of all folders none is ever writable here, whoever asks.
    const auto session = makeSession({.limit = 10'000'000, .format = CopyFormat::gif});
    session->setOutputURL("/proc/small.gif");
    finish(*session);
    EXPECT_EQ(session->status(), Status::failed);
    ASSERT_TRUE(session->error());
    EXPECT_NE(session->error()->localizedDescription.find("/proc"), std::string::npos) << session->error()->localizedDescription;
}

TEST_F(MovieFormatsTest, AClipThatIsNoneIsRefused)
{
    std::ofstream{path("clip.mp4")} << "this is not a movie";
    for (const auto format : {CopyFormat::gif, CopyFormat::webp, CopyFormat::webm}) {
        const auto session = makeSession({.limit = 10'000'000, .format = format});
        finish(*session);
        EXPECT_EQ(session->status(), Status::failed);
        EXPECT_FALSE(session->error()->localizedDescription.empty());
    }
    EXPECT_THAT(namesIn(folder.path()), ElementsAre("clip.mp4"));
}

}  // namespace
}  // namespace velmora::engine

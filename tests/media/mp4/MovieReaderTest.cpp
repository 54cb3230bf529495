#include "media/mp4/MovieReader.h"

#include "tests/media/mp4/Recordings.h"
#include "tests/support/TemporaryDirectory.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;

void expectSummary(const MovieSummary& summary)
{
    EXPECT_NEAR(summary.duration.seconds(), 3.0, 0.03);
    ASSERT_EQ(summary.tracks.size(), 2U);
    const auto* video = summary.tracks[0].format->video();
    ASSERT_TRUE(video);
    EXPECT_EQ(video->codec.text(), "avc1");
    EXPECT_EQ(video->width, 320);
    EXPECT_EQ(video->height, 240);
    EXPECT_EQ(video->colour, ColourDescription::bt709());
    EXPECT_EQ(summary.tracks[0].sampleCount, 90U);
    EXPECT_EQ(summary.tracks[0].syncSampleCount, 3U);
    const auto* audio = summary.tracks[1].format->audio();
    ASSERT_TRUE(audio);
    EXPECT_EQ(audio->codec.text(), "mp4a");
    EXPECT_EQ(audio->sampleRate, 48000);
    EXPECT_EQ(audio->channelCount, 2);
}

TEST(MovieSummary, IsTheSameBeforeAndAfterFinishing)
{
    const TemporaryDirectory folder;
    unfinishedFile(makeRecording())->saveTo(folder.path() / "unfinished.mp4");
    const auto unfinished = readMovieSummary(folder.path() / "unfinished.mp4");
    ASSERT_TRUE(unfinished);
    expectSummary(*unfinished);
    EXPECT_TRUE(unfinished->isFragmented);
    ASSERT_TRUE(unfinished->recording);
    EXPECT_FALSE(unfinished->recording->isFinished);

    finishedFile(makeRecording())->saveTo(folder.path() / "finished.mp4");
    const auto finished = readMovieSummary(folder.path() / "finished.mp4");
    ASSERT_TRUE(finished);
    expectSummary(*finished);
    EXPECT_EQ(finished->duration, (MediaTime{3, 1}));
    EXPECT_FALSE(finished->isFragmented);
    ASSERT_TRUE(finished->recording);
    EXPECT_TRUE(finished->recording->isFinished);
}

TEST(MovieReader, ReadsTheSameSamplesFromFragmentsAndFromTheIndex)
{
    const auto fragmented = readMovie(*unfinishedFile(makeRecording()));
    const auto progressive = readMovie(*finishedFile(makeRecording()));
    ASSERT_TRUE(fragmented && progressive);
    for (std::size_t i = 0; i < 2; ++i) {
        const auto& track = progressive->movie.tracks[i];
        auto expected = fragmented->movie.tracks[i].samples.expanded();
        if (i == 1)
            expected.back().duration = 144000 + 1024 - 141 * 1024;  // the padding is cut off when the file is finished
        EXPECT_EQ(expected, track.samples.expanded());
        EXPECT_EQ(fragmented->movie.tracks[i].format->mediaType(), track.format->mediaType());
    }
    EXPECT_EQ(progressive->movie.tracks[1].edits, (std::vector<Edit>{{144000, 1024}}));
}

TEST(MovieReader, FindsTheBytesOfEverySample)
{
    const auto& recording = makeRecording();
    const auto file = finishedFile(recording);
    const auto movie = readMovie(*file);
    ASSERT_TRUE(movie);
    std::size_t track0 = 0;
    const auto samples = movie->movie.tracks[0].samples.expanded();
    for (const auto& fragment : recording.fragments) {
        for (const auto& run : fragment) {
            if (run.track != 0)
                continue;
            for (const auto& expected : run.samples) {
                const auto& sample = samples.at(track0++);
                std::vector<std::byte> bytes(sample.size);
                ASSERT_TRUE(file->readAt(sample.offset, bytes));
                ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), expected.data.bytes.begin(), expected.data.bytes.end()));
                EXPECT_EQ(sample.decodeTime, expected.decodeTime);
                EXPECT_EQ(sample.isSync, expected.isSync);
            }
        }
    }
    EXPECT_EQ(track0, samples.size());
}

// Files of another muxer: progressive with reordered pictures, and fragmented.
class OtherMuxer : public ::testing::TestWithParam<const char*> { };

TEST_P(OtherMuxer, IsReadWithItsCompositionOffsetsAndKeyFrames)
{
    const TemporaryDirectory folder;
    const auto path = folder.path() / "other.mp4";
    const std::string command = "ffmpeg -nostdin -v error -f lavfi -i testsrc=s=160x120:r=25:d=4 -f lavfi -i sine=r=44100:d=4 -c:v libx264 "
                                "-preset veryfast -bf 2 -g 20 -keyint_min 20 -sc_threshold 0 -threads 1 -c:a aac -ac 1 "
        + std::string{GetParam()} + " " + path.string();
    ASSERT_EQ(std::system(command.c_str()), 0);
    const auto file = readMovieSummary(path);
    ASSERT_TRUE(file) << file.error().localizedDescription;
    EXPECT_FALSE(file->recording);
    EXPECT_NEAR(file->duration.seconds(), 4.0, 0.1);
    ASSERT_EQ(file->tracks.size(), 2U);
    EXPECT_EQ(file->tracks[0].sampleCount, 100U);
    EXPECT_EQ(file->tracks[0].syncSampleCount, 5U);
    EXPECT_EQ(file->tracks[0].format->video()->width, 160);
    EXPECT_FALSE(file->tracks[0].format->video()->decoderConfiguration.empty());
    EXPECT_EQ(file->tracks[1].format->audio()->sampleRate, 44100);
    EXPECT_EQ(file->tracks[1].format->audio()->channelCount, 1);
    EXPECT_FALSE(file->tracks[1].format->audio()->decoderConfiguration.empty());
}

INSTANTIATE_TEST_SUITE_P(MovieReader, OtherMuxer,
    ::testing::Values("", "-movflags +faststart", "-movflags +frag_keyframe+empty_moov+default_base_moof", "-movflags +frag_keyframe",
        "-movflags +frag_keyframe+delay_moov+negative_cts_offsets", "-f mov"));

TEST(MovieSummary, AFileThatIsNoMovieIsRefused)
{
    const TemporaryDirectory folder;
    MemoryFile empty;
    empty.saveTo(folder.path() / "empty.mp4");
    EXPECT_EQ(readMovieSummary(folder.path() / "empty.mp4").error().code, static_cast<int>(ErrorCode::notAMovie));
    MemoryFile text{std::vector<std::byte>(1000, std::byte{'x'})};
    text.saveTo(folder.path() / "text.mp4");
    EXPECT_EQ(readMovieSummary(folder.path() / "text.mp4").error().code, static_cast<int>(ErrorCode::notAMovie));
}

TEST(MovieSummary, AFifoIsRefusedWithoutBeingOpened)
{
    const TemporaryDirectory folder;
    ASSERT_EQ(::mkfifo((folder.path() / "fifo.mp4").c_str(), 0600), 0);
    EXPECT_EQ(readMovieSummary(folder.path() / "fifo.mp4").error().code, EINVAL);
    EXPECT_EQ(readMovieSummary(folder.path()).error().code, EINVAL);
    EXPECT_EQ(readMovieSummary(folder.path() / "missing.mp4").error().code, ENOENT);
}

}  // namespace
}  // namespace velmora::mp4

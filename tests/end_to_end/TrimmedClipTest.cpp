// `velmora trim` at work, and what the programs that people play its files with show of them.

#include "media/mp4/PosixFile.h"
#include "media/mp4/RecordingLayout.h"
#include "tests/end_to_end/Players.h"
#include "tests/support/FolderContents.h"
#include "tests/support/media/EncodedClip.h"
#include "tests/support/media/ForeignClip.h"
#include "tests/support/media/WrittenClip.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/recording/Velmora.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <memory>
#include <random>

namespace velmora::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::int32_t width = 320;
constexpr std::int32_t height = 240;

class TrimmedClipTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        shared_ = std::make_unique<TemporaryDirectory>();
        writeClip(shared_->path() / "uneven.mp4", unevenClip(1));
        // With pictures out of order.
        writeForeignClip(shared_->path() / "foreign.mp4", {.pictureCount = 300, .keyFrameInterval = 45, .bFrames = 3});
    }
    static void TearDownTestSuite() { shared_.reset(); }

    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return directory_.path() / name; }

    static std::string text(double seconds)
    {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.6f", seconds);
        return digits;
    }

    static ProgramOutcome runTrim(const std::filesystem::path& source, double start, double end, std::vector<std::string> more = {})
    {
        std::vector<std::string> arguments{"trim", source.string(), "--start", text(start), "--end", text(end)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runVelmora(arguments);
    }

    struct Part {
        std::filesystem::path file;
        TimeRange range;
        std::vector<DecodedPicture> pictures;  ///< those that it has to show
    };

    /// Parts of both clips, in turn.
    std::vector<Part> makeParts(int count)
    {
        std::mt19937 random{2026};
        std::vector<Part> parts;
        for (int i = 0; i < count; ++i) {
            const auto source = shared_->path() / (i % 2 == 0 ? "uneven.mp4" : "foreign.mp4");
            const auto whole = decodeFile(source);
            std::uniform_int_distribution<std::int64_t> start{0, 3600};
            std::uniform_int_distribution<std::int64_t> length{300, 2000};
            Part part;
            part.range.start = {start(random), 600};
            part.range.end = part.range.start + MediaTime{length(random), 600};
            part.file = path("part-" + std::to_string(i) + ".mp4");
            const auto outcome = runTrim(source, part.range.start.seconds(), part.range.end.seconds(), {"--output", part.file.string()});
            EXPECT_EQ(outcome.status, 0) << outcome.messages;
            part.pictures = picturesIn(whole, part.range);
            EXPECT_GT(part.pictures.size(), 0U);
            parts.push_back(std::move(part));
        }
        return parts;
    }

    static std::vector<int> numbersOf(const std::vector<DecodedPicture>& pictures)
    {
        std::vector<int> numbers;
        for (const auto& picture : pictures)
            numbers.push_back(picture.number);
        return numbers;
    }

    [[nodiscard]] std::vector<std::string> names() const { return namesIn(directory_.path()); }

    static inline std::unique_ptr<TemporaryDirectory> shared_;
    TemporaryDirectory directory_;
};

std::string contentOf(const std::filesystem::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

TEST_F(TrimmedClipTest, PartsOfARecordingShowTheFramesThatTheRecordingShowsThere)
{
    // A tone that rises all the time sounds different everywhere.
    const auto tone = runProgram(
        {"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "aevalsrc=0.5*sin(2*PI*(500*t+100*t*t)):s=48000:d=60", path("tone.wav").string()});
    ASSERT_EQ(tone.status, 0) << tone.messages;
    {
        const NumberedWindow window{{"--size", "640x360", "--motion", "60"}, path("tone.wav")};
        awaitPlayingStreams(1);
        const auto outcome = record(window.id(), path("clip.mp4"), 6);
        ASSERT_EQ(outcome.status, 0) << outcome.messages;
    }
    const auto whole = readClip(path("clip.mp4"));
    ASSERT_TRUE(whole.video && whole.audio);
    std::mt19937 random{4};
    std::uniform_int_distribution<std::int64_t> anywhere{0, static_cast<std::int64_t>(whole.video->duration * 600) - 600};
    for (int i = 0; i < 6; ++i) {
        const double start = static_cast<double>(anywhere(random)) / 600;
        const double end = std::min(start + 0.5 + i * 0.4, whole.video->duration);
        SCOPED_TRACE(testing::Message() << start << " to " << end);
        const auto file = path("part-" + std::to_string(i) + ".mp4");
        const auto outcome = runTrim(path("clip.mp4"), start, end, {"--output", file.string()});
        ASSERT_EQ(outcome.status, 0) << outcome.messages;
        const auto part = readClip(file);
        ASSERT_TRUE(part.video && part.audio);
        EXPECT_THAT(part.complaints, IsEmpty());
        EXPECT_EQ(part.video->matrix, "bt709");
        EXPECT_EQ(part.video->range, "tv");

        std::vector<ClipPicture> expected;
        for (const auto& picture : whole.video->pictures) {
            if (picture.time >= end - 1e-5)
                break;
            if (picture.time <= start + 1e-5)
                expected.clear();
            expected.push_back(picture);
        }
        ASSERT_EQ(part.video->pictures.size(), expected.size());
        for (std::size_t j = 0; j < expected.size(); ++j) {
            EXPECT_EQ(part.video->pictures[j].reading.number(), expected[j].reading.number());
            EXPECT_NEAR(part.video->pictures[j].time, std::max(0.0, expected[j].time - start), 2e-5);
        }

        const auto offset = static_cast<std::int64_t>(std::llround((start - whole.audio->start + part.audio->start) * 48000));
        const auto frames =
            static_cast<std::int64_t>(std::min(part.audio->frames(), whole.audio->frames() - static_cast<std::size_t>(offset)));
        ASSERT_GT(frames, 4800);
        const auto difference = [&](std::int64_t shift) {
            double sum = 0;
            for (std::int64_t frame = 100; frame < frames - 100; ++frame) {
                const auto there = whole.audio->samples.at(static_cast<std::size_t>((offset + frame + shift) * 2));
                sum +=
                    std::abs(static_cast<double>(there) - static_cast<double>(part.audio->samples.at(static_cast<std::size_t>(frame * 2))));
            }
            return sum / static_cast<double>(frames);
        };
        EXPECT_LT(difference(0), difference(1) / 10);
        EXPECT_LT(difference(0), difference(-1) / 10);
    }
}

TEST_F(TrimmedClipTest, MpvBeginsWithTheFirstChosenPicture)
{
    for (const auto& part : makeParts(10)) {
        SCOPED_TRACE(testing::Message() << part.file << " from " << part.range.start.seconds());
        const auto shown = shownByMpv(part.file, 1);
        ASSERT_EQ(shown.size(), 1U);
        EXPECT_EQ(shown[0], part.pictures[0].number);
    }
}

TEST_F(TrimmedClipTest, GStreamerShowsTheChosenPicturesAndNoOthers)
{
    for (const auto& part : makeParts(10)) {
        SCOPED_TRACE(testing::Message() << part.file << " from " << part.range.start.seconds());
        EXPECT_EQ(shownByGStreamer(part.file, width, height), numbersOf(part.pictures));
    }
}

TEST_F(TrimmedClipTest, ChromiumShowsTheChosenPicturesAtTheirTimes)
{
    for (const auto& part : makeParts(10)) {
        SCOPED_TRACE(testing::Message() << part.file << " from " << part.range.start.seconds());
        const double length = (part.range.end - part.range.start).seconds();
        std::vector<double> times{0};
        std::vector<int> expected{part.pictures[0].number};
        // In the middle of the first, of the second and of some other pictures.
        for (const auto index :
            {std::size_t{0}, std::size_t{1}, part.pictures.size() / 3, part.pictures.size() / 2, part.pictures.size() - 1}) {
            if (index >= part.pictures.size())
                continue;
            const double end = index + 1 < part.pictures.size() ? part.pictures[index + 1].time : length;
            times.push_back((part.pictures[index].time + end) / 2);
            expected.push_back(part.pictures[index].number);
        }
        const auto shown = shownByChromium(part.file, times);
        EXPECT_EQ(shown.numbers, expected);
        EXPECT_NEAR(shown.duration, length, 0.03);
    }
}

TEST_F(TrimmedClipTest, TheWholeClipHasTheSameStreams)
{
    for (const char* name : {"uneven.mp4", "foreign.mp4"}) {
        const auto source = shared_->path() / name;
        const auto part = path(name);
        const auto outcome = runTrim(source, 0, 1000, {"--output", part.string()});
        ASSERT_EQ(outcome.status, 0) << outcome.messages;
        for (const char* hash : {"streamhash", "framehash"}) {
            const auto hashOf = [hash](const std::filesystem::path& file) {
                return runProgram({"ffmpeg", "-v", "error", "-i", file.string(), "-map", "0", "-c", "copy", "-f", hash, "-"});
            };
            const auto before = hashOf(source);
            const auto after = hashOf(part);
            EXPECT_EQ(before.status, 0);
            EXPECT_NE(before.output, "");
            EXPECT_EQ(after.output, before.output) << name;
        }
        const auto durationsOf = [](const std::filesystem::path& file) {
            return runProgram({"ffprobe", "-v", "error", "-show_entries", "format=duration:stream=duration,start_time,nb_frames", "-of",
                "compact", file.string()});
        };
        EXPECT_EQ(durationsOf(part).output, durationsOf(source).output);
    }
}

TEST_F(TrimmedClipTest, TwoPartsInOneSecondAreTwoFilesBesideTheClip)
{
    std::filesystem::copy_file(shared_->path() / "uneven.mp4", path("clip.mp4"));
    Program first{velmora({"trim", path("clip.mp4").string(), "--start", "1", "--end", "2"})};
    Program second{velmora({"trim", path("clip.mp4").string(), "--start", "1", "--end", "2"})};
    const auto one = first.finish();
    const auto other = second.finish();
    EXPECT_EQ(one.status, 0) << one.messages;
    EXPECT_EQ(other.status, 0) << other.messages;
    EXPECT_NE(one.output, other.output);
    EXPECT_EQ(names().size(), 3U);
    for (const auto& outcome : {one, other}) {
        const std::filesystem::path file{outcome.lastLine()};
        EXPECT_EQ(file.parent_path(), directory_.path());
        EXPECT_TRUE(file.filename().string().starts_with("Velmora-Trimmed-2"));
        EXPECT_NEAR(decodeFile(file).duration, 1, 0.03);
    }
}

TEST_F(TrimmedClipTest, AFileThatIsThereIsNotOverwritten)
{
    std::ofstream{path("part.mp4")} << "mine";
    const auto outcome = runTrim(shared_->path() / "uneven.mp4", 1, 2, {"--output", path("part.mp4").string()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.messages, HasSubstr("already exists"));
    EXPECT_EQ(contentOf(path("part.mp4")), "mine");
}

TEST_F(TrimmedClipTest, WhatCannotBeTrimmedLeavesNothingAndSaysWhy)
{
    std::filesystem::copy_file(shared_->path() / "uneven.mp4", path("clip.mp4"));
    EXPECT_THAT(runTrim(path("clip.mp4"), 50, 60).messages, HasSubstr("begins after the end"));
    EXPECT_THAT(runTrim(path("missing.mp4"), 1, 2).messages, HasSubstr("No such file"));
    writeForeignClip(path("other.mp4"), {.encoder = "mpeg4", .pictureCount = 60, .bFrames = 0});
    const auto outcome = runTrim(path("other.mp4"), 0.5, 1);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.messages, HasSubstr("its video is not H.264"));
    EXPECT_EQ(names().size(), 2U);
    EXPECT_EQ(runTrim(path("clip.mp4"), 2, 1).status, 2);
}

/// A clip of two gigabytes, nearly all of them holes.
void makeLargeClip(const std::filesystem::path& file)
{
    constexpr std::uint32_t pictureSize = 8 << 20;
    constexpr int count = 256;
    mp4::Movie movie;
    movie.timescale = mp4::videoTimescale;
    mp4::Track track;
    track.id = 1;
    track.format = encodeClip(steadyTimes(1, 30)).format;
    track.timescale = mp4::videoTimescale;
    for (int i = 0; i < count; ++i)
        ASSERT_TRUE(track.samples.append({std::uint64_t{1} * static_cast<std::uint64_t>(i) * pictureSize, pictureSize, i * 3000, 0, true}));
    track.samples.setLastDuration(3000);
    movie.tracks.push_back(std::move(track));
    const auto headSize = mp4::serializeWholeHead(movie, 0).size();
    movie.tracks[0].samples.setChunkOffsets({headSize});
    const auto head = mp4::serializeWholeHead(movie, std::uint64_t{pictureSize} * count);
    ASSERT_EQ(head.size(), headSize);
    const auto created = mp4::PosixFile::create(file);
    ASSERT_TRUE(created);
    ASSERT_TRUE((*created)->writeAt(0, head));
    ASSERT_TRUE((*created)->truncate(headSize + std::uint64_t{pictureSize} * count));
}

class InterruptedTrimTest : public TrimmedClipTest, public ::testing::WithParamInterface<int> { };

TEST_P(InterruptedTrimTest, ASignalCancelsAndLeavesNothing)
{
    makeLargeClip(path("large.mp4"));
    Program program{velmora({"trim", path("large.mp4").string(), "--start", "0.1", "--end", "100"})};
    // It is at work once there is a second file.
    ASSERT_TRUE(waitUntil([&] { return names().size() == 2 || !program.isRunning(); }));
    program.signal(GetParam());
    const auto outcome = program.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.messages, "Cancelled.\n");
    EXPECT_THAT(names(), ::testing::ElementsAre("large.mp4"));
}

INSTANTIATE_TEST_SUITE_P(InterruptAndTerminate, InterruptedTrimTest, ::testing::Values(SIGINT, SIGTERM));

}  // namespace
}  // namespace velmora::test

// From the encoder's samples through the rolling buffer into a file, and what a player makes of it.
#include "capture/replay/ClipExporter.h"
#include "capture/replay/ClipExporterError.h"
#include "engine/files/AssetWriter.h"
#include "media/mp4/MovieReader.h"
#include "platform/linux/LinuxFileManager.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/AacEncoder.h"
#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/EncodedClip.h"
#include "tests/support/media/MemoryFile.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace velmora {
namespace {

using ::testing::IsEmpty;

// As live time stamps are: far from 0 and not a round number.
constexpr MediaTime boot = MediaTime::nanoseconds(86'412'345'678'901);

constexpr std::int32_t soundRate = 48000;
constexpr std::int64_t blockFrames = 1024;
constexpr std::int64_t clickDistance = 7919;

MediaTime after(MediaTime time, double seconds)
{
    return time + MediaTime::fromSeconds(seconds, MediaTime::nanosecondScale);
}

/// A block with a click at each multiple of clickDistance; `frame` is counted from the beginning of all sound.
SampleBufferRef soundAt(std::int64_t frame, MediaTime soundStart)
{
    std::vector<std::int64_t> places;
    for (auto click = (frame + clickDistance - 1) / clickDistance * clickDistance; click < frame + blockFrames; click += clickDistance)
        places.push_back(click - frame);
    auto block = *test::soundBlock(test::clicks(blockFrames, places),
        soundStart + MediaTime::nanoseconds(MediaTime{frame, soundRate}.converted(MediaTime::nanosecondScale).value));
    block.duration = MediaTime{blockFrames, soundRate};
    return std::make_shared<const SampleBuffer>(std::move(block));
}

/// What a capture delivers: pictures with numbers, and sound, unless it lies in a gap.
struct Stream {
    std::vector<MediaTime> pictures;
    int keyFrameInterval = 30;
    double soundDelay = 0;  ///< seconds from `boot` to the first block
    double soundDuration = 0;  ///< seconds; 0: without sound
    double gapBegin = 0;  ///< seconds from the first block
    double gapEnd = 0;
};

class ExportedClipTest : public testing::Test {
protected:
    /// Feeds the buffer in order of time.
    void deliver(const Stream& stream)
    {
        encoded = test::encodeClip(stream.pictures, {.keyFrameInterval = stream.keyFrameInterval});
        soundStart = after(boot, stream.soundDelay);
        const auto frames = static_cast<std::int64_t>(stream.soundDuration * soundRate);
        std::vector<SampleBufferRef> all = encoded.samples;
        for (std::int64_t frame = 0; frame + blockFrames <= frames; frame += blockFrames) {
            const auto time = static_cast<double>(frame) / soundRate;
            if (time < stream.gapBegin || time >= stream.gapEnd)
                all.push_back(soundAt(frame, soundStart));
        }
        std::stable_sort(
            all.begin(), all.end(), [](const auto& a, const auto& b) { return a->presentationTimeStamp < b->presentationTimeStamp; });
        for (auto& sample : all) {
            if (sample->format->video())
                buffer->appendVideoSample(std::move(sample));
            else
                buffer->appendAudioSample(std::move(sample));
        }
    }

    [[nodiscard]] RollingBufferExtraction extract(double seconds) const
    {
        std::promise<RollingBufferExtraction> answer;
        buffer->extractRecentClip(seconds, [&answer](auto extraction) { answer.set_value(extraction.value()); });
        return answer.get_future().get();
    }

    Result<std::filesystem::path> exportWith(
        const std::shared_ptr<platform::AssetWriterFactory>& factory, const RollingBufferExtraction& extraction)
    {
        std::promise<Result<std::filesystem::path>> promise;
        ClipExporter{factory, linux_backend::makeFileManager()}.exportClip(
            extraction, url, [&promise](auto result) { promise.set_value(std::move(result)); });
        return promise.get_future().get();
    }

    [[nodiscard]] static std::shared_ptr<platform::AssetWriterFactory> files()
    {
        return std::make_shared<engine::AssetWriterFactory>(
            [](const platform::AudioOutputSettings&) -> Result<std::unique_ptr<engine::AudioEncoder>> { return test::makeAacEncoder(); });
    }

    /// Exports `extraction` and expects the file to show and play all of it and nothing else, each part at its time.
    void expectFileOf(const RollingBufferExtraction& extraction)
    {
        const auto result = exportWith(files(), extraction);
        ASSERT_TRUE(result) << result.error().localizedDescription;
        ASSERT_EQ(*result, url);
        const auto decoded = test::decodeFile(url);
        ASSERT_TRUE(decoded.opened);
        EXPECT_THAT(decoded.complaints, IsEmpty());
        expectPictures(extraction, decoded);
        expectSound(extraction, decoded);
        EXPECT_THAT(log->lines(), IsEmpty());
    }

    std::shared_ptr<RollingBuffer> buffer = RollingBuffer::create();
    test::EncodedClip encoded;
    MediaTime soundStart;
    test::TemporaryDirectory folder;
    test::CapturedLog log;
    const std::filesystem::path url = folder.path() / "clip.mp4";

private:
    void expectPictures(const RollingBufferExtraction& extraction, const test::DecodedFile& decoded) const
    {
        ASSERT_EQ(decoded.pictures.size(), extraction.videoSamples.size());
        const auto first = std::find(encoded.samples.begin(), encoded.samples.end(), extraction.videoSamples.front());
        ASSERT_NE(first, encoded.samples.end());
        for (std::size_t i = 0; i < decoded.pictures.size(); ++i) {
            EXPECT_EQ(decoded.pictures[i].number, first - encoded.samples.begin() + static_cast<std::ptrdiff_t>(i));
            const auto time = extraction.videoSamples[i]->presentationTimeStamp - extraction.startPTS;
            EXPECT_NEAR(decoded.pictures[i].time, time.seconds(), 1.0 / 90000) << "picture " << i;
        }
    }

    void expectSound(const RollingBufferExtraction& extraction, const test::DecodedFile& decoded) const
    {
        std::vector<std::int64_t> expected;
        std::optional<std::int64_t> firstFrame;
        std::int64_t end = 0;
        for (const auto& block : extraction.audioSamples) {
            if (block->presentationTimeStamp < extraction.startPTS)
                continue;
            const auto place = (block->presentationTimeStamp - extraction.startPTS).converted(soundRate).value;
            firstFrame = firstFrame.value_or(place);
            end = place + blockFrames;
            const auto frame = (block->presentationTimeStamp - soundStart).converted(soundRate).value;
            for (auto click = (frame + clickDistance - 1) / clickDistance * clickDistance; click < frame + blockFrames;
                 click += clickDistance)
                expected.push_back(place + click - frame);
        }
        ASSERT_EQ(decoded.hasAudio, firstFrame.has_value());
        if (!firstFrame)
            return;
        EXPECT_EQ(decoded.firstFrame, *firstFrame);
        EXPECT_NEAR(static_cast<double>(decoded.endFrame()), static_cast<double>(end), 1);
        const auto peaks = decoded.peaks();
        ASSERT_EQ(peaks.size(), expected.size());
        // Time stamps are whole nanoseconds, sound is whole frames: one frame between two blocks may go either way.
        for (std::size_t i = 0; i < peaks.size(); ++i)
            EXPECT_NEAR(static_cast<double>(peaks[i]), static_cast<double>(expected[i]), 1) << "click " << i;
    }
};

TEST_F(ExportedClipTest, TheFileShowsAndSoundsTheLastSecondsFromAKeyFrameOn)
{
    buffer = RollingBuffer::create(3, 5);
    deliver({.pictures = test::steadyTimes(10 * 30 + 11, 30, boot), .soundDelay = 0.0123, .soundDuration = 10.4});
    const auto extraction = extract(3);
    EXPECT_EQ(extraction.videoSamples.front(), encoded.samples[7 * 30]);
    EXPECT_EQ(extraction.videoSamples.size(), 101U);
    EXPECT_TRUE(extraction.isFullDuration);
    EXPECT_LT(extraction.audioSamples.front()->presentationTimeStamp, extraction.startPTS) << "a block that the file does without";
    expectFileOf(extraction);
}

TEST_F(ExportedClipTest, WithoutSoundTheFileHasPicturesOnly)
{
    deliver({.pictures = test::steadyTimes(70, 30, boot)});
    const auto extraction = extract(1);
    EXPECT_EQ(extraction.videoSamples.front(), encoded.samples[30]);
    expectFileOf(extraction);
}

TEST_F(ExportedClipTest, SoundThatBeginsLateOrStopsForAWhileStaysAtItsPlace)
{
    deliver({.pictures = test::steadyTimes(120, 30, boot), .soundDelay = 0.7, .soundDuration = 3.2, .gapBegin = 1.0, .gapEnd = 2.0});
    expectFileOf(extract(10));
}

TEST_F(ExportedClipTest, AStillStretchKeepsItsTimes)
{
    auto times = test::steadyTimes(45, 30, boot);
    for (int i = 0; i < 20; ++i)
        times.push_back(after(times.back(), 0.5));
    for (int i = 0; i < 20; ++i)
        times.push_back(after(times.back(), 1.0 / 60));
    deliver({.pictures = times, .soundDuration = 11.8});
    const auto extraction = extract(8);
    EXPECT_EQ(extraction.videoSamples.front(), encoded.samples[30]) << "the last key frame before the still stretch";
    EXPECT_GT(extraction.actualDuration, 10);
    expectFileOf(extraction);
}

TEST_F(ExportedClipTest, APreviousFileGivesWay)
{
    std::ofstream{url} << "something older";
    deliver({.pictures = test::steadyTimes(31, 30, boot)});
    expectFileOf(extract(1));
}

TEST_F(ExportedClipTest, ClipsOfAnyStreamAndAnyLengthAreWhole)
{
    for (unsigned seed = 1; seed <= 6; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const auto number = [&random](double least, double greatest) { return std::uniform_real_distribution{least, greatest}(random); };
        Stream stream;
        stream.pictures.push_back(boot);
        while (stream.pictures.back() < after(boot, 6)) {
            const double mean = number(0, 1) < 0.03 ? 0.5 : 0.025;
            stream.pictures.push_back(after(stream.pictures.back(), number(0.3, 1.7) * mean));
        }
        stream.keyFrameInterval = static_cast<int>(number(2, 60));
        stream.soundDelay = number(0, 2);
        stream.soundDuration = 6 - stream.soundDelay;
        stream.gapBegin = number(0, 3);
        stream.gapEnd = stream.gapBegin + number(0, 1);
        buffer = RollingBuffer::create(2, 3);
        deliver(stream);
        for (const double seconds : {0.0, number(0, 4), 2.0, 60.0}) {
            SCOPED_TRACE(testing::Message() << seconds << " s");
            expectFileOf(extract(seconds));
        }
    }
}

TEST_F(ExportedClipTest, PicturesWithoutAKeyFrameAreWrittenAndNoneOfThemClaimsToBeOne)
{
    deliver({.pictures = test::steadyTimes(20, 30, boot)});
    auto extraction = extract(1);
    extraction.videoSamples.erase(extraction.videoSamples.begin());
    extraction.startPTS = extraction.videoSamples.front()->presentationTimeStamp;
    ASSERT_TRUE(exportWith(files(), extraction));
    const auto movie = mp4::readMovieSummary(url);
    ASSERT_TRUE(movie) << movie.error().localizedDescription;
    ASSERT_EQ(movie->tracks.size(), 1U);
    EXPECT_EQ(movie->tracks[0].sampleCount, 19U);
    EXPECT_EQ(movie->tracks[0].syncSampleCount, 0U);
}

/// Files on a disk that is too small.
class SmallDisk final : public platform::AssetWriterFactory {
public:
    Result<std::shared_ptr<platform::AssetWriter>> makeAssetWriter(const std::filesystem::path&, platform::AssetFileType) override
    {
        auto file = std::make_shared<test::MemoryFile>();
        file->faults.capacity = mp4::defaultReserveSize + 20'000;
        auto writer = engine::AssetWriter::create(
            file, [](const auto&) -> Result<std::unique_ptr<engine::AudioEncoder>> { return test::makeAacEncoder(); });
        if (!writer)
            return fail(writer.error());
        return std::shared_ptr<platform::AssetWriter>{std::move(*writer)};
    }
};

TEST_F(ExportedClipTest, AFullDiskEndsTheExportWithTheSystemsOwnWords)
{
    deliver({.pictures = test::steadyTimes(120, 30, boot), .soundDuration = 4});
    const auto result = exportWith(std::make_shared<SmallDisk>(), extract(10));
    ASSERT_FALSE(result);
    const auto error = ClipExporterError::from(result.error());
    ASSERT_TRUE(error);
    EXPECT_EQ(error->errorCase(), ClipExporterError::Case::writingFailed);
    ASSERT_TRUE(error->underlyingError());
    EXPECT_EQ(error->underlyingError()->code, ENOSPC);
    EXPECT_EQ(result.error().localizedDescription, "Failed to export MP4 clip: " + error->underlyingError()->localizedDescription);
}

}  // namespace
}  // namespace velmora

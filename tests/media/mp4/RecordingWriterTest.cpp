#include "media/mp4/RecordingWriter.h"

#include "media/mp4/MovieReader.h"
#include "tests/media/mp4/Recordings.h"

#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;
using ::testing::ElementsAreArray;

// All samples of a recording in the order of their times.
struct TimedSample {
    std::size_t track;
    RecordedSample sample;
};

std::vector<TimedSample> samplesOf(const Recording& recording)
{
    std::vector<TimedSample> samples;
    for (const auto& fragment : recording.fragments) {
        for (const auto& run : fragment) {
            for (const auto& sample : run.samples)
                samples.push_back({run.track, sample});
        }
    }
    std::stable_sort(samples.begin(), samples.end(), [&](const auto& a, const auto& b) {
        return MediaTime{a.sample.decodeTime, recording.tracks[a.track].timescale}
        < MediaTime{b.sample.decodeTime, recording.tracks[b.track].timescale};
    });
    return samples;
}

// `file` as a writer sees it; `released` is set when the writer has let go of it.
std::shared_ptr<File> watched(const std::shared_ptr<MemoryFile>& file, std::promise<void>& released)
{
    return {file.get(), [file, &released](File*) { released.set_value(); }};
}

std::unique_ptr<RecordingWriter> record(const std::shared_ptr<File>& file, const Recording& recording, bool withDurations = false)
{
    auto writer = RecordingWriter::create(file, testOptions());
    EXPECT_TRUE(writer);
    (*writer)->start(recording.tracks);
    for (auto& [track, sample] : samplesOf(recording)) {
        if (track == 0 && !withDurations)
            sample.duration = 0;
        (*writer)->append(track, std::move(sample));
    }
    return std::move(*writer);
}

Result<bool> finish(RecordingWriter& writer, const Recording& recording)
{
    std::promise<Result<bool>> promise;
    writer.finish(recording.ends, [&promise](Result<bool> result) { promise.set_value(std::move(result)); });
    return promise.get_future().get();
}

TEST(RecordingWriter, WritesWhatWasAppended)
{
    const auto& recording = makeRecording();
    const auto file = std::make_shared<MemoryFile>();
    const auto writer = record(file, recording);
    ASSERT_TRUE(finish(*writer, recording));
    EXPECT_EQ(writer->bytesInFlight(), 0U);
    EXPECT_FALSE(writer->error());
    const auto decoded = expectPlays(*file);
    EXPECT_EQ(decoded.pictures.size(), 90U);
    EXPECT_THAT(decoded.peaks(), ElementsAreArray(recording.clicks));
}

TEST(RecordingWriter, SaysHowLargeTheFileIsAsItsFragmentsReachTheDisk)
{
    const auto& recording = makeRecording();
    const auto file = std::make_shared<MemoryFile>();
    auto writer = RecordingWriter::create(file, testOptions());
    ASSERT_TRUE(writer);
    EXPECT_EQ((*writer)->fileSize(), 0U);
    (*writer)->start(recording.tracks);
    for (auto& [track, sample] : samplesOf(recording))
        (*writer)->append(track, std::move(sample));
    ASSERT_TRUE(finish(**writer, recording));
    EXPECT_EQ((*writer)->fileSize(), file->size().value());
}

TEST(RecordingWriter, NoFragmentHoldsMoreThanEightTenthsOfASecond)
{
    const auto& recording = makeRecording({.pictureCount = 120, .soundFrames = 192000});
    std::vector<MemoryFile::Operation> journal;
    const auto file = std::make_shared<MemoryFile>();
    file->journal = &journal;
    auto writer = record(file, recording);
    ASSERT_TRUE(finish(*writer, recording));
    // The state of the file after each fragment was synced.
    std::vector<double> ends;
    MemoryFile replay;
    for (const auto& operation : journal) {
        if (operation.kind == MemoryFile::Operation::Kind::write)
            ASSERT_TRUE(replay.writeAt(operation.offset, operation.bytes));
        else if (operation.kind == MemoryFile::Operation::Kind::truncate)
            ASSERT_TRUE(replay.truncate(operation.offset));
        else if (const auto movie = readMovie(replay); movie && movie->movie.isFragmented)
            ends.push_back(presentationDuration(movie->movie, movie->movie.tracks[0]).seconds());
    }
    ASSERT_GE(ends.size(), 5U);
    EXPECT_LE(ends.size(), 7U) << "the disk has more to do than is needed";
    EXPECT_LE(ends.front(), 0.84);
    for (std::size_t i = 1; i < ends.size(); ++i)
        EXPECT_LE(ends[i] - ends[i - 1], 0.84);
}

TEST(RecordingWriter, AKillCostsEightTenthsOfASecondAtMostWhereNoSoundComesAndPicturesStandStill)
{
    std::vector<std::int64_t> times{0};
    const auto play = [&times](int count, std::int64_t step) {
        for (int i = 0; i < count; ++i)
            times.push_back(times.back() + step);
    };
    play(47, videoTimescale / 60);  // moves for 0.78 s
    play(4, videoTimescale / 2);
    play(3, videoTimescale / 4);
    play(3, videoTimescale / 2);
    for (const bool hasSilentTrack : {false, true}) {
        const auto& recording = makeRecording({.pictureCount = 60, .hasSound = hasSilentTrack});
        std::vector<RecordedSample> samples;
        for (const auto& [track, sample] : samplesOf(recording)) {
            if (track == 0)
                samples.push_back(sample);
        }
        double longest = 0;
        for (std::size_t count = 1; count < times.size(); ++count) {
            const auto file = std::make_shared<MemoryFile>();
            std::promise<void> released;
            auto writer = RecordingWriter::create(watched(file, released), testOptions());
            ASSERT_TRUE(writer);
            (*writer)->start(recording.tracks);
            for (std::size_t i = 0; i < count; ++i) {
                samples[i].decodeTime = times[i];
                samples[i].duration = 0;
                (*writer)->append(0, samples[i]);
            }
            // Killed when the next picture is about to come.
            writer->reset();
            released.get_future().wait();
            const auto movie = readMovie(*file);
            ASSERT_TRUE(movie);
            const auto& kept = movie->movie.tracks[0].samples;
            const auto end = kept.isEmpty() ? 0 : kept.firstDecodeTime() + static_cast<std::int64_t>(kept.duration());
            longest = std::max(longest, MediaTime{times[count] - end, videoTimescale}.seconds());
        }
        EXPECT_LE(longest, 0.801);
        EXPECT_GT(longest, 0.5);
    }
}

TEST(RecordingWriter, APictureThatIsWrittenBeforeTheNextIsKnownLastsAsLongAsTheOneBeforeIfNoneComes)
{
    auto recording = makeRecording({.pictureCount = 15, .hasSound = false});
    std::int64_t time = 0;
    for (auto& sample : recording.fragments.front().front().samples)
        sample.decodeTime = std::exchange(time, time + videoTimescale / 2);
    const auto file = std::make_shared<MemoryFile>();
    ASSERT_TRUE(finish(*record(file, recording), recording));
    const auto movie = readMovie(*file);
    ASSERT_TRUE(movie);
    EXPECT_EQ(presentationDuration(movie->movie), (MediaTime{15, 2}));
}

TEST(RecordingWriter, UnevenTimesAreKeptExactlyWhetherFinishedOrNot)
{
    auto recording = makeRecording({.pictureCount = 60, .hasSound = false});
    const std::vector<std::int64_t> steps{1, 1500, 1499, 45000, 45000, 20, 90000, 3003};
    std::vector<std::int64_t> times;
    std::int64_t time = 0;
    for (auto& fragment : recording.fragments) {
        for (auto& sample : fragment.front().samples) {
            sample.decodeTime = time;
            times.push_back(time);
            time += steps[times.size() % steps.size()];
        }
    }
    const auto read = [&times](MemoryFile& file) {
        const auto movie = readMovie(file);
        ASSERT_TRUE(movie);
        const auto samples = movie->movie.tracks[0].samples.expanded();
        ASSERT_FALSE(samples.empty());
        for (std::size_t i = 0; i < samples.size(); ++i)
            EXPECT_EQ(samples[i].decodeTime, times[i]);
    };
    const auto unfinished = std::make_shared<MemoryFile>();
    std::promise<void> released;
    record(watched(unfinished, released), recording).reset();
    released.get_future().wait();
    read(*unfinished);
    const auto finished = std::make_shared<MemoryFile>();
    ASSERT_TRUE(finish(*record(finished, recording), recording));
    read(*finished);
    EXPECT_EQ(readMovie(*finished)->movie.tracks[0].samples.count(), 60U);
}

TEST(RecordingWriter, TheCallerNeverWaitsForTheDisk)
{
    const auto& recording = makeRecording();
    const auto file = std::make_shared<MemoryFile>();
    auto writer = RecordingWriter::create(file, testOptions());
    ASSERT_TRUE(writer);
    std::promise<void> gate;
    file->beforeWrite = [opened = gate.get_future().share()] { opened.wait(); };
    (*writer)->start(recording.tracks);
    std::uint64_t appended = 0;
    for (auto& [track, sample] : samplesOf(recording)) {
        appended += sample.data.bytes.size();
        (*writer)->append(track, std::move(sample));
    }
    EXPECT_EQ((*writer)->bytesInFlight(), appended);
    std::promise<Result<bool>> promise;
    (*writer)->finish(recording.ends, [&promise](Result<bool> result) { promise.set_value(std::move(result)); });
    gate.set_value();
    EXPECT_TRUE(promise.get_future().get());
    EXPECT_EQ((*writer)->bytesInFlight(), 0U);
}

TEST(RecordingWriter, CancellingRemovesTheFileAtOnceAndDropsWhatIsQueued)
{
    const auto& recording = makeRecording();
    const auto file = std::make_shared<MemoryFile>();
    std::promise<void> released;
    auto writer = RecordingWriter::create(watched(file, released), testOptions());
    ASSERT_TRUE(writer);
    std::promise<void> gate;
    file->beforeWrite = [opened = gate.get_future().share()] { opened.wait(); };
    (*writer)->start(recording.tracks);
    for (auto& [track, sample] : samplesOf(recording))
        (*writer)->append(track, std::move(sample));
    (*writer)->cancel();
    EXPECT_FALSE(file->isInFolder);
    gate.set_value();
    writer->reset();
    released.get_future().wait();
    EXPECT_LE(file->writeCount, 2U);
}

TEST(RecordingWriter, WithoutAStartFinishingRemovesTheFile)
{
    const auto file = std::make_shared<MemoryFile>();
    const auto writer = RecordingWriter::create(file, testOptions());
    ASSERT_TRUE(writer);
    std::promise<Result<bool>> promise;
    (*writer)->finish({}, [&promise](Result<bool> result) { promise.set_value(std::move(result)); });
    const auto result = promise.get_future().get();
    ASSERT_TRUE(result);
    EXPECT_FALSE(*result);
    EXPECT_FALSE(file->isInFolder);
}

TEST(RecordingWriter, MayBeReleasedByItsOwnCompletion)
{
    const auto& recording = makeRecording();
    for (int i = 0; i < 20; ++i) {
        const auto file = std::make_shared<MemoryFile>();
        std::promise<void> released;
        auto writer = record(watched(file, released), recording);
        std::promise<void> done;
        auto* raw = writer.get();
        raw->finish(recording.ends, [&done, owner = std::move(writer)](const Result<bool>& result) mutable {
            EXPECT_TRUE(result);
            owner.reset();
            done.set_value();
        });
        done.get_future().wait();
        released.get_future().wait();
        EXPECT_TRUE(readMovie(*file));
    }
}

TEST(RecordingWriter, TellsOfAFullDisk)
{
    const auto& recording = makeRecording();
    const auto file = std::make_shared<MemoryFile>();
    file->faults.capacity = reserveOffset + defaultReserveSize + 60'000;
    const auto writer = record(file, recording);
    const auto finished = finish(*writer, recording);
    ASSERT_FALSE(finished);
    ASSERT_TRUE(writer->error());
    EXPECT_EQ(writer->error()->localizedDescription, "memory: No space left on device");
    EXPECT_EQ(writer->bytesInFlight(), 0U);
    EXPECT_GT(expectPlays(*file).pictures.size(), 0U);
}

}  // namespace
}  // namespace velmora::mp4

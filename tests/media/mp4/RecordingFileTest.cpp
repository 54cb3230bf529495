#include "media/mp4/BoxReader.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/PosixFile.h"
#include "media/mp4/Repair.h"
#include "tests/media/mp4/Recordings.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

std::vector<std::string> topLevel(MemoryFile& file)
{
    const auto bytes = file.content();
    ByteReader reader{bytes};
    std::vector<std::string> types;
    while (const auto box = nextBox(reader))
        types.push_back(box->type.text());
    EXPECT_FALSE(reader.failed());
    return types;
}

void expectPlaysWhole(const DecodedFile& decoded, const Recording& recording)
{
    EXPECT_EQ(decoded.pictures.size(), static_cast<std::size_t>(recording.pictureCount));
    EXPECT_THAT(decoded.peaks(), ElementsAreArray(recording.clicks));
}

TEST(RecordingFile, WhileRecordingIsAFragmentedFileThatPlays)
{
    const auto& recording = makeRecording();
    const auto file = unfinishedFile(recording);
    const auto boxes = topLevel(*file);
    ASSERT_EQ(boxes.size(), 4 + 2 * recording.fragments.size());
    EXPECT_THAT(std::vector(boxes.begin(), boxes.begin() + 6), ElementsAre("ftyp", "uuid", "free", "moov", "moof", "mdat"));
    expectPlaysWhole(expectPlays(*file), recording);
}

TEST(RecordingFile, FinishedIsAnOrdinaryFileWithItsIndexInFront)
{
    const auto& recording = makeRecording();
    const auto file = finishedFile(recording);
    EXPECT_THAT(topLevel(*file), ElementsAre("ftyp", "uuid", "free", "moov", "mdat"));
    const auto decoded = expectPlays(*file);
    expectPlaysWhole(decoded, recording);
    EXPECT_EQ(decoded.firstFrame, 0);
    // libavformat hands out the last packet whole; other readers cut it where the edit ends.
    EXPECT_GE(decoded.endFrame(), 48000 * 3);
    EXPECT_LT(decoded.endFrame(), 48000 * 3 + 1024);
    EXPECT_EQ(decoded.colour, ColourDescription::bt709());
    EXPECT_EQ(decoded.width, 320);
    EXPECT_EQ(decoded.channelCount, 2);
    EXPECT_NEAR(decoded.duration, 3.0, 1e-4);
}

TEST(RecordingFile, FinishingMovesNoByteOfMedia)
{
    const auto& recording = makeRecording();
    const auto before = unfinishedFile(recording)->content();
    const auto after = finishedFile(recording)->content();
    ASSERT_EQ(before.size(), after.size());
    const auto fragments = reserveOffset + defaultReserveSize;
    EXPECT_TRUE(std::equal(before.begin() + fragments, before.end(), after.begin() + fragments));
}

TEST(RecordingFile, AnIndexThatIsTooLargeForTheReserveIsAppended)
{
    const auto& recording = makeRecording();
    auto options = testOptions();
    options.reserveSize = 1024;
    const auto file = finishedFile(recording, options);
    EXPECT_THAT(topLevel(*file), ElementsAre("ftyp", "uuid", "mdat", "moov"));
    expectPlaysWhole(expectPlays(*file), recording);
}

TEST(RecordingFile, SoundThatStartsLateKeepsItsPlaceToTheFrame)
{
    for (const std::int64_t start : {1, 333, 1023, 5000, 70000}) {
        RecordingPlan plan;
        plan.soundStart = start;
        plan.soundFrames = 100'001;
        plan.clicks = {0, 4711, 99'000};
        const auto& recording = makeRecording(plan);
        const auto finished = expectPlays(*finishedFile(recording));
        expectPlaysWhole(finished, recording);
        EXPECT_EQ(finished.firstFrame, start);
        EXPECT_GE(finished.endFrame(), start + 100'001);
        EXPECT_LT(finished.endFrame(), start + 100'001 + 1024);
        expectPlaysWhole(expectPlays(*unfinishedFile(recording)), recording);
    }
}

TEST(RecordingFile, ATrackWithoutSamplesIsLeftOut)
{
    auto recording = makeRecording();
    for (auto& fragment : recording.fragments)
        std::erase_if(fragment, [](const RecordedRun& run) { return run.track == 1; });
    std::erase_if(recording.fragments, [](const RecordedFragment& fragment) { return fragment.empty(); });
    const auto decoded = expectPlays(*finishedFile(recording));
    EXPECT_FALSE(decoded.hasAudio);
    EXPECT_EQ(decoded.pictures.size(), 90U);
    EXPECT_NEAR(decoded.duration, 3.0, 1e-4);
}

TEST(RecordingFile, FinishingWithoutASampleRemovesTheFile)
{
    const auto file = std::make_shared<MemoryFile>();
    const auto writer = writeUnfinished(file, makeRecording(), 0);
    const auto finished = writer->finish({});
    ASSERT_TRUE(finished);
    EXPECT_FALSE(*finished);
    EXPECT_FALSE(file->isInFolder);
}

TEST(RecordingFile, AFileThatWasRemovedMeanwhileFails)
{
    const auto& recording = makeRecording();
    const auto file = std::make_shared<MemoryFile>();
    const auto writer = writeUnfinished(file, recording, 2);
    file->isInFolder = false;
    const auto finished = writer->finish(recording.ends);
    ASSERT_FALSE(finished);
    EXPECT_EQ(finished.error().code, ENOENT);
}

TEST(RecordingFile, IsWholeInAFolderThatWasRenamedMeanwhileAndTheFailureKnowsWhere)
{
    const TemporaryDirectory folder;
    const auto clips = folder.path() / "clips";
    std::filesystem::create_directory(clips);
    const auto& recording = makeRecording();
    const auto writer = writeUnfinished(PosixFile::create(clips / "clip.mp4").value(), recording, recording.fragments.size());
    const auto renamed = folder.path() / "renamed \xFF";
    std::filesystem::rename(clips, renamed);
    const auto finished = writer->finish(recording.ends);
    ASSERT_FALSE(finished);
    EXPECT_EQ(finished.error().code, ENOENT);
    EXPECT_EQ(placeOfMovedFile(finished.error()), renamed / "clip.mp4");
    expectPlays(renamed / "clip.mp4");
}

TEST(RecordingFile, OfOneThatWasDeletedOrFailsOtherwiseNoPlaceIsKnown)
{
    const TemporaryDirectory folder;
    const auto& recording = makeRecording();
    const auto writer = writeUnfinished(PosixFile::create(folder.path() / "clip.mp4").value(), recording, 2);
    std::filesystem::remove(folder.path() / "clip.mp4");
    const auto finished = writer->finish(recording.ends);
    ASSERT_FALSE(finished);
    EXPECT_FALSE(placeOfMovedFile(finished.error()));
    auto caused = finished.error();
    caused.underlying = std::make_shared<Error>(makeError(ErrorCode::damaged, "/clips/clip.mp4"));
    EXPECT_FALSE(placeOfMovedFile(caused));
    caused.underlying = std::make_shared<Error>(Error{"Other", static_cast<int>(ErrorCode::moved), "/clips/clip.mp4", nullptr});
    EXPECT_FALSE(placeOfMovedFile(caused));
}

TEST(RecordingFile, ShortWritesAndReadsChangeNothing)
{
    const auto& recording = makeRecording();
    const auto file = std::make_shared<MemoryFile>();
    file->faults.largestTransfer = 977;
    const auto writer = writeUnfinished(file, recording, recording.fragments.size());
    ASSERT_TRUE(writer->finish(recording.ends));
    EXPECT_EQ(file->content(), finishedFile(recording)->content());
    ASSERT_TRUE(readMovie(*file));
}

// What is on the disk after a failure plays, and holds every fragment that was whole; a file with nothing in it is gone.
void expectSurvives(MemoryFile& file, const Recording& recording, const Result<bool>& finished, const std::string& where)
{
    SCOPED_TRACE(where);
    if (!finished) {
        EXPECT_THAT(finished.error().localizedDescription, HasSubstr("No space left on device"));
    }
    if (!file.isInFolder)
        return;
    const auto summary = readMovie(file);
    ASSERT_TRUE(summary) << summary.error().localizedDescription;
    const auto decoded = expectPlays(file);
    ASSERT_FALSE(summary->movie.tracks.empty());
    EXPECT_EQ(decoded.pictures.size(), summary->movie.tracks.front().samples.count());
    EXPECT_GT(decoded.pictures.size(), 0U);
    EXPECT_LE(decoded.pictures.size(), static_cast<std::size_t>(recording.pictureCount));
}

TEST(RecordingFile, AFailureOfAnyWriteLeavesAFileThatPlaysOrNone)
{
    const auto& recording = makeRecording();
    std::size_t writes = 0;
    {
        const auto file = std::make_shared<MemoryFile>();
        file->faults.largestTransfer = 16384;
        ASSERT_TRUE(writeUnfinished(file, recording, recording.fragments.size())->finish(recording.ends));
        writes = file->writeCount;
    }
    ASSERT_GT(writes, recording.fragments.size());
    int kept = 0;
    for (std::size_t failing = 0; failing < writes; ++failing) {
        for (const bool lasting : {true, false}) {
            const auto file = std::make_shared<MemoryFile>();
            file->faults.largestTransfer = 16384;
            file->faults.failingWrite = failing;
            file->faults.lasting = lasting;
            const auto writer = writeUnfinished(file, recording, recording.fragments.size());
            if (!writer) {
                EXPECT_EQ(failing, 0U);
                EXPECT_FALSE(file->isInFolder);
                continue;
            }
            const auto finished = writer->finish(recording.ends);
            EXPECT_FALSE(finished);
            expectSurvives(*file, recording, finished, "write " + std::to_string(failing) + (lasting ? " and all later" : ""));
            kept += file->isInFolder ? 1 : 0;
        }
    }
    EXPECT_GT(kept, 0);
}

TEST(RecordingFile, AFullDiskEndsTheRecordingInAFinishedFile)
{
    const auto& recording = makeRecording();
    const auto whole = finishedFile(recording)->content().size();
    const auto start = reserveOffset + defaultReserveSize;
    bool sawOneFragment = false;
    for (auto capacity = start; capacity < whole; capacity += (whole - start) / 23) {
        const auto file = std::make_shared<MemoryFile>();
        file->faults.capacity = capacity;
        const auto writer = writeUnfinished(file, recording, recording.fragments.size());
        ASSERT_TRUE(writer);
        const auto finished = writer->finish(recording.ends);
        ASSERT_FALSE(finished);
        EXPECT_EQ(finished.error().code, ENOSPC);
        expectSurvives(*file, recording, finished, "capacity " + std::to_string(capacity));
        if (!file->isInFolder)
            continue;
        sawOneFragment = true;
        EXPECT_THAT(topLevel(*file), ElementsAre("ftyp", "uuid", "free", "moov", "mdat"));
    }
    EXPECT_TRUE(sawOneFragment);
}

TEST(RecordingFile, AFullDiskThatHasNoRoomForALargeIndexLeavesAFragmentedFileThatPlays)
{
    const auto& recording = makeRecording();
    auto options = testOptions();
    options.reserveSize = 64;
    const auto unfinished = std::make_shared<MemoryFile>();
    writeUnfinished(unfinished, recording, recording.fragments.size(), options);
    const auto file = std::make_shared<MemoryFile>();
    file->faults.capacity = unfinished->content().size() + 100;
    const auto writer = writeUnfinished(file, recording, recording.fragments.size(), options);
    const auto finished = writer->finish(recording.ends);
    ASSERT_FALSE(finished);
    expectSurvives(*file, recording, finished, "");
    EXPECT_EQ(file->content(), unfinished->content());

    // With room again, it can be finished later.
    file->faults.capacity = 1 << 30;
    const auto report = repair(*file);
    ASSERT_TRUE(report) << report.error().localizedDescription;
    expectPlaysWhole(expectPlays(*file), recording);
}

TEST(RecordingFile, AFailedSyncIsAFailure)
{
    const auto& recording = makeRecording();
    const auto file = std::make_shared<MemoryFile>();
    file->faults.failingSync = 2;
    const auto writer = writeUnfinished(file, recording, recording.fragments.size());
    const auto finished = writer->finish(recording.ends);
    ASSERT_FALSE(finished);
    EXPECT_EQ(finished.error().code, EIO);
    const auto movie = readMovie(*file);
    ASSERT_TRUE(movie);
    EXPECT_FALSE(movie->movie.isFragmented);
    EXPECT_GT(expectPlays(*file).pictures.size(), 0U);
}

TEST(RecordingFile, LargeSamplesBetweenSmallOnesAreWrittenWholeAndTheirFailureIsSeen)
{
    std::vector<RecordedSample> samples;
    constexpr std::size_t large = 1 << 20;
    for (const std::size_t size : {std::size_t{10}, large - 1, large, std::size_t{20}, large + 1, std::size_t{30}}) {
        const auto number = static_cast<int>(samples.size());
        samples.push_back({DataBlock::owning(std::vector<std::byte>(size, std::byte(number + 1))), number * 3000, 3000, true});
    }
    const auto record = [&](const std::shared_ptr<MemoryFile>& file, std::size_t failingWrite) {
        auto writer = RecordingFile::create(file, testOptions());
        EXPECT_TRUE(writer);
        EXPECT_TRUE((*writer)->start(makeRecording({.hasSound = false}).tracks));
        file->faults.failingWrite = file->writeCount + failingWrite;
        return (*writer)->write({{0, samples}});
    };
    const auto file = std::make_shared<MemoryFile>();
    ASSERT_TRUE(record(file, 1000));
    const auto movie = readMovie(*file);
    ASSERT_TRUE(movie) << movie.error().localizedDescription;
    const auto read = movie->movie.tracks.front().samples.expanded();
    ASSERT_EQ(read.size(), samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        std::vector<std::byte> bytes(read[i].size);
        ASSERT_TRUE(file->readAt(read[i].offset, bytes));
        EXPECT_TRUE(std::ranges::equal(bytes, samples[i].data.bytes)) << i;
    }

    // Each large sample, what was gathered before it, and the rest.
    for (std::size_t failing = 0; failing < 5; ++failing) {
        const auto faulty = std::make_shared<MemoryFile>();
        EXPECT_FALSE(record(faulty, failing)) << failing;
        EXPECT_FALSE(faulty->isInFolder) << "it holds nothing that plays";
    }
}

TEST(RecordingFile, AFragmentThatBeginsAtTheTimeOfTheSampleBeforeItIsReadToo)
{
    const auto sample = [](std::int64_t time, std::uint32_t duration) {
        return RecordedSample{DataBlock::owning(std::vector<std::byte>(10)), time, duration, true};
    };
    const auto file = std::make_shared<MemoryFile>();
    const auto writer = RecordingFile::create(file, testOptions());
    ASSERT_TRUE(writer);
    ASSERT_TRUE((*writer)->start(makeRecording({.hasSound = false}).tracks));
    ASSERT_TRUE((*writer)->write({{0, {sample(0, 3000), sample(3000, 0)}}}));
    ASSERT_TRUE((*writer)->write({{0, {sample(3000, 3000)}}}));
    const auto movie = readMovie(*file);
    ASSERT_TRUE(movie) << movie.error().localizedDescription;
    std::vector<std::int64_t> times;
    for (const auto& read : movie->movie.tracks.front().samples.expanded())
        times.push_back(read.decodeTime);
    EXPECT_THAT(times, ElementsAre(0, 3000, 3000));
}

TEST(RecordingFile, BeyondFourGibibytesOffsetsHave64Bits)
{
    // Pictures, then 4.2 GB of padding in place of a sound sample, then pictures again.
    auto recording = makeRecording({.pictureCount = 60, .hasSound = false});
    const auto padding = DataBlock::owning(std::vector<std::byte>(std::size_t{64} << 20));
    recording.tracks.push_back(
        {std::make_shared<const FormatDescription>(AudioFormat{"mp4a", 48000, 2, {std::byte{0x11}, std::byte{0x90}}}), 48000, 0});
    recording.ends.emplace_back();
    for (int i = 0; i < 66; ++i)
        recording.fragments[1].push_back({1, {{padding, i * 1024, 1024, true}}});
    const auto file = std::make_shared<MemoryFile>();
    const auto writer = RecordingFile::create(file, testOptions());
    ASSERT_TRUE(writer);
    ASSERT_TRUE((*writer)->start(recording.tracks));
    ASSERT_TRUE((*writer)->write(recording.fragments[0]));
    const auto pictures = recording.fragments[1].front();
    for (std::size_t i = 1; i < recording.fragments[1].size(); ++i)
        ASSERT_TRUE((*writer)->write({recording.fragments[1][i]}));
    ASSERT_TRUE((*writer)->write({pictures}));
    for (std::size_t i = 2; i < recording.fragments.size(); ++i)
        ASSERT_TRUE((*writer)->write(recording.fragments[i]));

    const auto check = [&](bool fragmented) {
        const auto movie = readMovie(*file);
        ASSERT_TRUE(movie) << movie.error().localizedDescription;
        EXPECT_EQ(movie->movie.isFragmented, fragmented);
        const auto samples = movie->movie.tracks.front().samples.expanded();
        ASSERT_EQ(samples.size(), 60U);
        EXPECT_GT(samples.back().offset, std::uint64_t{1} << 32);
        std::vector<std::byte> bytes(samples.back().size);
        ASSERT_TRUE(file->readAt(samples.back().offset, bytes));
        const auto& last = recording.fragments.back().front().samples.back().data.bytes;
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), last.begin(), last.end()));
    };
    check(true);
    ASSERT_TRUE((*writer)->finish(recording.ends));
    check(false);
    EXPECT_GT(*file->size(), std::uint64_t{1} << 32);
    const auto movie = readMovie(*file);
    EXPECT_EQ(movie->movie.tracks.size(), 2U);
}

}  // namespace
}  // namespace velmora::mp4

#include "media/mp4/Repair.h"

#include "media/mp4/MovieReader.h"
#include "media/mp4/PosixFile.h"
#include "tests/media/mp4/Recordings.h"
#include "tests/support/TemporaryDirectory.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;
using ::testing::ElementsAreArray;

std::string contentOf(const std::filesystem::path& path)
{
    std::ifstream stream{path, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

int codeOf(const Result<RepairReport>& report)
{
    return report ? 0 : report.error().code;
}

TEST(Repair, FinishesAnUnfinishedRecordingInPlace)
{
    const auto& recording = makeRecording();
    const TemporaryDirectory folder;
    const auto path = folder.path() / "clip.mp4";
    unfinishedFile(recording)->saveTo(path);
    const auto report = repair(path);
    ASSERT_TRUE(report) << report.error().localizedDescription;
    EXPECT_FALSE(report->wasFinished);
    EXPECT_EQ(report->droppedBytes, 0U);
    EXPECT_NEAR(report->duration.seconds(), 3.0, 0.03);
    const auto decoded = expectPlays(path);
    EXPECT_EQ(decoded.pictures.size(), 90U);
    EXPECT_THAT(decoded.peaks(), ElementsAreArray(recording.clicks));
    const auto again = repair(path);
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->wasFinished);
}

TEST(Repair, DoesWhatAStopWouldHaveDone)
{
    const auto& recording = makeRecording();
    const auto repaired = unfinishedFile(recording);
    ASSERT_TRUE(repair(*repaired));
    auto unknownEnds = recording;
    unknownEnds.ends.clear();
    const auto stopped = readMovie(*finishedFile(unknownEnds));
    const auto movie = readMovie(*repaired);
    ASSERT_TRUE(stopped && movie);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(movie->movie.tracks[i].samples.expanded(), stopped->movie.tracks[i].samples.expanded());
        EXPECT_EQ(movie->movie.tracks[i].edits, stopped->movie.tracks[i].edits);
    }
}

TEST(Repair, AFileCutAtAnyByteDecodesCleanlyAfterwards)
{
    RecordingPlan plan;
    plan.soundStart = 2500;
    plan.soundFrames = 140'000;
    const auto& recording = makeRecording(plan);
    const auto whole = unfinishedFile(recording)->content();
    std::mt19937_64 random{20260101};
    std::uniform_int_distribution<std::size_t> anywhere{reserveOffset + defaultReserveSize, whole.size() - 1};
    int repaired = 0;
    int empty = 0;
    for (int i = 0; i < 40; ++i) {
        const auto size = anywhere(random);
        SCOPED_TRACE(size);
        MemoryFile file{{whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}};
        const auto before = file.content();
        const auto report = repair(file);
        if (!report) {
            // Cut before the first fragment was whole.
            EXPECT_EQ(report.error().code, static_cast<int>(ErrorCode::nothingInside));
            EXPECT_EQ(file.content(), before);
            ++empty;
            continue;
        }
        ++repaired;
        const auto movie = readMovie(file);
        ASSERT_TRUE(movie);
        EXPECT_FALSE(movie->movie.isFragmented);
        const auto decoded = expectPlays(file);
        EXPECT_EQ(decoded.pictures.size(), movie->movie.tracks[0].samples.count());
        for (const auto click : decoded.peaks())
            EXPECT_THAT(recording.clicks, ::testing::Contains(click));
    }
    EXPECT_GT(repaired, 30);
    EXPECT_LT(empty, 10);
}

TEST(Repair, DropsALastFragmentWhoseBytesNeverArrived)
{
    const auto& recording = makeRecording({.soundFrames = 130'000});
    const auto file = unfinishedFile(recording);
    const auto last = readMovie(*file)->lastFragment;
    const auto size = *file->size();
    ASSERT_TRUE(file->writeAt(last + 2000, std::vector<std::byte>(static_cast<std::size_t>(size - last - 2000))));
    const auto report = repair(*file);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->droppedBytes, size - last);
    EXPECT_EQ(expectPlays(*file).pictures.size(), 75U);
}

TEST(Repair, LeavesAFileAloneThatMayBeRecordedOnAnotherComputer)
{
    const auto file = unfinishedFile(makeRecording());
    file->writtenElsewhere = true;
    const auto before = file->content();
    const auto report = repair(*file);
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().code, static_cast<int>(ErrorCode::inUse));
    EXPECT_EQ(file->content(), before);
    file->writtenElsewhere = false;
    EXPECT_TRUE(repair(*file));
}

TEST(Repair, LeavesAFinishedFileUntouchedEvenAReadOnlyOne)
{
    const TemporaryDirectory folder;
    const auto path = folder.path() / "clip.mp4";
    finishedFile(makeRecording())->saveTo(path);
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    const auto before = contentOf(path);
    const auto time = std::filesystem::last_write_time(path);
    const auto report = repair(path);
    ASSERT_TRUE(report);
    EXPECT_TRUE(report->wasFinished);
    EXPECT_EQ(report->duration, (MediaTime{3, 1}));
    EXPECT_EQ(contentOf(path), before);
    EXPECT_EQ(std::filesystem::last_write_time(path), time);
}

TEST(Repair, KnowsAFileThatWasFinishedByAppending)
{
    auto options = testOptions();
    options.reserveSize = 512;
    const auto file = finishedFile(makeRecording(), options);
    const auto before = file->content();
    const auto report = repair(*file);
    ASSERT_TRUE(report);
    EXPECT_TRUE(report->wasFinished);
    EXPECT_EQ(file->content(), before);
}

TEST(Repair, DoesNotTouchWhatIsBeingRecorded)
{
    const auto& recording = makeRecording();
    const TemporaryDirectory folder;
    const auto path = folder.path() / "clip.mp4";
    auto created = PosixFile::create(path);
    ASSERT_TRUE(created);
    auto writer = writeUnfinished(std::move(*created), recording, 3);
    const auto before = contentOf(path);
    EXPECT_EQ(codeOf(repair(path)), static_cast<int>(ErrorCode::inUse));
    EXPECT_EQ(contentOf(path), before);
    writer.reset();
    EXPECT_EQ(codeOf(repair(path)), 0);
}

TEST(Repair, TheLockOfAKilledRecorderIsGone)
{
    const auto& recording = makeRecording();
    const TemporaryDirectory folder;
    const auto path = folder.path() / "clip.mp4";
    const auto child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        auto created = PosixFile::create(path);
        const auto writer = writeUnfinished(std::move(*created), recording, 4);
        ::raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(expectPlays(path).pictures.size(), 60U);
    EXPECT_EQ(codeOf(repair(path)), 0);
    EXPECT_EQ(expectPlays(path).pictures.size(), 60U);
}

TEST(Repair, WhatFailsLosesNothingOfTheFileNotEvenItsIncompleteEnd)
{
    // Once with an index in the reserve, once with one at the end.
    for (const std::uint32_t reserveSize : {defaultReserveSize, std::uint32_t{512}}) {
        auto options = testOptions();
        options.reserveSize = reserveSize;
        const auto& recording = makeRecording({.soundFrames = 130'000});
        const auto file = std::make_shared<MemoryFile>();
        writeUnfinished(file, recording, recording.fragments.size(), options);
        ASSERT_TRUE(file->truncate(*file->size() - 100));
        const auto before = file->content();
        file->writeCount = 0;
        file->faults.failingWrite = 0;
        EXPECT_EQ(codeOf(repair(*file)), ENOSPC);
        EXPECT_EQ(file->content(), before);
        file->faults = {};
        file->syncCount = 0;
        file->faults.failingSync = 0;
        EXPECT_EQ(codeOf(repair(*file)), EIO);
        EXPECT_EQ(file->content().size(), before.size());
        file->faults = {};
        const auto report = repair(*file);
        ASSERT_TRUE(report) << report.error().localizedDescription;
        EXPECT_GT(report->droppedBytes, 0U);
        EXPECT_EQ(expectPlays(*file).pictures.size(), 75U);
    }
}

TEST(Repair, RefusesFilesOfOthers)
{
    const TemporaryDirectory folder;
    const auto path = folder.path() / "clip.mp4";
    auto bytes = unfinishedFile(makeRecording())->content();
    bytes[40] ^= std::byte{1};  // in our mark
    MemoryFile{bytes}.saveTo(path);
    const auto before = contentOf(path);
    EXPECT_EQ(codeOf(repair(path)), static_cast<int>(ErrorCode::foreign));
    EXPECT_EQ(contentOf(path), before);

    std::ofstream{folder.path() / "text.mp4"} << "no movie at all";
    EXPECT_EQ(codeOf(repair(folder.path() / "text.mp4")), static_cast<int>(ErrorCode::notAMovie));
}

TEST(Repair, RefusesARecordingWithoutAnything)
{
    const auto& recording = makeRecording();
    for (const bool started : {false, true}) {
        const auto file = std::make_shared<MemoryFile>();
        auto writer = RecordingFile::create(file, testOptions());
        ASSERT_TRUE(writer);
        if (started) {
            ASSERT_TRUE((*writer)->start(recording.tracks));
        }
        const auto before = file->content();
        EXPECT_EQ(codeOf(repair(*file)), static_cast<int>(ErrorCode::nothingInside));
        EXPECT_EQ(file->content(), before);
    }
}

TEST(Repair, AWriteThatFailsLeavesTheFilePlaying)
{
    const auto file = unfinishedFile(makeRecording());
    for (std::size_t failing = 0; failing < 2; ++failing) {
        file->writeCount = 0;
        file->faults.failingWrite = failing;
        EXPECT_EQ(codeOf(repair(*file)), ENOSPC);
        EXPECT_EQ(expectPlays(*file).pictures.size(), 90U);
    }
    file->faults = {};
    EXPECT_EQ(codeOf(repair(*file)), 0);
    EXPECT_EQ(expectPlays(*file).pictures.size(), 90U);
}

}  // namespace
}  // namespace velmora::mp4

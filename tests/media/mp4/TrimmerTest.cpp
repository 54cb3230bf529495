#include "media/mp4/Trimmer.h"

#include "media/mp4/BoxWriter.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/MovieSerializer.h"
#include "media/mp4/RecordingLayout.h"
#include "tests/media/mp4/Recordings.h"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;
using ::testing::ElementsAre;

constexpr TimeRange middle{{7, 10}, {22, 10}};

TrimOptions smallBlocks()
{
    TrimOptions options;
    options.creationTime = 3'800'000'000;
    options.largestBlock = 4000;
    return options;
}

std::vector<std::byte> bytesOf(File& file, const Sample& sample)
{
    std::vector<std::byte> bytes(sample.size);
    EXPECT_TRUE(*file.readAt(sample.offset, bytes));
    return bytes;
}

int codeOf(const Result<TrimOutcome>& outcome)
{
    return outcome ? 0 : outcome.error().code;
}

TEST(Trimmer, WritesAnOrdinaryFileOfOursWithItsIndexInFront)
{
    const auto source = finishedFile(makeRecording());
    MemoryFile target;
    ASSERT_EQ(trim(*source, middle, target), TrimOutcome::written);
    const auto trimmed = readMovie(target);
    ASSERT_TRUE(trimmed);
    ASSERT_TRUE(trimmed->recording);
    EXPECT_TRUE(trimmed->recording->isFinished);
    EXPECT_FALSE(trimmed->movie.isFragmented);
    EXPECT_EQ(presentationDuration(trimmed->movie), (MediaTime{3, 2}));

    const auto content = target.content();
    const auto find = [&](std::string_view type) {
        const auto bytes = std::as_bytes(std::span{type.data(), type.size()});
        return std::search(content.begin(), content.end(), bytes.begin(), bytes.end()) - content.begin();
    };
    EXPECT_LT(find("moov"), find("mdat"));
    EXPECT_EQ(static_cast<std::size_t>(find("moof")), content.size());
}

TEST(Trimmer, CopiesTheBytesOfItsSamplesAndNoOthers)
{
    const auto source = finishedFile(makeRecording());
    MemoryFile target;
    ASSERT_EQ(trim(*source, middle, target, {}, smallBlocks()), TrimOutcome::written);
    const auto plan = readAndPlanTrim(*source, middle);
    const auto trimmed = readMovie(target);
    ASSERT_TRUE(plan && trimmed);
    ASSERT_EQ(trimmed->movie.tracks.size(), 2U);
    std::uint64_t media = 0;
    for (std::size_t i = 0; i < 2; ++i) {
        const auto planned = plan->tracks[i].samples.expanded();
        const auto written = trimmed->movie.tracks[i].samples.expanded();
        ASSERT_EQ(written.size(), planned.size());
        for (std::size_t j = 0; j < written.size(); ++j)
            EXPECT_EQ(bytesOf(target, written[j]), bytesOf(*source, planned[j]));
        media += trimmed->movie.tracks[i].samples.byteCount();
        EXPECT_EQ(trimmed->movie.tracks[i].sampleEntry, plan->tracks[i].sampleEntry);
        EXPECT_EQ(trimmed->movie.tracks[i].edits, plan->tracks[i].edits);
    }
    const auto first =
        std::min(trimmed->movie.tracks[0].samples.chunks().front().offset, trimmed->movie.tracks[1].samples.chunks().front().offset);
    EXPECT_EQ(*target.size(), first + media);
}

TEST(Trimmer, TheLanguagesOfTracksSurvive)
{
    const auto recorded = finishedFile(makeRecording());
    auto movie = readMovie(*recorded)->movie;
    constexpr std::uint16_t german = 0x10B5;  // d, e, u
    movie.tracks[1].language = german;
    movie.tracks[1].extendedLanguage = {
        std::byte{0}, std::byte{0}, std::byte{0}, std::byte{0}, std::byte{'d'}, std::byte{'e'}, std::byte{0}};
    // Its media stay where they were; the index that counts comes first.
    MemoryFile source;
    BoxWriter writer;
    writer.u32(16);
    writer.text("ftypisom");
    writer.u32(0);
    const auto shift = [&](const Movie& index) { return 16 + serializeMovie(index).size(); };
    const auto distance = shift(movie);
    for (auto& track : movie.tracks) {
        std::vector<std::uint64_t> offsets;
        for (const auto& chunk : track.samples.chunks())
            offsets.push_back(chunk.offset + distance);
        track.samples.setChunkOffsets(offsets);
    }
    ASSERT_EQ(shift(movie), distance);
    writer.bytes(serializeMovie(movie));
    writer.bytes(recorded->content());
    ASSERT_TRUE(source.writeAt(0, writer.view()));
    MemoryFile target;
    const auto outcome = trim(source, middle, target);
    ASSERT_TRUE(outcome) << outcome.error().localizedDescription;
    const auto trimmed = readMovie(target);
    ASSERT_TRUE(trimmed);
    EXPECT_EQ(trimmed->movie.tracks.at(0).language, Track::undeterminedLanguage);
    EXPECT_EQ(trimmed->movie.tracks.at(1).language, german);
    EXPECT_EQ(trimmed->movie.tracks[1].extendedLanguage, movie.tracks[1].extendedLanguage);
}

TEST(Trimmer, OnlyReadsTheSource)
{
    const auto source = finishedFile(makeRecording());
    source->writeCount = 0;
    const auto before = source->content();
    MemoryFile target;
    ASSERT_EQ(trim(*source, middle, target), TrimOutcome::written);
    EXPECT_EQ(source->writeCount, 0U);
    EXPECT_EQ(source->content(), before);
}

TEST(Trimmer, TheWholeClipHasTheSameSamplesAndDurations)
{
    const auto source = finishedFile(makeRecording({.soundStart = 2500, .soundFrames = 140'000}));
    const auto original = readMovie(*source);
    MemoryFile target;
    ASSERT_EQ(trim(*source, {MediaTime::zero(), presentationDuration(original->movie)}, target), TrimOutcome::written);
    const auto trimmed = readMovie(target);
    ASSERT_TRUE(trimmed);
    ASSERT_EQ(trimmed->movie.tracks.size(), original->movie.tracks.size());
    EXPECT_EQ(presentationDuration(trimmed->movie), presentationDuration(original->movie));
    for (std::size_t i = 0; i < original->movie.tracks.size(); ++i) {
        const auto& before = original->movie.tracks[i];
        const auto& after = trimmed->movie.tracks[i];
        EXPECT_EQ(after.edits, before.edits);
        EXPECT_EQ(after.sampleEntry, before.sampleEntry);
        auto old = before.samples.expanded();
        auto now = after.samples.expanded();
        ASSERT_EQ(now.size(), old.size());
        for (std::size_t j = 0; j < now.size(); ++j) {
            ASSERT_EQ(bytesOf(target, now[j]), bytesOf(*source, old[j]));
            now[j].offset = old[j].offset = 0;
        }
        EXPECT_EQ(now, old);
    }
}

TEST(Trimmer, AnUnfinishedRecordingIsTrimmedAsFarAsItGoes)
{
    const auto& recording = makeRecording();
    const auto four = std::make_shared<MemoryFile>();
    const auto writer = writeUnfinished(four, recording, 4);
    const auto before = four->content();
    MemoryFile target;
    ASSERT_EQ(trim(*four, {{1, 1}, {100, 1}}, target), TrimOutcome::written);
    EXPECT_EQ(four->content(), before);
    const auto trimmed = readMovie(target);
    ASSERT_TRUE(trimmed && trimmed->recording);
    EXPECT_TRUE(trimmed->recording->isFinished);
    EXPECT_NEAR(presentationDuration(trimmed->movie).seconds(), 1, 0.03);
}

TEST(Trimmer, PicturesThatNeverReachedTheDiskAreNotTrimmed)
{
    const auto file = unfinishedFile(makeRecording({.soundFrames = 130'000}));
    const auto last = readMovie(*file)->lastFragment;
    const auto size = *file->size();
    ASSERT_TRUE(file->writeAt(last + 2000, std::vector<std::byte>(static_cast<std::size_t>(size - last - 2000))));
    MemoryFile target;
    ASSERT_EQ(trim(*file, {{1, 1}, {100, 1}}, target), TrimOutcome::written);
    EXPECT_NEAR(presentationDuration(readMovie(target)->movie).seconds(), 1.5, 0.03);
}

TEST(Trimmer, ARecordingWithoutAnythingIsRefused)
{
    const auto file = std::make_shared<MemoryFile>();
    const auto writer = writeUnfinished(file, makeRecording(), 0);
    MemoryFile target;
    EXPECT_EQ(codeOf(trim(*file, middle, target)), static_cast<int>(ErrorCode::nothingInside));
    EXPECT_EQ(*target.size(), 0U);
}

TEST(Trimmer, NothingIsWrittenForARangeOrASourceThatMakesNoSense)
{
    const auto source = finishedFile(makeRecording());
    MemoryFile target;
    EXPECT_EQ(codeOf(trim(*source, {{1, 1}, {1, 1}}, target)), static_cast<int>(ErrorCode::invalidRange));
    EXPECT_EQ(codeOf(trim(*source, {{5, 1}, {6, 1}}, target)), static_cast<int>(ErrorCode::invalidRange));
    MemoryFile text{std::vector<std::byte>(1000, std::byte{'t'})};
    EXPECT_EQ(codeOf(trim(text, middle, target)), static_cast<int>(ErrorCode::notAMovie));
    EXPECT_EQ(target.writeCount, 0U);
}

TEST(Trimmer, AWriteThatFailsIsTheSystemsError)
{
    const auto source = finishedFile(makeRecording());
    MemoryFile whole;
    ASSERT_EQ(trim(*source, middle, whole, {}, smallBlocks()), TrimOutcome::written);
    ASSERT_GT(whole.writeCount, 5U);
    for (const std::size_t failing : {std::size_t{0}, std::size_t{1}, whole.writeCount / 2, whole.writeCount - 1}) {
        MemoryFile target;
        target.faults.failingWrite = failing;
        const auto outcome = trim(*source, middle, target, {}, smallBlocks());
        ASSERT_FALSE(outcome) << failing;
        EXPECT_EQ(outcome.error().domain, posixErrorDomain);
        EXPECT_EQ(outcome.error().code, ENOSPC);
    }
}

TEST(Trimmer, WritesThatComeInPiecesMakeTheSameFile)
{
    const auto source = finishedFile(makeRecording());
    MemoryFile whole;
    ASSERT_EQ(trim(*source, middle, whole, {}, smallBlocks()), TrimOutcome::written);
    MemoryFile pieces;
    pieces.faults.largestTransfer = 777;
    source->faults.largestTransfer = 333;
    ASSERT_EQ(trim(*source, middle, pieces, {}, smallBlocks()), TrimOutcome::written);
    EXPECT_EQ(pieces.content(), whole.content());
}

TEST(Trimmer, ASourceThatBecomesShorterIsAnError)
{
    const auto source = finishedFile(makeRecording());
    const auto plan = readAndPlanTrim(*source, middle);
    ASSERT_TRUE(plan);
    ASSERT_TRUE(source->truncate(*source->size() / 2));
    MemoryFile target;
    // What is left has room for the part, but does not hold all of it.
    const auto outcome = writeTrim(*source, *plan, target);
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().code, static_cast<int>(ErrorCode::damaged));
}

TEST(Trimmer, SamplesThatShareTheirBytesCannotMakeAFileLargerThanTheSource)
{
    MemoryFile source{std::vector<std::byte>(10'000)};
    Movie plan;
    plan.timescale = 600;
    Track track;
    track.id = 1;
    track.format =
        std::make_shared<const FormatDescription>(VideoFormat{"avc1", 320, 240, ColourDescription::bt709(), std::vector<std::byte>(16)});
    track.timescale = 600;
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(track.samples.append({0, 5000, i * 20, 0, true}));
    track.samples.setLastDuration(20);
    plan.tracks.push_back(track);
    MemoryFile target;
    EXPECT_EQ(codeOf(writeTrim(source, plan, target)), static_cast<int>(ErrorCode::damaged));
    EXPECT_EQ(target.writeCount, 0U);
}

TEST(Trimmer, MediaBeyondFourGigabytesIsFoundAgain)
{
    // Two pictures, 5 GB apart in a file that is mostly nothing.
    constexpr std::uint64_t pictureSize = std::uint64_t{5} << 29;
    constexpr std::uint64_t far = std::uint64_t{5} << 30;
    MemoryFile source;
    const std::vector<std::byte> mark(100, std::byte{0xAB});
    ASSERT_TRUE(source.writeAt(far, mark));
    ASSERT_TRUE(source.truncate(far * 2));
    Movie plan;
    plan.timescale = 600;
    Track track;
    track.id = 1;
    track.format =
        std::make_shared<const FormatDescription>(VideoFormat{"avc1", 320, 240, ColourDescription::bt709(), std::vector<std::byte>(16)});
    track.timescale = 600;
    for (std::int64_t i = 0; i < 3; ++i)
        ASSERT_TRUE(track.samples.append({i == 2 ? far : static_cast<std::uint64_t>(i) * pictureSize,
            i == 2 ? 100U : static_cast<std::uint32_t>(pictureSize), i * 20, 0, true}));
    track.samples.setLastDuration(20);
    plan.tracks.push_back(track);

    /// Counts, and keeps only what is small.
    class FarFile final : public File {
    public:
        Result<std::size_t> writeSomeAt(std::uint64_t offset, std::span<const std::byte> bytes) override
        {
            end = std::max(end, offset + bytes.size());
            return memory.writeSomeAt(offset, bytes);
        }
        Result<std::size_t> readSomeAt(std::uint64_t offset, std::span<std::byte> bytes) override
        {
            return memory.readSomeAt(offset, bytes);
        }
        Result<std::size_t> copySomeFrom(
            File& from, std::uint64_t fromOffset, std::uint64_t toOffset, std::size_t count, std::span<std::byte> buffer) override
        {
            if (count > 1000) {
                end = std::max(end, toOffset + count);
                return count;
            }
            return File::copySomeFrom(from, fromOffset, toOffset, count, buffer);
        }
        Result<std::uint64_t> size() override { return end; }
        Result<void> truncate(std::uint64_t) override { return {}; }
        Result<void> allocate(std::uint64_t) override { return {}; }
        Result<void> sync() override { return {}; }
        Result<void> syncFolder() override { return {}; }
        Result<bool> tryLock() override { return true; }
        bool isStillInFolder() override { return true; }
        Result<void> removeFromFolder() override { return {}; }
        Result<void> moveTo(const std::filesystem::path&) override { return {}; }

        MemoryFile memory;
        std::uint64_t end = 0;
    } target;
    ASSERT_EQ(writeTrim(source, plan, target), TrimOutcome::written);
    const auto trimmed = readMovie(target);
    ASSERT_TRUE(trimmed) << trimmed.error().localizedDescription;
    const auto samples = trimmed->movie.tracks.at(0).samples.expanded();
    ASSERT_EQ(samples.size(), 3U);
    EXPECT_GT(samples[2].offset, std::uint64_t{1} << 32);
    EXPECT_EQ(bytesOf(target, samples[2]), mark);
}

TEST(Trimmer, TellsHowFarItIsBetweenBlocksAndEndsWithOne)
{
    const auto source = finishedFile(makeRecording());
    MemoryFile target;
    std::vector<double> told;
    ASSERT_EQ(trim(
                  *source, middle, target,
                  [&](double done) {
                      told.push_back(done);
                      return true;
                  },
                  smallBlocks()),
        TrimOutcome::written);
    ASSERT_GT(told.size(), 10U);
    EXPECT_EQ(told.front(), 0);
    EXPECT_EQ(told.back(), 1);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
}

TEST(Trimmer, CanBeCancelledBetweenBlocks)
{
    const auto source = finishedFile(makeRecording());
    for (const double limit : {0.0, 0.5, 1.0}) {
        MemoryFile target;
        EXPECT_EQ(trim(
                      *source, middle, target, [&](double done) { return done < limit; }, smallBlocks()),
            TrimOutcome::cancelled)
            << limit;
    }
}

}  // namespace
}  // namespace velmora::mp4

// Tables that other programs write and ours does not, and files that cannot be read to their end.
#include "media/mp4/MovieReader.h"
#include "media/mp4/RecordingLayout.h"
#include "tests/media/mp4/HandmadeMovie.h"
#include "tests/media/mp4/Recordings.h"
#include "tests/support/media/MemoryFile.h"

#include <cerrno>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;

/// The sizes that are read from a "stz2" box (ISO 14496-12 8.7.3.3) with fields of so many bits.
Result<std::vector<std::uint32_t>> readCompactSizes(std::uint32_t fieldBits, std::uint32_t count, const std::vector<std::uint8_t>& table)
{
    const TrackBoxes boxes{.edits = {}, .sampleSizes = [&](BoxWriter& writer) {
                               const auto stz2 = writer.fullBox("stz2", 0, 0);
                               writer.u32(fieldBits);
                               writer.u32(count);
                               for (const auto byte : table)
                                   writer.u8(byte);
                           }};
    MemoryFile file{movieWith([&](BoxWriter& writer) { writeTrack(writer, 1, count, boxes); })};
    EXPECT_TRUE(file.truncate(100'000));
    auto movie = readMovie(file);
    if (!movie)
        return fail(movie.error());
    return movie->movie.tracks.at(0).samples.sizes();
}

TEST(ForeignTables, SizesOf4BitsShareAByteTheFirstInItsUpperHalf)
{
    EXPECT_EQ(readCompactSizes(4, 5, {0x12, 0x3F, 0x70}).value(), (std::vector<std::uint32_t>{1, 2, 3, 15, 7}));
}

TEST(ForeignTables, SizesOf8And16BitsAreRead)
{
    EXPECT_EQ(readCompactSizes(8, 3, {1, 200, 255}).value(), (std::vector<std::uint32_t>{1, 200, 255}));
    EXPECT_EQ(readCompactSizes(16, 2, {1, 2, 0xFF, 0xFE}).value(), (std::vector<std::uint32_t>{0x102, 0xFFFE}));
}

TEST(ForeignTables, SizesOfAnotherWidthAreDamage)
{
    for (const std::uint32_t bits : {0U, 1U, 5U, 32U}) {
        const auto sizes = readCompactSizes(bits, 1, {1, 1, 1, 1});
        ASSERT_FALSE(sizes) << bits;
        EXPECT_EQ(sizes.error().localizedDescription, "The file is damaged: sample sizes of an unknown width.");
    }
}

TEST(ForeignTables, ATrackWhoseEditListIsDamagedIsNotLeftOut)
{
    struct EditList {
        std::uint32_t count;
        std::uint32_t mediaTime;
        const char* complaint;
    };
    for (const auto& list : {EditList{2, 0, "The file is damaged: the edit list ends early."},
             EditList{1, static_cast<std::uint32_t>(-2), "The file is damaged: an edit begins nowhere."}}) {
        const TrackBoxes boxes{.edits =
                                   [&](BoxWriter& writer) {
                                       const auto edts = writer.box("edts");
                                       const auto elst = writer.fullBox("elst", 0, 0);
                                       writer.u32(list.count);
                                       writer.u32(1000);
                                       writer.u32(list.mediaTime);
                                       writer.u32(0x10000);
                                   },
            .sampleSizes = {}};
        MemoryFile file{movieWith([&](BoxWriter& writer) { writeTrack(writer, 1, 3, boxes); })};
        const auto movie = readMovie(file);
        ASSERT_FALSE(movie) << list.complaint;
        EXPECT_EQ(movie.error().localizedDescription, list.complaint);
    }
}

TEST(UnreadableFile, WhicheverReadFailsItIsTheSystemsErrorAndNoMovieThatLacksSomething)
{
    const auto whole = movieWith([](BoxWriter& writer) { writeTrack(writer, 1, 3); });
    MemoryFile sound{whole};
    ASSERT_TRUE(readMovie(sound));
    ASSERT_GT(sound.readCount, 2U);
    for (std::size_t read = 0; read < sound.readCount; ++read) {
        MemoryFile file{whole};
        file.faults.failingRead = read;
        const auto movie = readMovie(file);
        ASSERT_FALSE(movie) << "read " << read;
        EXPECT_EQ(movie.error().domain, posixErrorDomain);
        EXPECT_EQ(movie.error().code, EIO);
    }
}

TEST(ErrorCode, EachReasonHasItsNumberWhichOthersMayKnow)
{
    const auto number = [](ErrorCode code) { return makeError(code, "").code; };
    EXPECT_EQ(number(ErrorCode::damaged), 1);
    EXPECT_EQ(number(ErrorCode::notAMovie), 2);
    EXPECT_EQ(number(ErrorCode::foreign), 3);
    EXPECT_EQ(number(ErrorCode::inUse), 4);
    EXPECT_EQ(number(ErrorCode::nothingInside), 5);
    EXPECT_EQ(number(ErrorCode::tooLarge), 6);
    EXPECT_EQ(number(ErrorCode::invalidRange), 7);
    EXPECT_EQ(number(ErrorCode::unsupported), 8);
    EXPECT_EQ(number(ErrorCode::moved), 9);
}

}  // namespace
}  // namespace velmora::mp4

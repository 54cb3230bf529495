// Files made to keep a reader busy: small themselves, large in what they claim.

#include "media/mp4/MovieReader.h"
#include "media/mp4/RecordingLayout.h"
#include "tests/media/mp4/HandmadeMovie.h"
#include "tests/media/mp4/Recordings.h"
#include "tests/support/media/MemoryFile.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace velmora::mp4 {
namespace {

using namespace velmora::test;

/// A track whose samples are in fragments, of which there are none yet.
std::vector<std::byte> fragmentedMovie()
{
    return movieWith([](BoxWriter& writer) {
        writeTrack(writer, 1, 0);
        const auto mvex = writer.box("mvex");
    });
}

TEST(HostileFile, TracksMayNotHaveMoreSamplesTogetherThanOneMayHaveAlone)
{
    constexpr std::uint32_t half = SampleTable::largestCount / 2;
    for (const std::uint32_t second : {half, half + 1}) {
        MemoryFile file{movieWith([second](BoxWriter& writer) {
            writeTrack(writer, 1, half);
            writeTrack(writer, 2, second);
        })};
        ASSERT_TRUE(file.truncate(SampleTable::largestCount));
        const auto movie = readMovie(file);
        if (second == half) {
            ASSERT_TRUE(movie) << movie.error().localizedDescription;
            EXPECT_EQ(movie->movie.tracks[1].samples.count(), half);
        } else {
            ASSERT_FALSE(movie);
            EXPECT_EQ(movie.error().code, static_cast<int>(ErrorCode::tooLarge));
        }
    }
}

/// 15 MiB of index each: eight of them are 120 of the 128 MiB that are allowed.
constexpr std::uint32_t allowedIndexes = 8;

/// Appends fragments that are nothing but an index.
void appendIndexes(File& file, std::uint32_t count)
{
    constexpr std::uint32_t size = std::uint32_t{15} << 20;
    auto offset = *file.size();
    for (std::uint32_t i = 0; i < count; ++i, offset += size) {
        BoxWriter writer;
        writer.u32(size);
        writer.text("moof");
        writer.u32(size - 8);
        writer.text("free");
        ASSERT_TRUE(file.writeAt(offset, writer.view()));
    }
    ASSERT_TRUE(file.truncate(offset));
}

void expectBoundedIndexes(const std::function<std::shared_ptr<MemoryFile>()>& makeFile)
{
    const auto allowed = makeFile();
    appendIndexes(*allowed, allowedIndexes);
    EXPECT_TRUE(readMovie(*allowed));
    const auto tooMany = makeFile();
    appendIndexes(*tooMany, allowedIndexes + 1);
    const auto refused = readMovie(*tooMany);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, static_cast<int>(ErrorCode::tooLarge));
}

TEST(HostileFile, TheFragmentsIndexesTogetherMayNotBeLargerThanOneIndexMayBeAlone)
{
    expectBoundedIndexes([] { return std::make_shared<MemoryFile>(fragmentedMovie()); });
}

TEST(HostileFile, NorMayThoseOfAnUnfinishedRecording)
{
    expectBoundedIndexes([] { return unfinishedFile(makeRecording()); });
}

TEST(HostileFile, AnIndexMayEndInAFewBytesThatAreNoBoxButNotInTheHeaderOfOne)
{
    const auto read = [](std::uint32_t claimed, std::size_t length) {
        MemoryFile file{movieWith([&](BoxWriter& writer) {
            writeTrack(writer, 1, 0);
            BoxWriter last;
            last.u32(claimed);
            last.text("free");
            writer.bytes(last.view().first(length));
        })};
        return readMovie(file);
    };
    EXPECT_TRUE(read(16, 7));
    EXPECT_TRUE(read(8, 8));
    const auto damaged = read(16, 8);
    ASSERT_FALSE(damaged);
    EXPECT_EQ(damaged.error().code, static_cast<int>(ErrorCode::damaged));
}

/// A fragment of `count` samples without bytes, which take no room in its index either.
std::vector<std::byte> fragmentOfNothing(std::uint32_t count)
{
    auto bytes = fragmentedMovie();
    BoxWriter writer;
    {
        const auto moof = writer.box("moof");
        const auto traf = writer.box("traf");
        {
            const auto tfhd = writer.fullBox("tfhd", 0, 0x020000);  // offsets count from "moof"
            writer.u32(1);
        }
        const auto trun = writer.fullBox("trun", 0, 1);  // with an offset
        writer.u32(count);
        writer.u32(8 + 8 + 16 + 20 + 8);
    }
    {
        const auto mdat = writer.box("mdat");
    }
    const auto fragment = writer.take();
    bytes.insert(bytes.end(), fragment.begin(), fragment.end());
    return bytes;
}

TEST(HostileFile, AFragmentMayNotClaimMoreSamplesThanTheFileHasBytes)
{
    const auto size = static_cast<std::uint32_t>(fragmentOfNothing(0).size());
    for (const std::size_t count : {std::size_t{size}, std::size_t{size} + 1, SampleTable::largestCount}) {
        MemoryFile file{fragmentOfNothing(static_cast<std::uint32_t>(count))};
        const auto movie = readMovie(file);
        ASSERT_TRUE(movie) << movie.error().localizedDescription;
        ASSERT_EQ(movie->movie.tracks.size(), 1U);
        EXPECT_EQ(movie->movie.tracks[0].samples.count(), count == size ? size : 0U);
    }
}

}  // namespace
}  // namespace velmora::mp4

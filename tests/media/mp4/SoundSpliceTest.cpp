#include "media/mp4/SoundSplice.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace velmora::mp4::sound_splice_test {
namespace {

constexpr auto packetFrames = SoundSplice::packetFrames;

SoundSource packets(std::int64_t count, std::int64_t first = 0)
{
    SoundSource source{{}, true};
    for (std::int64_t i = 0; i < count; ++i)
        source.packets.push_back({static_cast<std::uint64_t>(100 * i), 50, first + i * packetFrames, 1024, 0, true});
    return source;
}

/// Of one source of 1000 packets: ranges of its media, one after the other.
SoundSplice splice(const std::vector<std::pair<std::int64_t, std::int64_t>>& ranges)
{
    SoundSplice result;
    result.rate = 48000;
    result.sources.push_back(packets(1000));
    for (const auto& [from, to] : ranges) {
        SoundSpan span;
        span.begin = result.end;
        span.end = result.end + to - from;
        span.mediaOffset = from - result.end;
        result.end = span.end;
        result.spans.push_back(span);
    }
    result.spans.front().extendsBack = true;
    result.spans.back().extendsOn = true;
    planSoundRuns(result);
    return result;
}

/// Every packet once, in order; each copied one is heard where its source has it, as are the frames that it overlaps with.
void expectWhole(const SoundSplice& splice)
{
    std::int64_t next = 0;
    for (std::size_t i = 0; i < splice.runs.size(); ++i) {
        const auto& run = splice.runs[i];
        EXPECT_EQ(run.first, next);
        EXPECT_GT(run.count, 0);
        next += run.count;
        EXPECT_TRUE(i == 0 || !run.isCopied || !splice.runs[i - 1].isCopied) << "two grids cannot meet";
        for (std::int64_t packet = 0; run.isCopied && packet < run.count; ++packet) {
            const auto number = run.first + packet;
            const auto& sample = splice.sources[run.source].packets.at(run.firstInSource + static_cast<std::size_t>(packet));
            const auto time = splice.timeOf(number);
            const auto span = std::find_if(splice.spans.begin(), splice.spans.end(), [&](const SoundSpan& one) {
                return one.source == run.source && sample.decodeTime == time + one.mediaOffset && (one.extendsBack || time >= one.begin)
                    && (one.extendsOn || time + 2 * packetFrames <= one.end);
            });
            EXPECT_NE(span, splice.spans.end()) << number;
            EXPECT_TRUE(number == 0 || sample.decodeTime > splice.sources[run.source].packets.front().decodeTime);
        }
    }
    EXPECT_EQ(next, splice.packetCount());
    EXPECT_GE(splice.lead, packetFrames);
    EXPECT_LT(splice.lead, 2 * packetFrames);
}

TEST(SoundSplice, AnySpansAreCoveredAndCopiedPacketsAreHeardWhereTheyWere)
{
    std::mt19937 random{5};
    for (int round = 0; round < 500; ++round) {
        std::vector<std::pair<std::int64_t, std::int64_t>> ranges;
        std::int64_t at = std::uniform_int_distribution<std::int64_t>{1024, 5000}(random);
        const int count = std::uniform_int_distribution<int>{1, 5}(random);
        for (int i = 0; i < count; ++i) {
            const auto length = std::uniform_int_distribution<std::int64_t>{1, 150'000}(random);
            ranges.emplace_back(at, at + length);
            at += length + std::uniform_int_distribution<std::int64_t>{1, 40'000}(random);
        }
        SCOPED_TRACE(round);
        expectWhole(splice(ranges));
    }
}

TEST(SoundSplice, OneSpanFromTheBeginningIsCopiedWhole)
{
    const auto one = splice({{1024, 200'000}});
    ASSERT_EQ(one.runs.size(), 1U);
    EXPECT_TRUE(one.runs[0].isCopied);
    EXPECT_EQ(one.runs[0].firstInSource, 0U);
    EXPECT_EQ(one.lead, 1024);
}

TEST(SoundSplice, SpansThatShareAGridAreBothCopied)
{
    // Two seconds, and 50 packets further on two more.
    const auto both = splice({{1024, 97'024}, {97'024 + 50 * 1024, 193'024 + 50 * 1024}});
    ASSERT_EQ(both.runs.size(), 3U);
    EXPECT_TRUE(both.runs[0].isCopied);
    EXPECT_FALSE(both.runs[1].isCopied);
    EXPECT_LE(both.runs[1].count, 3);
    EXPECT_TRUE(both.runs[2].isCopied);
    expectWhole(both);
}

TEST(SoundSplice, TheGridIsThatOfMostOfTheSound)
{
    // One second, then three short ones of one grid that are longer together.
    const auto grid = [](std::int64_t packet) { return packet * 1024 + 300; };
    const auto most = splice({{1024, 49'024}, {grid(100), grid(140)}, {grid(200), grid(240)}, {grid(300), grid(340)}});
    std::int64_t copied = 0;
    for (const auto& run : most.runs)
        copied += run.isCopied ? run.count : 0;
    EXPECT_GT(copied, 105);
    expectWhole(most);
}

TEST(SoundSplice, PacketsWithGapsBetweenThemAreNotCopied)
{
    auto gaps = splice({{1024, 97'024}, {200'000, 300'000}});
    gaps.sources[0].isGapless = false;
    planSoundRuns(gaps);
    ASSERT_EQ(gaps.runs.size(), 1U);
    EXPECT_FALSE(gaps.runs[0].isCopied);
    expectWhole(gaps);
}

TEST(SoundSplice, NothingIsCopiedWhereThatIsNotWanted)
{
    auto plain = splice({{1024, 97'024}, {200'000, 300'000}});
    planSoundRuns(plain, false);
    ASSERT_EQ(plain.runs.size(), 1U);
    EXPECT_FALSE(plain.runs[0].isCopied);
}

std::vector<std::byte> packet(std::uint32_t element, bool hasCommonWindow, std::uint32_t sequence, bool isKaiserBessel)
{
    std::uint64_t bits = 0;
    int count = 0;
    const auto put = [&](std::uint64_t value, int size) {
        bits = bits << size | value;
        count += size;
    };
    put(element, 3);
    put(0, 4);
    if (element == 1)
        put(hasCommonWindow ? 1 : 0, 1);
    else
        put(0x77, 8);
    put(0, 1);
    put(sequence, 2);
    put(isKaiserBessel ? 1 : 0, 1);
    put(0, 40 - count);
    std::vector<std::byte> bytes;
    for (int i = 4; i >= 0; --i)
        bytes.push_back(static_cast<std::byte>(bits >> (8 * i)));
    return bytes;
}

TEST(SoundWindow, IsReadOfOneChannelAndOfAPairWithACommonWindow)
{
    for (const std::uint32_t element : {0U, 1U}) {
        EXPECT_EQ(soundWindowOf(packet(element, true, 0, true)), (SoundWindow{false, false, true}));
        EXPECT_EQ(soundWindowOf(packet(element, true, 1, false)), (SoundWindow{false, true, false}));
        EXPECT_EQ(soundWindowOf(packet(element, true, 2, false)), (SoundWindow{true, true, false}));
        EXPECT_EQ(soundWindowOf(packet(element, true, 3, true)), (SoundWindow{true, false, true}));
    }
    EXPECT_EQ(soundWindowOf(packet(1, false, 0, false)), std::nullopt);
    EXPECT_EQ(soundWindowOf(packet(6, false, 0, false)), std::nullopt);
    EXPECT_EQ(soundWindowOf({}), std::nullopt);
}

TEST(SoundWindow, OverlapsAlikeBehindTheSameSlopeAndShape)
{
    const SoundWindow plain{false, false, true};
    const SoundWindow start{false, true, true};
    const SoundWindow stop{true, false, true};
    const SoundWindow sine{false, false, false};
    EXPECT_TRUE(overlapsAlike(plain, plain, plain));
    EXPECT_TRUE(overlapsAlike(stop, plain, start));
    EXPECT_TRUE(overlapsAlike(start, start, stop));
    EXPECT_FALSE(overlapsAlike(start, plain, plain)) << "a short slope meets a long one";
    EXPECT_FALSE(overlapsAlike(plain, start, stop)) << "a long slope meets a short one";
    EXPECT_FALSE(overlapsAlike(sine, plain, plain)) << "the packet was encoded behind another shape";
    EXPECT_TRUE(overlapsAlike(sine, sine, plain)) << "its own shape is that of the slope behind it";
}

}  // namespace
}  // namespace velmora::mp4::sound_splice_test

// Frames that the encoder fails on, and sound that is lost, doubled or comes out of order: what is in the file nevertheless.

#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/RecordingEngine.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>
#include <set>

namespace velmora::test {
namespace {

using ::testing::IsEmpty;

constexpr int keyFrameInterval = 6;
constexpr int failed = -1;

/// Records `count` pictures; the times of those in the file must be those of the pictures that `isEncoded`.
void recordAndExpect(int count, const std::function<bool(std::size_t)>& isEncoded)
{
    RecordingEngine engine{keyFrameInterval, [&](std::size_t frame) { return isEncoded(frame) ? 0 : failed; }};
    engine.start();
    const auto begin = engine.now();
    engine.play(count);
    const auto clip = engine.save();
    std::vector<double> expected;
    for (int frame = 0; frame < count; ++frame) {
        if (isEncoded(static_cast<std::size_t>(frame)))
            expected.push_back(static_cast<double>(begin + (frame + 1) * RecordingEngine::pictureInterval) / 1e9);
    }
    if (expected.empty()) {
        EXPECT_FALSE(clip);
        EXPECT_EQ(engine.errors.size(), 1U);
        return;
    }
    ASSERT_TRUE(clip);
    const auto decoded = decodeFile(*clip);
    EXPECT_THAT(decoded.complaints, IsEmpty());
    ASSERT_EQ(decoded.pictures.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(decoded.pictures[i].number, static_cast<int>(i % keyFrameInterval));
        EXPECT_NEAR(decoded.pictures[i].time, expected[i] - expected.front(), 1.0 / 90'000);
    }
    EXPECT_THAT(engine.errors, IsEmpty());
}

TEST(EventFaults, AnEncoderThatFailsOnOneFrameCostsThatFrame)
{
    for (const std::size_t number : {0U, 1U, 5U, 6U, 29U}) {
        SCOPED_TRACE(number);
        recordAndExpect(30, [number](std::size_t frame) { return frame != number; });
    }
}

TEST(EventFaults, AnEncoderThatFailsOnEverySecondFrameCostsThose)
{
    recordAndExpect(60, [](std::size_t frame) { return frame % 2 == 0; });
}

TEST(EventFaults, AnEncoderThatFailsForGoodLeavesWhatCameBefore)
{
    recordAndExpect(60, [](std::size_t frame) { return frame < 20; });
}

TEST(EventFaults, AnEncoderThatNeverWorksIsTold)
{
    recordAndExpect(30, [](std::size_t) { return false; });
}

TEST(EventFaults, WhicheverFramesAnEncoderFailsOnTheOthersAreThereAtTheirTimes)
{
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random{seed};
        std::set<std::size_t> failing;
        for (std::size_t frame = 0; frame < 60; ++frame) {
            if (random() % 4 == 0)
                failing.insert(frame);
        }
        recordAndExpect(60, [&](std::size_t frame) { return !failing.contains(frame); });
    }
}

/// A block with a click in its middle.
SampleBufferRef clickingBlock()
{
    return soundBlock(clicks(1024, {512}), MediaTime::zero());
}

/// One delivery of a block of sound: which block, in no particular order.
using Deliveries = std::vector<std::int64_t>;

Deliveries disturbed(std::mt19937& random, std::int64_t count)
{
    Deliveries deliveries;
    for (std::int64_t block = 0; block < count; ++block) {
        switch (random() % 8) {
        case 0:  // lost
            break;
        case 1:  // twice
            deliveries.push_back(block);
            deliveries.push_back(block);
            break;
        default:
            deliveries.push_back(block);
        }
    }
    for (int swaps = 0; swaps < 6 && deliveries.size() > 1; ++swaps) {
        const auto from = random() % deliveries.size();
        const auto to = std::min<std::size_t>(from + 1 + random() % 4, deliveries.size() - 1);
        std::rotate(deliveries.begin() + static_cast<std::ptrdiff_t>(from), deliveries.begin() + static_cast<std::ptrdiff_t>(from) + 1,
            deliveries.begin() + static_cast<std::ptrdiff_t>(to) + 1);
    }
    return deliveries;
}

/// Every block that is later than all before it sounds where it belongs; what comes late or again is left out.
std::vector<std::int64_t> expectedClicks(const Deliveries& deliveries)
{
    std::vector<std::int64_t> frames;
    std::int64_t next = 0;
    for (const auto block : deliveries) {
        if (block >= next) {
            frames.push_back(block * 1024 + 512);
            next = block + 1;
        }
    }
    return frames;
}

TEST(EventFaults, SoundThatIsLostDoubledOrLateMovesNoOtherSound)
{
    constexpr std::int64_t blocks = 46;
    const auto block = clickingBlock();
    for (unsigned seed = 1; seed <= 25; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random{seed};
        const auto deliveries = disturbed(random, blocks);
        RecordingEngine engine{keyFrameInterval};
        engine.start();
        const auto begin = engine.now() + RecordingEngine::pictureInterval;
        for (int i = 0; i < 60; ++i)
            engine.deliver(engine.picture(), begin + i * RecordingEngine::pictureInterval);
        // The file begins with a picture; sound that comes before it has no place.
        engine.drain();
        for (const auto delivery : deliveries)
            engine.deliverSound(block, begin + MediaTime{delivery * 1024, 48'000}.converted(MediaTime::nanosecondScale).value);
        engine.drain();
        const auto clip = engine.save();
        ASSERT_TRUE(clip);
        const auto decoded = decodeFile(*clip);
        EXPECT_THAT(decoded.complaints, IsEmpty());
        EXPECT_EQ(decoded.pictures.size(), 60U);
        const auto expected = expectedClicks(deliveries);
        const auto heard = decoded.peaks(0.15F);
        ASSERT_EQ(heard.size(), expected.size());
        for (std::size_t i = 0; i < heard.size(); ++i)
            EXPECT_NEAR(static_cast<double>(heard[i]), static_cast<double>(expected[i]), 1);
    }
}

}  // namespace
}  // namespace velmora::test

#include "engine/pictures/PictureStream.h"

#include "engine/pictures/FitRectangle.h"
#include "tests/engine/pictures/PaintedContent.h"
#include "tests/engine/pictures/PictureRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

namespace velmora::engine {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::chrono::milliseconds millisecond{1};
constexpr std::chrono::nanoseconds sixtieth{16'666'667};  // as the configuration has it, rounded
constexpr std::uint32_t red = 0xff0000;
constexpr std::uint32_t green = 0x00ff00;
constexpr std::uint32_t blue = 0x0000ff;
constexpr std::uint32_t black = 0x000000;

/// A stream of 16 x 12 pixels on a clock that the test turns.
class PictureStreamTest : public ::testing::Test {
protected:
    ~PictureStreamTest() override { EXPECT_EQ(recorder.complaints(), ""); }

    void begin(std::int32_t width = 16, std::int32_t height = 12)
    {
        content.resize(width, height, red);
        stream.contentReplaced(width, height);
        work();
    }

    void draw(PixelRect part, std::uint32_t colour)
    {
        content.paint(part, colour);
        stream.damage(part);
    }

    void work(std::optional<MonotonicTime> contentTime = std::nullopt)
    {
        const auto worked = stream.work(contentTime);
        EXPECT_TRUE(worked) << worked.error().localizedDescription;
    }

    /// As a back end with nothing to report does: looks when it is time, `lateness` late each time.
    void runUntil(MonotonicTime time, std::chrono::nanoseconds lateness = {})
    {
        for (auto next = stream.deadline(); next != PictureStream::never && next + lateness <= time; next = stream.deadline()) {
            now = std::max(now, next) + lateness;
            work();
        }
        now = std::max(now, time);
    }

    [[nodiscard]] std::vector<MonotonicTime> times() const
    {
        std::vector<MonotonicTime> all;
        for (const auto& picture : recorder.pictures())
            all.push_back(picture.time);
        return all;
    }

    [[nodiscard]] std::vector<PixelRect> lastDirty() const { return recorder.pictures().back().change.dirty; }

    /// The colour of a pixel of the last picture.
    [[nodiscard]] std::uint32_t seen(std::int32_t x, std::int32_t y) const
    {
        return recorder.lastColours()[static_cast<std::size_t>(y * 16 + x)];
    }

    static constexpr MonotonicTime beginning{std::chrono::seconds{1000}};

    MonotonicTime now = beginning;
    PaintedContent content{now};
    Recorder recorder;
    int scalersMade = 0;
    bool hasScaler = true;
    std::shared_ptr<PaintedContent::Memory> pictureMemory = PaintedContent::memory(PictureStream::requiredBytes(pictureSize(16, 12)));
    PictureStream stream{pictureSize(16, 12), pictureMemory, content,
        [this]() -> Result<std::unique_ptr<PictureScaler>> {
            ++scalersMade;
            if (!hasScaler)
                return fail("test", 7, "There is no scaler.");
            return std::make_unique<NearestScaler>();
        },
        recorder.callbacks().picture, [this] { return now; }};
};

TEST_F(PictureStreamTest, BeforeTheContentIsKnownThereIsNothingToDo)
{
    EXPECT_EQ(stream.deadline(), PictureStream::never);
    work();
    EXPECT_THAT(recorder.pictures(), IsEmpty());
}

TEST_F(PictureStreamTest, TheFirstPictureIsAllOfTheContent)
{
    begin();
    EXPECT_THAT(times(), ElementsAre(beginning));
    EXPECT_THAT(lastDirty(), ElementsAre(PixelRect{0, 0, 16, 12}));
    EXPECT_THAT(recorder.lastColours(), Each(red));
}

TEST_F(PictureStreamTest, AStillWindowIsRepeatedTwiceASecond)
{
    begin();
    runUntil(beginning + 1700 * millisecond);
    EXPECT_THAT(
        times(), ElementsAre(beginning, beginning + 500 * millisecond, beginning + 1000 * millisecond, beginning + 1500 * millisecond));
    const auto pictures = recorder.pictures();
    for (std::size_t index = 1; index < pictures.size(); ++index) {
        EXPECT_EQ(pictures[index].address, pictures[0].address);
        EXPECT_THAT(pictures[index].change.dirty, IsEmpty());
    }
}

TEST_F(PictureStreamTest, ANewPictureMovesTheRepeatToHalfASecondAfterIt)
{
    begin();
    now += 300 * millisecond;
    draw({0, 0, 1, 1}, green);
    work();
    EXPECT_EQ(stream.deadline(), beginning + 800 * millisecond);
}

TEST_F(PictureStreamTest, WhoLooksLateRepeatsOnceAndNotOnceForEachHalfSecondThatHasPassed)
{
    begin();
    now += 1900 * millisecond;
    work();
    EXPECT_THAT(times(), ElementsAre(beginning, beginning + 1900 * millisecond));
    EXPECT_EQ(stream.deadline(), now + 500 * millisecond);
}

TEST_F(PictureStreamTest, AStillWindowIsRepeatedAtOnceWhenAPictureIsWanted)
{
    begin();
    const auto wanted = beginning + 137 * millisecond;
    now = wanted;
    work();
    stream.wantPicture();
    EXPECT_LE(stream.deadline(), wanted);
    work();
    ASSERT_THAT(times(), ElementsAre(beginning, wanted));
    const auto pictures = recorder.pictures();
    EXPECT_EQ(pictures[1].address, pictures[0].address);
    EXPECT_THAT(pictures[1].change.dirty, IsEmpty());
    // One for each wish, and half a second of peace after it.
    runUntil(wanted + 600 * millisecond);
    EXPECT_THAT(times(), ElementsAre(beginning, wanted, wanted + 500 * millisecond));
}

TEST_F(PictureStreamTest, AMovingWindowRepeatsNothingForWhoWantsAPicture)
{
    begin();
    std::vector<MonotonicTime> expected{beginning};
    for (int frame = 1; frame <= 12; ++frame) {
        stream.wantPicture();
        runUntil(beginning + frame * sixtieth - std::chrono::nanoseconds{1});
        draw({0, 0, 4, 4}, frame % 2 ? green : blue);
        now = beginning + frame * sixtieth;
        work();
        expected.push_back(now);
    }
    EXPECT_EQ(times(), expected);
}

TEST_F(PictureStreamTest, APictureThatIsWantedRightAfterAnotherComesAnIntervalAfterIt)
{
    begin();
    now += 3 * millisecond;
    stream.wantPicture();
    work();
    EXPECT_THAT(times(), ElementsAre(beginning));
    runUntil(beginning + 100 * millisecond);
    EXPECT_THAT(times(), ElementsAre(beginning, beginning + sixtieth));
}

TEST_F(PictureStreamTest, APictureThatIsWantedBeforeTheFirstIsTheFirst)
{
    stream.wantPicture();
    EXPECT_EQ(stream.deadline(), PictureStream::never);
    begin();
    runUntil(beginning + 400 * millisecond);
    EXPECT_THAT(times(), ElementsAre(beginning));
}

TEST_F(PictureStreamTest, APictureThatIsWantedWhileNoneCanBeHadIsTheLastOneAgain)
{
    begin();
    now += 100 * millisecond;
    content.refusals = 1;
    draw({0, 0, 4, 4}, green);
    stream.wantPicture();
    work();
    EXPECT_THAT(times(), ElementsAre(beginning, beginning + 100 * millisecond));
    EXPECT_THAT(lastDirty(), IsEmpty());
    EXPECT_EQ(seen(0, 0), red);
    runUntil(now + 2 * sixtieth);
    EXPECT_EQ(seen(0, 0), green);
}

TEST_F(PictureStreamTest, AChangeIsTakenAtOnceAfterAPause)
{
    begin();
    now += 100 * millisecond;
    draw({2, 3, 4, 5}, green);
    EXPECT_LE(stream.deadline(), now);
    work();
    EXPECT_THAT(times(), ElementsAre(beginning, beginning + 100 * millisecond));
    EXPECT_THAT(lastDirty(), ElementsAre(PixelRect{2, 3, 4, 5}));
}

TEST_F(PictureStreamTest, PicturesAreHeldToTheMinimumFrameInterval)
{
    begin();
    for (int step = 0; step < 1000; ++step) {
        now += millisecond;
        draw({step % 16, 0, 1, 12}, static_cast<std::uint32_t>(step));
        work();
    }
    // One at the beginning, sixty in the second, and one for the interval by which a picture may be early.
    const auto seen = times();
    EXPECT_GE(seen.size(), 60U);
    EXPECT_LE(seen.size(), 62U);
    for (std::size_t index = 1; index < seen.size(); ++index)
        EXPECT_GE(seen[index] - seen[index - 1], sixtieth / 2 - millisecond);
}

TEST_F(PictureStreamTest, ASourceThatDrawsAtTheVeryRateLosesNoFrameToWakeUpsThatAreLate)
{
    begin();
    for (int frame = 1; frame <= 120; ++frame) {
        now = beginning + frame * sixtieth + frame % 3 * millisecond;
        draw({0, 0, 16, 12}, static_cast<std::uint32_t>(frame));
        work();
        EXPECT_EQ(seen(5, 5), static_cast<std::uint32_t>(frame));
    }
    EXPECT_THAT(times(), SizeIs(121));
}

TEST_F(PictureStreamTest, ChangesWithinAnIntervalBecomeOnePicture)
{
    begin();
    now += millisecond;
    draw({0, 0, 2, 2}, green);
    work();
    now += millisecond;
    draw({10, 10, 2, 2}, blue);
    work();
    EXPECT_THAT(recorder.pictures(), SizeIs(1));
    runUntil(beginning + sixtieth);
    EXPECT_THAT(recorder.pictures(), SizeIs(2));
    EXPECT_THAT(lastDirty(), ElementsAre(PixelRect{0, 0, 2, 2}, PixelRect{10, 10, 2, 2}));
    EXPECT_EQ(seen(1, 1), green);
    EXPECT_EQ(seen(11, 11), blue);
}

TEST_F(PictureStreamTest, APictureThatWasHeldCatchesUpWithAllThatItMissed)
{
    begin();
    auto first = recorder.lastSample();
    for (int frame = 1; frame <= 5; ++frame) {
        now += 20 * millisecond;
        draw({frame, 0, 1, 12}, green);
        work();
    }
    first.reset();
    recorder.hold(true);
    for (int frame = 6; frame <= 10; ++frame) {
        now += 20 * millisecond;
        draw({frame, 0, 1, 12}, green);
        work();
        for (int x = 0; x < 16; ++x)
            EXPECT_EQ(seen(x, 6), x >= 1 && x <= frame ? green : red) << "column " << x << " of frame " << frame;
    }
    recorder.hold(false);
}

TEST_F(PictureStreamTest, NoMoreIsFetchedThanAPictureMissed)
{
    begin();
    for (int frame = 0; frame < 10; ++frame) {
        now += 20 * millisecond;
        draw({frame, 2, 1, 3}, green);
        content.fetched.clear();
        work();
        // Two pictures take turns: each missed what the other got.
        if (frame >= 2) {
            EXPECT_EQ(content.fetched.bound(), (PixelRect{frame - 1, 2, 2, 3})) << frame;
        }
    }
}

TEST_F(PictureStreamTest, ADeliveredPictureNeverChangesWhileItIsHeld)
{
    begin();
    const auto held = recorder.lastSample();
    for (int frame = 0; frame < 20; ++frame) {
        now += 20 * millisecond;
        draw({0, 0, 16, 12}, frame % 2 == 0 ? green : blue);
        work();
    }
    EXPECT_EQ(std::to_integer<int>(held->imageBuffer->baseAddress[2]), 0xff);
    EXPECT_EQ(std::to_integer<int>(held->imageBuffer->baseAddress[1]), 0x00);
}

/// All pictures of the pool are held, and the content has changed again.
class HeldPictures : public PictureStreamTest {
protected:
    HeldPictures()
    {
        recorder.hold(true);
        begin();
        for (std::uint32_t frame = 1; frame < PicturePool::pictureCount; ++frame) {
            now += 20 * millisecond;
            draw({0, 0, 16, 12}, frame);
            work();
        }
        EXPECT_THAT(recorder.pictures(), SizeIs(PicturePool::pictureCount));
        now += 20 * millisecond;
        draw({0, 0, 16, 12}, green);
        work();
    }

    [[nodiscard]] std::size_t addressCount() const
    {
        std::set<const std::byte*> distinct;
        for (const auto& picture : recorder.pictures())
            distinct.insert(picture.address);
        return distinct.size();
    }
};

TEST_F(HeldPictures, WhileAllPicturesAreHeldNoneIsTaken)
{
    EXPECT_THAT(recorder.pictures(), SizeIs(PicturePool::pictureCount));
    EXPECT_EQ(stream.deadline(), now + sixtieth) << "it looks again an interval later";
}

TEST_F(HeldPictures, AConsumerThatHoldsEverythingGetsNoMoreMemoryAndGoesOnWhenItLetsGo)
{
    recorder.hold(false);
    runUntil(now + sixtieth);
    EXPECT_EQ(seen(0, 0), green);
    for (std::uint32_t frame = 0; frame < 20; ++frame) {
        now += 20 * millisecond;
        draw({0, 0, 16, 12}, frame);
        work();
    }
    EXPECT_EQ(addressCount(), PicturePool::pictureCount);
}

/// A consumer that held all pictures for a moment keeps up again.
class AfterABurst : public HeldPictures {
protected:
    AfterABurst()
    {
        recorder.hold(false);
        runUntil(now + sixtieth);
        burstEnd = now;
    }

    /// Thirty pictures a second, each of which has to be the content pixel by pixel.
    void drawUntil(MonotonicTime end)
    {
        for (std::uint32_t colour = 1; now < end; ++colour) {
            now += 33 * millisecond;
            draw({static_cast<std::int32_t>(colour % 15), 3, 2, 2}, colour);
            work();
            ASSERT_EQ(recorder.lastColours(), content.colours());
        }
    }

    MonotonicTime burstEnd;
};

TEST_F(AfterABurst, MemoryThatNobodyHasUsedForTwoSecondsIsGivenBackButForTheTwoThatAlternate)
{
    drawUntil(burstEnd + 1800 * millisecond);
    EXPECT_THAT(pictureMemory->givenBack, IsEmpty());
    drawUntil(burstEnd + std::chrono::seconds{60});
    const std::set<const std::byte*> distinct{pictureMemory->givenBack.begin(), pictureMemory->givenBack.end()};
    EXPECT_THAT(distinct, SizeIs(PicturePool::pictureCount - 2));
    EXPECT_THAT(pictureMemory->givenBack, SizeIs(distinct.size())) << "nothing is given back twice";
}

TEST_F(AfterABurst, NoMoreThanOnePicturesMemoryIsGivenBackAtATime)
{
    std::size_t before = 0;
    for (const auto end = burstEnd + std::chrono::seconds{20}; now < end;) {
        drawUntil(now + millisecond);
        EXPECT_LE(pictureMemory->givenBack.size(), before + 1);
        before = pictureMemory->givenBack.size();
    }
    EXPECT_EQ(before, PicturePool::pictureCount - 2);
}

TEST_F(AfterABurst, OfAWindowThatStandsStillTheMemoryIsGivenBackToo)
{
    runUntil(burstEnd + std::chrono::seconds{20});
    EXPECT_THAT(pictureMemory->givenBack, SizeIs(PicturePool::pictureCount - 2));
    EXPECT_EQ(recorder.lastColours(), content.colours());
}

TEST_F(AfterABurst, APictureThatIsHeldStaysAsItIsHoweverLong)
{
    const auto held = recorder.lastSample();
    const auto colours = recorder.lastColours();
    drawUntil(burstEnd + std::chrono::seconds{60});
    const auto* pixels = reinterpret_cast<const std::uint32_t*>(held->imageBuffer->baseAddress);
    EXPECT_EQ(std::vector<std::uint32_t>(pixels, pixels + 16 * 12), colours);
    EXPECT_THAT(pictureMemory->givenBack, SizeIs(PicturePool::pictureCount - 3));
}

TEST_F(AfterABurst, TheNextBurstFindsWholePicturesWhereMemoryWasGivenBack)
{
    runUntil(burstEnd + std::chrono::seconds{20});
    ASSERT_THAT(pictureMemory->givenBack, SizeIs(PicturePool::pictureCount - 2));
    recorder.hold(true);
    for (std::uint32_t frame = 1; frame < PicturePool::pictureCount; ++frame) {
        now += 20 * millisecond;
        draw({5, 5, 1, 1}, frame);
        work();
        EXPECT_EQ(recorder.lastColours(), content.colours()) << frame;
    }
}

TEST_F(AfterABurst, AroundFittedContentThePicturesAreBlackAgain)
{
    const auto resize = [this](std::uint32_t colour) {
        content.resize(8, 12, colour);
        stream.contentReplaced(8, 12);
        now += 20 * millisecond;
        work();
        EXPECT_EQ(seen(8, 6), colour);
        EXPECT_EQ(seen(0, 0), black);
        EXPECT_EQ(seen(15, 11), black);
    };
    const auto burst = [&] {
        recorder.hold(true);
        for (std::uint32_t frame = 1; frame < PicturePool::pictureCount; ++frame)
            resize(frame);
        recorder.hold(false);
    };
    burst();
    runUntil(now + std::chrono::seconds{20});
    ASSERT_THAT(pictureMemory->givenBack, SizeIs(PicturePool::pictureCount - 2));
    burst();
}

TEST_F(HeldPictures, TheLastIsRepeatedAllTheSame)
{
    const auto last = recorder.pictures().back();
    runUntil(last.time + 1100 * millisecond);
    const auto pictures = recorder.pictures();
    ASSERT_THAT(pictures, SizeIs(PicturePool::pictureCount + 2));
    EXPECT_EQ(pictures.back().address, last.address);
    EXPECT_THAT(pictures.back().change.dirty, IsEmpty());
}

TEST_F(PictureStreamTest, ContentThatCannotBeHadIsAskedForAgainAnIntervalLater)
{
    begin();
    now += 100 * millisecond;
    content.refusals = 3;
    draw({0, 0, 4, 4}, green);
    work();
    EXPECT_EQ(stream.deadline(), now + sixtieth);
    work();
    EXPECT_EQ(content.refusals, 2) << "it was asked again at once";
    runUntil(beginning + 200 * millisecond);
    EXPECT_THAT(times(), ElementsAre(beginning, beginning + 100 * millisecond + 3 * sixtieth));
    EXPECT_THAT(lastDirty(), ElementsAre(PixelRect{0, 0, 4, 4}));
}

TEST_F(PictureStreamTest, WhileTheContentCannotBeReadTheLastPictureIsRepeated)
{
    begin();
    draw({0, 0, 4, 4}, green);
    now += 500 * millisecond;
    stream.repeat();
    EXPECT_THAT(recorder.pictures(), SizeIs(2));
    EXPECT_THAT(lastDirty(), IsEmpty());
    EXPECT_EQ(seen(0, 0), red);
    work();
    EXPECT_EQ(seen(0, 0), green);
}

TEST_F(PictureStreamTest, ContentThatFailsEndsTheStreamWithItsError)
{
    begin();
    now += 100 * millisecond;
    content.error = Error{"test", 3, "It broke.", nullptr};
    draw({0, 0, 1, 1}, green);
    const auto worked = stream.work();
    ASSERT_FALSE(worked);
    EXPECT_EQ(worked.error().code, 3);
    EXPECT_THAT(recorder.pictures(), SizeIs(1));
}

TEST_F(PictureStreamTest, WhatIsDrawnWhileAPictureIsFetchedIsInItAndMissedByNone)
{
    begin();
    for (int frame = 0; frame < 12; ++frame) {
        now += 20 * millisecond;
        draw({frame, 0, 1, 12}, green);
        content.whileFetched = [&] { draw({15 - frame, 4, 1, 2}, blue); };
        work();
        EXPECT_EQ(seen(15 - frame, 5), blue) << frame;
        EXPECT_EQ(recorder.complaints(), "") << frame;
    }
    EXPECT_EQ(content.colours(), recorder.lastColours());
}

TEST_F(PictureStreamTest, ASlowFetchCountsFromItsBeginning)
{
    begin();
    now += 100 * millisecond;
    content.slowness = 30 * millisecond;
    draw({0, 0, 4, 4}, green);
    work();
    EXPECT_EQ(times().back(), beginning + 100 * millisecond);
    draw({0, 0, 4, 4}, blue);
    EXPECT_LE(stream.deadline(), now) << "the next one is already due";
    work();
    EXPECT_EQ(times().back(), beginning + 130 * millisecond);
}

TEST_F(PictureStreamTest, ContentOfAnotherSizeIsFittedInWithBlackAround)
{
    begin(32, 12);
    const auto fitted = fitRectangle(32, 12, 16, 12);
    ASSERT_EQ(fitted, (PixelRect{0, 3, 16, 6}));
    for (int y = 0; y < 12; ++y)
        EXPECT_EQ(seen(8, y), y >= 3 && y < 9 ? red : black) << "row " << y;
}

TEST_F(PictureStreamTest, OfScaledContentEveryChangeIsAllOfThePicture)
{
    begin(32, 24);
    now += 100 * millisecond;
    draw({30, 22, 2, 2}, green);
    work();
    EXPECT_THAT(lastDirty(), ElementsAre(PixelRect{0, 0, 16, 12}));
    EXPECT_EQ(seen(15, 11), green);
    EXPECT_EQ(seen(14, 11), red);
}

TEST_F(PictureStreamTest, ContentThatIsResizedBackAndForthLeavesNothingOfItsOtherSizes)
{
    begin();
    // Some twice: two pictures take turns.
    const std::vector<std::pair<int, int>> sizes{{32, 12}, {16, 12}, {16, 12}, {32, 12}, {32, 12}, {8, 12}, {16, 48}, {16, 12}, {8, 12}};
    std::uint32_t colour = 1;
    for (const auto& [width, height] : sizes) {
        now += 100 * millisecond;
        content.resize(width, height, ++colour);
        stream.contentReplaced(width, height);
        work();
        const auto fitted = fitRectangle(width, height, 16, 12);
        for (int y = 0; y < 12; ++y) {
            for (int x = 0; x < 16; ++x)
                ASSERT_EQ(seen(x, y), contains(fitted, {x, y, 1, 1}) ? colour : black) << width << 'x' << height << " at " << x << ',' << y;
        }
    }
}

TEST_F(PictureStreamTest, AResizeDuringAFetchIsFetchedAnew)
{
    begin();
    now += 100 * millisecond;
    content.refusals = 1;
    content.whileFetched = [&] {
        content.resize(32, 12, blue);
        stream.contentReplaced(32, 12);
    };
    draw({0, 0, 4, 4}, green);
    work();
    EXPECT_THAT(recorder.pictures(), SizeIs(1));
    runUntil(now + sixtieth);
    EXPECT_THAT(recorder.pictures(), SizeIs(2));
    EXPECT_EQ(seen(8, 6), blue);
    EXPECT_EQ(seen(8, 0), black);
}

TEST_F(PictureStreamTest, TheScalerIsMadeOnceAndNotBeforeItIsNeeded)
{
    begin();
    EXPECT_EQ(scalersMade, 0);
    for (int size = 17; size < 22; ++size) {
        now += 100 * millisecond;
        content.resize(size, 12, green);
        stream.contentReplaced(size, 12);
        work();
    }
    EXPECT_EQ(scalersMade, 1);
}

TEST_F(PictureStreamTest, AScalerThatCannotBeMadeEndsTheStream)
{
    hasScaler = false;
    content.resize(32, 12, red);
    stream.contentReplaced(32, 12);
    const auto worked = stream.work();
    ASSERT_FALSE(worked);
    EXPECT_EQ(worked.error().code, 7);
    EXPECT_THAT(recorder.pictures(), IsEmpty());
}

TEST_F(PictureStreamTest, TheFirstPictureWaitsUntilAllOfTheContentIsPainted)
{
    stream.awaitFirstPaint();
    begin();
    now += 50 * millisecond;
    draw({0, 0, 16, 6}, green);
    work();
    EXPECT_THAT(recorder.pictures(), IsEmpty());
    now += 50 * millisecond;
    draw({0, 6, 16, 6}, green);
    work();
    EXPECT_THAT(times(), ElementsAre(beginning + 100 * millisecond));
    EXPECT_THAT(recorder.lastColours(), Each(green));
}

TEST_F(PictureStreamTest, TheFirstPictureWaitsHalfASecondForItsPaintAndNoLonger)
{
    stream.awaitFirstPaint();
    begin();
    draw({0, 0, 16, 6}, green);
    EXPECT_EQ(stream.deadline(), beginning + 500 * millisecond);
    runUntil(beginning + 600 * millisecond);
    EXPECT_THAT(times(), ElementsAre(beginning + 500 * millisecond));
    EXPECT_EQ(seen(0, 0), green);
    EXPECT_EQ(seen(0, 11), red);
}

TEST_F(PictureStreamTest, ContentThatIsReplacedWhileItIsPaintedIsPaintedAnew)
{
    stream.awaitFirstPaint();
    begin();
    draw({0, 0, 16, 6}, green);
    content.resize(16, 10, blue);
    stream.contentReplaced(16, 10);
    draw({0, 6, 16, 4}, green);
    work();
    EXPECT_THAT(recorder.pictures(), IsEmpty());
    draw({0, 0, 16, 6}, green);
    work();
    EXPECT_THAT(recorder.pictures(), SizeIs(1));
}

TEST_F(PictureStreamTest, LaterPicturesWaitForNoPaint)
{
    stream.awaitFirstPaint();
    begin();
    draw({0, 0, 16, 12}, green);
    work();
    now += 100 * millisecond;
    content.resize(16, 12, blue);
    stream.contentReplaced(16, 12);
    work();
    EXPECT_THAT(times(), ElementsAre(beginning, beginning + 100 * millisecond));
}

TEST_F(PictureStreamTest, WhatMovesOverTheContentMakesAPictureWithoutDamage)
{
    begin();
    now += 100 * millisecond;
    stream.setOverlayIsOutdated(true);
    EXPECT_LE(stream.deadline(), now);
    content.whileFetched = [&] {
        content.overlay = PixelRect{14, 10, 4, 4};
        stream.overlayChanged(*content.overlay);
    };
    work();
    EXPECT_THAT(lastDirty(), ElementsAre(PixelRect{14, 10, 2, 2}));
    EXPECT_EQ(seen(15, 11), PaintedContent::overlayColour);
    EXPECT_EQ(stream.deadline(), now + 500 * millisecond) << "it is up to date";
}

TEST_F(PictureStreamTest, WhatMovesOverScaledContentMakesAllOfThePictureAnew)
{
    begin(32, 24);
    now += 100 * millisecond;
    stream.setOverlayIsOutdated(true);
    work();
    EXPECT_THAT(recorder.pictures(), SizeIs(2));
    EXPECT_THAT(lastDirty(), ElementsAre(PixelRect{0, 0, 16, 12}));
}

TEST_F(PictureStreamTest, WhatMovedOverTheContentAndBackMakesNoPicture)
{
    begin();
    now += 100 * millisecond;
    stream.setOverlayIsOutdated(true);
    stream.setOverlayIsOutdated(false);
    work();
    EXPECT_THAT(recorder.pictures(), SizeIs(1));
}

TEST_F(PictureStreamTest, APictureHasTheTimeOfItsContentWhereThatIsTold)
{
    begin();
    now += 100 * millisecond;
    draw({0, 0, 1, 1}, green);
    work(now - 7 * millisecond);
    EXPECT_EQ(times().back(), beginning + 93 * millisecond);
}

TEST_F(PictureStreamTest, ATimeOfTheContentThatCannotBeIsReplacedByTheClocks)
{
    begin();
    for (const auto offset : {-101 * millisecond, -100 * millisecond, millisecond, -600 * millisecond}) {
        now += 100 * millisecond;
        draw({0, 0, 1, 1}, green);
        work(now + offset);
        EXPECT_EQ(times().back(), now) << offset.count();
    }
    now += 1000 * millisecond;
    draw({0, 0, 1, 1}, blue);
    const auto before = times().size();
    work(now - 600 * millisecond);
    EXPECT_THAT(times(), SizeIs(before + 1)) << "a picture that waited for somebody to want it";
    EXPECT_EQ(times().back(), now);
}

TEST_F(PictureStreamTest, TimesAlwaysIncrease)
{
    auto configuration = pictureSize(16, 12);
    configuration.minimumFrameInterval = MediaTime::zero();
    PictureStream unlimited{configuration, PaintedContent::memory(PictureStream::requiredBytes(configuration)), content, nearestScalers(),
        recorder.callbacks().picture, [this] { return now; }};
    content.resize(16, 12, red);
    unlimited.contentReplaced(16, 12);
    for (int frame = 0; frame < 5; ++frame) {
        ASSERT_TRUE(unlimited.work());
        unlimited.damage({0, 0, 1, 1});
    }
    const auto seen = times();
    ASSERT_THAT(seen, SizeIs(5));
    for (std::size_t index = 1; index < seen.size(); ++index)
        EXPECT_GT(seen[index], seen[index - 1]);
}

TEST_F(PictureStreamTest, DamageBeyondTheContentIsNoneOfThePictures)
{
    begin();
    now += 100 * millisecond;
    stream.damage({16, 0, 5, 5});
    stream.damage({-9, -9, 9, 9});
    work();
    EXPECT_THAT(recorder.pictures(), SizeIs(1));
    stream.damage({14, 10, 10, 10});
    work();
    EXPECT_THAT(lastDirty(), ElementsAre(PixelRect{14, 10, 2, 2}));
}

class ResizedPictures : public PictureStreamTest {
protected:
    ResizedPictures()
    {
        stream.observeSize([this](std::int32_t width, std::int32_t height) { told.emplace_back(width, height); });
        begin();
    }

    void resize(std::int32_t width, std::int32_t height, std::uint32_t colour)
    {
        content.resize(width, height, colour);
        stream.contentReplaced(width, height);
        work();
    }

    Result<void> update(std::int32_t width, std::int32_t height)
    {
        memory = PaintedContent::memory(PictureStream::requiredBytes(width, height));
        return stream.updateSize(width, height, memory);
    }

    /// That each pixel of the last picture is one of the content's.
    void expectContent() const
    {
        const auto last = recorder.pictures().back();
        EXPECT_EQ(recorder.lastColours(), content.colours()) << last.width << " x " << last.height;
    }

    std::shared_ptr<MemoryBlock> memory;
    std::vector<std::pair<std::int32_t, std::int32_t>> told;
};

TEST_F(ResizedPictures, ASizeThatHasStayedForASecondIsToldOnce)
{
    resize(8, 6, green);
    const auto resizedAt = now;
    runUntil(resizedAt + 999 * millisecond);
    EXPECT_THAT(told, IsEmpty());
    runUntil(resizedAt + 1000 * millisecond);
    EXPECT_THAT(told, ElementsAre(std::pair{8, 6}));
    runUntil(resizedAt + std::chrono::seconds{20});
    EXPECT_THAT(told, SizeIs(1));
}

TEST_F(ResizedPictures, ASizeThatNeverSettlesIsNeverTold)
{
    for (std::int32_t step = 0; step < 40; ++step) {
        resize(20 + step, 30, green);
        runUntil(now + 900 * millisecond);
    }
    EXPECT_THAT(told, IsEmpty());
    runUntil(now + 100 * millisecond);
    EXPECT_THAT(told, ElementsAre(std::pair{59, 30}));
}

TEST_F(ResizedPictures, ContentThatIsReplacedInTheSameSizeSettlesNoLater)
{
    resize(8, 6, green);
    const auto resizedAt = now;
    for (int i = 0; i < 10; ++i) {
        runUntil(now + 100 * millisecond);
        stream.contentReplaced(8, 6);
    }
    runUntil(resizedAt + 1000 * millisecond);
    EXPECT_THAT(told, ElementsAre(std::pair{8, 6}));
}

TEST_F(ResizedPictures, TheSizeThatThePicturesHaveIsNotTold)
{
    runUntil(now + std::chrono::seconds{5});
    resize(8, 6, green);
    runUntil(now + 500 * millisecond);
    resize(16, 12, blue);
    runUntil(now + std::chrono::seconds{5});
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(ResizedPictures, AfterAnUpdateEveryPictureIsTheContentPixelByPixel)
{
    for (const auto& [width, height] : std::vector<std::pair<std::int32_t, std::int32_t>>{{8, 6}, {32, 24}, {15, 11}, {1, 40}, {301, 1}}) {
        resize(width, height, green);
        now += sixtieth;
        ASSERT_TRUE(update(width, height));
        EXPECT_EQ(recorder.pictures().back().width, width);
        EXPECT_EQ(recorder.pictures().back().height, height);
        expectContent();
        now += sixtieth * 2;
        draw({0, 0, 1, 1}, red);
        work();
        expectContent();
        EXPECT_THAT(lastDirty(), ElementsAre(PixelRect{0, 0, 1, 1}));
        runUntil(now + 500 * millisecond);
        expectContent();
    }
    EXPECT_FALSE(stream.isScaled());
}

TEST_F(ResizedPictures, TheFirstOfTheNewSizeComesWithinTheUpdateAndNotBeforeTheLastOfTheOld)
{
    resize(32, 24, green);
    const auto before = recorder.pictures().size();
    ASSERT_TRUE(update(32, 24));
    const auto pictures = recorder.pictures();
    ASSERT_THAT(pictures, SizeIs(before + 1));
    EXPECT_GT(pictures[before].time, pictures[before - 1].time);
    EXPECT_THAT(lastDirty(), ElementsAre(PixelRect{0, 0, 32, 24}));
}

TEST_F(ResizedPictures, AfterAnUpdateThePicturesComeAtTheSameRate)
{
    resize(32, 24, green);
    ASSERT_TRUE(update(32, 24));
    const auto before = recorder.pictures().size();
    for (const auto end = now + std::chrono::seconds{1}; now < end; now += millisecond) {
        draw({0, 0, 32, 24}, blue);
        work();
    }
    EXPECT_NEAR(static_cast<double>(recorder.pictures().size() - before), 60, 2);
}

TEST_F(ResizedPictures, PicturesOfTheOldSizeThatAreHeldStayAsTheyAreInTheirOwnMemory)
{
    auto held = recorder.lastSample();
    resize(32, 24, green);
    ASSERT_TRUE(update(32, 24));
    const std::weak_ptr<MemoryBlock> second = std::exchange(memory, nullptr);
    auto heldSecond = recorder.lastSample();
    for (int i = 0; i < 20; ++i) {
        now += sixtieth;
        draw({0, 0, 32, 24}, blue);
        work();
    }
    const auto* first = reinterpret_cast<const std::uint32_t*>(held->imageBuffer->baseAddress);
    EXPECT_THAT(std::vector<std::uint32_t>(first, first + 16 * 12), Each(red));
    const auto* later = reinterpret_cast<const std::uint32_t*>(heldSecond->imageBuffer->baseAddress);
    EXPECT_THAT(std::vector<std::uint32_t>(later, later + 32 * 24), Each(green));

    resize(8, 6, red);
    ASSERT_TRUE(update(8, 6));
    EXPECT_FALSE(second.expired());
    heldSecond.reset();
    EXPECT_TRUE(second.expired()) << "memory that nobody needs";
}

TEST_F(ResizedPictures, AConsumerThatHoldsEverythingStillGetsTheNewSize)
{
    recorder.hold(true);
    for (int i = 0; i < 20; ++i) {
        now += sixtieth;
        draw({0, 0, 16, 12}, blue);
        work();
    }
    resize(32, 24, green);
    ASSERT_TRUE(update(32, 24));
    expectContent();
    recorder.hold(false);
}

TEST_F(ResizedPictures, AnUpdateWithoutAPictureChangesNothingAndTheSizeIsToldAgainASecondLater)
{
    resize(32, 24, green);
    runUntil(now + std::chrono::seconds{2});
    const auto before = recorder.pictures().size();
    content.refusals = 1;
    content.whileFetched = [this] { draw({0, 0, 32, 12}, blue); };
    EXPECT_FALSE(update(32, 24));
    EXPECT_THAT(recorder.pictures(), SizeIs(before));
    EXPECT_THAT(told, SizeIs(1));

    now += sixtieth * 2;
    work();
    EXPECT_EQ(recorder.pictures().back().width, 16);
    EXPECT_EQ(seen(8, 2), blue) << "what was drawn meanwhile";
    EXPECT_EQ(seen(8, 9), green);
    runUntil(now + std::chrono::seconds{3});
    EXPECT_THAT(told, SizeIs(2));
    EXPECT_TRUE(update(32, 24));
    expectContent();
}

TEST_F(ResizedPictures, AfterAFailedUpdateTheLastPictureIsRepeatedWhileTheContentCannotBeHad)
{
    resize(32, 24, green);
    content.refusals = 1000;
    EXPECT_FALSE(update(32, 24));
    const auto before = recorder.pictures();
    runUntil(now + 600 * millisecond);
    const auto after = recorder.pictures();
    ASSERT_THAT(after, SizeIs(before.size() + 1));
    EXPECT_EQ(after.back().address, before.back().address);
    EXPECT_EQ(after.back().width, 16);
}

TEST_F(ResizedPictures, AFailedUpdateToTheSizeThatThePicturesHaveForgetsNothingThatWasDrawnMeanwhile)
{
    // So that the pictures of the pool have been used.
    for (std::int32_t x = 0; x < 4; ++x) {
        now += sixtieth * 2;
        draw({x, 0, 1, 1}, green);
        work();
    }
    content.refusals = 1;
    content.whileFetched = [this] { draw({3, 4, 5, 2}, blue); };
    EXPECT_FALSE(update(16, 12));
    now += sixtieth * 2;
    work();
    expectContent();
}

TEST_F(ResizedPictures, AnUpdateWithoutMemoryChangesNothingAndTheSizeIsToldAgainASecondLater)
{
    resize(32, 24, green);
    runUntil(now + std::chrono::seconds{2});
    const Error none{"test", 12, "No memory.", nullptr};
    const auto updated = stream.updateSize(32, 24, fail(none));
    ASSERT_FALSE(updated);
    EXPECT_EQ(updated.error(), none);
    const auto failedAt = now;
    runUntil(failedAt + 999 * millisecond);
    EXPECT_THAT(told, SizeIs(1));
    EXPECT_EQ(recorder.pictures().back().width, 16);
    runUntil(failedAt + 1000 * millisecond);
    EXPECT_THAT(told, SizeIs(2));
    EXPECT_TRUE(update(32, 24));
    expectContent();
}

TEST_F(ResizedPictures, ASizeThatTheContentNoLongerHasIsRefused)
{
    resize(32, 24, green);
    runUntil(now + std::chrono::seconds{1});
    resize(24, 24, blue);
    EXPECT_FALSE(update(32, 24));
    resize(16, 12, red);
    EXPECT_FALSE(update(24, 24));
    now += sixtieth * 2;
    work();
    expectContent();
    runUntil(now + std::chrono::seconds{5});
    EXPECT_THAT(told, SizeIs(1));
}

TEST_F(ResizedPictures, TheContentsSizeIsToldAgainASecondAfterAnotherWasRefused)
{
    resize(32, 24, green);
    runUntil(now + std::chrono::seconds{2});
    EXPECT_FALSE(update(24, 24));
    const auto refusedAt = now;
    runUntil(refusedAt + 999 * millisecond);
    EXPECT_THAT(told, SizeIs(1));
    runUntil(refusedAt + 1000 * millisecond);
    EXPECT_THAT(told, ElementsAre(std::pair{32, 24}, std::pair{32, 24}));
}

TEST_F(ResizedPictures, ContentThatChangesItsSizeWhileTheUpdateLooksIsRefused)
{
    resize(32, 24, green);
    content.refusals = 1;
    content.whileFetched = [this] {
        content.resize(16, 12, blue);
        stream.contentReplaced(16, 12);
    };
    EXPECT_FALSE(update(32, 24));
    now += sixtieth * 2;
    work();
    expectContent();
}

TEST_F(ResizedPictures, ContentThatFailsInAnUpdateFailsItWithItsError)
{
    resize(32, 24, green);
    content.error = Error{"test", 5, "The content is gone.", nullptr};
    const auto updated = update(32, 24);
    ASSERT_FALSE(updated);
    EXPECT_EQ(updated.error(), *content.error);
    EXPECT_EQ(stream.width(), 16);
}

TEST(PictureStream, SizesFromOnePixelTo32767AreItsOwn)
{
    EXPECT_TRUE(PictureStream::isPossible(pictureSize(1, 1)));
    EXPECT_TRUE(PictureStream::isPossible(pictureSize(32767, 32767)));
    EXPECT_FALSE(PictureStream::isPossible(pictureSize(0, 100)));
    EXPECT_FALSE(PictureStream::isPossible(pictureSize(100, 0)));
    EXPECT_FALSE(PictureStream::isPossible(pictureSize(32768, 100)));
    EXPECT_FALSE(PictureStream::isPossible(pictureSize(100, 32768)));
}

}  // namespace
}  // namespace velmora::engine

#include "engine/sharing/SmallFilePlan.h"

#include "engine/sharing/SmallFileSearch.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora::engine {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

ClipShape clipOf(std::int32_t width, std::int32_t height, int rate, int seconds)
{
    ClipShape clip{width, height, std::int64_t{seconds} * pictureTimescale, {}};
    for (int i = 0; i < rate * seconds; ++i)
        clip.times.push_back(std::int64_t{i} * pictureTimescale / rate);
    return clip;
}

std::vector<std::int64_t> kept(const PictureTiming& timing, const ClipShape& clip)
{
    PictureSchedule schedule{timing};
    std::vector<std::int64_t> times;
    for (std::size_t i = 0; i < clip.times.size(); ++i) {
        const auto& of = schedule.timesOf(clip.times[i], i + 1 < clip.times.size() ? clip.times[i + 1] : clip.length);
        times.insert(times.end(), of.begin(), of.end());
    }
    return times;
}

TEST(PictureSchedule, WithoutARateEveryPictureIsKeptAtItsTime)
{
    const auto clip = clipOf(1920, 1080, 60, 2);
    EXPECT_EQ(kept({}, clip), clip.times);
}

TEST(PictureSchedule, HalfTheRateIsEverySecondPicture)
{
    const auto clip = clipOf(1920, 1080, 60, 2);
    const auto times = kept({.largestRate = 30}, clip);
    ASSERT_EQ(times.size(), 60U);
    for (std::size_t i = 0; i < times.size(); ++i)
        EXPECT_EQ(times[i], clip.times[2 * i]);
}

TEST(PictureSchedule, PicturesThatComeALittleEarlyAreStillEverySecondOne)
{
    auto clip = clipOf(1920, 1080, 60, 2);
    for (std::size_t i = 1; i < clip.times.size(); ++i)
        clip.times[i] += i % 3 == 0 ? 200 : -200;
    EXPECT_NEAR(static_cast<double>(kept({.largestRate = 30}, clip).size()), 60, 2);
}

TEST(PictureSchedule, APictureThatStaysIsNeverLeftOut)
{
    // The last of a movement, 1/60 s after one that is kept.
    ClipShape clip{640, 480, 2 * pictureTimescale, {0, 1500, 3000, 4500}};
    const auto times = kept({.largestRate = 30}, clip);
    EXPECT_EQ(times.back(), 4500);
}

TEST(PictureSchedule, AConstantRateRepeatsAndLeavesOut)
{
    const ClipShape clip{640, 480, pictureTimescale / 2, {0, 100, 20000}};
    const auto times = kept({.constantRate = 30}, clip);
    ASSERT_EQ(times.size(), 15U);
    for (std::size_t i = 0; i < times.size(); ++i)
        EXPECT_EQ(times[i], static_cast<std::int64_t>(i) * 3000);
    PictureSchedule schedule{{.constantRate = 30}};
    EXPECT_THAT(schedule.timesOf(0, 100), ElementsAre(0));
    EXPECT_EQ(schedule.timesOf(100, 20000).size(), 6U);
    EXPECT_THAT(schedule.timesOf(20000, 20500), IsEmpty()) << "no time of the raster falls on it";
}

TEST(SmallFilePlan, BeginsWithTheClipAsItIsAndBecomesSmallerBeforeItLosesPictures)
{
    const auto candidates = pictureCandidates(clipOf(1920, 1080, 60, 2));
    EXPECT_EQ(candidates.front().width, 1920);
    EXPECT_EQ(candidates.front().height, 1080);
    EXPECT_EQ(candidates.front().pictureCount, 120U);
    const auto halved =
        std::find_if(candidates.begin(), candidates.end(), [](const auto& candidate) { return candidate.timing.largestRate > 0; });
    ASSERT_NE(halved, candidates.end());
    EXPECT_EQ(halved->height, 720);
    EXPECT_EQ(halved->pictureCount, 60U);
    EXPECT_EQ(candidates.back().height, 144);
    EXPECT_EQ(candidates.back().timing.largestRate, 15);
    for (std::size_t i = 1; i < candidates.size(); ++i) {
        EXPECT_LE(candidates[i].width, candidates[i - 1].width);
        EXPECT_LE(candidates[i].pictureCount, candidates[i - 1].pictureCount);
        EXPECT_EQ(candidates[i].width % 2, 0);
        EXPECT_EQ(candidates[i].height % 2, 0);
    }
}

TEST(SmallFilePlan, AnUprightClipIsMeasuredByItsWidthAndAnOddOneBecomesEven)
{
    EXPECT_EQ(pictureCandidates(clipOf(1080, 1920, 30, 1))[1].width, 900);
    const auto odd = pictureCandidates(clipOf(641, 361, 30, 1)).front();
    EXPECT_EQ(odd.width, 640);
    EXPECT_EQ(odd.height, 360);
    const auto thin = pictureCandidates(clipOf(2000, 2, 30, 1));
    EXPECT_EQ(thin.back().height, 2);
}

TEST(SmallFilePlan, AClipOf30PicturesASecondHasNoneToLoseUntilItIsTiny)
{
    for (const auto& candidate : pictureCandidates(clipOf(1280, 720, 30, 2)))
        EXPECT_TRUE(candidate.timing.largestRate == 0 || candidate.height <= 240);
}

TEST(SmallFilePlan, TheUsualRateIsThatOfMovement)
{
    auto clip = clipOf(640, 480, 60, 1);
    clip.length = 10 * pictureTimescale;
    for (int i = 0; i < 18; ++i)
        clip.times.push_back((std::int64_t{2} + i) * pictureTimescale / 2);
    EXPECT_NEAR(usualRate(clip), 60, 1);
    EXPECT_EQ(steadyRate(clip), 60);
    EXPECT_EQ(steadyRate(clipOf(640, 480, 26, 1)), 25);
    EXPECT_GE(usualRate(clipOf(640, 480, 1, 1)), 1);
}

TEST(SmallFilePlan, SoundGetsAnEighthButNoMoreThanItHad)
{
    EXPECT_EQ(soundBitRate(1e6, 24000), 160000);
    EXPECT_EQ(soundBitRate(1e6, 12000), 96000);
    EXPECT_EQ(soundBitRate(70000, 24000), 64000);
    EXPECT_EQ(soundBitRate(100, 24000), leastSoundBitRate);
}

TEST(SmallFileSearch, HalvesTheBytesForSixUntilItKnowsBetter)
{
    SmallFileSearch search;
    search.add(26, 1000);
    EXPECT_NEAR(search.qualityFor(500), 32, 0.01);
    EXPECT_NEAR(search.qualityFor(2000), 20, 0.01);
    search.add(30, 500);
    EXPECT_NEAR(search.qualityFor(250), 34, 0.01);
}

TEST(SmallFileSearch, AnotherIsAsSteepAsTheFirstHasFound)
{
    SmallFileSearch first;
    first.add(26, 1000);
    EXPECT_NEAR(SmallFileSearch::withSlopeOf(first).qualityFor(500), SmallFileSearch{}.qualityFor(500), 0.01) << "nothing is known";
    first.add(29, 500);
    auto second = SmallFileSearch::withSlopeOf(first);
    second.add(20, 4000);
    EXPECT_NEAR(second.qualityFor(2000), 23, 0.01);
    auto third = SmallFileSearch::withSlopeOf(SmallFileSearch::withSlopeOf(first));
    third.add(20, 4000);
    EXPECT_NEAR(third.qualityFor(2000), 23, 0.01);
}

TEST(SmallFileSearch, AnEncoderThatPaysNoHeedLeadsNowhereFar)
{
    SmallFileSearch search;
    search.add(26, 1000);
    search.add(30, 1000);
    EXPECT_LT(search.qualityFor(900), 40);
    EXPECT_GT(search.qualityFor(900), 26);
    EXPECT_TRUE(std::isfinite(search.qualityFor(0)));
}

}  // namespace
}  // namespace velmora::engine

#include "media/mp4/ShownSamples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

namespace velmora::mp4 {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t scale = 600;
constexpr std::int64_t tick = 20;  // of a picture, 30 a second

/// Pictures in decode order.
struct Picture {
    std::int64_t number;  ///< in the order of presentation
    bool isSync = false;
};

Track trackOf(const std::vector<Picture>& pictures, std::int64_t firstDecodeTime = 0)
{
    Track track;
    track.id = 1;
    VideoFormat format;
    format.codec = "avc1";
    track.format = std::make_shared<const FormatDescription>(format);
    track.timescale = scale;
    std::int64_t decode = 0;
    for (const auto& picture : pictures) {
        EXPECT_TRUE(track.samples.append({static_cast<std::uint64_t>(decode), 1, firstDecodeTime + decode,
            static_cast<std::int32_t>(picture.number * tick - decode), picture.isSync}));
        decode += tick;
    }
    track.samples.setLastDuration(tick);
    return track;
}

std::vector<Picture> inOrder(std::int64_t count, std::int64_t keyInterval)
{
    std::vector<Picture> pictures;
    for (std::int64_t i = 0; i < count; ++i)
        pictures.push_back({i, i % keyInterval == 0});
    return pictures;
}

void expectShown(const Track& track, MediaTime time, std::size_t first, std::size_t last, bool isFragmented = false)
{
    Movie movie;
    movie.timescale = 1000;
    movie.isFragmented = isFragmented;
    const auto shown = samplesShownAt(movie, track, time);
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->first, first) << time.seconds();
    EXPECT_EQ(shown->last, last) << time.seconds();
    const auto sample = track.samples.expanded().at(last);
    EXPECT_EQ(shown->presentationTime, sample.decodeTime + sample.compositionOffset);
}

TEST(SamplesShownAt, APictureIsShownFromItsBeginningUntilTheNext)
{
    const auto track = trackOf(inOrder(10, 5));
    expectShown(track, {0, scale}, 0, 0);
    expectShown(track, {19, scale}, 0, 0);
    expectShown(track, {20, scale}, 0, 1);
    expectShown(track, {99, scale}, 0, 4);
    expectShown(track, {100, scale}, 5, 5);
    expectShown(track, {139, scale}, 5, 6);
}

TEST(SamplesShownAt, ATimeOfAnotherScaleIsTakenToTheNearestTick)
{
    const auto track = trackOf(inOrder(10, 5));
    expectShown(track, MediaTime::nanoseconds(33'333'333), 0, 1);
    expectShown(track, MediaTime::nanoseconds(32'000'000), 0, 0);
}

TEST(SamplesShownAt, BeforeTheFirstAndAfterTheLastTheNearestIsShown)
{
    const auto track = trackOf(inOrder(10, 5));
    expectShown(track, {-100, scale}, 0, 0);
    expectShown(track, {200, scale}, 5, 9);
    expectShown(track, {std::int64_t{1} << 62, 1}, 5, 9);
}

TEST(SamplesShownAt, PicturesOutOfOrderAreFoundByTheirPresentation)
{
    const auto track = trackOf({{0, true}, {3}, {1}, {2}, {4, true}, {7}, {5}, {6}});
    expectShown(track, {20, scale}, 0, 2);
    expectShown(track, {40, scale}, 0, 3);
    expectShown(track, {60, scale}, 0, 1);
    expectShown(track, {80, scale}, 4, 4);
    expectShown(track, {120, scale}, 4, 7);
}

TEST(SamplesShownAt, APictureThatIsShownBeforeItsKeyFrameBeginsAtTheOneBefore)
{
    const auto track = trackOf({{0, true}, {1}, {4, true}, {2}, {3}, {5}});
    expectShown(track, {40, scale}, 0, 3);
    expectShown(track, {100, scale}, 2, 5);
}

TEST(SamplesShownAt, WithoutAKeyFrameBeforeItDecodingBeginsAtTheFirst)
{
    const auto track = trackOf({{0}, {1}, {2, true}});
    expectShown(track, {20, scale}, 0, 1);
}

TEST(SamplesShownAt, AnEditMovesTheBeginning)
{
    auto track = trackOf(inOrder(10, 5));
    track.edits = {{100, 60}};  // 0.1 s from the fourth picture on
    expectShown(track, {0, scale}, 0, 3);
    expectShown(track, {40, scale}, 5, 5);
    expectShown(track, {59, scale}, 5, 5);
    expectShown(track, {60, scale}, 5, 5);
    expectShown(track, {5, 1}, 5, 5);
}

TEST(SamplesShownAt, AnEditThatShowsNothingDelaysTheRest)
{
    auto track = trackOf(inOrder(10, 5));
    track.edits = {{1000, -1}, {333, 20}};
    expectShown(track, {0, 1}, 0, 1);
    expectShown(track, {1, 1}, 0, 1);
    expectShown(track, {scale + 20, scale}, 0, 2);
}

TEST(SamplesShownAt, SeveralEditsFollowEachOther)
{
    auto track = trackOf(inOrder(10, 5));
    track.edits = {{100, 120}, {100, 0}};
    expectShown(track, {0, scale}, 5, 6);
    expectShown(track, {59, scale}, 5, 8);
    expectShown(track, {60, scale}, 0, 0);
    expectShown(track, {1, 1}, 0, 2);
}

TEST(SamplesShownAt, InFragmentsAnEditWithoutADurationLastsUntilTheEnd)
{
    auto track = trackOf(inOrder(10, 5));
    track.edits = {{0, 20}};
    expectShown(track, {0, scale}, 0, 1, true);
    expectShown(track, {100, scale}, 5, 6, true);
    expectShown(track, {10, 1}, 5, 9, true);
}

TEST(SamplesShownAt, FragmentsThatBeginLateShowTheirFirstPictureUntilThen)
{
    const auto track = trackOf(inOrder(10, 5), 6000);
    expectShown(track, {0, scale}, 0, 0, true);
    expectShown(track, {6020, scale}, 0, 1, true);
}

TEST(SamplesShownAt, ATrackWithoutSamplesShowsNothing)
{
    Movie movie;
    movie.timescale = 1000;
    EXPECT_FALSE(samplesShownAt(movie, trackOf({}), {0, 1}));
}

/// The ticks at which pictures begin.
std::vector<std::int64_t> begins(const Track& track)
{
    Movie movie;
    movie.timescale = 1000;
    std::vector<std::int64_t> ticks;
    for (const auto time : pictureTimes(movie, track)) {
        EXPECT_EQ(time.timescale, scale);
        ticks.push_back(time.value);
    }
    return ticks;
}

TEST(PictureTimes, AreThoseOfTheSamplesInTheOrderInWhichTheyAreShown)
{
    EXPECT_THAT(begins(trackOf({{0}, {2}, {1}, {3}})), ElementsAre(0, 20, 40, 60));
    EXPECT_THAT(begins(trackOf({})), IsEmpty());
}

TEST(PictureTimes, AnEditBeginsWithThePictureThatIsShownThere)
{
    auto track = trackOf(inOrder(10, 5));
    track.edits = {{100, 70}};  // 0.1 s, that is 60 ticks, from the middle of the fourth picture on
    EXPECT_THAT(begins(track), ElementsAre(0, 10, 30, 50));
    track.edits = {{500, -1}, {0, 40}};
    EXPECT_THAT(begins(track).front(), 300);
}

}  // namespace
}  // namespace velmora::mp4

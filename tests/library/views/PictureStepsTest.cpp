// From one picture to the next, where pictures come at no fixed rate and clocks are not exact.
#include "library/views/PictureSteps.h"

#include "library/views/PreviewTimes.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmora {
namespace {

constexpr double clipEnd = 2.75;

MediaTime milliseconds(std::int64_t time)
{
    return {time, 1000};
}

/// A picture that stays long, two that come close, one that stays to the end.
PictureSteps uneven()
{
    PictureSteps steps;
    steps.setTimes({milliseconds(0), milliseconds(1001), milliseconds(1018), milliseconds(2000)});
    return steps;
}

TEST(PictureSteps, ATimeWithoutPicturesStaysWhereItIs)
{
    const PictureSteps steps;
    EXPECT_FALSE(steps.areKnown());
    EXPECT_FALSE(steps.beginOfPictureAt(milliseconds(700)));
    EXPECT_EQ(steps.stepped(milliseconds(700), 1, clipEnd), 0.7);
}

TEST(PictureSteps, EveryStepComesToTheNextPictureHoweverLongItStays)
{
    const auto steps = uneven();
    double time = 0;
    std::vector<double> begins;
    for (int step = 0; step < 4; ++step) {
        time = steps.stepped(preview_times::exported(time), 1, clipEnd);
        begins.push_back(time);
    }
    EXPECT_EQ(begins, (std::vector{601 / 600.0, 611 / 600.0, 2.0, clipEnd}));
}

TEST(PictureSteps, EveryStepBackComesToThePictureBefore)
{
    const auto steps = uneven();
    EXPECT_EQ(steps.stepped(milliseconds(2000), -1, clipEnd), 611 / 600.0);
    EXPECT_EQ(steps.stepped(preview_times::exported(611 / 600.0), -1, clipEnd), 601 / 600.0);
    EXPECT_EQ(steps.stepped(preview_times::exported(601 / 600.0), -1, clipEnd), 0);
}

TEST(PictureSteps, BeforeTheFirstPictureComesTheFirstAndAfterTheLastTheEnd)
{
    const auto steps = uneven();
    EXPECT_EQ(steps.stepped(milliseconds(500), -9, clipEnd), 0);
    EXPECT_EQ(steps.stepped(milliseconds(2500), 9, clipEnd), clipEnd);
    EXPECT_EQ(steps.stepped(milliseconds(3000), 1, clipEnd), 3.0) << "a player may be beyond what the file says";
}

TEST(PictureSteps, ATimeThatIsAMicrosecondEarlyMeansThePictureThatIsAboutToBegin)
{
    const auto steps = uneven();
    EXPECT_EQ(steps.beginOfPictureAt(MediaTime{1'999'999, 1'000'000}), 2.0);
    EXPECT_EQ(steps.beginOfPictureAt(MediaTime{1'999'998, 1'000'000}), 611 / 600.0);
}

TEST(PictureSteps, ABeginIsNeverBeforeItsPictureOnTheScaleOfWhatIsExported)
{
    PictureSteps steps;
    // 30000/1001 pictures a second: none but the first begins on a tick.
    std::vector<MediaTime> times;
    for (std::int64_t number = 0; number < 300; ++number)
        times.push_back({number * 1001, 30000});
    steps.setTimes(times);
    for (const auto& time : times) {
        const auto begin = preview_times::exported(steps.beginOfPictureAt(time).value());
        EXPECT_GE(begin, time);
        EXPECT_LT(begin, (time + MediaTime{1001, 30000}));
    }
}

}  // namespace
}  // namespace velmora

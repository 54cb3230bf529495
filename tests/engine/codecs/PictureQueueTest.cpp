#include "engine/codecs/PictureQueue.h"
#include "tests/support/media/TestPictures.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace velmora::engine {
namespace {

using test::Canvas;

class PictureQueueTest : public ::testing::Test {
protected:
    void push(std::uint64_t sequence, std::vector<PixelRect> dirty = {}, std::uint64_t stream = 1)
    {
        queue_.push(
            Canvas{2, 2}.picture({stream, sequence, std::move(dirty)}), MediaTime::nanoseconds(++pushed_), MediaTime::nanoseconds(1));
    }

    std::int64_t popTime() { return queue_.pop()->presentationTimeStamp.value; }

    static std::vector<PixelRect> rectangles(const PendingPicture& picture)
    {
        const auto all = picture.changed.rectangles();
        return {all.begin(), all.end()};
    }

    PictureQueue queue_;

private:
    std::int64_t pushed_ = 0;
};

TEST_F(PictureQueueTest, PicturesComeOutAsTheyWentIn)
{
    push(1);
    push(2);
    EXPECT_EQ(popTime(), 1);
    push(3);
    push(4);
    EXPECT_EQ(popTime(), 2);
    EXPECT_EQ(popTime(), 3);
    EXPECT_EQ(popTime(), 4);
    EXPECT_FALSE(queue_.pop());
    EXPECT_TRUE(queue_.isEmpty());
}

TEST_F(PictureQueueTest, AFourthPictureTakesThePlaceOfTheThird)
{
    for (std::uint64_t sequence = 1; sequence <= 5; ++sequence)
        push(sequence);
    EXPECT_EQ(popTime(), 1);
    EXPECT_EQ(popTime(), 2);
    const auto last = queue_.pop();
    ASSERT_TRUE(last);
    EXPECT_EQ(last->presentationTimeStamp.value, 5);
    EXPECT_EQ(last->droppedBefore, 2U);
    EXPECT_TRUE(queue_.isEmpty());
}

TEST_F(PictureQueueTest, EachPictureSaysHowManyHaveBeenDroppedInAllThoseBehindItToo)
{
    for (std::uint64_t sequence = 1; sequence <= 5; ++sequence)
        push(sequence);
    const auto first = queue_.pop();
    EXPECT_EQ(first->droppedInAll, 2U);
    EXPECT_EQ(first->droppedBefore, 0U);
    push(6);
    push(7);
    EXPECT_EQ(queue_.pop()->droppedInAll, 3U);
    EXPECT_EQ(queue_.pop()->droppedInAll, 3U);
}

TEST_F(PictureQueueTest, TheFirstPictureChangedAltogether)
{
    push(7, {{0, 0, 1, 1}});
    EXPECT_TRUE(queue_.pop()->changed.isWhole());
}

TEST_F(PictureQueueTest, TheNextPictureOfAStreamChangedWhereItSays)
{
    push(7);
    queue_.pop();
    push(8, {{1, 2, 3, 4}, {5, 6, 7, 8}});
    const auto picture = queue_.pop();
    EXPECT_FALSE(picture->changed.isWhole());
    EXPECT_EQ(rectangles(*picture), (std::vector<PixelRect>{{1, 2, 3, 4}, {5, 6, 7, 8}}));
}

TEST_F(PictureQueueTest, TheSamePictureAgainChangedNothing)
{
    push(7);
    queue_.pop();
    push(7, {{1, 2, 3, 4}});
    const auto picture = queue_.pop();
    EXPECT_FALSE(picture->changed.isWhole());
    EXPECT_TRUE(picture->changed.rectangles().empty());
}

TEST_F(PictureQueueTest, APictureAfterAGapOrOfAnotherOrUnknownStreamChangedAltogether)
{
    push(7);
    push(9);
    queue_.pop();
    EXPECT_TRUE(queue_.pop()->changed.isWhole());
    push(10, {}, 2);
    EXPECT_TRUE(queue_.pop()->changed.isWhole());
    push(11, {}, 0);
    EXPECT_TRUE(queue_.pop()->changed.isWhole());
    push(12, {}, 0);
    EXPECT_TRUE(queue_.pop()->changed.isWhole());
}

TEST_F(PictureQueueTest, TheChangesOfDroppedPicturesCountForTheNextOne)
{
    push(1);
    push(2);
    push(3, {{0, 0, 2, 2}});
    push(4, {{4, 4, 2, 2}});
    push(5, {{8, 8, 2, 2}});
    queue_.pop();
    queue_.pop();
    const auto last = queue_.pop();
    EXPECT_FALSE(last->changed.isWhole());
    EXPECT_EQ(rectangles(*last), (std::vector<PixelRect>{{8, 8, 2, 2}, {4, 4, 2, 2}, {0, 0, 2, 2}}));
}

TEST_F(PictureQueueTest, ADroppedPictureThatChangedAltogetherMakesTheNextOneDoSo)
{
    push(1);
    push(2);
    push(30);
    push(31, {{4, 4, 2, 2}});
    queue_.pop();
    queue_.pop();
    EXPECT_TRUE(queue_.pop()->changed.isWhole());
}

TEST_F(PictureQueueTest, ManyRectanglesAreCoveredByFew)
{
    push(1);
    queue_.pop();
    std::vector<PixelRect> dirty;
    for (std::int32_t i = 0; i < 40; ++i)
        dirty.push_back({10 * i, i, 3, 3});
    push(2, dirty);
    const auto picture = queue_.pop();
    const auto covering = rectangles(*picture);
    EXPECT_LE(covering.size(), DirtyArea::capacity);
    for (const auto& rectangle : dirty) {
        EXPECT_TRUE(std::any_of(covering.begin(), covering.end(), [&](const auto& c) { return c.intersected(rectangle) == rectangle; }));
    }
}

TEST_F(PictureQueueTest, ClearingReleasesThePictures)
{
    const auto picture = Canvas{2, 2}.picture();
    queue_.push(picture, MediaTime::nanoseconds(1), MediaTime::nanoseconds(1));
    EXPECT_EQ(picture.use_count(), 2);
    queue_.clear();
    EXPECT_EQ(picture.use_count(), 1);
    EXPECT_TRUE(queue_.isEmpty());
}

}  // namespace
}  // namespace velmora::engine

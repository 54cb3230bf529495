// What comes out for a window that stands still, and after it moves again.
#include "engine/codecs/StillKeyFrames.h"
#include "tests/platform/linux/ffmpeg/EncodedPictures.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace velmora::linux_backend {
namespace {

using test::second;
using testing::isKeyFrame;

TEST(StillKeyFrames, NoneIsRepeatedBeforeTheEncoderHasMadeTwo)
{
    engine::StillKeyFrames still;
    EXPECT_FALSE(still.repeat());
    still.encoded(DataBlock::owning(std::vector<std::byte>(100)));
    EXPECT_FALSE(still.repeat());
    EXPECT_FALSE(still.isEncoderAside());
}

TEST(StillKeyFrames, TwoTakeTurnsTheOlderFirst)
{
    engine::StillKeyFrames still;
    const auto older = DataBlock::owning(std::vector<std::byte>(100));
    const auto newer = DataBlock::owning(std::vector<std::byte>(100));
    still.encoded(older);
    still.encoded(newer);
    EXPECT_EQ(still.repeat()->bytes.data(), older.bytes.data());
    EXPECT_TRUE(still.isEncoderAside());
    EXPECT_TRUE(still.isNumberTaken());
    EXPECT_EQ(still.repeat()->bytes.data(), newer.bytes.data());
    EXPECT_FALSE(still.isEncoderAside());
    EXPECT_FALSE(still.isNumberTaken());
    EXPECT_EQ(still.repeat()->bytes.data(), older.bytes.data());
}

TEST(StillKeyFrames, AfterAFrameOfAnotherKindTheNewerDoesNotBringTheEncoderBack)
{
    engine::StillKeyFrames still;
    still.encoded(DataBlock::owning(std::vector<std::byte>(100)));
    still.encoded(DataBlock::owning(std::vector<std::byte>(100)));
    still.encodedOther();
    static_cast<void>(still.repeat());
    static_cast<void>(still.repeat());
    EXPECT_TRUE(still.isEncoderAside());
    EXPECT_FALSE(still.isNumberTaken());
}

TEST(StillKeyFrames, TheyAreMadeAnewUntilTwoAreAlike)
{
    engine::StillKeyFrames still;
    for (const std::size_t size : {1000U, 2000U, 1500U}) {
        still.encoded(DataBlock::owning(std::vector<std::byte>(size)));
        EXPECT_FALSE(still.repeat());
    }
    still.encoded(DataBlock::owning(std::vector<std::byte>(1550)));
    EXPECT_TRUE(still.repeat());
}

TEST(StillKeyFrames, AnotherPictureHasItsOwn)
{
    engine::StillKeyFrames still;
    still.encoded(DataBlock::owning(std::vector<std::byte>(100)));
    still.encoded(DataBlock::owning(std::vector<std::byte>(100)));
    EXPECT_TRUE(still.repeat());
    still.pictureChanged();
    EXPECT_FALSE(still.repeat());
    EXPECT_TRUE(still.isEncoderAside());
}

using StillPicturesTest = testing::EncodedPicturesTest;

TEST_F(StillPicturesTest, AWindowThatStandsStillIsEncodedAFewTimesOnly)
{
    move();
    restTimes(20);
    EXPECT_EQ(samples_.size(), 21U);
    EXPECT_LE(log_.encoded, 6);
    for (const auto& sample : samples_)
        EXPECT_TRUE(isKeyFrame(*sample));
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
}

TEST_F(StillPicturesTest, MotionAfterAnyNumberOfStillPicturesShowsWhatMoves)
{
    for (int rests = 0; rests < 12; ++rests) {
        for (int moves = 0; moves < 3; ++moves)
            move();
        restTimes(rests);
    }
    move();
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
    expectFramesReferToWhatCameBefore();
}

TEST_F(StillPicturesTest, ARepeatBeforeHalfASecondIsOverShowsThePictureToo)
{
    move();
    for (int i = 0; i < 12; ++i) {
        rest();
        rest(second / 10);
    }
    move();
    move();
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
    expectFramesReferToWhatCameBefore();
}

TEST_F(StillPicturesTest, AKeyFrameThatIsAskedForInAStillWindowIsOneThatIsThereAlready)
{
    move();
    restTimes(6);
    const int encoded = log_.encoded;
    for (int i = 0; i < 5; ++i) {
        const auto request = requests_.ask();
        rest(second / 50);
        EXPECT_TRUE(isKeyFrame(*samples_.back()));
        EXPECT_FALSE(requests_.last());
    }
    EXPECT_EQ(log_.encoded, encoded);
    move();
    move();
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
    expectFramesReferToWhatCameBefore();
}

TEST_F(StillPicturesTest, AKeyFrameThatIsAskedForAtAnyMomentOfMotionAndStillnessShowsItsPicture)
{
    for (int moment = 0; moment < 12; ++moment) {
        for (int i = 0; i < 12; ++i) {
            std::optional<engine::KeyFrameRequests::Registration> request;
            if (i == moment)
                request = requests_.ask();
            if (i < 4)
                move();
            else
                rest(i % 2 ? second / 2 : second / 10);
            if (i == moment) {
                EXPECT_TRUE(isKeyFrame(*samples_.back()));
            }
        }
    }
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
    expectFramesReferToWhatCameBefore();
}

TEST_F(StillPicturesTest, AFailureAsThePictureMovesAgainIsMadeUpForByAKeyFrame)
{
    for (int rests = 6; rests < 8; ++rests) {
        move();
        restTimes(rests);
        // One of them after the black picture that brings the encoder back, one without it.
        log_.failingCall = log_.encoded + 1;
        move();
        move();
        log_.failingCall = -1;
        move();
        move();
    }
    EXPECT_EQ(samples_.size(), 2U * (1 + 4) + 6 + 7 - 2);
    expectEachShowsItsPicture();
}

TEST_F(StillPicturesTest, AnEncoderThatTakesABrokenOnesPlaceBeginsWithAnotherNumberThanTheLastKeyFrames)
{
    // Whichever of the two numbers that was, and whether or not it was put out again.
    for (int rests = 1; rests < 8; ++rests) {
        move();
        restTimes(rests);
        ASSERT_TRUE(isKeyFrame(*samples_.back()));
        const auto last = testing::numberOfKeyFrame(*samples_.back());
        const auto opened = log_.opened.size();
        for (int i = 0; i < 10; ++i) {
            log_.failingCall = log_.encoded;
            move();
        }
        log_.failingCall = -1;
        move();
        EXPECT_EQ(log_.opened.size(), opened + 1);
        ASSERT_TRUE(isKeyFrame(*samples_.back()));
        EXPECT_NE(testing::numberOfKeyFrame(*samples_.back()), last) << rests;
    }
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
}

TEST_F(StillPicturesTest, AnEncoderWhoseKeyFramesAreNumberedOtherwiseMakesEveryPicture)
{
    log_.alternates = false;
    move();
    restTimes(10);
    EXPECT_EQ(log_.encoded, 11);
    expectEachShowsItsPicture();
}

}  // namespace
}  // namespace velmora::linux_backend

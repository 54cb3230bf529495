#include "platform/linux/x11/RepeatFilter.h"

#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

TEST(RepeatFilter, TheFirstPressIsNoRepetition)
{
    const RepeatFilter filter;
    EXPECT_FALSE(filter.isRepetition(54, 0));
    EXPECT_FALSE(filter.isRepetition(54, 1000));
}

TEST(RepeatFilter, APressAtTheMomentOfItsReleaseIsARepetition)
{
    RepeatFilter filter;
    for (const xcb_timestamp_t time : {1660U, 1690U, 1720U}) {
        filter.release(54, time);
        EXPECT_TRUE(filter.isRepetition(54, time));
    }
}

TEST(RepeatFilter, APressAfterTheReleaseIsANewOne)
{
    RepeatFilter filter;
    filter.release(54, 1000);
    EXPECT_FALSE(filter.isRepetition(54, 1001));
}

TEST(RepeatFilter, AnotherKeysReleaseAtTheSameMomentChangesNothing)
{
    RepeatFilter filter;
    filter.release(55, 1000);
    EXPECT_FALSE(filter.isRepetition(54, 1000));
}

TEST(RepeatFilter, APressWhoseLastReleaseNeverCameIsANewOne)
{
    RepeatFilter filter;
    EXPECT_FALSE(filter.isRepetition(54, 1000));
    EXPECT_FALSE(filter.isRepetition(54, 5000));
}

TEST(RepeatFilter, TheServersClockMayStartOver)
{
    RepeatFilter filter;
    filter.release(54, 0xFFFFFFFF);
    EXPECT_FALSE(filter.isRepetition(54, 3));
    filter.release(54, 3);
    EXPECT_TRUE(filter.isRepetition(54, 3));
}

}  // namespace
}  // namespace velmora::linux_backend

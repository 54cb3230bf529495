#include "windows/SoundingWindows.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t terminal = 50;
constexpr std::int32_t browser = 100;
const std::map<std::uint32_t, std::int32_t> owners{{1, browser}, {2, browser}, {3, terminal}, {4, 0}};

TEST(SoundingWindows, AHelperPlaysForEveryWindowOfTheProcessThatItComesFrom)
{
    EXPECT_THAT(soundingWindows({{110, browser, 10}}, owners), ElementsAre(1U, 2U));
    EXPECT_THAT(soundingWindows({{browser, 10}}, owners), ElementsAre(1U, 2U));
}

TEST(SoundingWindows, TheNearestProcessWithAWindowIsTheOneThatPlays)
{
    EXPECT_THAT(soundingWindows({{110, browser, terminal, 10}}, owners), ElementsAre(1U, 2U)) << "started in the terminal";
    EXPECT_THAT(soundingWindows({{60, terminal, 10}}, owners), ElementsAre(3U));
    EXPECT_THAT(soundingWindows({{60, terminal}, {browser}}, owners), ElementsAre(1U, 2U, 3U));
}

TEST(SoundingWindows, WhatIsNotKnownMarksNothing)
{
    EXPECT_THAT(soundingWindows({}, owners), IsEmpty());
    EXPECT_THAT(soundingWindows({{}, {0}, {200, 10}}, owners), IsEmpty());
    EXPECT_THAT(soundingWindows({{browser}}, {}), IsEmpty());
}

}  // namespace
}  // namespace velmora

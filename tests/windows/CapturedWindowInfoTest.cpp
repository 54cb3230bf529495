#include "windows/CapturedWindowInfo.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

CapturedWindowInfo window()
{
    return {
        .id = 4127, .title = "Big Buck Bunny", .appName = "Safari", .bundleID = "safari", .frame = {1, 2, 300, 400}, .isOnScreen = true};
}

TEST(CapturedWindowInfo, ATitledWindowIsShownAsApplicationDashTitle)
{
    EXPECT_EQ(window().displayName(), "Safari \xE2\x80\x94 Big Buck Bunny");
}

TEST(CapturedWindowInfo, AnUntitledWindowIsShownByItsNumber)
{
    auto untitled = window();
    untitled.title.clear();
    untitled.appName = "VLC";
    EXPECT_EQ(untitled.displayName(), "VLC (Window #4127)");
}

TEST(CapturedWindowInfo, EqualityComparesAllSixFields)
{
    EXPECT_EQ(window(), window());
    const auto differs = [](auto change) {
        auto other = window();
        change(other);
        return other != window();
    };
    EXPECT_TRUE(differs([](auto& w) { w.id = 1; }));
    EXPECT_TRUE(differs([](auto& w) { w.title = "x"; }));
    EXPECT_TRUE(differs([](auto& w) { w.appName = "x"; }));
    EXPECT_TRUE(differs([](auto& w) { w.bundleID = "x"; }));
    EXPECT_TRUE(differs([](auto& w) { w.frame.height = 401; }));
    EXPECT_TRUE(differs([](auto& w) { w.isOnScreen = false; }));
}

TEST(CapturedWindowInfo, EqualWindowsHashEqualEvenWithNegativeZero)
{
    auto positive = window();
    auto negative = window();
    positive.frame.x = 0.0;
    negative.frame.x = -0.0;
    EXPECT_EQ(positive, negative);
    EXPECT_EQ(std::hash<CapturedWindowInfo>{}(positive), std::hash<CapturedWindowInfo>{}(negative));
}

TEST(CapturedWindowInfo, TheHashUsesTheStandardisedFrame)
{
    auto straight = window();
    auto flipped = window();
    straight.frame = {10, 20, 30, 40};
    flipped.frame = {40, 60, -30, -40};
    EXPECT_EQ(std::hash<CapturedWindowInfo>{}(straight), std::hash<CapturedWindowInfo>{}(flipped));
}

TEST(CapturedWindowInfo, DifferentWindowsHashDifferently)
{
    auto other = window();
    other.frame.width = 301;
    EXPECT_NE(std::hash<CapturedWindowInfo>{}(window()), std::hash<CapturedWindowInfo>{}(other));
    other = window();
    other.isOnScreen = false;
    EXPECT_NE(std::hash<CapturedWindowInfo>{}(window()), std::hash<CapturedWindowInfo>{}(other));
}

}  // namespace
}  // namespace velmora

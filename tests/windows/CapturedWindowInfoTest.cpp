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
    // Less than a point.
    straight.frame = {10, 20, 0.5, 0.25};
    flipped.frame = {10.5, 20.25, -0.5, -0.25};
    EXPECT_EQ(std::hash<CapturedWindowInfo>{}(straight), std::hash<CapturedWindowInfo>{}(flipped));
}

TEST(CapturedWindowInfo, WindowsThatDifferInAnyFieldHashDifferently)
{
    const auto hashAfter = [](auto change) {
        auto other = window();
        change(other);
        return std::hash<CapturedWindowInfo>{}(other);
    };
    const auto own = hashAfter([](auto&) {});
    EXPECT_NE(own, hashAfter([](auto& w) { w.id = 1; }));
    EXPECT_NE(own, hashAfter([](auto& w) { w.title = "x"; }));
    EXPECT_NE(own, hashAfter([](auto& w) { w.appName = "x"; }));
    EXPECT_NE(own, hashAfter([](auto& w) { w.bundleID = "x"; }));
    EXPECT_NE(own, hashAfter([](auto& w) { w.frame.x = 3; }));
    EXPECT_NE(own, hashAfter([](auto& w) { w.frame.y = 3; }));
    EXPECT_NE(own, hashAfter([](auto& w) { w.frame.width = 301; }));
    EXPECT_NE(own, hashAfter([](auto& w) { w.frame.height = 401; }));
    EXPECT_NE(own, hashAfter([](auto& w) { w.isOnScreen = false; }));
}

}  // namespace
}  // namespace velmora

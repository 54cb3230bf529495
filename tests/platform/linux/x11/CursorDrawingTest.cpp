#include "platform/linux/x11/Cursor.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace velmora::linux_backend {
namespace {

constexpr std::int32_t side = 8;

CursorImage image(std::uint32_t pixel)
{
    return {3, 3, 0, 0, std::vector<std::uint32_t>(9, pixel)};
}

std::vector<std::uint32_t> canvas(std::uint32_t pixel)
{
    return std::vector<std::uint32_t>(side * side, pixel);
}

std::byte* bytesOf(std::vector<std::uint32_t>& pixels)
{
    return reinterpret_cast<std::byte*>(pixels.data());
}

TEST(CursorDrawing, AnOpaqueCursorReplacesWhatIsBelow)
{
    auto pixels = canvas(0x102030);
    drawCursor(image(0xffaabbcc), {true, {2, 1, 3, 3}, 1}, bytesOf(pixels), side, side, nullptr);
    for (std::int32_t y = 0; y < side; ++y) {
        for (std::int32_t x = 0; x < side; ++x) {
            const bool isUnder = x >= 2 && x < 5 && y >= 1 && y < 4;
            EXPECT_EQ(pixels[static_cast<std::size_t>(y * side + x)] & 0xffffff, isUnder ? 0xaabbccU : 0x102030U) << x << ' ' << y;
        }
    }
}

TEST(CursorDrawing, ATranslucentCursorIsMixedIn)
{
    auto pixels = canvas(0xff0000c8);
    drawCursor(image(0x80000080), {true, {0, 0, 3, 3}, 1}, bytesOf(pixels), side, side, nullptr);
    EXPECT_NEAR(static_cast<double>(pixels[0] & 0xff), 0x80 + 200.0 * 127 / 255, 1);
    EXPECT_EQ(pixels[3] & 0xff, 0xc8U);
}

TEST(CursorDrawing, APartBeyondAnyEdgeIsClipped)
{
    for (const auto& [x, y] : {std::pair{-2, -2}, {7, 7}, {-2, 7}, {7, -2}}) {
        auto pixels = canvas(0);
        drawCursor(image(0xffffffff), {true, {x, y, 3, 3}, 1}, bytesOf(pixels), side, side, nullptr);
        EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 0xffffffffU), 1) << x << ' ' << y;
    }
}

TEST(CursorDrawing, OutsideOrInvisibleNothingIsDrawnAndNothingSaved)
{
    auto pixels = canvas(5);
    engine::SavedPixels saved;
    drawCursor(image(0xffffffff), {true, {-3, 0, 3, 3}, 1}, bytesOf(pixels), side, side, &saved);
    drawCursor(image(0xffffffff), {false, {1, 1, 3, 3}, 1}, bytesOf(pixels), side, side, &saved);
    EXPECT_EQ(pixels, canvas(5));
    EXPECT_TRUE(saved.rectangle.isEmpty());
}

TEST(CursorDrawing, WhatWasThereComesBack)
{
    auto pixels = canvas(0);
    for (std::size_t index = 0; index < pixels.size(); ++index)
        pixels[index] = static_cast<std::uint32_t>(index) * 0x01010101U;
    const auto before = pixels;
    engine::SavedPixels saved;
    drawCursor(image(0xff123456), {true, {6, 6, 3, 3}, 1}, bytesOf(pixels), side, side, &saved);
    EXPECT_NE(pixels, before);
    restorePixels(saved, bytesOf(pixels), side);
    EXPECT_EQ(pixels, before);
    EXPECT_TRUE(saved.rectangle.isEmpty());
}

}  // namespace
}  // namespace velmora::linux_backend

// Where a window is in the picture of it that the desktop gives.
#include "platform/linux/portal/CastShadow.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace velmora::linux_backend {
namespace {

constexpr std::int32_t width = 320;
constexpr std::int32_t height = 240;

/// Half see-through all over, but for what is filled.
class Picture {
public:
    void fill(const PixelRect& part, std::uint8_t alpha)
    {
        for (std::int32_t y = part.y; y < part.y + part.height; ++y) {
            for (std::int32_t x = part.x; x < part.x + part.width; ++x)
                pixels_[static_cast<std::size_t>(y * width + x)] = std::uint32_t{alpha} << 24U | 0x406080U;
        }
    }

    [[nodiscard]] std::optional<PixelRect> window(PixelRect content = {0, 0, width, height}) const
    {
        return contentWithoutShadow({reinterpret_cast<const std::byte*>(pixels_.data()), width * 4, content, false, true});
    }

private:
    std::vector<std::uint32_t> pixels_ = std::vector<std::uint32_t>(std::size_t{width} * height, 0x80406080U);
};

TEST(CastShadow, TheBorderThatIsSeeThroughIsNoWindow)
{
    Picture picture;
    picture.fill({20, 12, 270, 200}, 0xff);
    EXPECT_EQ(picture.window(), (PixelRect{20, 12, 270, 200}));
}

TEST(CastShadow, AWindowWithoutAShadowIsAllOfIt)
{
    Picture picture;
    picture.fill({0, 0, width, height}, 0xff);
    EXPECT_EQ(picture.window(), (PixelRect{0, 0, width, height}));
}

TEST(CastShadow, OnlyTheCropIsLookedAt)
{
    Picture picture;
    picture.fill({0, 0, width, height}, 0xff);
    picture.fill({40, 40, 200, 160}, 0x20);
    picture.fill({50, 45, 180, 150}, 0xff);
    EXPECT_EQ(picture.window({40, 40, 200, 160}), (PixelRect{50, 45, 180, 150}));
}

TEST(CastShadow, RoundedCornersAreTheWindows)
{
    Picture picture;
    picture.fill({20, 12, 270, 200}, 0xff);
    picture.fill({20, 12, 16, 16}, 0x30);
    picture.fill({274, 196, 16, 16}, 0);
    EXPECT_EQ(picture.window(), (PixelRect{20, 12, 270, 200}));
}

TEST(CastShadow, SeeThroughPartsInsideAreTheWindows)
{
    Picture picture;
    picture.fill({20, 12, 270, 200}, 0xff);
    picture.fill({40, 30, 200, 150}, 0x80);
    EXPECT_EQ(picture.window(), (PixelRect{20, 12, 270, 200}));
}

TEST(CastShadow, OfAWindowThatIsSeeThroughNothingCanBeTold)
{
    EXPECT_EQ(Picture{}.window(), std::nullopt);
}

TEST(CastShadow, OfPixelsWithoutAnyAlphaNothingCanBeTold)
{
    Picture picture;
    picture.fill({0, 0, width, height}, 0);
    EXPECT_EQ(picture.window(), std::nullopt);
}

TEST(CastShadow, ABorderThatIsNotStraightIsNoShadow)
{
    Picture picture;
    picture.fill({20, 12, 270, 200}, 0xff);
    picture.fill({20, 100, 30, 40}, 0x80);
    EXPECT_EQ(picture.window(), std::nullopt);
}

TEST(CastShadow, APictureOfOnePixelIsOneWindow)
{
    Picture picture;
    picture.fill({5, 5, 1, 1}, 0xff);
    EXPECT_EQ(picture.window({5, 5, 1, 1}), (PixelRect{5, 5, 1, 1}));
}

}  // namespace
}  // namespace velmora::linux_backend

#include "tests/support/Scene.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace velmora::test {
namespace {

constexpr int width = 320;
constexpr int height = 240;

class EachScene : public ::testing::TestWithParam<const char*> {
protected:
    const Scene& scene_ = *Scene::named(GetParam());
};

TEST_P(EachScene, ShowsAllOfItsPicturesAndNoOther)
{
    std::set<std::uint32_t> shown;
    for (std::uint32_t frame = 0; frame < 2000; ++frame)
        shown.insert(scene_.indexOf(frame));
    EXPECT_EQ(shown.size(), scene_.count);
    EXPECT_EQ(*shown.rbegin(), scene_.count - 1);
}

TEST_P(EachScene, HasPicturesThatDiffer)
{
    std::set<std::vector<std::uint8_t>> pictures;
    for (std::uint32_t index = 0; index < scene_.count; ++index)
        pictures.insert(scene_.picture(index, width, height));
    EXPECT_EQ(pictures.size(), scene_.count);
}

TEST_P(EachScene, IsTheSameOnAWiderWindowAsFarAsThatOneReaches)
{
    const auto narrow = scene_.picture(1, width, height);
    const auto wide = scene_.picture(1, 2 * width, height);
    for (int y = 0; y < height; ++y)
        ASSERT_TRUE(std::equal(narrow.begin() + y * width, narrow.begin() + (y + 1) * width, wide.begin() + 2 * y * width)) << y;
}

INSTANTIATE_TEST_SUITE_P(Scenes, EachScene, ::testing::Values("grain", "film", "text", "terminal", "slides"),
    [](const auto& test) { return std::string{test.param}; });

TEST(Scene, OfAnotherNameIsNotThere)
{
    EXPECT_EQ(Scene::named("grai"), nullptr);
    EXPECT_EQ(Scene::named(""), nullptr);
}

}  // namespace
}  // namespace velmora::test

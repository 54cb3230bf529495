#include "platform/linux/desktop/IconTheme.h"

#include "tests/support/TemporaryDirectory.h"

#include <QImage>

#include <array>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace velmora::linux_backend {
namespace {

namespace fs = std::filesystem;
using Pixel = std::array<int, 4>;

class IconThemeTest : public testing::Test {
protected:
    void write(const std::string& path, const std::string& text) const
    {
        fs::create_directories((root / path).parent_path());
        std::ofstream(root / path, std::ios::binary) << text;
    }

    void picture(const std::string& path, const QSize& size, Qt::GlobalColor colour) const
    {
        fs::create_directories((root / path).parent_path());
        QImage image{size, QImage::Format_ARGB32};
        image.fill(colour);
        ASSERT_TRUE(image.save(QString::fromStdString((root / path).string()), "PNG"));
    }

    /// Red, green, blue and alpha in the middle of the icon; all -1 without one.
    Pixel middle(const std::string& icon, const std::string& themeName = "Own", int side = 48)
    {
        const auto drawn = theme.draw(icon, themeName, side);
        if (!drawn)
            return {-1, -1, -1, -1};
        EXPECT_EQ(drawn->side, side);
        EXPECT_EQ(drawn->rgba.size(), static_cast<std::size_t>(side * side * 4));
        const auto* pixel = &drawn->rgba[static_cast<std::size_t>((side / 2 * side + side / 2) * 4)];
        return {pixel[0], pixel[1], pixel[2], pixel[3]};
    }

    void readAgain() { theme = IconTheme{{root / "home", root / "system"}}; }

    test::TemporaryDirectory folder;
    const fs::path root = folder.path();
    IconTheme theme{{root / "home", root / "system"}};

    static constexpr Pixel red{255, 0, 0, 255};
    static constexpr Pixel green{0, 255, 0, 255};
    static constexpr Pixel blue{0, 0, 255, 255};
    static constexpr Pixel none{-1, -1, -1, -1};
    static constexpr const char* hicolor = "[Icon Theme]\nDirectories=16x16/apps,64x64/apps,scalable/apps\n"
                                           "[16x16/apps]\nSize=16\n[64x64/apps]\nSize=64\n"
                                           "[scalable/apps]\nSize=128\nMinSize=8\nMaxSize=512\nType=Scalable\n";
    static constexpr const char* greenSquare = R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 10 10">)"
                                               R"(<rect width="10" height="10" fill="#0f0"/></svg>)";
};

TEST_F(IconThemeTest, TheThemeComesBeforeThoseThatItBuildsOnAndTheseBeforeHicolor)
{
    write("system/hicolor/index.theme", hicolor);
    picture("system/hicolor/64x64/apps/player.png", {64, 64}, Qt::red);
    EXPECT_EQ(middle("player"), red) << "without any other theme";
    write("system/Base/index.theme", "[Icon Theme]\nDirectories=apps\n[apps]\nSize=48\n");
    write("system/Own/index.theme", "[Icon Theme]\nInherits=Base,hicolor\nDirectories=apps\n[apps]\nSize=48\n");
    picture("system/Base/apps/player.png", {48, 48}, Qt::green);
    readAgain();
    EXPECT_EQ(middle("player"), green);
    picture("system/Own/apps/player.png", {48, 48}, Qt::blue);
    readAgain();
    EXPECT_EQ(middle("player"), blue);
}

TEST_F(IconThemeTest, TheSizeThatFitsBestIsTaken)
{
    write("system/hicolor/index.theme", hicolor);
    picture("system/hicolor/16x16/apps/player.png", {16, 16}, Qt::red);
    picture("system/hicolor/64x64/apps/player.png", {64, 64}, Qt::blue);
    EXPECT_EQ(middle("player"), blue);
    EXPECT_EQ(middle("player", "Own", 16), red);
    write("system/hicolor/scalable/apps/player.svg", greenSquare);
    readAgain();
    EXPECT_EQ(middle("player"), green) << "outlines fit every size";
}

TEST_F(IconThemeTest, OutlinesAndPicturesOfEveryShapeFillTheSquareWithoutBeingDistorted)
{
    picture("system/wide.png", {300, 100}, Qt::blue);
    write("system/outline.svg", greenSquare);
    EXPECT_EQ(middle("wide"), blue);
    EXPECT_EQ(theme.draw("wide", "", 48)->rgba[3], 0) << "free above";
    EXPECT_EQ(middle("outline"), green);
}

TEST_F(IconThemeTest, TheUsersFolderComesFirst)
{
    picture("system/player.png", {48, 48}, Qt::red);
    picture("home/player.png", {48, 48}, Qt::green);
    EXPECT_EQ(middle("player"), green);
}

TEST_F(IconThemeTest, AnIconMayBeAFileAndMayNameItsKind)
{
    picture("elsewhere/player.png", {48, 48}, Qt::red);
    EXPECT_EQ(middle((root / "elsewhere/player.png").string()), red);
    picture("system/player.png", {48, 48}, Qt::green);
    EXPECT_EQ(middle("player.png"), green);
}

TEST_F(IconThemeTest, ANameLeadsNowhereElse)
{
    picture("secret.png", {48, 48}, Qt::red);
    fs::create_directories(root / "system");
    for (const std::string name : {"../secret", "a/../../secret", "", ".", "..", ".png"})
        EXPECT_EQ(middle(name), none) << name;
    EXPECT_EQ(middle("secret", "../"), none);
    EXPECT_EQ(middle("secret", root.string()), none);
}

TEST_F(IconThemeTest, AThemeIsAFolderAmongTheThemes)
{
    fs::create_directories(root / "system");
    write("outside/index.theme", "[Icon Theme]\nDirectories=apps\n[apps]\nSize=48\n");
    picture("outside/apps/player.png", {48, 48}, Qt::red);
    EXPECT_EQ(middle("player", "../outside"), none);
    EXPECT_EQ(middle("player", (root / "outside").string()), none);
}

TEST_F(IconThemeTest, ThemesThatBuildOnEachOtherComeToAnEnd)
{
    write("system/Own/index.theme", "[Icon Theme]\nInherits=Other\nDirectories=apps\n[apps]\nSize=48\n");
    write("system/Other/index.theme", "[Icon Theme]\nInherits=Own,Other\nDirectories=apps\n[apps]\nSize=48\n");
    EXPECT_EQ(middle("player"), none);
}

TEST_F(IconThemeTest, WhatIsNoPictureOrTooLargeIsPassedOver)
{
    write("system/broken.png", "not a picture");
    EXPECT_EQ(middle("broken"), none);
    write("system/empty.svg", "");
    EXPECT_EQ(middle("empty"), none);
    picture("system/large.png", {1025, 16}, Qt::red);
    EXPECT_EQ(middle("large"), none);
    picture("system/largest.png", {1024, 1024}, Qt::red);
    EXPECT_EQ(middle("largest"), red);
    write("system/long.svg", std::string{greenSquare} + std::string(5U << 20U, ' '));
    EXPECT_EQ(middle("long"), none);
    picture("home/broken.png", {48, 48}, Qt::green);
    EXPECT_EQ(middle("broken"), green);
}

TEST_F(IconThemeTest, AnIndexThatMakesNoSenseHidesNoOtherTheme)
{
    write("system/Own/index.theme", "Directories=apps\n[Icon Theme\n[]\n=\n[Icon Theme]\nDirectories=,,apps,missing\n[apps]\nSize=-7\n");
    picture("system/Own/apps/player.png", {48, 48}, Qt::red);
    write("system/hicolor/index.theme", hicolor);
    picture("system/hicolor/64x64/apps/player.png", {64, 64}, Qt::green);
    EXPECT_EQ(middle("player"), green);
}

TEST_F(IconThemeTest, APipeInPlaceOfAnIconKeepsNobodyWaiting)
{
    fs::create_directories(root / "system");
    ASSERT_EQ(mkfifo((root / "system/player.png").c_str(), 0600), 0);
    EXPECT_EQ(middle("player"), none);
    EXPECT_EQ(middle((root / "system/player.png").string()), none);
}

}  // namespace
}  // namespace velmora::linux_backend

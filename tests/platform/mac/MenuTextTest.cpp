#include "app/native/MenuText.h"

#include <gtest/gtest.h>

namespace velmora::test {
namespace {

std::string shown(std::string title, std::string ending = {})
{
    MenuItem item;
    item.title = std::move(title);
    item.ending = std::move(ending);
    return menuText(item);
}

TEST(MenuText, IsTheTitle)
{
    EXPECT_EQ(shown("⏺️ Start Recording Live Clip"), "⏺️ Start Recording Live Clip");
    EXPECT_EQ(shown("größe_&_more.mp4 (0:05)"), "größe_&_more.mp4 (0:05)");
    EXPECT_EQ(shown(""), "");
}

TEST(MenuText, IsInOneLine)
{
    EXPECT_EQ(shown("a\nb\tc\x7F"), "a b c ");
}

TEST(MenuText, ShowsBytesThatAreNoCharacterAsSuch)
{
    EXPECT_EQ(shown("\xFF"), "\uFFFD");
    EXPECT_EQ(shown("a\xC3"), "a\uFFFD");
    EXPECT_EQ(shown("\xC0\x80"), "\uFFFD\uFFFD");
    EXPECT_EQ(shown("\xE0\x80\x80"), "\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(shown("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(shown("\xF4\x90\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(shown("\xF0\x9F\x8E\xAF"), "🎯");
}

TEST(MenuText, LeavesOutWhatIsBeforeTheEndingOfALongTitle)
{
    const std::string ending = " (0:05)";
    EXPECT_EQ(shown(std::string(73, 'x') + ending, ending), std::string(73, 'x') + ending);
    EXPECT_EQ(shown(std::string(74, 'x') + ending, ending), std::string(72, 'x') + "…" + ending);
    EXPECT_EQ(shown(std::string(300, 'x') + ending, ending), std::string(72, 'x') + "…" + ending);
    EXPECT_EQ(shown(std::string(300, 'x')), std::string(79, 'x') + "…");
    EXPECT_EQ(shown(std::string(300, 'x'), std::string(100, 'x')), "…" + std::string(79, 'x'));
}

TEST(MenuText, CountsCharactersAndNotBytes)
{
    std::string title;
    for (int count = 0; count < 80; ++count)
        title += "ö";
    EXPECT_EQ(shown(title), title);
}

}  // namespace
}  // namespace velmora::test

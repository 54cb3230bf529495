#include "base/Utf8.h"

#include <gtest/gtest.h>
#include <string>

namespace velmora {
namespace {

TEST(LengthOfUtf8Character, IsThatOfTheFirstOne)
{
    EXPECT_EQ(lengthOfUtf8Character("ab"), 1U);
    EXPECT_EQ(lengthOfUtf8Character(std::string_view{"\0a", 2}), 1U);
    EXPECT_EQ(lengthOfUtf8Character("\xc2\x80"), 2U);
    EXPECT_EQ(lengthOfUtf8Character("\xdf\xbf\x80"), 2U);
    EXPECT_EQ(lengthOfUtf8Character("\xe0\xa0\x80"), 3U);
    EXPECT_EQ(lengthOfUtf8Character("\xed\x9f\xbf"), 3U);
    EXPECT_EQ(lengthOfUtf8Character("\xef\xbf\xbd"), 3U);
    EXPECT_EQ(lengthOfUtf8Character("\xf0\x90\x80\x80"), 4U);
    EXPECT_EQ(lengthOfUtf8Character("\xf4\x8f\xbf\xbf"), 4U);
}

TEST(LengthOfUtf8Character, IsNothingWhereThereIsNone)
{
    for (const char* bytes :
        {"", "\x80", "\xbf", "\xc0\xaf", "\xc1\xbf", "\xc3", "\xc3(", "\xe0\x9f\xbf", "\xe2\x82", "\xe2\x28\xa1", "\xe2\x82(",
            "\xed\xa0\x80", "\xf0\x8f\xbf\xbf", "\xf0\x9f\x8e", "\xf0\x9f\x8e(", "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "\xff"})
        EXPECT_EQ(lengthOfUtf8Character(bytes), 0U) << bytes;
}

}  // namespace
}  // namespace velmora

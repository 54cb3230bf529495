#include "platform/linux/x11/Text.h"

#include <gtest/gtest.h>

namespace velmora::linux_backend {
namespace {

using namespace std::string_literals;

TEST(ValidUtf8, KeepsValidText)
{
    const std::string text = "a \xc3\xa9 \xe2\x82\xac \xf0\x9f\x8e\xac";
    EXPECT_EQ(validUtf8(text), text);
    EXPECT_EQ(validUtf8(""), "");
}

TEST(ValidUtf8, ReplacesWhatIsBroken)
{
    EXPECT_EQ(validUtf8("a\xff"
                        "b"),
        "a\xef\xbf\xbd"
        "b");
    EXPECT_EQ(validUtf8("\xc3"), "\xef\xbf\xbd");
    EXPECT_EQ(validUtf8("\xe2\x82"
                        "x"),
        "\xef\xbf\xbdx");
    EXPECT_EQ(validUtf8("\x80\x80z"), "\xef\xbf\xbdz");
}

TEST(ValidUtf8, ReplacesOverlongFormsSurrogatesAndWhatIsBeyondUnicode)
{
    for (const char* bytes : {"\xc0\xaf", "\xe0\x80\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xf5\x80\x80\x80"})
        EXPECT_EQ(validUtf8(bytes), "\xef\xbf\xbd") << bytes;
}

TEST(ValidUtf8, EndsAtNul)
{
    EXPECT_EQ(validUtf8("ab\0cd"s), "ab");
}

TEST(FromLatin1, TurnsEachByteIntoItsCharacter)
{
    EXPECT_EQ(fromLatin1("caf\xe9 \xa9"), "caf\xc3\xa9 \xc2\xa9");
}

TEST(FromCompoundText, PlainTextIsLatin1)
{
    EXPECT_EQ(fromCompoundText("caf\xe9"), "caf\xc3\xa9");
}

TEST(FromCompoundText, Utf8SegmentsAreKept)
{
    EXPECT_EQ(fromCompoundText("a\x1b%G\xe2\x82\xac\x1b%@b"),
        "a\xe2\x82\xac"
        "b");
    EXPECT_EQ(fromCompoundText("\x1b%G\xe2\x82\xac"), "\xe2\x82\xac");
}

TEST(FromCompoundText, SegmentsOfOtherCharacterSetsAreReplaced)
{
    EXPECT_EQ(fromCompoundText("x\x1b$(B0!\x1b(By"), "x\xef\xbf\xbdy");
}

TEST(FromCompoundText, AnUnfinishedEscapeSequenceEndsTheText)
{
    EXPECT_EQ(fromCompoundText("x\x1b"), "x");
    EXPECT_EQ(fromCompoundText("x\x1b$("), "x");
}

}  // namespace
}  // namespace velmora::linux_backend

#include "brand/ShownText.h"

#include "tests/brand/OddTexts.h"

#include <QList>
#include <gtest/gtest.h>

#include <algorithm>

namespace velmora {
namespace {

QString utf8(const char* text)
{
    return QString::fromUtf8(text);
}

bool isControl(QChar character)
{
    return character.category() == QChar::Other_Control || character.category() == QChar::Separator_Line
        || character.category() == QChar::Separator_Paragraph;
}

TEST(OneLine, EveryKindOfTextIsOneLineOfABoundedLength)
{
    for (const auto& [kind, text] : test::oddTexts()) {
        const auto line = oneLine(text);
        EXPECT_TRUE(std::none_of(line.begin(), line.end(), isControl)) << kind;
        EXPECT_LE(line.toUcs4().size(), 1024) << kind;
        EXPECT_EQ(line.isEmpty(), text.isEmpty()) << kind;
    }
}

TEST(OneLine, OrdinaryTextStaysAsItIs)
{
    for (const auto* text :
        {"", "Big Buck Bunny — VLC", "חדשות — نشرة", "👩‍👩‍👧‍👦 ⚠️ 1️⃣", "Tiếng Việt, हिन्दी, ไทย ที่นี้", "a  b "})
        EXPECT_EQ(oneLine(utf8(text)), utf8(text));
}

TEST(OneLine, EveryLineBreakIsOneSpace)
{
    for (const int lineBreak : {0x0A, 0x0B, 0x0C, 0x0D, 0x85, 0x2028, 0x2029, 0x09, 0x00})
        EXPECT_EQ(oneLine(QStringLiteral("a") + QChar{lineBreak} + QStringLiteral("b")), QStringLiteral("a b")) << lineBreak;
    EXPECT_EQ(oneLine(QStringLiteral("a\r\nb")), QStringLiteral("a b"));
    EXPECT_EQ(oneLine(QStringLiteral("a\n\rb")), QStringLiteral("a  b"));
}

TEST(OneLine, WhatWouldTurnTheTextAroundItIsLeftOut)
{
    for (char16_t control = 0x202A; control <= 0x202E; ++control)
        EXPECT_EQ(oneLine(QStringLiteral("a") + QChar{control} + QStringLiteral("b")), QStringLiteral("ab")) << int{control};
    for (char16_t control = 0x2066; control <= 0x2069; ++control)
        EXPECT_EQ(oneLine(QStringLiteral("a") + QChar{control} + QStringLiteral("b")), QStringLiteral("ab")) << int{control};
    const auto mark = QStringLiteral("a") + QChar{0x200F} + QStringLiteral("b");
    EXPECT_EQ(oneLine(mark), mark) << "a mark turns nothing after it";
}

TEST(OneLine, OfATowerOfMarksTheLowestEightStay)
{
    const QString mark{QChar{0x0301}};
    EXPECT_EQ(oneLine(QLatin1Char('o') + mark.repeated(8)), QLatin1Char('o') + mark.repeated(8));
    EXPECT_EQ(oneLine(QLatin1Char('o') + mark.repeated(9) + QLatin1Char('o') + mark),
        QLatin1Char('o') + mark.repeated(8) + QLatin1Char('o') + mark);
    const QString joiner{QChar{0x200D}};
    EXPECT_EQ(oneLine(QLatin1Char('o') + (mark + joiner).repeated(20)).count(mark), 8) << "what has no width begins no new tower";
}

TEST(OneLine, WhatIsCutOffShowsAsAnEllipsis)
{
    EXPECT_EQ(oneLine(QString{1024, QLatin1Char('a')}), (QString{1024, QLatin1Char('a')}));
    EXPECT_EQ(oneLine(QString{1025, QLatin1Char('a')}), (QString{1023, QLatin1Char('a')} + QChar{0x2026}));
}

TEST(Paragraphs, LineBreaksOfEveryKindStayAndTheRestIsAsInALine)
{
    EXPECT_EQ(paragraphs(utf8("a\nb\r\nc\vd\fe\u2028f\u2029g\u0085h\ti")), utf8("a\nb\nc\nd\ne\nf\ng\nh i"));
    EXPECT_EQ(paragraphs(QChar{0x202E} + QStringLiteral("a\nb")), QStringLiteral("a\nb"));
    EXPECT_EQ(paragraphs(QString{5000, QLatin1Char('a')}).size(), 4096);
    for (const auto& [kind, text] : test::oddTexts())
        EXPECT_LE(paragraphs(text).toUcs4().size(), 4096) << kind;
}

TEST(Shortened, WhatFitsStaysAndElseTheMiddleGivesWay)
{
    EXPECT_EQ(shortened(utf8("abcdefgh"), 8, 3), utf8("abcdefgh"));
    EXPECT_EQ(shortened(utf8("abcdefghi"), 8, 3), utf8("abcd…ghi"));
    EXPECT_EQ(shortened(utf8("abcdefghi"), 8, 0), utf8("abcdefg…"));
    EXPECT_EQ(shortened(utf8("abcdefghi"), 4, 20), utf8("…ghi"));
    EXPECT_EQ(shortened(QString{}, 8, 3), QString{});
}

TEST(Shortened, ACharacterOfSeveralPartsIsNotDivided)
{
    const auto family = utf8("👩‍👩‍👧‍👦");
    EXPECT_EQ(shortened(family.repeated(5), 5, 1), family.repeated(5));
    EXPECT_EQ(shortened(family.repeated(6), 4, 1), family.repeated(2) + QChar{0x2026} + family);
}

TEST(LeadingSymbol, IsThePictogramThatATitleBeginsWith)
{
    EXPECT_EQ(leadingSymbol(utf8("⚠️ No Video Window Selected")), utf8("⚠️")) << "with the wish for its picture";
    EXPECT_EQ(leadingSymbol(utf8("🟢 Ready")), utf8("🟢"));
    EXPECT_EQ(leadingSymbol(utf8("✕ Quit Velmora")), utf8("✕"));
    EXPECT_EQ(leadingSymbol(utf8("Film ⚠️")), QString{});
    EXPECT_EQ(leadingSymbol(utf8("⚠️.mp4")), QString{}) << "part of a word";
    EXPECT_EQ(leadingSymbol(utf8("⚠️")), QString{}) << "all that there is";
    EXPECT_EQ(leadingSymbol(utf8("1 Film")), QString{});
    EXPECT_EQ(leadingSymbol({}), QString{});
}

}  // namespace
}  // namespace velmora

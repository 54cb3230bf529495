#include "library/ClipName.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

std::string renamed(const std::string& filename, const QString& edited)
{
    const auto result = renamedFile(filename, edited);
    return result ? *result : "refused: " + result.error().localizedDescription;
}

TEST(ClipNameTest, TheExtensionStaysAsItIs)
{
    EXPECT_EQ(editableName("a.b.MP4").toStdString(), "a.b");
    EXPECT_EQ(renamed("a.b.MP4", QStringLiteral("c")), "c.MP4");
    EXPECT_EQ(renamed("a.mp4", QStringLiteral("b.mp4")), "b.mp4.mp4");
    EXPECT_EQ(renamed("a.mp4", QString::fromUtf8("é 📽 “x” & <b>")), "é 📽 “x” & <b>.mp4");
}

TEST(ClipNameTest, WhatWasNotEditedKeepsEveryByte)
{
    const std::string odd = "  caf\xE9.mp4";
    EXPECT_EQ(renamed(odd, editableName(odd)), odd);
    EXPECT_EQ(renamed(odd, QStringLiteral(" tea ")), "tea.mp4") << "spaces at the ends are not seen";
}

TEST(ClipNameTest, NamesThatNoFileCanHaveOrNobodyFindsAgainAreRefused)
{
    EXPECT_EQ(renamed("a.mp4", {}), "refused: A clip needs a name.");
    EXPECT_EQ(renamed("a.mp4", QStringLiteral("  ")), "refused: A clip needs a name.");
    EXPECT_EQ(renamed("a.mp4", QStringLiteral("../b")), "refused: A name cannot contain “/”.");
    EXPECT_EQ(renamed("a.mp4", QStringLiteral(".b")), "refused: A name cannot begin with a full stop: the clip would be hidden.");
    for (const char16_t character : {u'\n', u'\0', u'\x7F', u'\x2028', u'\xD800'})
        EXPECT_EQ(renamed("a.mp4", QStringLiteral("b") + QChar{character} + QStringLiteral("c")),
            "refused: A name cannot contain line breaks or other control characters.");
    EXPECT_EQ(renamed("a.mp4", QString{251, QLatin1Char('x')}), std::string(251, 'x').append(".mp4"));
    EXPECT_EQ(renamed("a.mp4", QString{252, QLatin1Char('x')}), "refused: That name is too long.");
    EXPECT_EQ(renamed("a.mp4", QString{126, QChar{0xE9}}), "refused: That name is too long.") << "in bytes";
}

}  // namespace
}  // namespace velmora

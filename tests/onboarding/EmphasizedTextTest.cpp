#include "onboarding/EmphasizedText.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(EmphasizedText, WhatStandsBetweenPairsOfAsterisksIsBold)
{
    const EmphasizedText text{"Click **'Start'**, then **stop**."};
    EXPECT_EQ(text.styled(),
        QStringLiteral("Click <b><font color=\"#f8fafc\">'Start'</font></b>, then <b><font color=\"#f8fafc\">stop</font></b>.")
            .replace(u'\'', QStringLiteral("'")));
    EXPECT_EQ(text.plain(), QStringLiteral("Click 'Start', then stop."));
}

TEST(EmphasizedText, WithoutAsterisksNothingIs)
{
    const EmphasizedText text{"Nothing — at all"};
    EXPECT_EQ(text.styled(), QStringLiteral("Nothing — at all"));
    EXPECT_EQ(text.plain(), text.styled());
}

TEST(EmphasizedText, APairThatIsNotClosedStandsAsItIs)
{
    EXPECT_EQ(EmphasizedText{"two ** three"}.styled(), QStringLiteral("two ** three"));
}

TEST(EmphasizedText, SignsOfMarkupAreTextOnly)
{
    const EmphasizedText text{"a < b **& c**"};
    EXPECT_EQ(text.styled(), QStringLiteral("a &lt; b <b><font color=\"#f8fafc\">&amp; c</font></b>"));
    EXPECT_EQ(text.plain(), QStringLiteral("a < b & c"));
}

}  // namespace
}  // namespace velmora

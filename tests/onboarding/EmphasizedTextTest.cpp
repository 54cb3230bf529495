#include "onboarding/EmphasizedText.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(EmphasizedText, WhatStandsBetweenPairsOfAsterisksIsBold)
{
    const EmphasizedText text{"Click **'Start'**, then **stop**."};
    EXPECT_EQ(text.styled(Qt::white),
        QStringLiteral("Click <b><font color=\"#ffffff\">'Start'</font></b>, then <b><font color=\"#ffffff\">stop</font></b>.")
            .replace(u'\'', QStringLiteral("'")));
    EXPECT_EQ(text.plain(), QStringLiteral("Click 'Start', then stop."));
}

TEST(EmphasizedText, HasTheColourThatItIsGiven)
{
    EXPECT_EQ(EmphasizedText{"**a** b"}.styled(Qt::red), QStringLiteral("<b><font color=\"#ff0000\">a</font></b> b"));
}

TEST(EmphasizedText, WithoutAsterisksNothingIs)
{
    const EmphasizedText text{"Nothing — at all"};
    EXPECT_EQ(text.styled(Qt::white), QStringLiteral("Nothing — at all"));
    EXPECT_EQ(text.plain(), text.styled(Qt::white));
}

TEST(EmphasizedText, APairThatIsNotClosedStandsAsItIs)
{
    EXPECT_EQ(EmphasizedText{"two ** three"}.styled(Qt::white), QStringLiteral("two ** three"));
}

TEST(EmphasizedText, SignsOfMarkupAreTextOnly)
{
    const EmphasizedText text{"a < b **& c**"};
    EXPECT_EQ(text.styled(Qt::white), QStringLiteral("a &lt; b <b><font color=\"#ffffff\">&amp; c</font></b>"));
    EXPECT_EQ(text.plain(), QStringLiteral("a < b & c"));
}

}  // namespace
}  // namespace velmora

// The preview's cut: what it leaves, how it is moved, and what playing and saving make of it.

#include "tests/library/views/PreviewFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PreviewCutTest : public testing::Test {
protected:
    PreviewCutTest()
    {
        preview.appear();
        preview.model->moveTrimEnd(9);
        preview.model->moveTrimStart(3);
    }

    [[nodiscard]] ClipPreviewModel& model() const { return *preview.model; }
    [[nodiscard]] PreviewCut& cut() const { return *preview.model->cut(); }

    void save()
    {
        model().saveTrimmedClip();
        ASSERT_FALSE(preview.exportSessions->sessions.empty());
    }

    test::PreviewFixture preview;
};

TEST_F(PreviewCutTest, NothingIsCutAtFirst)
{
    EXPECT_FALSE(cut().isThere());
    EXPECT_EQ(cut().action(), QStringLiteral("Cut Out a Middle Part"));
    EXPECT_EQ(cut().keptText(), QStringLiteral("Kept: 00:06"));
    save();
    EXPECT_THAT(preview.session().cuts, IsEmpty());
}

TEST_F(PreviewCutTest, ItBeginsAsTheMiddleThirdOfTheSelectionAndIsSaved)
{
    model().toggleCut();
    EXPECT_TRUE(cut().isThere());
    EXPECT_EQ(cut().action(), QStringLiteral("Keep All"));
    EXPECT_EQ(cut().startText(), QStringLiteral("Cut: 00:05"));
    EXPECT_EQ(cut().endText(), QStringLiteral("To: 00:07"));
    EXPECT_EQ(cut().startTenths(), QStringLiteral("00:05.0"));
    EXPECT_EQ(cut().keptText(), QStringLiteral("Kept: 00:04"));
    EXPECT_EQ(model().selectedText(), QStringLiteral("Selected: 00:06"));
    EXPECT_EQ(model().currentTime(), 5);
    save();
    EXPECT_EQ(preview.session().range, (TimeRange{{1800, 600}, {5400, 600}}));
    EXPECT_THAT(preview.session().cuts, ElementsAre(TimeRange{{3000, 600}, {4200, 600}}));
}

TEST_F(PreviewCutTest, ASecondPressKeepsAllAgain)
{
    model().toggleCut();
    model().toggleCut();
    EXPECT_FALSE(cut().isThere());
    EXPECT_EQ(cut().keptText(), QStringLiteral("Kept: 00:06"));
    EXPECT_EQ(preview.player().endTime, (MediaTime{9, 1}));
    save();
    EXPECT_THAT(preview.session().cuts, IsEmpty());
}

TEST_F(PreviewCutTest, ItsEndsMoveUpToEachOtherAndTheClipsEnds)
{
    model().toggleCut();
    model().moveCutStart(8);
    EXPECT_EQ(cut().start(), 7);
    model().moveCutStart(-1);
    EXPECT_EQ(cut().start(), 0);
    EXPECT_EQ(model().currentTime(), 0);
    model().moveCutEnd(50);
    EXPECT_EQ(cut().end(), 10);
    EXPECT_EQ(cut().keptText(), QStringLiteral("Kept: 00:00")) << "what lies outside the selection does not count";
    model().moveCutStart(5);
    model().moveCutEnd(4);
    EXPECT_EQ(cut().end(), 5);
    save();
    EXPECT_THAT(preview.session().cuts, IsEmpty()) << "an empty cut is none";
}

TEST_F(PreviewCutTest, ItsEndsStepByPictures)
{
    model().toggleCut();
    model().stepCutStart(-1);
    EXPECT_NEAR(cut().start(), 4.98, 0.002);
    model().stepCutEnd(2);
    EXPECT_NEAR(cut().end(), 7.04, 0.002);
}

TEST_F(PreviewCutTest, WhatIsDraggedPauses)
{
    model().toggleCut();
    model().scrub(3);
    model().play();
    model().dragCutEnd(6.5);
    EXPECT_FALSE(model().isPlaying());
    EXPECT_EQ(cut().end(), 6.5);
    model().play();
    model().dragCutStart(4.5);
    EXPECT_FALSE(model().isPlaying());
    EXPECT_EQ(cut().start(), 4.5);
}

TEST_F(PreviewCutTest, PlayingSkipsIt)
{
    model().toggleCut();
    model().scrub(4);
    EXPECT_EQ(preview.player().endTime, (MediaTime{5, 1})) << "the player pauses by itself before what is cut";
    model().play();
    preview.player().stopByItself({5, 1});
    EXPECT_TRUE(model().isPlaying());
    EXPECT_EQ(model().currentTime(), 7);
    EXPECT_EQ(preview.player().endTime, (MediaTime{9, 1}));
    EXPECT_TRUE(preview.player().isPlaying);
    preview.player().stopByItself({9, 1});
    EXPECT_FALSE(model().isPlaying());
}

TEST_F(PreviewCutTest, PlayingFromInsideGoesOnBehindIt)
{
    model().toggleCut();
    model().scrub(6);
    model().play();
    preview.player().passTime({601, 100});
    EXPECT_EQ(model().currentTime(), 7);
    EXPECT_TRUE(model().isPlaying());
}

TEST_F(PreviewCutTest, ACutUpToTheSelectionsEndEndsThePlaying)
{
    model().toggleCut();
    model().moveCutEnd(9.5);
    model().scrub(4);
    model().play();
    preview.player().stopByItself({5, 1});
    EXPECT_FALSE(model().isPlaying());
    EXPECT_EQ(model().currentTime(), 5);
    // As at the selection's end, it begins anew.
    model().play();
    EXPECT_EQ(model().currentTime(), 3);
}

}  // namespace
}  // namespace velmora

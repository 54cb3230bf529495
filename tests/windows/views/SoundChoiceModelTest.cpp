#include "windows/views/SoundChoiceModel.h"

#include "platform/fake/FakeShareableContent.h"
#include "platform/fake/ManualExecutor.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using platform::AudibleApplication;
using platform::SoundChoice;
using platform::SoundChoices;
using ::testing::ElementsAre;

AudibleApplication application(const std::string& name, std::int32_t process = 0, const std::string& nowPlaying = {}, bool isPlaying = true)
{
    return {{name + "-bin", name, process}, nowPlaying, isPlaying};
}

/// It was chosen for the window before.
AudibleApplication chosenBefore(AudibleApplication application)
{
    application.wasChosen = true;
    return application;
}

SoundSuggestion offer(std::vector<AudibleApplication> applications, bool wasNoSoundChosen = false)
{
    return suggestSound({std::move(applications), wasNoSoundChosen});
}

class SoundChoiceModelTest : public testing::Test {
protected:
    [[nodiscard]] std::vector<std::string> column(SoundChoiceModel::Role role) const
    {
        std::vector<std::string> texts;
        for (int row = 0; row < model.rowCount(); ++row)
            texts.push_back(model.data(model.index(row), role).toString().toStdString());
        return texts;
    }

    std::shared_ptr<fake::FakeShareableContent> content = std::make_shared<fake::FakeShareableContent>();
    SoundChoiceModel model{std::make_shared<WindowSelectionService>(content, std::make_shared<fake::ManualExecutor>())};
};

TEST_F(SoundChoiceModelTest, NoSoundIsAlwaysTheLastRow)
{
    model.show(7, offer({application("Player"), application("Browser")}));
    EXPECT_THAT(column(SoundChoiceModel::AppName), ElementsAre("Player", "Browser", "No sound"));
}

TEST_F(SoundChoiceModelTest, WhereNothingIsSuggestedTheUserHasToChoose)
{
    model.show(7, offer({application("Player"), application("Browser")}));
    EXPECT_EQ(model.selectedRow(), -1);
    EXPECT_FALSE(model.canStart());
    model.select(1);
    EXPECT_TRUE(model.canStart());
    EXPECT_EQ(*model.selected(), SoundChoice{application("Browser").application});
}

TEST_F(SoundChoiceModelTest, WhatIsSuggestedIsSelected)
{
    model.show(7, offer({application("Player"), application("Browser", 0, {}, false)}));
    EXPECT_EQ(model.selectedRow(), 0);
    EXPECT_EQ(*model.selected(), SoundChoice{application("Player").application});
    model.show(7, offer({application("Player"), chosenBefore(application("Browser"))}));
    EXPECT_EQ(model.selectedRow(), 0);
    EXPECT_EQ(*model.selected(), SoundChoice{application("Browser").application});
    model.show(7, offer({application("Player")}, true));
    EXPECT_EQ(model.selectedRow(), 1);
    EXPECT_EQ(*model.selected(), SoundChoice{});
}

TEST_F(SoundChoiceModelTest, WithoutApplicationsNoSoundIsAllThatThereIs)
{
    model.show(7, offer({}));
    EXPECT_EQ(model.selectedRow(), 0);
    EXPECT_TRUE(model.canStart());
}

TEST_F(SoundChoiceModelTest, WhatWasChosenBeforeIsMarked)
{
    model.show(7, offer({chosenBefore(application("Player")), application("Browser")}));
    EXPECT_THAT(column(SoundChoiceModel::IsAsBefore), ElementsAre("true", "false", "false"));
    model.show(7, offer({application("Player")}, true));
    EXPECT_THAT(column(SoundChoiceModel::IsAsBefore), ElementsAre("false", "true"));
    model.show(7, offer({application("Player")}));
    EXPECT_THAT(column(SoundChoiceModel::IsAsBefore), ElementsAre("false", "false"));
}

TEST_F(SoundChoiceModelTest, RowsSayWhatPlaysWhetherItPausesAndWhichOfTwoItIs)
{
    model.show(7,
        offer({application("Player", 12, "<b>Film</b>"), application("Player", 34), application("Browser", 5, "Page", false),
            application("Game", 6, {}, false)}));
    EXPECT_THAT(column(SoundChoiceModel::Detail),
        ElementsAre("<b>Film</b> · process 12", "playing now · process 34", "Page · not playing now", "not playing now",
            "The clip will be silent"));
    EXPECT_THAT(column(SoundChoiceModel::Symbol),
        ElementsAre("play.circle.fill", "play.circle.fill", "pause.circle.fill", "pause.circle.fill", "xmark.circle.fill"));
}

TEST_F(SoundChoiceModelTest, ArrowsMoveTheSelectionToTheEndsAndNotBeyond)
{
    model.show(7, offer({application("Player"), application("Browser")}));
    model.moveSelection(-1);
    EXPECT_EQ(model.selectedRow(), 2);
    model.moveSelection(1);
    EXPECT_EQ(model.selectedRow(), 2);
    model.moveSelection(-1);
    model.moveSelection(-1);
    model.moveSelection(-1);
    EXPECT_EQ(model.selectedRow(), 0);
}

TEST_F(SoundChoiceModelTest, RefreshingKeepsTheSelectionWhereverItIsListed)
{
    model.show(7, offer({application("Player"), application("Browser")}));
    model.select(1);
    model.refresh();
    EXPECT_THAT(content->soundQuestions, ElementsAre(7U));
    content->pendingSoundQuestion(SoundChoices{{application("Browser"), application("Game")}});
    EXPECT_EQ(model.selectedRow(), 0);
    EXPECT_EQ(*model.selected(), SoundChoice{application("Browser").application});
}

TEST_F(SoundChoiceModelTest, RefreshingSelectsNothingInPlaceOfWhatHasGone)
{
    model.show(7, offer({application("Player")}));
    model.refresh();
    content->pendingSoundQuestion(SoundChoices{{application("Game")}});
    EXPECT_FALSE(model.canStart()) << "another application is not taken by itself";
}

TEST_F(SoundChoiceModelTest, AnAnswerForTheWindowBeforeIsNotShown)
{
    model.show(7, offer({application("Player")}));
    model.refresh();
    auto late = std::move(content->pendingSoundQuestion);
    model.show(8, offer({application("Browser")}));
    late(SoundChoices{{application("Player")}});
    EXPECT_THAT(column(SoundChoiceModel::AppName), ElementsAre("Browser", "No sound"));
}

}  // namespace
}  // namespace velmora

#include "platform/linux/desktop/LinuxUserDefaults.h"
#include "tests/onboarding/OnboardingFixture.h"

#include <fstream>
#include <gmock/gmock.h>
#include <iterator>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class OnboardingModelTest : public testing::Test, protected test::OnboardingFixture {
protected:
    OnboardingModelTest()
    {
        QObject::connect(&model, &OnboardingModel::dismissed, &model, [this] {
            ++dismissals;
            pickersAtDismissal = pickers;
        });
    }

    int dismissals = 0;
    int pickersAtDismissal = -1;
};

TEST_F(OnboardingModelTest, BeginsAtTheFirstOfFiveSteps)
{
    EXPECT_EQ(model.currentStep(), 0);
    EXPECT_EQ(model.totalSteps(), 5);
    EXPECT_EQ(model.stepText(), QStringLiteral("First-Time User Walkthrough • Step 1 of 5"));
    EXPECT_FALSE(model.hasCompletedWalkthrough());
}

TEST_F(OnboardingModelTest, NextAndBackMoveOneStepAndNotBeyondTheEnds)
{
    model.back();
    EXPECT_EQ(model.currentStep(), 0);
    for (int step = 1; step <= 4; ++step) {
        model.next();
        EXPECT_EQ(model.currentStep(), step);
    }
    EXPECT_EQ(model.stepText(), QStringLiteral("First-Time User Walkthrough • Step 5 of 5"));
    model.next();
    EXPECT_EQ(model.currentStep(), 4);
    model.back();
    EXPECT_EQ(model.currentStep(), 3);
}

TEST_F(OnboardingModelTest, TheWayBackIsThereFromTheSecondStepAndTheLastStepIsTheFifth)
{
    const auto buttons = [this](int step) {
        model.setCurrentStep(step);
        return std::pair{model.canGoBack(), model.isLastStep()};
    };
    EXPECT_EQ(buttons(0), std::pair(false, false));
    EXPECT_EQ(buttons(1), std::pair(true, false));
    EXPECT_EQ(buttons(3), std::pair(true, false));
    EXPECT_EQ(buttons(4), std::pair(true, true));
}

TEST_F(OnboardingModelTest, ANumberThatNoStepHasShowsTheFirst)
{
    for (const int step : {-1, 5, 1000, -1000}) {
        model.setCurrentStep(step);
        EXPECT_EQ(model.visibleStep(), 0) << step;
    }
    EXPECT_EQ(model.currentStep(), -1000);
    EXPECT_FALSE(model.canGoBack());
    model.setCurrentStep(5);
    EXPECT_TRUE(model.isLastStep());
}

TEST_F(OnboardingModelTest, TheKeysAreNamedAsTheyAreOnTheKeyboardOrAsTheDesktopHasBoundThem)
{
    EXPECT_EQ(model.captions().keyboardMethod, QStringLiteral("On this keyboard: Alt+Super+C."));
    QString shown;
    QObject::connect(&model, &OnboardingModel::captionsChanged, &model, [&] { shown = model.captions().keyboardMethod; });
    hotKeyCenter->texts[8] = "J";
    appear();
    EXPECT_EQ(shown, QStringLiteral("On this keyboard: Alt+Super+J."));
    hotKeyCenter->texts[8] = "С";
    hotKeyCenter->textsChanged();
    EXPECT_EQ(shown, QStringLiteral("On this keyboard: Alt+Super+С."));
    hotKeyCenter->keys = "Ctrl+F9";
    shortcutManager->registerAll();
    EXPECT_EQ(shown, QStringLiteral("On this keyboard: Ctrl+F9."));
}

TEST_F(OnboardingModelTest, FinishingSetsTheFlagClosesAndThenOpensThePicker)
{
    model.setCurrentStep(4);
    model.finishWalkthrough();
    EXPECT_TRUE(userDefaults->values.at("hasCompletedWalkthrough"));
    EXPECT_TRUE(model.hasCompletedWalkthrough());
    EXPECT_EQ(dismissals, 1);
    EXPECT_EQ(pickersAtDismissal, 0);
    EXPECT_EQ(pickers, 1);
}

TEST_F(OnboardingModelTest, SkippingOnTheFirstStepSetsTheFlagJustAsFinishingDoes)
{
    model.finishWalkthrough();
    EXPECT_EQ(userDefaults->values.size(), 1U);
    EXPECT_TRUE(model.hasCompletedWalkthrough());
    EXPECT_EQ(dismissals, 1);
    EXPECT_EQ(pickers, 1);
}

TEST_F(OnboardingModelTest, FinishingWithAChosenWindowOpensNothing)
{
    chooseWindow("Film");
    model.finishWalkthrough();
    EXPECT_TRUE(model.hasCompletedWalkthrough());
    EXPECT_EQ(pickers, 0);
}

TEST_F(OnboardingModelTest, FinishingWithoutPermissionOpensNothing)
{
    withdrawPermission();
    model.finishWalkthrough();
    EXPECT_TRUE(model.hasCompletedWalkthrough());
    EXPECT_EQ(dismissals, 1);
    EXPECT_EQ(pickers, 0);
}

TEST_F(OnboardingModelTest, ClosingTheWindowRemembersNothing)
{
    model.next();
    model.close();
    EXPECT_EQ(dismissals, 1);
    EXPECT_TRUE(userDefaults->values.empty());
    EXPECT_EQ(pickers, 0);
}

TEST_F(OnboardingModelTest, ReopeningShowsTheStepThatItWasLeftOn)
{
    model.setCurrentStep(2);
    model.close();
    appear();
    EXPECT_EQ(model.currentStep(), 2);
}

TEST_F(OnboardingModelTest, ThePermissionIsReadAgainEachTimeThatItIsShown)
{
    EXPECT_TRUE(model.hasScreenRecordingPermission());
    access->isGranted = false;
    access->reason = "Because.";
    appear();
    EXPECT_FALSE(model.hasScreenRecordingPermission());
    EXPECT_EQ(model.permissionExplanation(), QStringLiteral("Because."));
}

TEST_F(OnboardingModelTest, CheckStatusFindsWhatWasGrantedMeanwhile)
{
    withdrawPermission();
    int changes = 0;
    QObject::connect(&model, &OnboardingModel::permissionChanged, &model, [&] { ++changes; });
    access->isGranted = true;
    EXPECT_FALSE(model.hasScreenRecordingPermission());
    model.checkStatus();
    EXPECT_TRUE(model.hasScreenRecordingPermission());
    EXPECT_GT(changes, 0);
}

TEST_F(OnboardingModelTest, OpenSystemSettingsAsksForAccessAndOpensTheSettings)
{
    withdrawPermission();
    model.openSystemSettings();
    EXPECT_EQ(access->requestCount, 1);
    ASSERT_EQ(workspace->openedURLs.size(), 1U);
    EXPECT_THAT(workspace->openedURLs[0], HasSubstr("Privacy_ScreenCapture"));
}

TEST_F(OnboardingModelTest, TheChosenWindowFollowsTheCoordinator)
{
    EXPECT_FALSE(model.hasSelectedWindow());
    EXPECT_TRUE(model.selectedWindowName().isEmpty());
    chooseWindow("Film");
    EXPECT_TRUE(model.hasSelectedWindow());
    EXPECT_EQ(model.selectedWindowName().toStdString(), coordinator->selectedWindow()->displayName());
    coordinator->stopCapture();
    executor->runAll();
    EXPECT_FALSE(model.hasSelectedWindow());
}

TEST_F(OnboardingModelTest, TheCaptionsFollowTheTrayEachTimeThatItIsShown)
{
    appear();
    EXPECT_EQ(model.captions(), WalkthroughCaptions(facts()));
    hasTray = false;
    EXPECT_EQ(model.captions(), WalkthroughCaptions(facts())) << "it has not been shown since";
    appear();
    auto without = facts();
    without.hasTray = false;
    EXPECT_EQ(model.captions(), WalkthroughCaptions(without));
}

TEST_F(OnboardingModelTest, ATrayThatAnswersOnceTheWalkthroughIsThereIsInItsCaptions)
{
    hasTray = false;
    appear();
    int changes = 0;
    QObject::connect(&model, &OnboardingModel::captionsChanged, &model, [&] { ++changes; });
    hasTray = true;
    model.trayChanged();
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(model.captions(), WalkthroughCaptions(facts()));
}

TEST_F(OnboardingModelTest, TheCaptionsFollowTheWindowAndThePermissionAndSaySo)
{
    appear();
    int changes = 0;
    QObject::connect(&model, &OnboardingModel::captionsChanged, &model, [&] { ++changes; });
    chooseWindow("Film");
    auto expected = facts();
    expected.hasSelectedWindow = true;
    EXPECT_EQ(model.captions(), WalkthroughCaptions(expected));
    EXPECT_EQ(std::exchange(changes, 0), 1);
    withdrawPermission();
    expected.hasScreenRecordingPermission = false;
    EXPECT_EQ(model.captions(), WalkthroughCaptions(expected));
    EXPECT_GT(changes, 0);
}

TEST_F(OnboardingModelTest, WithoutAShortcutTheCaptionsNameNoKeysUntilThereIsOne)
{
    appear();
    int changes = 0;
    QObject::connect(&model, &OnboardingModel::captionsChanged, &model, [&] { ++changes; });
    shortcutManager->unregisterAll();
    EXPECT_EQ(model.captions(), WalkthroughCaptions(facts())) << "nobody has refused them";
    refuseShortcut();
    auto refused = facts();
    refused.shortcutKeys.clear();
    EXPECT_EQ(model.captions(), WalkthroughCaptions(refused));
    EXPECT_GT(std::exchange(changes, 0), 0);
    hotKeyCenter->registerStatus = 0;
    shortcutManager->registerAll();
    executor->runAll();
    EXPECT_EQ(model.captions(), WalkthroughCaptions(facts()));
    EXPECT_GT(changes, 0);
}

TEST_F(OnboardingModelTest, TheConfigurationFolderHoldsNothingButTheFlagAfterwards)
{
    const auto configuration = folder.path() / "config";
    OnboardingModel real{{
        .coordinator = *coordinator,
        .permissionManager = *permissionManager,
        .shortcutManager = *shortcutManager,
        .userDefaults = linux_backend::makeUserDefaults(configuration / "velmora" / "velmora.conf"),
        .presentWindowPicker = [] {},
        .hasTray = [] { return true; },
    }};
    for (int step = 0; step < 4; ++step)
        real.next();
    EXPECT_FALSE(std::filesystem::exists(configuration)) << "nothing before the end";
    real.finishWalkthrough();

    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator{configuration})
        files.push_back(entry.path().lexically_relative(configuration).string());
    std::sort(files.begin(), files.end());
    EXPECT_THAT(files, ElementsAre("velmora", "velmora/velmora.conf"));
    std::ifstream file{configuration / "velmora" / "velmora.conf"};
    const std::string written{std::istreambuf_iterator<char>{file}, {}};
    EXPECT_EQ(written, "[General]\nhasCompletedWalkthrough=true\n");
}

}  // namespace
}  // namespace velmora

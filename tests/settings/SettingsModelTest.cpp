#include "tests/settings/SettingsFixture.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class SettingsModelTest : public testing::Test, protected test::SettingsFixture {
protected:
    SettingsModelTest()
    {
        QObject::connect(&model, &SettingsModel::savedClipsFolderChanged, &model, [this] { ++folderChanges; });
        QObject::connect(&model, &SettingsModel::shortcutChanged, &model, [this] { ++shortcutChanges; });
        QObject::connect(&model, &SettingsModel::permissionChanged, &model, [this] { ++permissionChanges; });
    }

    [[nodiscard]] std::string shownFolder() const { return model.savedClipsFolder().toStdString(); }
    [[nodiscard]] std::filesystem::path defaultFolder() const { return folder.path() / "Velmora"; }

    int folderChanges = 0;
    int shortcutChanges = 0;
    int permissionChanges = 0;
};

TEST_F(SettingsModelTest, ShowsTheDefaultFolderWithoutASlashAtItsEnd)
{
    EXPECT_EQ(shownFolder(), defaultFolder().string());
}

TEST_F(SettingsModelTest, ShowsTheRootAsASlash)
{
    library->setOutputDirectory("/");
    EXPECT_EQ(shownFolder(), "/");
}

TEST_F(SettingsModelTest, AFolderThatSomebodyElseChoosesShowsAtOnce)
{
    library->setOutputDirectory(folder.path() / "Films");
    EXPECT_EQ(folderChanges, 1);
    EXPECT_EQ(shownFolder(), (folder.path() / "Films").string());
}

TEST_F(SettingsModelTest, ChangeAsksForOneFolderBeginningInTheClipsFolder)
{
    model.chooseDestinationFolder();
    ASSERT_EQ(folderChooser->panels.size(), 1U);
    EXPECT_EQ(folderChooser->panels[0].prompt, "Choose Folder");
    EXPECT_EQ(folderChooser->panels[0].directory, library->effectiveOutputDirectory());
    EXPECT_EQ(library->customOutputDirectory(), std::nullopt) << "nothing changes before the answer";
}

TEST_F(SettingsModelTest, AChosenFolderIsTheClipsFolderFromThenOn)
{
    const auto chosen = folder.path() / "Chosen";
    std::filesystem::create_directory(chosen);
    choose(chosen);
    EXPECT_EQ(library->effectiveOutputDirectory(), chosen);
    EXPECT_EQ(shownFolder(), chosen.string());
    EXPECT_TRUE(model.folderError().isEmpty());
}

TEST_F(SettingsModelTest, CancellingTheChooserLeavesTheFolderAsItWas)
{
    choose(std::nullopt);
    EXPECT_EQ(library->customOutputDirectory(), std::nullopt);
    EXPECT_EQ(shownFolder(), defaultFolder().string());
    EXPECT_TRUE(model.folderError().isEmpty());
}

TEST_F(SettingsModelTest, AFolderThatCannotBeWrittenIsNotTakenAndTheSystemsErrorShows)
{
    const auto chosen = folder.path() / "Chosen";
    std::filesystem::create_directory(chosen);
    fileManager->writeError = posixError(EROFS, chosen.native());
    choose(chosen);
    EXPECT_EQ(library->customOutputDirectory(), std::nullopt);
    EXPECT_EQ(shownFolder(), defaultFolder().string());
    EXPECT_THAT(model.folderError().toStdString(), HasSubstr("Read-only file system"));
}

TEST_F(SettingsModelTest, AFolderThatHasGoneIsMadeAndWhereItCannotBeTheErrorShows)
{
    const auto chosen = folder.path() / "Gone";
    choose(chosen);
    EXPECT_TRUE(std::filesystem::is_directory(chosen));
    EXPECT_EQ(library->effectiveOutputDirectory(), chosen);

    fileManager->createError = posixError(EACCES, "Other");
    choose(folder.path() / "Other");
    EXPECT_EQ(library->effectiveOutputDirectory(), chosen);
    EXPECT_THAT(model.folderError().toStdString(), HasSubstr("Permission denied"));
}

TEST_F(SettingsModelTest, AnErrorStaysUntilTheNextTryOrTheNextOpening)
{
    const auto fail = [this] {
        fileManager->writeError = posixError(EACCES, "x");
        choose(folder.path());
        ASSERT_FALSE(model.folderError().isEmpty());
    };
    fail();
    model.chooseDestinationFolder();
    EXPECT_TRUE(model.folderError().isEmpty());
    folderChooser->answer(std::nullopt);
    fail();
    appear();
    EXPECT_TRUE(model.folderError().isEmpty());
}

TEST_F(SettingsModelTest, AChooserThatCannotAskSaysWhy)
{
    choose(fail("Velmora.Test", 1, "There is no dialog."));
    EXPECT_EQ(model.folderError(), QStringLiteral("There is no dialog."));
    EXPECT_EQ(library->customOutputDirectory(), std::nullopt);
}

TEST_F(SettingsModelTest, OneChooserIsOpenAtATimeAndAfterItsAnswerAnotherCanBe)
{
    model.chooseDestinationFolder();
    model.chooseDestinationFolder();
    EXPECT_EQ(folderChooser->panels.size(), 1U);
    folderChooser->answer(std::nullopt);
    model.chooseDestinationFolder();
    EXPECT_EQ(folderChooser->panels.size(), 2U);
}

TEST(SettingsModel, AnAnswerAfterTheSettingsAreGoneFindsNobody)
{
    auto fixture = std::make_unique<test::SettingsFixture>();
    const auto chooser = fixture->folderChooser;
    const auto library = fixture->library;
    fixture->model.chooseDestinationFolder();
    ASSERT_EQ(chooser->panels.size(), 1U);
    fixture.reset();
    chooser->answer(std::filesystem::path{"/tmp"});
    EXPECT_EQ(library->customOutputDirectory(), std::nullopt);
}

TEST_F(SettingsModelTest, OpenShowsTheFolderInTheFileBrowser)
{
    model.openFolder();
    library->setOutputDirectory(folder.path());
    model.openFolder();
    EXPECT_THAT(workspace->opened, ElementsAre(defaultFolder() / "", folder.path()));
}

TEST_F(SettingsModelTest, TheShortcutsStateFollowsItsManager)
{
    EXPECT_TRUE(model.isShortcutRegistered());
    EXPECT_TRUE(model.shortcutErrorMessage().isEmpty());
    refuseShortcut();
    EXPECT_GT(shortcutChanges, 0);
    EXPECT_FALSE(model.isShortcutRegistered());
    EXPECT_EQ(model.shortcutErrorMessage().toStdString(), *shortcutManager->registrationErrorMessage());
}

TEST_F(SettingsModelTest, WhatADesktopSaysOfAShortcutNeedsNoFurtherHelp)
{
    EXPECT_TRUE(model.shortcutHelp().isEmpty()) << "it is registered";
    refuseShortcut();
    EXPECT_TRUE(model.shortcutHelp().contains(QStringLiteral("velmora toggle")));
    hotKeyCenter->reason = "Bind keys in the settings.";
    refuseShortcut();
    EXPECT_EQ(model.shortcutErrorMessage(), QStringLiteral("Bind keys in the settings."));
    EXPECT_TRUE(model.shortcutHelp().isEmpty());
}

TEST_F(SettingsModelTest, TheKeysAreThoseThatTheDesktopHasBound)
{
    EXPECT_EQ(model.shortcutKeys(), QStringLiteral("On this keyboard: Alt + Super + C"));
    hotKeyCenter->keys = "Ctrl+F9";
    shortcutManager->registerAll();
    EXPECT_EQ(model.shortcutKeys(), QStringLiteral("On this desktop: Ctrl+F9"));
}

TEST_F(SettingsModelTest, TheKeysAreNamedAsTheyAreOnTheKeyboardWhoseLayoutMayChange)
{
    QString shown;
    QObject::connect(&model, &SettingsModel::shortcutChanged, &model, [&] { shown = model.shortcutKeys(); });
    hotKeyCenter->texts[8] = "J";
    model.viewWillAppear();
    EXPECT_EQ(shown, QStringLiteral("On this keyboard: Alt + Super + J"));
    hotKeyCenter->texts[8] = "С";
    hotKeyCenter->textsChanged();
    EXPECT_EQ(shown, QStringLiteral("On this keyboard: Alt + Super + С"));
}

TEST_F(SettingsModelTest, AShortcutThatWasTakenAwayWithoutAnErrorStillSaysSomething)
{
    shortcutManager->unregisterAll();
    EXPECT_FALSE(model.isShortcutRegistered());
    EXPECT_FALSE(model.shortcutErrorMessage().isEmpty());
}

TEST_F(SettingsModelTest, ThePermissionIsReadAgainEachTimeThatTheSettingsAreShown)
{
    EXPECT_TRUE(model.hasScreenRecordingPermission());
    access->isGranted = false;
    access->reason = "Because.";
    EXPECT_TRUE(model.hasScreenRecordingPermission());
    appear();
    EXPECT_GT(permissionChanges, 0);
    EXPECT_FALSE(model.hasScreenRecordingPermission());
    EXPECT_EQ(model.permissionExplanation(), QStringLiteral("Because."));
}

TEST_F(SettingsModelTest, GrantAccessOpensTheDesktopsSettingsAndAsksForNothing)
{
    model.grantAccess();
    EXPECT_EQ(access->requestCount, 0);
    ASSERT_EQ(workspace->openedURLs.size(), 1U);
    EXPECT_THAT(workspace->openedURLs[0], HasSubstr("Privacy_ScreenCapture"));
}

TEST_F(SettingsModelTest, TheLogInSwitchShowsWhatTheDesktopsListSaysEachTimeThatTheSettingsAreShown)
{
    EXPECT_FALSE(model.startsAtLogIn());
    EXPECT_TRUE(model.canChangeLogIn());
    EXPECT_TRUE(model.logInRemark().isEmpty());
    int changes = 0;
    QObject::connect(&model, &SettingsModel::logInChanged, &model, [&] { ++changes; });
    model.setStartsAtLogIn(true);
    EXPECT_TRUE(loginItem->current.isOn);
    EXPECT_TRUE(model.startsAtLogIn());
    EXPECT_EQ(changes, 1);
    loginItem->current = {false, false, "Another program."};
    EXPECT_TRUE(model.startsAtLogIn());
    appear();
    EXPECT_EQ(changes, 2);
    EXPECT_FALSE(model.startsAtLogIn());
    EXPECT_FALSE(model.canChangeLogIn());
    EXPECT_EQ(model.logInRemark(), QStringLiteral("Another program."));
}

TEST_F(SettingsModelTest, ASwitchThatCouldNotBeTurnedStaysAndSaysWhyUntilTheNextTryOrTheNextOpening)
{
    const auto refuse = [this] {
        loginItem->error = posixError(EROFS, "entry");
        model.setStartsAtLogIn(true);
        EXPECT_FALSE(model.startsAtLogIn());
        EXPECT_THAT(model.logInRemark().toStdString(), HasSubstr("Read-only file system"));
    };
    refuse();
    loginItem->error.reset();
    model.setStartsAtLogIn(true);
    EXPECT_TRUE(model.startsAtLogIn());
    EXPECT_TRUE(model.logInRemark().isEmpty());
    model.setStartsAtLogIn(false);
    refuse();
    appear();
    EXPECT_TRUE(model.logInRemark().isEmpty());
}

TEST_F(SettingsModelTest, WhereTheDesktopsKeySettingsAreIsSaidAndTheyOpenWhereTheyCan)
{
    EXPECT_THAT(model.keyAdvice().toStdString(), HasSubstr("'velmora toggle' in your desktop's keyboard settings."));
    EXPECT_FALSE(model.canOpenKeySettings());
    workspace->keys = platform::KeySettings{"Settings, Keyboard", false};
    EXPECT_THAT(model.keyAdvice().toStdString(), HasSubstr("'velmora toggle' in the desktop's settings: Settings, Keyboard."));
    EXPECT_FALSE(model.canOpenKeySettings());
    workspace->keys->canBeOpened = true;
    EXPECT_TRUE(model.canOpenKeySettings());
    model.openKeySettings();
    EXPECT_EQ(workspace->keySettingsOpened, 1);
}

TEST_F(SettingsModelTest, TheWalkthroughOpensFromHere)
{
    model.openWalkthrough();
    EXPECT_EQ(walkthroughs, 1);
}

}  // namespace
}  // namespace velmora

#include "settings/FolderBrowserModel.h"

#include "platform/fake/FakeFileManager.h"
#include "tests/support/TemporaryDirectory.h"

#include <fstream>
#include <gmock/gmock.h>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class FolderBrowserModelTest : public testing::Test {
protected:
    FolderBrowserModelTest()
    {
        for (const auto* name : {"beta", "Alpha", "clip 10", "clip 9", ".hidden", "Alpha/inside"})
            std::filesystem::create_directory(top / name);
        std::ofstream{top / "film.mp4"} << "a file";
        fileManager->home = top / "beta";
    }

    void begin(const std::filesystem::path& start)
    {
        model.emplace(fileManager, platform::FolderPanel{"Choose Folder", "Choose Folder", start, 0});
        QObject::connect(&*model, &FolderBrowserModel::finished, &*model, [this] { ++finishes; });
    }

    [[nodiscard]] std::vector<std::string> names() const
    {
        std::vector<std::string> all;
        for (int row = 0; row < model->rowCount(); ++row)
            all.push_back(model->data(model->index(row), FolderBrowserModel::Name).toString().toStdString());
        return all;
    }

    [[nodiscard]] std::filesystem::path shown() const { return model->path().toStdString(); }
    [[nodiscard]] std::filesystem::path choice() const { return model->choice().toStdString(); }

    const test::TemporaryDirectory directory;
    const std::filesystem::path top = directory.path();
    const std::shared_ptr<fake::FakeFileManager> fileManager = std::make_shared<fake::FakeFileManager>();
    std::optional<FolderBrowserModel> model;
    int finishes = 0;
};

TEST_F(FolderBrowserModelTest, ListsTheFoldersThatAreNotHiddenInTheOrderThatPeopleExpect)
{
    begin(top);
    EXPECT_THAT(names(), ElementsAre("Alpha", "beta", "clip 9", "clip 10"));
    EXPECT_EQ(model->selectedRow(), -1);
    EXPECT_EQ(choice(), top);
}

TEST_F(FolderBrowserModelTest, ALinkToAFolderIsListedAndOneToNothingIsNot)
{
    std::filesystem::create_directory_symlink(top / "beta", top / "link");
    std::filesystem::create_symlink(top / "nothing", top / "broken");
    begin(top);
    EXPECT_THAT(names(), ElementsAre("Alpha", "beta", "clip 9", "clip 10", "link"));
}

TEST_F(FolderBrowserModelTest, BeginsInWhatIsThereOfAFolderThatHasGone)
{
    begin(top / "Alpha" / "gone" / "for good");
    EXPECT_EQ(shown(), top / "Alpha");
    EXPECT_TRUE(model->errorMessage().isEmpty());
}

TEST_F(FolderBrowserModelTest, BeginsAtHomeWithoutAFolder)
{
    begin({});
    EXPECT_EQ(shown(), fileManager->home);
    EXPECT_TRUE(model->isEmpty());
}

TEST_F(FolderBrowserModelTest, ASlashAtTheEndOfTheFirstFolderChangesNothing)
{
    begin(top / "Alpha" / "");
    EXPECT_EQ(shown(), top / "Alpha");
    model->goUp();
    EXPECT_EQ(shown(), top);
}

TEST_F(FolderBrowserModelTest, TheSelectedFolderIsTheOneThatIsChosen)
{
    begin(top);
    model->select(1);
    EXPECT_EQ(choice(), top / "beta");
    model->choose();
    EXPECT_EQ(model->result(), top / "beta");
    EXPECT_EQ(finishes, 1);
}

TEST_F(FolderBrowserModelTest, WithNothingSelectedTheListedFolderIsChosen)
{
    begin(top);
    model->open(0);
    EXPECT_EQ(shown(), top / "Alpha");
    EXPECT_THAT(names(), ElementsAre("inside"));
    model->choose();
    EXPECT_EQ(model->result(), top / "Alpha");
}

TEST_F(FolderBrowserModelTest, CancellingChoosesNothing)
{
    begin(top);
    model->select(0);
    model->cancel();
    EXPECT_EQ(finishes, 1);
    EXPECT_EQ(model->result(), std::nullopt);
}

TEST_F(FolderBrowserModelTest, GoingUpSelectsWhereOneCameFrom)
{
    begin(top / "beta");
    model->goUp();
    EXPECT_EQ(shown(), top);
    EXPECT_EQ(model->selectedRow(), 1);
}

TEST_F(FolderBrowserModelTest, NothingIsAboveTheRoot)
{
    begin("/");
    EXPECT_FALSE(model->hasParent());
    model->goUp();
    EXPECT_EQ(shown(), "/");
}

TEST_F(FolderBrowserModelTest, ArrowsMoveTheSelectionToTheEndsAndNotBeyond)
{
    begin(top);
    model->moveSelection(-1);
    EXPECT_EQ(model->selectedRow(), 3) << "the nearest end";
    model->moveSelection(1);
    EXPECT_EQ(model->selectedRow(), 3);
    for (int presses = 0; presses < 5; ++presses)
        model->moveSelection(-1);
    EXPECT_EQ(model->selectedRow(), 0);
    model->select(17);
    model->open(17);
    model->open(-1);
    EXPECT_EQ(model->selectedRow(), 0);
    EXPECT_EQ(shown(), top);
}

TEST_F(FolderBrowserModelTest, APathCanBeTypedWholeFromHomeOrFromHere)
{
    begin(top);
    model->goTo(QString::fromStdString((top / ".hidden").string()));
    EXPECT_EQ(shown(), top / ".hidden");
    model->goTo(QStringLiteral("../Alpha/./inside/"));
    EXPECT_EQ(shown(), top / "Alpha" / "inside");
    model->goTo(QStringLiteral("~"));
    EXPECT_EQ(shown(), fileManager->home);
    model->goTo(QStringLiteral("~/../clip 9"));
    EXPECT_EQ(shown(), top / "clip 9");
}

TEST_F(FolderBrowserModelTest, ATypedPathThatLeadsNowhereSaysWhyAndLeavesTheList)
{
    begin(top);
    for (const auto* nowhere : {"no such folder", "film.mp4"}) {
        model->goTo(QLatin1String(nowhere));
        EXPECT_FALSE(model->errorMessage().isEmpty()) << nowhere;
        EXPECT_EQ(shown(), top);
        EXPECT_EQ(names().size(), 4U);
    }
    model->goTo({});
    EXPECT_EQ(shown(), top);
    model->open(0);
    EXPECT_TRUE(model->errorMessage().isEmpty());
}

TEST_F(FolderBrowserModelTest, ANewFolderIsMadeAndSelected)
{
    begin(top);
    model->beginNamingFolder();
    EXPECT_TRUE(model->isNamingFolder());
    model->createFolder(QStringLiteral("Ana’s clips"));
    EXPECT_FALSE(model->isNamingFolder());
    EXPECT_TRUE(std::filesystem::is_directory(top / "Ana’s clips"));
    EXPECT_EQ(choice(), top / "Ana’s clips");
}

TEST_F(FolderBrowserModelTest, ANameThatNoFolderCanHaveIsRefused)
{
    begin(top);
    model->beginNamingFolder();
    for (const auto* name : {"", "a/b", ".", "..", "beta", "film.mp4"}) {
        model->createFolder(QLatin1String(name));
        EXPECT_FALSE(model->errorMessage().isEmpty()) << name;
        EXPECT_TRUE(model->isNamingFolder()) << name;
    }
    EXPECT_EQ(names().size(), 4U);
}

TEST_F(FolderBrowserModelTest, AFolderThatCannotBeMadeSaysWhy)
{
    begin(top);
    fileManager->createError = posixError(EACCES, "New Folder");
    model->beginNamingFolder();
    model->createFolder(QStringLiteral("New Folder"));
    EXPECT_THAT(model->errorMessage().toStdString(), HasSubstr("Permission denied"));
    EXPECT_TRUE(model->isNamingFolder());
}

TEST_F(FolderBrowserModelTest, CancellingWhileAFolderIsNamedCancelsThatOnly)
{
    begin(top);
    model->beginNamingFolder();
    model->createFolder({});
    model->cancel();
    EXPECT_FALSE(model->isNamingFolder());
    EXPECT_TRUE(model->errorMessage().isEmpty());
    EXPECT_EQ(finishes, 0);
}

TEST_F(FolderBrowserModelTest, ANameThatIsNoTextIsChosenByItsBytes)
{
    const auto odd = top / "odd \xFF name";
    std::filesystem::create_directory(odd);
    begin(odd);
    model->goTo(model->path());
    model->choose();
    EXPECT_EQ(model->result(), odd);
}

TEST_F(FolderBrowserModelTest, NothingIsWrittenByLooking)
{
    begin(top / "clip 9");
    model->goUp();
    model->open(0);
    model->choose();
    EXPECT_THAT(std::vector<std::filesystem::path>(std::filesystem::directory_iterator{top / "clip 9"}, {}), IsEmpty());
}

}  // namespace
}  // namespace velmora

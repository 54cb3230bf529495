#include "library/views/ClipsModel.h"

#include "library/views/ClipEntry.h"
#include "tests/library/views/ClipsFixture.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ClipsModelTest : public testing::Test, protected test::ClipsFixture {
protected:
    /// "a.mp4" is the newest, all of today.
    void appearWith(const std::vector<std::string>& names)
    {
        int minute = 59;
        for (const auto& name : names)
            add(name, moment(0, 11, minute--));
        appear();
    }
};

TEST_F(ClipsModelTest, ClipsAreInLinesNewestFirstAndADayBeginsALine)
{
    add("a.mp4", moment(0, 9, 0));
    add("b.mp4", moment(0, 11, 0));
    add("c.mp4", moment(1, 23, 59));
    add("d.mp4", moment(4, 0, 0));
    add("e.mp4", moment(4, 1, 0));
    add("f.mp4", moment(4, 2, 0));
    add("g.mp4", moment(4, 3, 0));
    add("notes.txt", moment(0, 9, 0));
    add(".hidden.mp4", moment(0, 9, 0));
    appear();
    EXPECT_THAT(lines(), ElementsAre("Today: b.mp4 a.mp4", "Yesterday: c.mp4", "Monday, 16 November 2026: g.mp4 f.mp4 e.mp4", ": d.mp4"));
    EXPECT_EQ(status(), "7 clips");
    model->setColumns(2);
    EXPECT_THAT(lines(), ElementsAre("Today: b.mp4 a.mp4", "Yesterday: c.mp4", "Monday, 16 November 2026: g.mp4 f.mp4", ": e.mp4 d.mp4"));
}

TEST_F(ClipsModelTest, OfEqualDatesTheGreaterNameComesFirstHoweverTheFolderListsThem)
{
    for (const char* name : {"b.mp4", "c.mp4", "a.mp4"})
        add(name, moment(0, 9, 0));
    appear();
    EXPECT_THAT(lines(), ElementsAre("Today: c.mp4 b.mp4 a.mp4"));
}

TEST_F(ClipsModelTest, AfterMidnightTodayIsYesterday)
{
    appearWith({"a.mp4"});
    EXPECT_THAT(lines(), ElementsAre("Today: a.mp4"));
    clock->advance(std::chrono::hours{12});
    EXPECT_THAT(lines(), ElementsAre("Yesterday: a.mp4"));
    clock->advance(std::chrono::hours{24});
    EXPECT_THAT(lines(), ElementsAre("Friday, 20 November 2026: a.mp4"));
    model->viewDidDisappear();
    EXPECT_EQ(clock->pendingCount(), 0U);
}

TEST_F(ClipsModelTest, UntilTheFolderHasBeenReadNothingIsSaidOfIt)
{
    appearWith({"a.mp4"});
    EXPECT_FALSE(model->isReading());
    library->setOutputDirectory(home.path() / "other");
    EXPECT_TRUE(model->isReading());
    EXPECT_FALSE(model->hasClips());
    EXPECT_EQ(model->emptyTitle().toStdString(), "");
    run();
    EXPECT_FALSE(model->isReading());
    EXPECT_EQ(model->emptyTitle().toStdString(), "No clips yet.");
}

TEST_F(ClipsModelTest, ALateListingOfAFolderThatIsNoLongerTheOneIsNotShown)
{
    appearWith({"a.mp4"});
    model->reload();
    library->setOutputDirectory(home.path() / "other");
    ASSERT_TRUE(worker->runOne()) << "reads the first folder";
    while (executor->runOne()) { }
    EXPECT_FALSE(model->hasClips());
    run();
    EXPECT_EQ(model->emptyTitle().toStdString(), "No clips yet.");
}

TEST_F(ClipsModelTest, ManyChangesWhileTheFolderIsBeingReadAreOneMoreReading)
{
    appearWith({"a.mp4"});
    for (int i = 0; i < 100; ++i)
        model->reload();
    add("b.mp4", moment(0, 10, 0));
    int readings = 0;
    while (worker->runOne()) {
        ++readings;
        while (executor->runOne()) { }
    }
    EXPECT_EQ(readings, 2);
    EXPECT_THAT(lines(), ElementsAre("Today: a.mp4 b.mp4"));
}

TEST_F(ClipsModelTest, AFileThatVanishesWhileItIsBeingReadIsNoClip)
{
    appearWith({"a.mp4", "b.mp4"});
    // The listing names it; by the time that it is looked at it is gone.
    std::filesystem::create_symlink(folder() / "nowhere", folder() / "gone.mp4");
    fileManager->attributesError = Error{"POSIX", ENOENT, "gone", nullptr};
    reload();
    EXPECT_EQ(status(), "2 clips") << "what is there without attributes stays";
}

TEST_F(ClipsModelTest, WhatComesAndGoesFromOutsideChangesOnlyTheLinesThatItIsIn)
{
    add("a.mp4", moment(0, 11, 0));
    add("b.mp4", moment(1, 11, 0));
    add("c.mp4", moment(2, 11, 0));
    appear();
    std::vector<std::string> changes;
    QObject::connect(model.get(), &QAbstractItemModel::rowsInserted, model.get(), [&](const QModelIndex&, int first, int last) {
        changes.push_back("inserted " + std::to_string(first) + " to " + std::to_string(last));
    });
    QObject::connect(model.get(), &QAbstractItemModel::rowsRemoved, model.get(), [&](const QModelIndex&, int first, int last) {
        changes.push_back("removed " + std::to_string(first) + " to " + std::to_string(last));
    });
    QObject::connect(model.get(), &QAbstractItemModel::modelReset, model.get(), [&] { changes.emplace_back("reset"); });

    add("new.mp4", moment(1, 12, 0));
    reload();
    EXPECT_THAT(lines(), ElementsAre("Today: a.mp4", "Yesterday: new.mp4 b.mp4", "Wednesday, 18 November 2026: c.mp4"));
    EXPECT_THAT(changes, IsEmpty()) << "the same lines";
    std::filesystem::remove(folder() / "a.mp4");
    reload();
    EXPECT_THAT(changes, ElementsAre("removed 0 to 0"));
    for (int i = 0; i < 17; ++i)
        add("more " + std::to_string(i) + ".mp4", moment(1, 10, i));
    reload();
    EXPECT_EQ(status(), "20 clips");
    EXPECT_THAT(changes, SizeIs(2));
    EXPECT_EQ(lines().back(), "Wednesday, 18 November 2026: c.mp4");
    EXPECT_EQ(model->clip(19)->filename(), "c.mp4");
    EXPECT_EQ(model->clip(20), nullptr);
    EXPECT_EQ(model->clip(-1), nullptr);
}

TEST_F(ClipsModelTest, TheSearchLooksForEachWordInNamesAndDays)
{
    add("Film one.mp4", moment(0, 11, 0));
    add("Film two.mp4", moment(1, 11, 0));
    add("Game one.mp4", moment(4, 11, 0));
    appear();
    model->setSearchText(QStringLiteral("ONE"));
    EXPECT_THAT(lines(), ElementsAre("Today: Film one.mp4", "Monday, 16 November 2026: Game one.mp4"));
    EXPECT_EQ(status(), "2 of 3 clips");
    model->setSearchText(QStringLiteral(" one  fi "));
    EXPECT_THAT(lines(), ElementsAre("Today: Film one.mp4"));
    model->setSearchText(QStringLiteral("monday"));
    EXPECT_THAT(lines(), ElementsAre("Monday, 16 November 2026: Game one.mp4"));
    model->setSearchText(QStringLiteral("nothing"));
    EXPECT_THAT(lines(), IsEmpty());
    EXPECT_EQ(model->emptyTitle().toStdString(), "No clip fits the search.");
    model->setSearchText({});
    EXPECT_EQ(status(), "3 clips");
}

TEST_F(ClipsModelTest, WhatTheSearchHidesIsNoLongerSelectedSoNothingUnseenIsRemoved)
{
    appearWith({"a.mp4", "b.mp4", "ab.mp4"});
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_THAT(selected(), SizeIs(3));
    model->setSearchText(QStringLiteral("b"));
    EXPECT_THAT(selected(), ElementsAre("b.mp4", "ab.mp4"));
    press(Qt::Key_Delete);
    EXPECT_THAT(files(), ElementsAre("a.mp4"));
}

TEST_F(ClipsModelTest, TheFolderIsGoneAndComesBack)
{
    appearWith({"a.mp4"});
    std::filesystem::remove_all(folder());
    reload();
    EXPECT_EQ(model->emptyTitle().toStdString(), "The clips folder is not there.");
    EXPECT_THAT(model->emptyText().toStdString(), AllOf(HasSubstr(folder().native()), HasSubstr("made again")));
    EXPECT_FALSE(model->canTrash());
    std::filesystem::create_directories(folder());
    add("b.mp4", moment(0, 10, 0));
    reload();
    EXPECT_THAT(lines(), ElementsAre("Today: b.mp4"));
}

TEST_F(ClipsModelTest, InAReadOnlyFolderNothingIsOfferedThatWouldFail)
{
    fileManager->writeError = Error{"POSIX", EACCES, "Permission denied", nullptr};
    appearWith({"a.mp4"});
    press(Qt::Key_Home);
    EXPECT_THAT(status(), HasSubstr("read-only"));
    EXPECT_TRUE(model->canOpen());
    EXPECT_FALSE(model->canRename());
    EXPECT_FALSE(model->canTrash());
    press(Qt::Key_Delete);
    press(Qt::Key_F2);
    EXPECT_THAT(files(), ElementsAre("a.mp4"));
}

// The selection.

TEST_F(ClipsModelTest, ClicksSelectOneMoreOrARange)
{
    appearWith({"a.mp4", "b.mp4", "c.mp4", "d.mp4", "e.mp4"});
    model->click(1, Qt::NoModifier);
    EXPECT_THAT(selected(), ElementsAre("b.mp4"));
    model->click(3, Qt::ControlModifier);
    EXPECT_THAT(selected(), ElementsAre("b.mp4", "d.mp4"));
    EXPECT_EQ(status(), "2 clips selected, 3 MB");
    model->click(4, Qt::ShiftModifier | Qt::ControlModifier);
    EXPECT_THAT(selected(), ElementsAre("b.mp4", "d.mp4", "e.mp4"));
    model->click(0, Qt::ShiftModifier);
    EXPECT_THAT(selected(), ElementsAre("a.mp4", "b.mp4", "c.mp4", "d.mp4"));
    model->click(0, Qt::ControlModifier);
    EXPECT_THAT(selected(), ElementsAre("b.mp4", "c.mp4", "d.mp4"));
    model->click(17, Qt::NoModifier);
    EXPECT_THAT(selected(), SizeIs(3)) << "there is no such clip";
}

TEST_F(ClipsModelTest, TheKeyboardGoesThroughLinesOfDifferentLengths)
{
    for (const char* name : {"a.mp4", "b.mp4", "c.mp4", "d.mp4"})
        add(name, moment(0, 11, 59 - name[0] + 'a'));
    add("e.mp4", moment(1, 9, 0));
    appear();
    // a b c / d / e
    press(Qt::Key_Down);
    EXPECT_THAT(selected(), ElementsAre("a.mp4"));
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    EXPECT_THAT(selected(), ElementsAre("c.mp4"));
    press(Qt::Key_Down);
    EXPECT_THAT(selected(), ElementsAre("d.mp4"));
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    EXPECT_THAT(selected(), ElementsAre("e.mp4"));
    press(Qt::Key_Up);
    press(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_THAT(selected(), ElementsAre("c.mp4", "d.mp4"));
    press(Qt::Key_Home, Qt::ShiftModifier);
    EXPECT_THAT(selected(), ElementsAre("a.mp4", "b.mp4", "c.mp4", "d.mp4"));
    press(Qt::Key_PageDown);
    EXPECT_THAT(selected(), ElementsAre("e.mp4"));
    press(Qt::Key_Home);
    press(Qt::Key_Right, Qt::ControlModifier);
    EXPECT_THAT(selected(), ElementsAre("a.mp4")) << "moving alone selects nothing";
    press(Qt::Key_Space, Qt::ControlModifier);
    EXPECT_THAT(selected(), ElementsAre("a.mp4", "b.mp4"));
    press(Qt::Key_End);
    EXPECT_THAT(selected(), ElementsAre("e.mp4"));
}

TEST_F(ClipsModelTest, TheSelectionStaysWithItsFilesWhateverComes)
{
    appearWith({"b.mp4", "c.mp4", "d.mp4"});
    model->click(1, Qt::NoModifier);
    add("a.mp4", moment(0, 12, 0));
    reload();
    EXPECT_THAT(selected(), ElementsAre("c.mp4"));
    EXPECT_EQ(model->currentNumber(), 2);
    std::filesystem::remove(folder() / "c.mp4");
    reload();
    EXPECT_THAT(selected(), ElementsAre("d.mp4")) << "the one that has its place";
    for (const char* name : {"a.mp4", "b.mp4", "d.mp4"})
        std::filesystem::remove(folder() / name);
    reload();
    EXPECT_EQ(model->currentNumber(), -1);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_THAT(opened, IsEmpty());
}

TEST_F(ClipsModelTest, TypingInTheListSearchesAndEscapeGoesBackStepByStep)
{
    appearWith({"a.mp4", "b.mp4"});
    std::vector<QString> searches;
    int dismissals = 0;
    QObject::connect(model.get(), &ClipsModel::searchBegan, model.get(), [&](const QString& text) {
        searches.push_back(text);
        model->setSearchText(text);
    });
    QObject::connect(model.get(), &ClipsModel::dismissed, model.get(), [&] { ++dismissals; });
    EXPECT_TRUE(model->pressKey(Qt::Key_M, 0, QStringLiteral("m"), 2));
    EXPECT_TRUE(model->pressKey(Qt::Key_P, 0, QStringLiteral("p"), 2));
    EXPECT_THAT(searches, ElementsAre(QStringLiteral("m"), QStringLiteral("mp")));
    EXPECT_FALSE(model->pressKey(Qt::Key_X, static_cast<int>(Qt::ControlModifier), QStringLiteral("\x18"), 2));
    EXPECT_FALSE(model->pressKey(Qt::Key_Tab, 0, QStringLiteral("\t"), 2));
    press(Qt::Key_A, Qt::ControlModifier);
    model->escape();
    EXPECT_EQ(model->searchText(), QString{});
    EXPECT_THAT(selected(), SizeIs(2));
    model->escape();
    EXPECT_THAT(selected(), SizeIs(1));
    EXPECT_EQ(dismissals, 0);
    model->escape();
    EXPECT_EQ(dismissals, 1);
}

TEST_F(ClipsModelTest, AClipIsDraggedWithAllThatAreSelectedIfItIsOneOfThemElseAlone)
{
    std::vector<std::filesystem::path> files;
    for (int i = 0; i < 40; ++i)
        files.push_back(add(std::to_string(10 + i) + " é\xE9.mp4", moment(i, 10, 0)));
    appear();
    model->drag(40);
    model->drag(-1);
    EXPECT_THAT(dragged, SizeIs(0)) << "there is none";
    model->click(7, Qt::NoModifier);
    model->click(3, Qt::ShiftModifier);
    model->click(39, Qt::ControlModifier);
    model->drag(5);
    const std::vector<std::filesystem::path> expected{files[3], files[4], files[5], files[6], files[7], files[39]};
    EXPECT_THAT(dragged, ElementsAre(expected));
    model->drag(20);
    EXPECT_THAT(dragged.back(), ElementsAre(files[20]));
    EXPECT_THAT(selected(), ElementsAre(files[20].filename().native())) << "and it is to be seen which";
}

TEST_F(ClipsModelTest, OneClipIsOpenedSharedAndCopiedAndAnyNumberRevealed)
{
    appearWith({"a.mp4", "b.mp4"});
    press(Qt::Key_Return);
    EXPECT_THAT(opened, IsEmpty());
    press(Qt::Key_End);
    press(Qt::Key_Return);
    model->press(0);
    model->press(0);
    model->doubleClick();
    model->share(10.4, 20.6);
    press(Qt::Key_C, Qt::ControlModifier);
    EXPECT_THAT(opened, ElementsAre("b.mp4", "a.mp4"));
    EXPECT_THAT(shared, ElementsAre(std::pair<std::string, QPoint>{"b.mp4", {10, 21}}));
    EXPECT_THAT(copied, ElementsAre("b.mp4"));
    EXPECT_EQ(status(), "“b.mp4” is on the clipboard.");
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_FALSE(model->canOpen());
    model->open();
    model->share(0, 0);
    EXPECT_THAT(opened, SizeIs(2));
    EXPECT_THAT(shared, SizeIs(1));
    model->reveal();
    EXPECT_THAT(revealed, ElementsAre("a.mp4", "b.mp4"));
    fileBrowser = "Fi\nles";
    EXPECT_EQ(model->revealRemark().toStdString(), "Show in Fi les");
}

// To the trash and back.

TEST_F(ClipsModelTest, ClipsGoToTheTrashAndComeBack)
{
    appearWith({"a.mp4", "b.mp4", "c.mp4"});
    model->click(0, Qt::NoModifier);
    press(Qt::Key_Delete);
    EXPECT_EQ(status(), "“a.mp4” is in the trash.");
    EXPECT_THAT(lines(), ElementsAre("Today: b.mp4 c.mp4"));
    EXPECT_THAT(files(), ElementsAre("b.mp4", "c.mp4"));
    EXPECT_THAT(selected(), ElementsAre("b.mp4")) << "the next one";
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_Delete);
    EXPECT_EQ(status(), "2 clips are in the trash.");
    EXPECT_THAT(files(), IsEmpty());
    model->undo();
    run();
    EXPECT_EQ(status(), "2 clips are back.");
    EXPECT_THAT(lines(), ElementsAre("Today: b.mp4 c.mp4"));
    EXPECT_THAT(selected(), ElementsAre("b.mp4", "c.mp4"));
    model->undo();
    run();
    EXPECT_EQ(status(), "“a.mp4” is back.");
    EXPECT_THAT(files(), ElementsAre("a.mp4", "b.mp4", "c.mp4"));
    EXPECT_FALSE(model->canUndo());
    model->undo();
    EXPECT_EQ(status(), "“a.mp4” is back.") << "nothing is left to do";
}

TEST_F(ClipsModelTest, WhileFilesAreBeingMovedNothingElseIsBegun)
{
    appearWith({"a.mp4", "b.mp4"});
    press(Qt::Key_A, Qt::ControlModifier);
    model->moveToTrash();
    EXPECT_EQ(status(), "Moving 2 clips to the trash...");
    EXPECT_FALSE(model->canTrash() || model->canRename() || model->canUndo());
    model->moveToTrash();
    EXPECT_EQ(worker->pendingCount(), 1U);
    run();
    EXPECT_EQ(status(), "2 clips are in the trash.");
}

TEST_F(ClipsModelTest, WhatTheTrashRefusesStaysAndIsSaid)
{
    appearWith({"a.mp4", "b.mp4", "c.mp4"});
    fileMover->refusals = {{folder() / "a.mp4", EBUSY}, {folder() / "b.mp4", EXDEV}};
    model->click(0, Qt::NoModifier);
    press(Qt::Key_Delete);
    EXPECT_EQ(status(), "“a.mp4” could not be moved to the trash: it is being recorded. Nothing was deleted.");
    EXPECT_FALSE(model->canUndo());
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_Delete);
    EXPECT_EQ(status(), "“c.mp4” is in the trash. “a.mp4” could not be moved to the trash: it is being recorded. Nor could 1 clip.");
    EXPECT_THAT(files(), ElementsAre("a.mp4", "b.mp4"));
    fileMover->refusals = {{folder() / "b.mp4", EXDEV}};
    model->click(1, Qt::NoModifier);
    press(Qt::Key_Delete);
    EXPECT_THAT(status(), HasSubstr("its disk has no trash. Nothing was deleted."));
    fileMover->refusals.clear();
    std::filesystem::remove(folder() / "b.mp4");
    press(Qt::Key_Delete);
    EXPECT_THAT(status(), HasSubstr("it is no longer there."));
    EXPECT_THAT(lines(), ElementsAre("Today: a.mp4")) << "looked at again";
}

TEST_F(ClipsModelTest, AClipComesBackBesideOneThatHasItsNameByNow)
{
    appearWith({"a.mp4"});
    press(Qt::Key_Home);
    press(Qt::Key_Delete);
    add("a.mp4", moment(0, 11, 0));
    model->undo();
    run();
    EXPECT_EQ(status(), "It is back as “a-1.mp4”, because something has its name.");
    EXPECT_THAT(files(), ElementsAre("a-1.mp4", "a.mp4"));
    EXPECT_THAT(selected(), ElementsAre("a-1.mp4"));
}

TEST_F(ClipsModelTest, AnEmptiedTrashIsSaidAndAFolderThatRefusesCanBeTriedAgain)
{
    appearWith({"a.mp4", "b.mp4"});
    press(Qt::Key_Home);
    press(Qt::Key_Delete);
    fileMover->refusals[folder() / "a.mp4"] = EACCES;
    model->undo();
    run();
    EXPECT_THAT(status(), AllOf(HasSubstr("“a.mp4” could not be put back: "), HasSubstr("ermission denied.")));
    ASSERT_TRUE(model->canUndo());
    fileMover->refusals.clear();
    std::filesystem::remove_all(home.path() / "trash");
    model->undo();
    run();
    EXPECT_EQ(status(), "“a.mp4” could not be put back: it is no longer in the trash, or its folder is gone.");
    EXPECT_FALSE(model->canUndo());
}

// Names.

TEST_F(ClipsModelTest, AClipIsRenamedWhereItStandsAndItsExtensionStays)
{
    appearWith({"a.MP4", "b.mp4"});
    press(Qt::Key_Home);
    const auto before = model->clip(0);
    press(Qt::Key_F2);
    EXPECT_TRUE(model->isRenaming(before));
    model->finishRenaming(QStringLiteral("a film"));
    run();
    EXPECT_THAT(files(), ElementsAre("a film.MP4", "b.mp4"));
    EXPECT_THAT(lines(), ElementsAre("Today: a film.MP4 b.mp4"));
    EXPECT_THAT(selected(), ElementsAre("a film.MP4"));
    EXPECT_EQ(status(), "Its name is “a film.MP4” now.");
    EXPECT_FALSE(model->isRenaming(model->clip(0)));
}

TEST_F(ClipsModelTest, ANameThatIsNotTakenIsSaidAndCanBeMended)
{
    appearWith({"a.mp4", "b.mp4"});
    press(Qt::Key_Home);
    press(Qt::Key_F2);
    model->finishRenaming(QStringLiteral("x/y"));
    EXPECT_EQ(status(), "A name cannot contain “/”.");
    model->finishRenaming(QStringLiteral("b"));
    run();
    EXPECT_EQ(status(), "Something called “b.mp4” is already there.");
    EXPECT_TRUE(model->isRenaming(model->clip(0)));
    EXPECT_THAT(files(), ElementsAre("a.mp4", "b.mp4"));
    model->finishRenaming(QStringLiteral("c"));
    run();
    EXPECT_THAT(files(), ElementsAre("b.mp4", "c.mp4"));
}

TEST_F(ClipsModelTest, RenamingEndsByEscapeByLeavingAndWithTheFile)
{
    appearWith({"a.mp4", "b.mp4"});
    press(Qt::Key_Home);
    press(Qt::Key_F2);
    model->escape();
    EXPECT_FALSE(model->isRenaming(model->clip(0)));
    press(Qt::Key_F2);
    model->leaveRenaming(QStringLiteral("."));
    EXPECT_FALSE(model->isRenaming(model->clip(0)));
    EXPECT_THAT(status(), HasSubstr("full stop"));
    press(Qt::Key_F2);
    model->leaveRenaming(QStringLiteral("left"));
    run();
    EXPECT_THAT(files(), ElementsAre("b.mp4", "left.mp4"));
    press(Qt::Key_F2);
    std::filesystem::remove(folder() / "left.mp4");
    reload();
    int renamed = 0;
    for (int i = 0; model->clip(i); ++i)
        renamed += model->isRenaming(model->clip(i));
    EXPECT_EQ(renamed, 0);
    model->finishRenaming(QStringLiteral("late"));
    run();
    EXPECT_THAT(files(), ElementsAre("b.mp4"));
}

TEST_F(ClipsModelTest, AFileThatVanishesDuringItsRenamingIsSaid)
{
    appearWith({"a.mp4", "b.mp4"});
    press(Qt::Key_Home);
    press(Qt::Key_F2);
    std::filesystem::remove(folder() / "a.mp4");
    model->finishRenaming(QStringLiteral("c"));
    run();
    EXPECT_EQ(status(), "“a.mp4” could not be renamed: it is no longer there.");
    press(Qt::Key_Right);
    press(Qt::Key_F2);
    fileMover->refusals[folder() / "b.mp4"] = EBUSY;
    model->finishRenaming(QStringLiteral("c"));
    run();
    EXPECT_EQ(status(), "“b.mp4” could not be renamed: it is being recorded.");
}

TEST_F(ClipsModelTest, NamesThatAreNotUtf8KeepEveryByte)
{
    const std::string odd = "caf\xE9 \xFF.mp4";
    appearWith({odd, "b.mp4"});
    press(Qt::Key_Home);
    press(Qt::Key_Return);
    EXPECT_THAT(opened, ElementsAre(odd));
    press(Qt::Key_F2);
    ClipEntry entry;
    entry.setModel(model.get());
    entry.setNumber(0);
    model->finishRenaming(entry.editableName());
    run();
    EXPECT_THAT(files(), ElementsAre("b.mp4", odd)) << "nothing was edited";
    press(Qt::Key_Delete);
    model->undo();
    run();
    EXPECT_THAT(files(), ElementsAre("b.mp4", odd));
}

// What is loaded of clips that are on the screen.

TEST_F(ClipsModelTest, AnEntrySaysAllThatIsKnownOfItsClip)
{
    add("A film.mp4", moment(0, 9, 5));
    appear();
    ClipEntry entry;
    entry.setModel(model.get());
    entry.setNumber(0);
    run();
    EXPECT_EQ(entry.name().toStdString(), "A film");
    EXPECT_EQ(entry.length().toStdString(), "0:12");
    EXPECT_EQ(entry.details().toStdString(), "09:05 · 1.5 MB");
    EXPECT_EQ(entry.spoken().toStdString(), "A film, Friday, 20 November 2026 09:05, 0:12, 1.5 MB");
    EXPECT_FALSE(entry.isSelected());
    model->click(0, Qt::NoModifier);
    EXPECT_TRUE(entry.isSelected() && entry.isCurrent());
    entry.setNumber(1);
    EXPECT_EQ(entry.spoken().toStdString(), "");
    EXPECT_FALSE(entry.isSelected() || entry.isCurrent() || entry.isRenaming());
}

TEST_F(ClipsModelTest, OnlyClipsOnTheScreenAreLookedIntoOneAfterAnother)
{
    thumbnails->answersAtOnce = false;
    assetReader->asked.clear();
    for (int i = 0; i < 20; ++i)
        add("clip " + std::to_string(i) + ".mp4", moment(0, 11, 59 - i));
    assetReader->answersAtOnce = false;
    appear();
    EXPECT_THAT(assetReader->asked, IsEmpty());
    EXPECT_THAT(thumbnails->found, IsEmpty());
    std::vector<std::unique_ptr<ClipEntry>> entries;
    for (int i = 3; i < 6; ++i) {
        entries.push_back(std::make_unique<ClipEntry>());
        entries.back()->setModel(model.get());
        entries.back()->setNumber(i);
    }
    EXPECT_THAT(assetReader->asked, ElementsAre(folder() / "clip 3.mp4"));
    EXPECT_THAT(thumbnails->found, ElementsAre(folder() / "clip 3.mp4"));
    // The second leaves the screen before its turn.
    entries.erase(entries.begin() + 1);
    assetReader->answerAll();
    ASSERT_TRUE(fake::FakeThumbnails::answerOne(thumbnails->finding, PixelBufferRef{}));
    run();
    EXPECT_THAT(assetReader->asked, ElementsAre(folder() / "clip 3.mp4", folder() / "clip 5.mp4"));
    EXPECT_THAT(thumbnails->found, ElementsAre(folder() / "clip 3.mp4", folder() / "clip 5.mp4"));
    EXPECT_THAT(thumbnails->made, ElementsAre(folder() / "clip 3.mp4")) << "while others are looked for";
    ASSERT_TRUE(fake::FakeThumbnails::answerOne(thumbnails->finding, fake::FakeThumbnails::picture()));
    run();
    EXPECT_FALSE(entries[1]->picture().isNull());
    EXPECT_TRUE(entries[0]->picture().isNull());
    ASSERT_TRUE(fake::FakeThumbnails::answerOne(thumbnails->making, fail("x", 1, "damaged")));
    run();
    EXPECT_THAT(thumbnails->made, SizeIs(1)) << "what cannot be made is not tried again";
    entries.clear();
    assetReader->answerAll();
    run();
}

TEST_F(ClipsModelTest, PicturesOffTheScreenAreKeptUpToALimit)
{
    constexpr int count = 200;
    for (int i = 0; i < count; ++i)
        thumbnails->kept[add("clip " + std::to_string(i) + ".mp4", moment(0, 11, 0))] = fake::FakeThumbnails::picture();
    appear();
    ClipEntry entry;
    entry.setModel(model.get());
    for (int i = 0; i < count; ++i) {
        entry.setNumber(i);
        run();
        ASSERT_FALSE(entry.picture().isNull()) << i;
    }
    EXPECT_THAT(thumbnails->found, SizeIs(count));
    EXPECT_LE(model->shownClips().bytes(), ShownClips::mostBytes + static_cast<std::size_t>(entry.picture().sizeInBytes()));
    EXPECT_GT(model->shownClips().bytes(), ShownClips::mostBytes / 2);
    entry.setNumber(count - 2);
    run();
    EXPECT_FALSE(entry.picture().isNull());
    EXPECT_THAT(thumbnails->found, SizeIs(count)) << "kept";
    entry.setNumber(0);
    run();
    EXPECT_THAT(thumbnails->found, SizeIs(count + 1)) << "forgotten, and found again";
    model->viewDidDisappear();
    EXPECT_EQ(model->shownClips().bytes(), static_cast<std::size_t>(entry.picture().sizeInBytes()));
}

TEST_F(ClipsModelTest, ARenamedClipKeepsItsPicture)
{
    thumbnails->kept[add("a.mp4", moment(0, 11, 0))] = fake::FakeThumbnails::picture();
    appear();
    ClipEntry entry;
    entry.setModel(model.get());
    entry.setNumber(0);
    run();
    press(Qt::Key_Home);
    press(Qt::Key_F2);
    model->finishRenaming(QStringLiteral("b"));
    run();
    EXPECT_EQ(entry.name().toStdString(), "b");
    EXPECT_FALSE(entry.picture().isNull());
    EXPECT_THAT(thumbnails->found, SizeIs(1));
}

TEST_F(ClipsModelTest, LateResultsFindNobody)
{
    thumbnails->answersAtOnce = false;
    assetReader->answersAtOnce = false;
    appearWith({"a.mp4"});
    auto entry = std::make_unique<ClipEntry>();
    entry->setModel(model.get());
    entry->setNumber(0);
    press(Qt::Key_Home);
    model->moveToTrash();
    entry.reset();
    model.reset();
    ASSERT_TRUE(fake::FakeThumbnails::answerOne(thumbnails->finding, fake::FakeThumbnails::picture()));
    assetReader->answerAll();
    run();
    EXPECT_THAT(files(), IsEmpty()) << "what was begun comes to its end";
}

TEST_F(ClipsModelTest, AFinerScreenLoadsLargerPictures)
{
    thumbnails->kept[add("a.mp4", moment(0, 11, 0))] = fake::FakeThumbnails::picture();
    appear();
    thumbnails->answersAtOnce = false;
    model->setPictureSide(216);
    ClipEntry entry;
    entry.setModel(model.get());
    entry.setNumber(0);
    ASSERT_THAT(thumbnails->finding, SizeIs(1));
    EXPECT_EQ(thumbnails->finding.front().side, 256);
    fake::FakeThumbnails::answerOne(thumbnails->finding, fake::FakeThumbnails::picture());
    run();
    model->setPictureSide(240);
    EXPECT_THAT(thumbnails->finding, IsEmpty()) << "large enough";
    model->setPictureSide(432);
    ASSERT_THAT(thumbnails->finding, SizeIs(1));
    EXPECT_EQ(thumbnails->finding.front().side, 512);
    EXPECT_FALSE(entry.picture().isNull()) << "until the larger one is there";
}

}  // namespace
}  // namespace velmora

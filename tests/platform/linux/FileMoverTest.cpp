// Files on their way to another name, into the desktop's trash and back.
#include "engine/files/FileMover.h"

#include "engine/files/DiscardedRecordings.h"
#include "media/mp4/PosixFile.h"
#include "platform/linux/desktop/Trash.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace velmora::linux_backend {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FileMoverTest : public testing::Test {
protected:
    FileMoverTest() { fs::create_directories(clips_); }

    fs::path add(const std::string& name, const std::string& text = "a film") const
    {
        std::ofstream{clips_ / name} << text;
        return clips_ / name;
    }

    [[nodiscard]] static std::vector<std::string> namesIn(const fs::path& folder)
    {
        std::vector<std::string> names;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(folder, error))
            names.push_back(entry.path().filename().native());
        std::sort(names.begin(), names.end());
        return names;
    }

    [[nodiscard]] static std::string textOf(const fs::path& file)
    {
        std::ifstream stream{file};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    const test::TemporaryDirectory directory_;
    const fs::path clips_ = directory_.path() / "clips";
    const fs::path home_ = directory_.path() / "Trash";
    const std::shared_ptr<const Trash> trash_ = std::make_shared<Trash>(Trash::Places{home_, {}, ::geteuid()});
    const std::shared_ptr<platform::FileMover> mover_ = engine::makeFileMover(trash_);
};

TEST_F(FileMoverTest, AnotherNameReplacesNothing)
{
    const auto file = add("a\xFF.mp4");
    ASSERT_TRUE(mover_->rename(file, clips_ / "b.mp4"));
    EXPECT_THAT(namesIn(clips_), ElementsAre("b.mp4"));
    const auto other = add("c.mp4", "another film");
    const auto refused = mover_->rename(other, clips_ / "b.mp4");
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, EEXIST);
    EXPECT_EQ(textOf(clips_ / "b.mp4"), "a film");
    EXPECT_EQ(textOf(other), "another film");
    EXPECT_EQ(mover_->rename(clips_ / "nothing.mp4", clips_ / "d.mp4").error().code, ENOENT);
}

TEST_F(FileMoverTest, WhatIsInTheTrashIsListedForFileBrowsersAndIsNoDiscardedRecording)
{
    const auto trashed = mover_->moveToTrash(add("a film.mp4"));
    ASSERT_TRUE(trashed);
    EXPECT_EQ(trashed->origin, clips_ / "a film.mp4");
    EXPECT_THAT(namesIn(clips_), IsEmpty());
    EXPECT_THAT(namesIn(home_ / "files"), ElementsAre("a film.mp4"));
    const auto info = textOf(home_ / "info" / "a film.mp4.trashinfo");
    EXPECT_EQ(info.substr(0, info.find("DeletionDate=")), "[Trash Info]\nPath=" + clips_.native() + "/a%20film.mp4\n");
    EXPECT_EQ(std::count(info.begin(), info.end(), '\n'), 3) << "and nothing else:\n" << info;
    EXPECT_THAT(engine::DiscardedRecordings{trash_}.list(), IsEmpty()) << "nobody offers to restore it";
}

TEST_F(FileMoverTest, WhatIsPutBackLeavesNoTraceInTheTrash)
{
    const auto first = mover_->moveToTrash(add("a.mp4", "first"));
    const auto second = mover_->moveToTrash(add("a.mp4", "second"));
    ASSERT_TRUE(first && second);
    const auto path = mover_->putBack(*second);
    ASSERT_TRUE(path);
    EXPECT_EQ(*path, clips_ / "a.mp4");
    const auto beside = mover_->putBack(*first);
    ASSERT_TRUE(beside);
    EXPECT_EQ(*beside, clips_ / "a-1.mp4") << "the name is taken";
    EXPECT_EQ(textOf(clips_ / "a.mp4"), "second");
    EXPECT_EQ(textOf(clips_ / "a-1.mp4"), "first");
    EXPECT_THAT(namesIn(home_ / "files"), IsEmpty());
    EXPECT_THAT(namesIn(home_ / "info"), IsEmpty());
    EXPECT_EQ(mover_->putBack(*first).error().code, ENOENT);
}

TEST_F(FileMoverTest, WithoutAFolderToPutItIntoItStaysInTheTrash)
{
    const auto trashed = mover_->moveToTrash(add("a.mp4"));
    ASSERT_TRUE(trashed);
    fs::remove_all(clips_);
    const auto refused = mover_->putBack(*trashed);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, ENOENT);
    EXPECT_EQ(textOf(trashed->file), "a film");
    EXPECT_THAT(namesIn(home_ / "info"), ElementsAre("a.mp4.trashinfo"));
}

TEST_F(FileMoverTest, AClipThatIsBeingRecordedStaysWhereItIs)
{
    const auto file = add("a.mp4");
    const auto recorder = mp4::PosixFile::openForUpdating(file);
    ASSERT_TRUE(recorder && (*recorder)->tryLock().value_or(false));
    EXPECT_EQ(mover_->moveToTrash(file).error().code, EBUSY);
    EXPECT_EQ(mover_->rename(file, clips_ / "b.mp4").error().code, EBUSY);
    EXPECT_THAT(namesIn(clips_), ElementsAre("a.mp4"));
    EXPECT_THAT(namesIn(home_ / "info"), IsEmpty());
}

TEST_F(FileMoverTest, ATrashThatRefusesLeavesTheFileAndNoTrace)
{
    std::ofstream{home_} << "in the way";
    const auto file = add("a.mp4");
    EXPECT_FALSE(mover_->moveToTrash(file));
    EXPECT_EQ(textOf(file), "a film");
}

TEST_F(FileMoverTest, AFileThatMayNotBeWrittenIsMovedAllTheSame)
{
    const auto file = add("a.mp4");
    fs::permissions(file, fs::perms::owner_read);
    ASSERT_TRUE(mover_->rename(file, clips_ / "b.mp4"));
    EXPECT_TRUE(mover_->moveToTrash(clips_ / "b.mp4"));
    EXPECT_THAT(namesIn(clips_), IsEmpty());
}

TEST_F(FileMoverTest, OfALinkTheLinkIsMeant)
{
    const auto film = directory_.path() / "film.mp4";
    std::ofstream{film} << "far away";
    fs::create_symlink(film, clips_ / "link.mp4");
    ASSERT_TRUE(mover_->rename(clips_ / "link.mp4", clips_ / "b.mp4"));
    const auto trashed = mover_->moveToTrash(clips_ / "b.mp4");
    ASSERT_TRUE(trashed);
    EXPECT_THAT(namesIn(clips_), IsEmpty());
    EXPECT_EQ(textOf(film), "far away");
    ASSERT_TRUE(mover_->putBack(*trashed));
    EXPECT_EQ(fs::read_symlink(clips_ / "b.mp4"), film);
    EXPECT_THAT(namesIn(home_ / "files"), IsEmpty());
    add("taken.mp4");
    EXPECT_EQ(mover_->rename(clips_ / "b.mp4", clips_ / "taken.mp4").error().code, EEXIST);
    EXPECT_EQ(fs::read_symlink(clips_ / "b.mp4"), film);
}

}  // namespace
}  // namespace velmora::linux_backend

#include "platform/mac/MacTrash.h"

#include "engine/files/FileMover.h"
#include "tests/support/TemporaryDirectory.h"

#include <cerrno>
#include <fstream>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class MacTrashTest : public testing::Test {
protected:
    MacTrashTest()
    {
        std::filesystem::create_directory(folder_.path() / "clips");
        std::filesystem::create_directory(trashFolder_);
    }

    std::filesystem::path makeFile(const std::string& name, const std::string& text = "x") const
    {
        const auto path = folder_.path() / "clips" / name;
        std::ofstream{path} << text;
        return path;
    }

    static engine::Trash::Move mover(const std::filesystem::path& from)
    {
        return [from](const std::filesystem::path& to) -> Result<void> {
            if (std::filesystem::exists(to))
                return fail(posixError(EEXIST, to.native()));
            std::filesystem::rename(from, to);
            return {};
        };
    }

    engine::TrashedFile put(const std::filesystem::path& path) const { return trash_->put(path, mover(path)).value(); }

    /// As another run of the program has it.
    [[nodiscard]] std::shared_ptr<engine::Trash> makeTrash() const
    {
        return mac_backend::makeTrash({.trashFor = [this](const auto&) -> Result<std::filesystem::path> {
                                           if (hasNoTrash_)
                                               return fail("NSCocoaErrorDomain", 3328, "none");
                                           return trashFolder_;
                                       },
            .records = records_});
    }

    const TemporaryDirectory folder_;
    const std::filesystem::path trashFolder_ = folder_.path() / "trash";
    const std::filesystem::path records_ = folder_.path() / "support" / "Discarded";
    bool hasNoTrash_ = false;
    const std::shared_ptr<engine::Trash> trash_ = makeTrash();
};

TEST_F(MacTrashTest, ADiscardedRecordingIsRememberedBeyondThisRun)
{
    const auto origin = makeFile("größe\n\xFF.mp4");
    const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const auto trashed = put(origin);
    EXPECT_FALSE(std::filesystem::exists(origin));
    EXPECT_EQ(trashed.file, trashFolder_ / "größe\n\xFF.mp4");
    const auto entries = makeTrash()->entries();
    ASSERT_THAT(entries, SizeIs(1));
    EXPECT_EQ(entries[0].origin, origin);
    EXPECT_EQ(entries[0].trashed.file, trashed.file);
    EXPECT_FALSE(entries[0].wasOffered);
    EXPECT_GE(entries[0].deleted, before);
    EXPECT_LE(entries[0].deleted, std::chrono::system_clock::now());
}

TEST_F(MacTrashTest, ATakenNameGetsACounter)
{
    put(makeFile("a.mp4"));
    EXPECT_EQ(put(makeFile("a.mp4")).file, trashFolder_ / "a-1.mp4");
    EXPECT_THAT(trash_->entries(), SizeIs(2));
}

TEST_F(MacTrashTest, WhatTheUserDeletesIsNoDiscardedRecording)
{
    const auto path = makeFile("a.mp4");
    ASSERT_TRUE(trash_->putDeleted(path, mover(path)));
    EXPECT_TRUE(std::filesystem::exists(trashFolder_ / "a.mp4"));
    EXPECT_THAT(trash_->entries(), IsEmpty());
}

TEST_F(MacTrashTest, WhatWasTakenOutOrIsAnotherFileByNowIsNoEntryAndItsRecordGoes)
{
    const auto gone = put(makeFile("gone.mp4"));
    const auto replaced = put(makeFile("replaced.mp4"));
    std::filesystem::remove(gone.file);
    std::ofstream{trashFolder_ / "new"} << "y";
    std::filesystem::rename(trashFolder_ / "new", replaced.file);
    EXPECT_EQ(trash_->entry(replaced), std::nullopt);
    EXPECT_THAT(trash_->entries(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(records_));
}

TEST_F(MacTrashTest, ThatItWasOfferedIsKept)
{
    const auto trashed = put(makeFile("a.mp4"));
    trash_->noteOffered(trashed);
    const auto entry = makeTrash()->entry(trashed);
    ASSERT_TRUE(entry);
    EXPECT_TRUE(entry->wasOffered);
}

TEST_F(MacTrashTest, WhatIsRemovedIsGoneWithItsRecord)
{
    const auto trashed = put(makeFile("a.mp4"));
    trash_->remove(trashed);
    EXPECT_FALSE(std::filesystem::exists(trashed.file));
    EXPECT_TRUE(std::filesystem::is_empty(records_));
}

TEST_F(MacTrashTest, DamagedRecordsAndOtherFilesArePassedOver)
{
    put(makeFile("a.mp4"));
    std::ofstream{records_ / "half.discarded"} << "Velmora discarded recording 1\n5\n6";
    std::ofstream{records_ / "other.discarded"} << "something else";
    std::ofstream{records_ / "empty.discarded"} << "";
    std::ofstream{records_ / "a.part"} << "x";
    EXPECT_THAT(trash_->entries(), SizeIs(1));
}

TEST_F(MacTrashTest, WithoutATrashTheFileStaysWithTheSystemsError)
{
    hasNoTrash_ = true;
    const auto path = makeFile("a.mp4");
    EXPECT_EQ(trash_->put(path, mover(path)).error().code, 3328);
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(MacTrashTest, WhatCannotBeMovedStaysAndLeavesNoRecord)
{
    const auto path = makeFile("a.mp4");
    const auto refused = trash_->put(path, [](const auto& to) -> Result<void> { return fail(posixError(EXDEV, to.native())); });
    EXPECT_EQ(refused.error().code, EXDEV);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_THAT(trash_->entries(), IsEmpty());
}

TEST_F(MacTrashTest, AClipThatIsDeletedCanBePutBack)
{
    const auto mover = engine::makeFileMover(trash_);
    const auto path = makeFile("a.mp4", "whole");
    const auto trashed = mover->moveToTrash(path);
    ASSERT_TRUE(trashed);
    EXPECT_FALSE(std::filesystem::exists(path));
    makeFile("a.mp4", "another");
    const auto back = mover->putBack(*trashed);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->filename(), "a-1.mp4");
    EXPECT_FALSE(std::filesystem::exists(trashed->file));
}

}  // namespace
}  // namespace velmora::test

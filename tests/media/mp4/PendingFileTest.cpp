#include "media/mp4/PendingFile.h"

#include "tests/media/mp4/RenameFault.h"
#include "tests/support/FolderContents.h"
#include "tests/support/TemporaryDirectory.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace velmora::mp4 {
namespace {

using velmora::test::linkError;
using velmora::test::namesIn;
using velmora::test::renameError;
using velmora::test::TemporaryDirectory;

class PendingFileTest : public ::testing::Test {
protected:
    ~PendingFileTest() override
    {
        renameError = 0;
        linkError = 0;
    }

    std::unique_ptr<PendingFile> create()
    {
        auto pending = PendingFile::create(folder.path());
        EXPECT_TRUE(pending);
        const std::string text = "whole";
        EXPECT_TRUE((*pending)->file().writeAt(0, std::as_bytes(std::span{text})));
        return std::move(*pending);
    }

    [[nodiscard]] std::vector<std::string> names() const { return namesIn(folder.path()); }

    [[nodiscard]] std::string contentOf(const std::string& name) const
    {
        std::ifstream stream{folder.path() / name};
        return {std::istreambuf_iterator<char>{stream}, {}};
    }

    const TemporaryDirectory folder;
};

TEST_F(PendingFileTest, LiesUnderAHiddenNameThatIsNoClips)
{
    const auto pending = create();
    ASSERT_EQ(names().size(), 1U);
    EXPECT_TRUE(names()[0].starts_with('.'));
    EXPECT_FALSE(names()[0].ends_with(".mp4"));
}

TEST_F(PendingFileTest, GetsItsNameWhenItIsPublishedAndKeepsIt)
{
    auto pending = create();
    EXPECT_TRUE(pending->sync());
    ASSERT_TRUE(pending->publish(folder.path() / "clip.mp4"));
    pending->discard();
    pending.reset();
    EXPECT_EQ(names(), std::vector<std::string>{"clip.mp4"});
    EXPECT_EQ(contentOf("clip.mp4"), "whole");
}

TEST_F(PendingFileTest, IsGoneWhenItIsNotPublished)
{
    create().reset();
    EXPECT_TRUE(names().empty());
}

TEST_F(PendingFileTest, IsGoneAtOnceWhenItIsDiscardedAndCannotBePublishedAfterwards)
{
    const auto pending = create();
    pending->discard();
    EXPECT_TRUE(names().empty());
    EXPECT_EQ(pending->publish(folder.path() / "clip.mp4").error().code, ENOENT);
    EXPECT_TRUE(names().empty());
}

TEST_F(PendingFileTest, ReplacesNothingAndMayTryAnotherName)
{
    for (const int error : {0, EINVAL, ENOSYS}) {
        SCOPED_TRACE(error);
        renameError = error;
        std::ofstream{folder.path() / "clip.mp4"} << "mine";
        std::filesystem::create_symlink(folder.path() / "nowhere", folder.path() / "link.mp4");
        std::filesystem::create_directory(folder.path() / "folder.mp4");
        const auto pending = create();
        for (const char* name : {"clip.mp4", "link.mp4", "folder.mp4"})
            EXPECT_EQ(pending->publish(folder.path() / name).error().code, EEXIST) << name;
        ASSERT_TRUE(pending->publish(folder.path() / "clip-1.mp4"));
        EXPECT_EQ(contentOf("clip.mp4"), "mine");
        EXPECT_EQ(contentOf("clip-1.mp4"), "whole");
        EXPECT_EQ(names().size(), 4U);
        for (const auto& name : names())
            std::filesystem::remove(folder.path() / name);
    }
}

TEST_F(PendingFileTest, AFolderWithoutSecondNamesTakesTheFileAndStillReplacesNothing)
{
    renameError = EINVAL;
    for (const int error : {EPERM, EOPNOTSUPP, ENOSYS}) {
        SCOPED_TRACE(error);
        linkError = error;
        std::ofstream{folder.path() / "clip.mp4"} << "mine";
        const auto pending = create();
        EXPECT_EQ(pending->publish(folder.path() / "clip.mp4").error().code, EEXIST);
        EXPECT_EQ(contentOf("clip.mp4"), "mine");
        ASSERT_TRUE(pending->publish(folder.path() / "clip-1.mp4"));
        EXPECT_EQ(contentOf("clip-1.mp4"), "whole");
        EXPECT_EQ(names().size(), 2U);
        for (const auto& name : names())
            std::filesystem::remove(folder.path() / name);
    }
    linkError = EACCES;
    EXPECT_EQ(create()->publish(folder.path() / "clip.mp4").error().code, EACCES);
    EXPECT_TRUE(names().empty());
}

TEST_F(PendingFileTest, AFileSystemThatRefusesForAnotherReasonIsBelieved)
{
    renameError = EROFS;
    const auto pending = create();
    EXPECT_EQ(pending->publish(folder.path() / "clip.mp4").error().code, EROFS);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "clip.mp4"));
}

TEST_F(PendingFileTest, AFolderThatTakesNoFileIsAnErrorThatNamesIt)
{
    const auto missing = PendingFile::create(folder.path() / "missing");
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().code, ENOENT);
    EXPECT_NE(missing.error().localizedDescription.find("missing"), std::string::npos);
    EXPECT_EQ(missing.error().localizedDescription.find(".part"), std::string::npos);
}

TEST_F(PendingFileTest, TwoInOneFolderDoNotMeet)
{
    const auto first = create();
    const auto second = create();
    EXPECT_EQ(names().size(), 2U);
}

/// Leaves what a process killed in the middle of an export leaves.
void killAnExportIn(const std::filesystem::path& folder)
{
    const auto child = ::fork();
    if (child == 0) {
        const auto pending = PendingFile::create(folder);
        static_cast<void>(::kill(::getpid(), SIGKILL));
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
}

TEST_F(PendingFileTest, WhatAKilledProcessLeftIsRemoved)
{
    killAnExportIn(folder.path());
    killAnExportIn(folder.path());
    ASSERT_EQ(names().size(), 2U);
    EXPECT_EQ(removeAbandonedFiles(folder.path()), 2U);
    EXPECT_TRUE(names().empty());
}

TEST_F(PendingFileTest, WhatSomeoneIsWritingStaysAndGetsItsName)
{
    const auto pending = create();
    EXPECT_EQ(removeAbandonedFiles(folder.path()), 0U);
    ASSERT_TRUE(pending->publish(folder.path() / "clip.mp4"));
    EXPECT_EQ(contentOf("clip.mp4"), "whole");
}

TEST_F(PendingFileTest, WhatAnotherProcessIsWritingStays)
{
    int ready[2] = {};
    int end[2] = {};
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(end), 0);
    const auto child = ::fork();
    if (child == 0) {
        ::close(end[1]);
        {
            const auto pending = PendingFile::create(folder.path());
            char byte = 0;
            if (::write(ready[1], &byte, 1) != 1 || ::read(end[0], &byte, 1) != 0)
                ::_exit(1);
        }
        ::_exit(0);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ASSERT_EQ(names().size(), 1U);
    EXPECT_EQ(removeAbandonedFiles(folder.path()), 0U);
    EXPECT_EQ(names().size(), 1U);
    for (const int descriptor : {end[1], end[0], ready[0], ready[1]})
        ::close(descriptor);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(names().empty());
}

TEST_F(PendingFileTest, NothingButAFileOfExactlySuchANameIsRemoved)
{
    for (const char* name : {".velmora-0123456789abcde.part", ".velmora-0123456789abcdef0.part", ".velmora-0123456789abcdeg.part",
             ".velmora-0123456789ABCDEF.part", ".velmora-0123456789abcdef.mp4", "velmora-0123456789abcdef.part",
             ".velmora-0123456789abcdef.part~", ".part", "clip.mp4"})
        std::ofstream{folder.path() / name} << "mine";
    std::filesystem::create_symlink(folder.path() / "clip.mp4", folder.path() / ".velmora-0000000000000001.part");
    std::filesystem::create_directory(folder.path() / ".velmora-0000000000000002.part");
    const auto before = names().size();
    EXPECT_EQ(removeAbandonedFiles(folder.path()), 0U);
    EXPECT_EQ(names().size(), before);
    EXPECT_EQ(removeAbandonedFiles(folder.path() / "missing"), 0U);
    EXPECT_EQ(removeAbandonedFiles(folder.path() / "clip.mp4"), 0U);
}

}  // namespace
}  // namespace velmora::mp4

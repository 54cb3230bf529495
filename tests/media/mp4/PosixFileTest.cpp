#include "media/mp4/PosixFile.h"

#include "tests/media/mp4/RenameFault.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/MemoryFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace velmora::mp4 {
namespace {

using velmora::test::TemporaryDirectory;

std::vector<std::byte> bytes(std::string_view text)
{
    const auto span = std::as_bytes(std::span{text.data(), text.size()});
    return {span.begin(), span.end()};
}

TEST(PosixFile, ReadsBackWhatWasWrittenAtAnOffset)
{
    const TemporaryDirectory folder;
    const auto file = PosixFile::create(folder.path() / "a");
    ASSERT_TRUE(file);
    ASSERT_TRUE((*file)->writeAt(100, bytes("hello")));
    EXPECT_EQ(*(*file)->size(), 105U);
    std::vector<std::byte> read(5);
    EXPECT_TRUE(*(*file)->readAt(100, read));
    EXPECT_EQ(read, bytes("hello"));
    EXPECT_FALSE(*(*file)->readAt(103, read));
    EXPECT_TRUE((*file)->sync());
    EXPECT_TRUE((*file)->syncFolder());
    ASSERT_TRUE((*file)->truncate(50));
    EXPECT_EQ(*(*file)->size(), 50U);
}

TEST(PosixFile, IsNotCreatedWhereSomethingIsAlready)
{
    const TemporaryDirectory folder;
    std::ofstream{folder.path() / "a"} << "precious";
    EXPECT_EQ(PosixFile::create(folder.path() / "a").error().code, EEXIST);
    std::filesystem::create_symlink(folder.path() / "nowhere", folder.path() / "link");
    EXPECT_EQ(PosixFile::create(folder.path() / "link").error().code, EEXIST);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "nowhere"));
    EXPECT_EQ(PosixFile::create(folder.path() / "missing" / "a").error().code, ENOENT);
}

TEST(PosixFile, AllocatesBlocksThatAreReallyThere)
{
    const TemporaryDirectory folder;
    const auto file = PosixFile::create(folder.path() / "a");
    ASSERT_TRUE(file);
    ASSERT_TRUE((*file)->allocate(300'000));
    struct stat status { };
    ASSERT_EQ(::stat((folder.path() / "a").c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 300'000);
    EXPECT_GE(status.st_blocks * 512, 300'000);
}

TEST(PosixFile, IsClosedInPrograms)
{
    const TemporaryDirectory folder;
    const auto file = PosixFile::create(folder.path() / "a");
    ASSERT_TRUE(file);
    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator{"/proc/self/fd"}) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry.path(), error) != folder.path() / "a")
            continue;
        ++found;
        EXPECT_NE(::fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC, 0);
    }
    EXPECT_EQ(found, 1);
}

TEST(PosixFile, OnlyOneCanHoldTheLock)
{
    const TemporaryDirectory folder;
    auto first = PosixFile::create(folder.path() / "a");
    ASSERT_TRUE(first);
    EXPECT_TRUE(*(*first)->tryLock());
    const auto second = PosixFile::openForUpdating(folder.path() / "a");
    ASSERT_TRUE(second);
    EXPECT_FALSE(*(*second)->tryLock());
    first->reset();
    EXPECT_TRUE(*(*second)->tryLock());
}

TEST(PosixFile, KnowsWhetherItsNameStillLeadsToIt)
{
    const TemporaryDirectory folder;
    const auto file = PosixFile::create(folder.path() / "a");
    ASSERT_TRUE(file);
    EXPECT_TRUE((*file)->isStillInFolder());
    std::filesystem::rename(folder.path() / "a", folder.path() / "b");
    EXPECT_FALSE((*file)->isStillInFolder());
    std::ofstream{folder.path() / "a"} << "another";
    EXPECT_FALSE((*file)->isStillInFolder());
    EXPECT_TRUE((*file)->removeFromFolder());
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "a"));
    std::filesystem::rename(folder.path() / "b", folder.path() / "a");
    EXPECT_TRUE((*file)->removeFromFolder());
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "a"));
}

TEST(PosixFile, MovesAndRemovesItsFileInAFolderThatWasRenamedMeanwhile)
{
    const TemporaryDirectory folder;
    const auto create = [&](const char* name) {
        std::filesystem::create_directory(folder.path() / "clips");
        auto file = PosixFile::create(folder.path() / "clips/clip");
        std::filesystem::rename(folder.path() / "clips", folder.path() / name);
        EXPECT_FALSE((*file)->isStillInFolder());
        return std::move(*file);
    };
    EXPECT_TRUE(create("renamed")->moveTo(folder.path() / "moved"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "renamed/clip"));
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "moved"));
    EXPECT_TRUE(create("again")->removeFromFolder());
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "again/clip"));
    // What has its name elsewhere is another file.
    const auto file = create("third");
    std::filesystem::rename(folder.path() / "third/clip", folder.path() / "third/mine");
    std::ofstream{folder.path() / "third/clip"} << "another";
    EXPECT_EQ(file->moveTo(folder.path() / "not moved").error().code, ENOENT);
    EXPECT_TRUE(file->removeFromFolder());
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "third/clip"));
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "third/mine"));
}

TEST(PosixFile, DoesNotUpdateThroughALink)
{
    const TemporaryDirectory folder;
    std::ofstream{folder.path() / "a"} << "content";
    std::filesystem::create_symlink(folder.path() / "a", folder.path() / "link");
    EXPECT_EQ(PosixFile::openForUpdating(folder.path() / "link").error().code, ELOOP);
    EXPECT_TRUE(PosixFile::openForReading(folder.path() / "link"));
}

TEST(PosixFile, DoesNotOpenADevice)
{
    EXPECT_EQ(PosixFile::openForUpdating("/dev/full").error().code, EINVAL);
    EXPECT_EQ(PosixFile::openForReading("/dev/zero").error().code, EINVAL);
}

TEST(PosixFile, SaysWhatIsNoFile)
{
    const TemporaryDirectory folder;
    std::filesystem::create_directory(folder.path() / "clips");
    EXPECT_EQ(PosixFile::openForReading("/dev/zero").error().localizedDescription, "zero is not an ordinary file.");
    EXPECT_EQ(PosixFile::openForReading(folder.path() / "clips").error().localizedDescription, "clips is a folder.");
    EXPECT_EQ(PosixFile::openForReading(folder.path() / "clips" / "").error().localizedDescription,
        (folder.path() / "clips" / "").string() + " is a folder.");
}

TEST(PosixFile, CopiesFromAnotherFileAtAnyOffset)
{
    const TemporaryDirectory folder;
    const auto source = PosixFile::create(folder.path() / "source");
    const auto target = PosixFile::create(folder.path() / "target");
    ASSERT_TRUE(source && target);
    std::vector<std::byte> content(3'000'000);
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<std::byte>(i * 2'654'435'761U >> 16);
    ASSERT_TRUE((*source)->writeAt(0, content));
    std::vector<std::byte> buffer(100'000);
    EXPECT_EQ((*target)->copyFrom(**source, 1234, 77, 2'500'001, buffer), true);
    EXPECT_EQ(*(*target)->size(), 2'500'078U);
    std::vector<std::byte> copied(2'500'001);
    EXPECT_TRUE(*(*target)->readAt(77, copied));
    EXPECT_TRUE(std::equal(copied.begin(), copied.end(), content.begin() + 1234));
    EXPECT_EQ((*target)->copyFrom(**source, 2'999'990, 0, 11, buffer), false) << "one byte past the end";
}

TEST(PosixFile, CopiesFromAFileThatIsNoneOfTheSystems)
{
    const TemporaryDirectory folder;
    test::MemoryFile source{bytes("a file in memory")};
    const auto target = PosixFile::create(folder.path() / "target");
    ASSERT_TRUE(target);
    std::vector<std::byte> buffer(3);
    EXPECT_EQ((*target)->copyFrom(source, 2, 5, 4, buffer), true);
    std::vector<std::byte> copied(4);
    EXPECT_TRUE(*(*target)->readAt(5, copied));
    EXPECT_EQ(copied, bytes("file"));
}

TEST(PosixFile, ACopyThatTheDiskDoesNotTakeIsTheSystemsError)
{
    const TemporaryDirectory folder;
    const auto source = PosixFile::create(folder.path() / "source");
    ASSERT_TRUE(source);
    ASSERT_TRUE((*source)->writeAt(0, bytes("content")));
    // Open for reading only.
    const auto target = PosixFile::openForReading(folder.path() / "source");
    ASSERT_TRUE(target);
    std::vector<std::byte> buffer(3);
    EXPECT_EQ((*target)->copyFrom(**source, 0, 0, 4, buffer).error().code, EBADF);
}

TEST(PosixFile, MovesNoOtherFileThanItsOwn)
{
    const TemporaryDirectory folder;
    const auto path = folder.path() / "clip";
    const auto replace = [&] {
        std::filesystem::remove(path);
        std::ofstream{path} << "another";
    };
    {
        const auto file = PosixFile::create(path);
        replace();
        EXPECT_EQ((*file)->moveTo(folder.path() / "moved").error().code, ENOENT);
        EXPECT_FALSE(std::filesystem::exists(folder.path() / "moved"));
        EXPECT_EQ(std::filesystem::file_size(path), 7U);
    }
    std::filesystem::remove(path);
    {
        // In the moment between the check and the rename.
        const auto file = PosixFile::create(path);
        test::beforeRename = replace;
        EXPECT_EQ((*file)->moveTo(folder.path() / "moved").error().code, ENOENT);
        EXPECT_FALSE(std::filesystem::exists(folder.path() / "moved"));
        EXPECT_EQ(std::filesystem::file_size(path), 7U);
    }
    std::filesystem::remove(path);
    const auto file = PosixFile::create(path);
    ASSERT_TRUE((*file)->writeAt(0, bytes("ours")));
    EXPECT_TRUE((*file)->moveTo(folder.path() / "moved"));
    EXPECT_EQ(std::filesystem::file_size(folder.path() / "moved"), 4U);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE((*file)->isStillInFolder());
}

}  // namespace
}  // namespace velmora::mp4

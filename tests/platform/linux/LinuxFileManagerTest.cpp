#include "platform/linux/LinuxFileManager.h"

#include "media/mp4/PosixFile.h"
#include "tests/support/TemporaryDirectory.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

TEST(VideosDirectory, IsTheEntryOfTheUserDirectories)
{
    EXPECT_EQ(videosDirectory("# comment\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\nXDG_VIDEOS_DIR=\"$HOME/Videos\"\n", "/users/someone"),
        "/users/someone/Videos");
    EXPECT_EQ(videosDirectory("  XDG_VIDEOS_DIR=\"/media/big disk/Films\"", "/users/someone"), "/media/big disk/Films");
}

TEST(VideosDirectory, KeepsEscapedCharacters)
{
    EXPECT_EQ(videosDirectory("XDG_VIDEOS_DIR=\"$HOME/a\\\"b\\$c\"\n", "/h"), "/h/a\"b$c");
}

TEST(VideosDirectory, TheLastEntryHolds)
{
    EXPECT_EQ(videosDirectory("XDG_VIDEOS_DIR=\"/one\"\nXDG_VIDEOS_DIR=\"/two/\"\n", "/h"), "/two");
}

TEST(VideosDirectory, IsNoneWhenTheEntryIsMissingMalformedOrTheHomeFolder)
{
    EXPECT_TRUE(videosDirectory("", "/h").empty());
    EXPECT_TRUE(videosDirectory("#XDG_VIDEOS_DIR=\"/one\"\n", "/h").empty());
    EXPECT_TRUE(videosDirectory("XDG_VIDEOS_DIR=/one\n", "/h").empty());
    EXPECT_TRUE(videosDirectory("XDG_VIDEOS_DIR=\"/one\n", "/h").empty());
    EXPECT_TRUE(videosDirectory("XDG_VIDEOS_DIR=\"relative\"\n", "/h").empty());
    EXPECT_TRUE(videosDirectory("XDG_VIDEOS_DIR=\"$HOMEWARD/x\"\n", "/h").empty());
    EXPECT_TRUE(videosDirectory("XDG_VIDEOS_DIR=\"$HOME\"\n", "/h").empty());
    EXPECT_TRUE(videosDirectory("XDG_VIDEOS_DIR=\"$HOME/\"\n", "/h").empty());
}

class Environment {
public:
    Environment(const char* name, const std::string& value) : name_(name)
    {
        if (const char* before = std::getenv(name))
            before_ = before;
        ::setenv(name, value.c_str(), 1);
    }
    ~Environment()
    {
        if (before_)
            ::setenv(name_, before_->c_str(), 1);
        else
            ::unsetenv(name_);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    const char* name_;
    std::optional<std::string> before_;
};

class LinuxFileManagerTest : public testing::Test {
protected:
    test::TemporaryDirectory folder;
    std::shared_ptr<platform::FileManager> fileManager = makeFileManager();
};

TEST_F(LinuxFileManagerTest, ReadsTheUserDirectoriesOfTheConfigurationFolder)
{
    const Environment home{"HOME", folder.path() / "home"};
    const Environment configuration{"XDG_CONFIG_HOME", folder.path()};
    EXPECT_TRUE(fileManager->moviesDirectories().empty());
    std::ofstream{folder.path() / "user-dirs.dirs"} << "XDG_VIDEOS_DIR=\"$HOME/Videos\"\n";
    EXPECT_EQ(fileManager->moviesDirectories(), std::vector<std::filesystem::path>{folder.path() / "home" / "Videos"});
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "home")) << "nothing is created by asking";
}

TEST_F(LinuxFileManagerTest, TheConfigurationFolderIsBelowTheHomeFolderUnlessAnAbsolutePathIsGiven)
{
    const Environment home{"HOME", folder.path()};
    const Environment configuration{"XDG_CONFIG_HOME", "relative"};
    std::filesystem::create_directory(folder.path() / ".config");
    std::ofstream{folder.path() / ".config" / "user-dirs.dirs"} << "XDG_VIDEOS_DIR=\"/films\"\n";
    EXPECT_EQ(fileManager->moviesDirectories(), std::vector<std::filesystem::path>{"/films"});
}

TEST_F(LinuxFileManagerTest, WithoutTheVariableTheHomeFolderIsTheAccountsAndNoOtherThreadsAccountIsOverwritten)
{
    const auto* ours = ::getpwuid(::getuid());
    ASSERT_TRUE(ours);
    const std::filesystem::path expected = ours->pw_dir;
    const uid_t other = ::getuid() == 1 ? 0 : 1;
    const auto* entry = ::getpwuid(other);
    ASSERT_TRUE(entry);
    const Environment home{"HOME", ""};
    EXPECT_EQ(fileManager->homeDirectory(), expected);
    EXPECT_EQ(entry->pw_uid, other);
}

TEST_F(LinuxFileManagerTest, TellsFilesFromFolders)
{
    std::ofstream{folder.path() / "file"} << "x";
    bool isDirectory = true;
    EXPECT_TRUE(fileManager->fileExists(folder.path() / "file", &isDirectory));
    EXPECT_FALSE(isDirectory);
    EXPECT_TRUE(fileManager->fileExists(folder.path(), &isDirectory));
    EXPECT_TRUE(isDirectory);
    EXPECT_FALSE(fileManager->fileExists(folder.path() / "missing", &isDirectory));
    EXPECT_FALSE(isDirectory);
}

TEST_F(LinuxFileManagerTest, RemovesAFileOrALinkButNeverAFolder)
{
    std::ofstream{folder.path() / "file"} << "x";
    std::filesystem::create_symlink(folder.path() / "file", folder.path() / "link");
    std::filesystem::create_directory(folder.path() / "folder");
    EXPECT_TRUE(fileManager->removeFile(folder.path() / "link"));
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "file"));
    EXPECT_TRUE(fileManager->removeFile(folder.path() / "file"));
    EXPECT_FALSE(fileManager->removeFile(folder.path() / "folder"));
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "folder"));
    EXPECT_EQ(fileManager->removeFile(folder.path() / "file").error().code, ENOENT);
}

TEST_F(LinuxFileManagerTest, AFileThatSomebodyRecordsIntoIsNotRemoved)
{
    auto recorder = mp4::PosixFile::create(folder.path() / "clip.mp4");
    ASSERT_TRUE(recorder && *(*recorder)->tryLock());
    const auto refused = fileManager->removeFile(folder.path() / "clip.mp4");
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, EBUSY);
    EXPECT_TRUE((*recorder)->isStillInFolder());
    std::filesystem::create_symlink(folder.path() / "clip.mp4", folder.path() / "link");
    EXPECT_TRUE(fileManager->removeFile(folder.path() / "link")) << "a link to it is a different thing";
    EXPECT_TRUE((*recorder)->isStillInFolder());
    recorder->reset();
    EXPECT_TRUE(fileManager->removeFile(folder.path() / "clip.mp4"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(LinuxFileManagerTest, AFifoIsRemovedWithoutBeingOpened)
{
    ASSERT_EQ(::mkfifo((folder.path() / "fifo").c_str(), 0600), 0);
    EXPECT_TRUE(fileManager->removeFile(folder.path() / "fifo"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(LinuxFileManagerTest, CreatesFoldersAndSaysWhyItCannot)
{
    EXPECT_TRUE(fileManager->createDirectory(folder.path() / "a" / "b"));
    EXPECT_TRUE(std::filesystem::is_directory(folder.path() / "a" / "b"));
    std::ofstream{folder.path() / "file"} << "x";
    const auto failed = fileManager->createDirectory(folder.path() / "file" / "below");
    ASSERT_FALSE(failed.has_value());
    EXPECT_EQ(failed.error().code, ENOTDIR);
    EXPECT_NE(failed.error().localizedDescription.find("Not a directory"), std::string::npos);
}

TEST_F(LinuxFileManagerTest, AFolderIsWritableWhenThisUserMayCreateFilesInItAndIsLeftAsItWas)
{
    EXPECT_TRUE(fileManager->checkWritable(folder.path()));
    EXPECT_TRUE(fileManager->checkWritable(folder.path() / ""));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    EXPECT_EQ(fileManager->checkWritable(folder.path() / "gone").error().code, ENOENT);
    std::ofstream{folder.path() / "file"} << "x";
    EXPECT_EQ(fileManager->checkWritable(folder.path() / "file").error().code, ENOTDIR);

    std::filesystem::permissions(folder.path(), std::filesystem::perms{0555});
    // The superuser may write everywhere.
    const bool isSuperuser = ::geteuid() == 0;
    if (isSuperuser) {
        ASSERT_EQ(::seteuid(65534), 0);
    }
    const auto denied = fileManager->checkWritable(folder.path());
    if (isSuperuser) {
        ASSERT_EQ(::seteuid(0), 0);
    }
    std::filesystem::permissions(folder.path(), std::filesystem::perms{0755});
    ASSERT_FALSE(denied.has_value());
    EXPECT_EQ(denied.error().code, EACCES);
    EXPECT_EQ(denied.error().localizedDescription, folder.path().string() + ": Permission denied");
}

}  // namespace
}  // namespace velmora::linux_backend

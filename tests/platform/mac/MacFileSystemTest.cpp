// The file system of a Mac, on stand-ins for the calls that only it has. The tests of PosixFile run on it too, in this program.
#include "media/mp4/FileSystem.h"
#include "media/mp4/PosixFile.h"
#include "tests/platform/mac/standins/FileSystemStandIn.h"
#include "tests/support/TemporaryDirectory.h"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora::mp4 {
namespace {

using standin::fileSystem;
using testing::ElementsAre;

class MacFileSystem : public testing::Test {
protected:
    MacFileSystem() : descriptor_(::open((folder_.path() / "a").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) { fileSystem() = {}; }
    ~MacFileSystem() override
    {
        ::close(descriptor_);
        fileSystem() = {};
    }

    [[nodiscard]] struct stat status() const
    {
        struct stat status { };
        EXPECT_EQ(::fstat(descriptor_, &status), 0);
        return status;
    }

    const test::TemporaryDirectory folder_;
    const int descriptor_;
};

constexpr off_t mebibyte = off_t{1} << 20;

TEST_F(MacFileSystem, AllocatingLengthensTheFileAndGivesItRoomOnTheDisk)
{
    ASSERT_EQ(file_system::allocate(descriptor_, mebibyte), 0);
    EXPECT_EQ(status().st_size, mebibyte);
    EXPECT_GE(status().st_blocks * 512, mebibyte);
    EXPECT_THAT(fileSystem().preallocated, ElementsAre(mebibyte));
}

TEST_F(MacFileSystem, AllocatingMoreAsksOnlyForWhatIsMissing)
{
    ASSERT_EQ(file_system::allocate(descriptor_, mebibyte), 0);
    const auto present = status().st_blocks * 512;
    ASSERT_EQ(file_system::allocate(descriptor_, 2 * mebibyte), 0);
    EXPECT_THAT(fileSystem().preallocated, ElementsAre(mebibyte, 2 * mebibyte - present));
    EXPECT_EQ(status().st_size, 2 * mebibyte);
    EXPECT_GE(status().st_blocks * 512, 2 * mebibyte);
}

TEST_F(MacFileSystem, AllocatingWhatIsThereNeitherAsksNorShortensTheFile)
{
    ASSERT_EQ(file_system::allocate(descriptor_, mebibyte), 0);
    ASSERT_EQ(file_system::allocate(descriptor_, mebibyte / 2), 0);
    EXPECT_THAT(fileSystem().preallocated, ElementsAre(mebibyte));
    EXPECT_EQ(status().st_size, mebibyte);
}

TEST_F(MacFileSystem, AFullDiskIsAnErrorAndLeavesTheFilesLength)
{
    fileSystem().preallocateError = ENOSPC;
    EXPECT_EQ(file_system::allocate(descriptor_, mebibyte), ENOSPC);
    EXPECT_EQ(status().st_size, 0);
}

TEST_F(MacFileSystem, AFileThatCannotBeGivenRoomIsAsLongAllTheSame)
{
    fileSystem().preallocateError = ENOTSUP;
    EXPECT_EQ(file_system::allocate(descriptor_, mebibyte), 0);
    EXPECT_EQ(status().st_size, mebibyte);
}

TEST_F(MacFileSystem, AnInterruptedAllocationIsTakenUpAgain)
{
    fileSystem().interruptions = 2;
    EXPECT_EQ(file_system::allocate(descriptor_, mebibyte), 0);
    EXPECT_THAT(fileSystem().preallocated, ElementsAre(mebibyte));
}

TEST_F(MacFileSystem, SyncReachesThroughToTheDrive)
{
    EXPECT_EQ(file_system::sync(descriptor_), 0);
    EXPECT_EQ(fileSystem().fullSyncs, 1);
}

TEST_F(MacFileSystem, AFileSystemWithoutADriveIsSyncedAsFarAsItGoes)
{
    fileSystem().fullSyncError = ENOTSUP;
    EXPECT_EQ(file_system::sync(descriptor_), 0);
}

TEST_F(MacFileSystem, ADriveThatFailsIsAnError)
{
    fileSystem().fullSyncError = EIO;
    EXPECT_EQ(file_system::sync(descriptor_), EIO);
}

TEST_F(MacFileSystem, ARenameThatWouldReplaceIsRefused)
{
    const auto first = folder_.path() / "first";
    const auto taken = folder_.path() / "taken";
    ASSERT_TRUE(PosixFile::create(first));
    ASSERT_TRUE(PosixFile::create(taken));
    EXPECT_EQ(file_system::renameWithoutReplacing(AT_FDCWD, first.c_str(), AT_FDCWD, taken.c_str()), EEXIST);
    EXPECT_TRUE(std::filesystem::exists(first));
}

TEST_F(MacFileSystem, AFileSystemThatOnlyReplacesSaysSo)
{
    fileSystem().renameError = ENOTSUP;
    EXPECT_EQ(file_system::renameWithoutReplacing(AT_FDCWD, "from", AT_FDCWD, "to"), ENOSYS);
}

TEST_F(MacFileSystem, AFileMovesToAFreeNameWhereTheFileSystemOnlyReplaces)
{
    const auto file = PosixFile::create(folder_.path() / "from");
    ASSERT_TRUE(file);
    fileSystem().renameError = ENOTSUP;
    EXPECT_TRUE((*file)->moveTo(folder_.path() / "to"));
    EXPECT_TRUE(std::filesystem::exists(folder_.path() / "to"));
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "from"));
}

TEST_F(MacFileSystem, SaysWhereAFileLiesAndNothingOfADeletedOne)
{
    const auto path = folder_.path() / "a";
    EXPECT_EQ(file_system::pathOf(descriptor_), std::filesystem::canonical(path));
    std::filesystem::remove(path);
    EXPECT_EQ(file_system::pathOf(descriptor_), std::nullopt);
}

TEST_F(MacFileSystem, TrustsTheLocksOfItsOwnDisksOnly)
{
    EXPECT_EQ(file_system::hasTrustworthyLocks(descriptor_), true);
    fileSystem().type = "macfuse";
    EXPECT_EQ(file_system::hasTrustworthyLocks(descriptor_), false);
    fileSystem().type = "smbfs";
    fileSystem().isLocal = false;
    EXPECT_EQ(file_system::hasTrustworthyLocks(descriptor_), false);
    fileSystem().statusError = EIO;
    EXPECT_EQ(file_system::hasTrustworthyLocks(descriptor_), std::nullopt);
}

}  // namespace
}  // namespace velmora::mp4

#include "media/mp4/LinuxFileSystemTypes.h"

#include <gtest/gtest.h>

namespace velmora::mp4 {
namespace {

TEST(LinuxFileSystem, KnowsWhoseLocksEndAtThisComputer)
{
    EXPECT_FALSE(hasTrustworthyLocks(0x6969));  // NFS
    EXPECT_FALSE(hasTrustworthyLocks(0xFE534D42));  // SMB
    EXPECT_FALSE(hasTrustworthyLocks(0x65735546));  // FUSE
    EXPECT_TRUE(hasTrustworthyLocks(0xEF53));  // ext4
    EXPECT_TRUE(hasTrustworthyLocks(0x9123683E));  // btrfs
    EXPECT_TRUE(hasTrustworthyLocks(0x4D44));  // FAT
}

}  // namespace
}  // namespace velmora::mp4

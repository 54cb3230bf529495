#include "app/NewFile.h"

#include "tests/support/TemporaryDirectory.h"

#include <cerrno>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora {
namespace {

int codeFor(const std::filesystem::path& path)
{
    const auto result = new_file::checkIsFree(path);
    if (result)
        return 0;
    EXPECT_EQ(new_file::isTaken(result.error()), result.error().code == EEXIST);
    return result.error().code;
}

TEST(NewFile, ANameIsFreeWhereNothingHasItWhetherTheFolderIsThereOrNot)
{
    const test::TemporaryDirectory folder;
    EXPECT_EQ(codeFor(folder.path() / "clip.mp4"), 0);
    EXPECT_EQ(codeFor(folder.path() / "\xFF" / "clip.mp4"), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << "a look makes nothing";
}

TEST(NewFile, WhateverHasTheNameTakesIt)
{
    const test::TemporaryDirectory folder;
    std::ofstream{folder.path() / "file"} << "mine";
    std::filesystem::create_directory(folder.path() / "folder");
    std::filesystem::create_symlink(folder.path() / "nowhere", folder.path() / "link");
    std::filesystem::create_symlink(folder.path() / "loop", folder.path() / "loop");
    ASSERT_EQ(::mkfifo((folder.path() / "fifo").c_str(), 0600), 0);
    for (const auto* name : {"file", "folder", "link", "loop", "fifo"})
        EXPECT_EQ(codeFor(folder.path() / name), EEXIST) << name;
    EXPECT_EQ(codeFor("/dev/full"), EEXIST);
}

TEST(NewFile, WhereNobodyCanTellTheSystemsReasonIsTheError)
{
    const test::TemporaryDirectory folder;
    std::filesystem::create_symlink(folder.path() / "loop", folder.path() / "loop");
    EXPECT_EQ(codeFor(folder.path() / "loop" / "clip.mp4"), ELOOP);
    EXPECT_EQ(codeFor(folder.path() / std::string(255, 'x')), 0);
    EXPECT_EQ(codeFor(folder.path() / std::string(256, 'x')), ENAMETOOLONG);
    EXPECT_EQ(codeFor(folder.path() / std::string(4096, '/') / "clip.mp4"), ENAMETOOLONG);

    std::filesystem::create_directory(folder.path() / "closed");
    std::filesystem::permissions(folder.path() / "closed", std::filesystem::perms{0});
    std::filesystem::permissions(folder.path(), std::filesystem::perms{0755});
    // The superuser may look everywhere.
    const bool isSuperuser = ::geteuid() == 0;
    if (isSuperuser) {
        ASSERT_EQ(::seteuid(65534), 0);
    }
    const int code = codeFor(folder.path() / "closed" / "clip.mp4");
    if (isSuperuser) {
        ASSERT_EQ(::seteuid(0), 0);
    }
    EXPECT_EQ(code, EACCES);
    std::filesystem::permissions(folder.path() / "closed", std::filesystem::perms{0755});
}

}  // namespace
}  // namespace velmora

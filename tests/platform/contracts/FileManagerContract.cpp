#include "tests/platform/contracts/FileManagerContract.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <gmock/gmock.h>

namespace velmora::test {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

std::filesystem::path FileManagerContract::makeFile(const std::string& name, const std::string& text) const
{
    const auto path = folder_.path() / name;
    std::ofstream{path} << text;
    return path;
}

namespace {

TEST_P(FileManagerContract, TellsFilesFoldersAndNothingApart)
{
    const auto file = makeFile("a.mp4");
    bool isDirectory = true;
    EXPECT_TRUE(files_->fileExists(file, &isDirectory));
    EXPECT_FALSE(isDirectory);
    EXPECT_TRUE(files_->fileExists(folder_.path(), &isDirectory));
    EXPECT_TRUE(isDirectory);
    EXPECT_FALSE(files_->fileExists(folder_.path() / "none", &isDirectory));
    EXPECT_FALSE(isDirectory);
}

TEST_P(FileManagerContract, ALinkCountsAsWhatItPointsTo)
{
    std::filesystem::create_symlink(folder_.path(), folder_.path() / "link");
    std::filesystem::create_symlink(folder_.path() / "none", folder_.path() / "broken");
    bool isDirectory = false;
    EXPECT_TRUE(files_->fileExists(folder_.path() / "link", &isDirectory));
    EXPECT_TRUE(isDirectory);
    EXPECT_FALSE(files_->fileExists(folder_.path() / "broken", nullptr));
}

TEST_P(FileManagerContract, ListsWhatLiesImmediatelyInAFolderWithNamesOfAnyBytes)
{
    const auto file = makeFile("größe \xFF.mp4");
    const auto hidden = makeFile(".hidden");
    std::filesystem::create_directory(folder_.path() / "below");
    std::ofstream{folder_.path() / "below" / "deeper"} << "x";
    const auto all = files_->contentsOfDirectory(folder_.path(), false);
    ASSERT_TRUE(all);
    EXPECT_THAT(*all, UnorderedElementsAre(file, hidden, folder_.path() / "below"));
    const auto shown = files_->contentsOfDirectory(folder_.path(), true);
    ASSERT_TRUE(shown);
    EXPECT_THAT(*shown, UnorderedElementsAre(file, folder_.path() / "below"));
    EXPECT_FALSE(files_->contentsOfDirectory(folder_.path() / "none", false));
}

TEST_P(FileManagerContract, KnowsTheSizeOfAFile)
{
    const auto attributes = files_->attributesOfItem(makeFile("a.mp4", "12345"));
    ASSERT_TRUE(attributes);
    EXPECT_EQ(attributes->size, 5);
}

TEST_P(FileManagerContract, MakesFoldersWithThoseAboveThemAndAgainWithoutComplaint)
{
    const auto folder = folder_.path() / "a" / "b" / "c";
    ASSERT_TRUE(files_->createDirectory(folder));
    EXPECT_TRUE(std::filesystem::is_directory(folder));
    EXPECT_TRUE(files_->createDirectory(folder));
}

TEST_P(FileManagerContract, RemovesAFileAndFailsForNone)
{
    const auto file = makeFile("a.mp4");
    ASSERT_TRUE(files_->removeFile(file));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(files_->removeFile(file));
}

TEST_P(FileManagerContract, SaysThatAFolderTakesFiles)
{
    EXPECT_TRUE(files_->checkWritable(folder_.path()));
}

}  // namespace
}  // namespace velmora::test

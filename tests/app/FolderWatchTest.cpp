#include "app/FolderWatch.h"

#include "tests/support/TemporaryDirectory.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <chrono>
#include <fstream>
#include <gtest/gtest.h>

namespace velmora {
namespace {

class FolderWatchTest : public testing::Test {
protected:
    FolderWatchTest() { watch.watch(folder.path()); }

    /// Handles events until that many changes have been reported; false when they never are.
    bool awaitChanges(int count)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{60};
        while (changes < count && std::chrono::steady_clock::now() < deadline)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 100);
        return changes == count;
    }

    int argumentCount = 1;
    char name[8] = "velmora";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{argumentCount, arguments};
    const test::TemporaryDirectory folder;
    int changes = 0;
    FolderWatch watch{[this] { ++changes; }};
};

TEST_F(FolderWatchTest, AClipHasComeWhenWhoeverWroteItClosedIt)
{
    std::ofstream clip{folder.path() / "clip \xFF.MP4"};
    clip << "half" << std::flush;
    // What is not a clip is not a change; the next one that is comes alone.
    std::ofstream{folder.path() / "notes.txt"} << "text";
    QCoreApplication::processEvents();
    clip.close();
    EXPECT_TRUE(awaitChanges(1));
}

TEST_F(FolderWatchTest, AClipThatIsMovedInOrOutOrDeletedIsAChange)
{
    const test::TemporaryDirectory elsewhere;
    std::ofstream{elsewhere.path() / "clip.mp4"} << "clip";
    std::filesystem::rename(elsewhere.path() / "clip.mp4", folder.path() / "clip.mp4");
    ASSERT_TRUE(awaitChanges(1));
    std::filesystem::rename(folder.path() / "clip.mp4", folder.path() / "renamed.mp4");
    ASSERT_TRUE(awaitChanges(2));
    std::filesystem::remove(folder.path() / "renamed.mp4");
    EXPECT_TRUE(awaitChanges(3));
}

TEST_F(FolderWatchTest, SeveralAtOnceAreOneChange)
{
    for (int i = 0; i < 100; ++i)
        std::ofstream{folder.path() / (std::to_string(i) + ".mp4")} << "clip";
    ASSERT_TRUE(awaitChanges(1));
    std::ofstream{folder.path() / "later.mp4"} << "clip";
    EXPECT_TRUE(awaitChanges(2));
}

TEST_F(FolderWatchTest, OnlyTheLastFolderIsWatchedAndOneThatWasMadeAnewCanBeWatchedAnew)
{
    const test::TemporaryDirectory other;
    watch.watch(other.path() / "clips");  // not there yet
    std::ofstream{folder.path() / "clip.mp4"} << "clip";
    std::filesystem::create_directory(other.path() / "clips");
    watch.watch(other.path() / "clips");
    std::ofstream{other.path() / "clips" / "clip.mp4"} << "clip";
    ASSERT_TRUE(awaitChanges(1));
    std::filesystem::remove_all(other.path() / "clips");
    ASSERT_TRUE(awaitChanges(2));
    std::filesystem::create_directory(other.path() / "clips");
    watch.watch(other.path() / "clips");
    std::ofstream{other.path() / "clips" / "clip.mp4"} << "clip";
    EXPECT_TRUE(awaitChanges(3));
}

TEST_F(FolderWatchTest, AFolderThatGoesOrComesBackIsAChange)
{
    const test::TemporaryDirectory other;
    const auto clips = other.path() / "clips" / "";
    std::filesystem::create_directory(clips);
    watch.watch(clips);
    std::filesystem::rename(other.path() / "clips", other.path() / "elsewhere");
    ASSERT_TRUE(awaitChanges(1));
    watch.watch(clips);
    std::filesystem::create_directory(other.path() / "another");
    std::filesystem::rename(other.path() / "elsewhere", other.path() / "clips");
    ASSERT_TRUE(awaitChanges(2)) << "once, because the other folder is not the one";
    watch.watch(clips);
    std::filesystem::remove(other.path() / "clips");
    ASSERT_TRUE(awaitChanges(3));
}

}  // namespace
}  // namespace velmora

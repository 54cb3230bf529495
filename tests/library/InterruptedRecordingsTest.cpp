#include "library/InterruptedRecordings.h"

#include "platform/fake/FakeAssetReader.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/TemporaryDirectory.h"

#include <fstream>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <vector>

namespace velmora {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Repairs what the test says; notes what it was asked to repair.
class ListedRepairer final : public platform::AssetRepairer {
public:
    Result<Outcome> repair(const std::filesystem::path& file) override
    {
        asked.push_back(file.filename().string());
        if (file.stem() == "foreign")
            return fail("Velmora.Test", 1, "of another maker");
        return file.stem() == "cut" ? Outcome::repaired : Outcome::nothingToDo;
    }

    std::size_t removeAbandonedExports(const std::filesystem::path& directory) override
    {
        tidied.push_back(directory);
        return 0;
    }

    std::vector<std::string> asked;
    std::vector<std::filesystem::path> tidied;
};

class InterruptedRecordingsTest : public testing::Test {
protected:
    void SetUp() override
    {
        for (const auto* name : {"cut.mp4", "foreign.mp4", "whole.MP4", "text.txt", ".hidden.mp4"})
            std::ofstream{folder.path() / name} << "content";
        recordings.emplace(std::make_shared<fake::FakeFileManager>(), repairer, mainExecutor);
    }

    test::TemporaryDirectory folder;
    std::shared_ptr<ListedRepairer> repairer = std::make_shared<ListedRepairer>();
    std::shared_ptr<fake::ManualExecutor> mainExecutor = std::make_shared<fake::ManualExecutor>();
    std::optional<InterruptedRecordings> recordings;
    std::optional<std::size_t> repaired;
};

TEST_F(InterruptedRecordingsTest, EveryVisibleMovieIsLookedAtAndTheRepairedAreCounted)
{
    recordings->repair(folder.path(), [this](std::size_t count) { repaired = count; });
    // Its queue runs to the end.
    recordings->drain();
    mainExecutor->runAll();
    EXPECT_THAT(repairer->asked, ElementsAre("cut.mp4", "foreign.mp4", "whole.MP4"));
    EXPECT_EQ(repaired, 1U);
    EXPECT_THAT(repairer->tidied, ElementsAre(folder.path()));
}

TEST_F(InterruptedRecordingsTest, AFolderThatIsNotThereHasNone)
{
    recordings->repair(folder.path() / "missing", [this](std::size_t count) { repaired = count; });
    recordings->drain();
    mainExecutor->runAll();
    EXPECT_EQ(repaired, 0U);
}

TEST_F(InterruptedRecordingsTest, TheLibrarysFolderIsLookedThroughAndAnotherOneWhenItIsChosen)
{
    const test::TemporaryDirectory movies;
    const auto fileManager = std::make_shared<fake::FakeFileManager>();
    fileManager->movies = {movies.path()};
    ClipLibrary library{{{fileManager, std::make_shared<fake::FakeAssetReader>(), std::make_shared<fake::FakeClock>(), mainExecutor},
        std::make_shared<fake::FakeWorkspace>()}};
    mainExecutor->runAll();
    recordings->follow(library);
    recordings->drain();
    mainExecutor->runAll();
    EXPECT_THAT(repairer->tidied, ElementsAre(library.effectiveOutputDirectory()));
    EXPECT_THAT(repairer->asked, IsEmpty());

    int reloads = 0;
    QObject::connect(&library, &ClipLibrary::recentClipsChanged, &library, [&] { ++reloads; });
    library.setOutputDirectory(folder.path());
    recordings->drain();
    mainExecutor->runAll();
    EXPECT_EQ(repairer->tidied.back(), folder.path());
    EXPECT_THAT(repairer->asked, ElementsAre("cut.mp4", "foreign.mp4", "whole.MP4"));
    // Once for the folder, once more for what was repaired in it.
    EXPECT_EQ(reloads, 2);

    recordings.reset();
    library.setOutputDirectory(movies.path());
    mainExecutor->runAll();
    EXPECT_EQ(repairer->tidied.back(), folder.path());
}

TEST_F(InterruptedRecordingsTest, NobodyIsToldOnceTheObjectHasGone)
{
    recordings->repair(folder.path(), [this](std::size_t count) { repaired = count; });
    recordings.reset();
    mainExecutor->runAll();
    EXPECT_FALSE(repaired);
}

}  // namespace
}  // namespace velmora

#include "library/ClipLibrary.h"

#include "library/PathUtilities.h"
#include "platform/fake/FakeAssetReader.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/ManualExecutor.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/TemporaryDirectory.h"

#include <QLocale>

#include <fstream>
#include <gmock/gmock.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ClipLibraryTest : public testing::Test {
protected:
    ClipLibraryTest()
    {
        fileManager->movies = {folder.path()};
        clips = PathUtilities::defaultOutputDirectory(*fileManager).parent_path();
        if (clips.filename() != "Velmora")
            clips /= "Velmora";
        std::filesystem::create_directories(clips);
    }

    std::filesystem::path addFile(const std::string& name, std::chrono::seconds age = 0s, std::size_t size = 10)
    {
        const auto file = clips / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream{file} << std::string(size, 'x');
        const auto listed = PathUtilities::defaultOutputDirectory(*fileManager) / name;
        fileManager->creationDates[listed] = clock->now() - age;
        assetReader->durations[listed] = MediaTime{12, 1};
        return listed;
    }

    std::shared_ptr<ClipLibrary> makeLibrary()
    {
        auto library = std::make_shared<ClipLibrary>(ClipLibrary::Services{{fileManager, assetReader, clock, executor}, workspace});
        executor->runAll();
        return library;
    }

    /// A library that has listed the folder and is waiting for every answer about a file.
    std::shared_ptr<ClipLibrary> makeScanningLibrary()
    {
        assetReader->answersAtOnce = false;
        return makeLibrary();
    }

    void answer(const std::filesystem::path& file)
    {
        ASSERT_TRUE(assetReader->answerOne(file)) << "nobody asked about " << file;
        executor->runAll();
    }

    /// Answers what every scan and addition is still waiting for.
    void answerEverything()
    {
        while (assetReader->answerAll())
            executor->runAll();
    }

    static std::vector<std::string> names(const ClipLibrary& library)
    {
        std::vector<std::string> result;
        for (const auto& clip : library.recentClips())
            result.push_back(clip.filename());
        return result;
    }

    test::TemporaryDirectory folder;
    test::CapturedLog log;
    std::filesystem::path clips;
    std::shared_ptr<fake::FakeFileManager> fileManager = std::make_shared<fake::FakeFileManager>();
    std::shared_ptr<fake::FakeAssetReader> assetReader = std::make_shared<fake::FakeAssetReader>();
    std::shared_ptr<fake::FakeClock> clock = std::make_shared<fake::FakeClock>();
    std::shared_ptr<fake::ManualExecutor> executor = std::make_shared<fake::ManualExecutor>();
    std::shared_ptr<fake::FakeWorkspace> workspace = std::make_shared<fake::FakeWorkspace>();
};

TEST_F(ClipLibraryTest, AnEmptyFolderIsAnEmptyList)
{
    EXPECT_THAT(makeLibrary()->recentClips(), IsEmpty());
}

TEST_F(ClipLibraryTest, ListsMoviesOfEitherCaseNewestFirst)
{
    addFile("old.mp4", 100s);
    addFile("NEW.MP4", 1s);
    addFile("middle.Mp4", 50s);
    EXPECT_THAT(names(*makeLibrary()), ElementsAre("NEW.MP4", "middle.Mp4", "old.mp4"));
}

TEST_F(ClipLibraryTest, LeavesOutHiddenFilesOtherKindsAndSubfolders)
{
    addFile(".hidden.mp4");
    addFile("film.mov");
    addFile("film.mp4.part");
    addFile("mp4");
    addFile("sub/film.mp4");
    EXPECT_THAT(makeLibrary()->recentClips(), IsEmpty());
}

TEST_F(ClipLibraryTest, ClipsOfTheSameDateKeepTheOrderOfTheListing)
{
    addFile("b.mp4");
    addFile("a.mp4");
    addFile("c.mp4");
    EXPECT_THAT(names(*makeLibrary()), ElementsAre("a.mp4", "b.mp4", "c.mp4"));
}

// With this many, a sort that is not stable changes the order of equal ones.
TEST_F(ClipLibraryTest, ManyClipsOfTheSameDateKeepTheOrderOfTheListingToo)
{
    std::vector<std::string> newer;
    std::vector<std::string> older;
    for (int i = 10; i < 60; ++i) {
        const auto name = std::to_string(i) + ".mp4";
        addFile(name, i % 2 == 0 ? 100s : 200s);
        (i % 2 == 0 ? newer : older).push_back(name);
    }
    newer.insert(newer.end(), older.begin(), older.end());
    EXPECT_EQ(names(*makeLibrary()), newer);
}

TEST_F(ClipLibraryTest, DescribesEachFile)
{
    const auto file = addFile("a.mp4", 5s, 1'500'000);
    assetReader->durations[file] = MediaTime{119, 2};
    const auto library = makeLibrary();
    const auto& clip = library->recentClips().at(0);
    EXPECT_EQ(clip.url, file);
    EXPECT_EQ(clip.createdAt, clock->now() - 5s);
    EXPECT_EQ(clip.duration, 59.5);
    EXPECT_EQ(clip.fileSize, 1'500'000);
    EXPECT_FALSE(clip.id.isNull());
}

TEST_F(ClipLibraryTest, ADamagedFileIsListedWithoutDuration)
{
    assetReader->durations.erase(addFile("damaged.mp4"));
    const auto library = makeLibrary();
    EXPECT_EQ(library->recentClips().at(0).formattedDuration(), "0:00");
}

TEST_F(ClipLibraryTest, AFileWhoseAttributesCannotBeReadIsDatedNowWithSizeZero)
{
    addFile("a.mp4", 100s);
    fileManager->attributesError = Error{"POSIX", 13, "Permission denied", nullptr};
    const auto library = makeLibrary();
    EXPECT_EQ(library->recentClips().at(0).createdAt, clock->now());
    EXPECT_EQ(library->recentClips().at(0).fileSize, 0);
}

TEST_F(ClipLibraryTest, AFileThatVanishedMeanwhileIsSkipped)
{
    addFile("a.mp4");
    addFile("b.mp4");
    assetReader->answersAtOnce = false;
    const auto library = makeLibrary();
    std::filesystem::remove(clips / "b.mp4");
    assetReader->answerAll();
    executor->runAll();
    EXPECT_THAT(names(*library), ElementsAre("a.mp4"));
}

TEST_F(ClipLibraryTest, AFolderThatCannotBeListedKeepsTheListAndIsLogged)
{
    addFile("a.mp4");
    const auto library = makeLibrary();
    std::filesystem::remove_all(clips);
    std::ofstream{clips} << "a file in its place";
    library->reloadClips();
    executor->runAll();
    EXPECT_THAT(names(*library), ElementsAre("a.mp4"));
    EXPECT_EQ(log->messages().back(), "Failed loading clips from <private>: <private>");
}

TEST_F(ClipLibraryTest, AMissingFolderIsCreated)
{
    std::filesystem::remove_all(clips);
    makeLibrary();
    EXPECT_TRUE(std::filesystem::is_directory(clips));
}

TEST_F(ClipLibraryTest, AnAddedClipComesFirstAndOnlyOnce)
{
    addFile("a.mp4", 10s);
    const auto file = addFile("b.mp4", 100s);
    const auto library = makeLibrary();
    int completions = 0;
    for (int i = 0; i < 2; ++i)
        library->addClip(file, [&] { ++completions; });
    executor->runAll();
    EXPECT_EQ(completions, 2);
    EXPECT_THAT(names(*library), ElementsAre("b.mp4", "a.mp4"));
}

TEST_F(ClipLibraryTest, AddingAFileThatIsNotThereCompletesAndChangesNothing)
{
    const auto library = makeLibrary();
    bool isCompleted = false;
    library->addClip(clips / "none.mp4", [&] { isCompleted = true; });
    executor->runAll();
    EXPECT_TRUE(isCompleted);
    EXPECT_THAT(library->recentClips(), IsEmpty());
}

TEST_F(ClipLibraryTest, ADeletedClipIsGoneFromDiskAndList)
{
    addFile("a.mp4");
    const auto library = makeLibrary();
    library->deleteClip(ClipItem{library->recentClips()[0]});
    EXPECT_THAT(library->recentClips(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(clips / "a.mp4"));
}

TEST_F(ClipLibraryTest, DeletingAClipWhoseFileIsGoneStillRemovesIt)
{
    addFile("a.mp4");
    const auto library = makeLibrary();
    std::filesystem::remove(clips / "a.mp4");
    library->deleteClip(ClipItem{library->recentClips()[0]});
    EXPECT_THAT(library->recentClips(), IsEmpty());
}

TEST_F(ClipLibraryTest, AnotherFolderShowsItsOwnClipsOnly)
{
    addFile("a.mp4");
    const auto library = makeLibrary();
    const auto chosen = folder.path() / "new" / "folder";
    library->setOutputDirectory(chosen);
    EXPECT_TRUE(std::filesystem::is_directory(chosen));
    std::ofstream{chosen / "c.mp4"} << "x";
    executor->runAll();
    EXPECT_THAT(names(*library), ElementsAre("c.mp4"));
    EXPECT_EQ(library->effectiveOutputDirectory(), chosen);
    EXPECT_EQ(makeLibrary()->effectiveOutputDirectory(), PathUtilities::defaultOutputDirectory(*fileManager)) << "after a relaunch";
}

TEST_F(ClipLibraryTest, AScanOfAFolderThatWasLeftPublishesNothing)
{
    addFile("a.mp4");
    assetReader->answersAtOnce = false;
    const auto library = makeLibrary();
    library->setOutputDirectory(folder.path() / "new");
    executor->runAll();
    assetReader->answerAll();
    executor->runAll();
    EXPECT_THAT(library->recentClips(), IsEmpty());
}

TEST_F(ClipLibraryTest, AClipAddedWhileTheFolderIsScannedStaysInTheList)
{
    addFile("old.mp4", 100s);
    const auto library = makeScanningLibrary();
    const auto saved = addFile("saved.mp4", 50s);
    library->addClip(saved, [] {});
    answer(saved);
    ASSERT_THAT(names(*library), ElementsAre("saved.mp4"));
    const auto id = library->recentClips()[0].id;
    answerEverything();
    EXPECT_THAT(names(*library), ElementsAre("saved.mp4", "old.mp4"));
    EXPECT_EQ(library->recentClips()[0].id, id);
}

TEST_F(ClipLibraryTest, AClipAddedWhileTheFolderIsScannedTakesItsPlaceByDate)
{
    addFile("new.mp4", 1s);
    addFile("old.mp4", 100s);
    const auto library = makeScanningLibrary();
    const auto saved = addFile("saved.mp4", 50s);
    library->addClip(saved, [] {});
    answer(saved);
    answerEverything();
    EXPECT_THAT(names(*library), ElementsAre("new.mp4", "saved.mp4", "old.mp4"));
}

TEST_F(ClipLibraryTest, AClipThatTheScanSawAndThatIsAddedMeanwhileIsListedOnceAsItIsNow)
{
    const auto file = addFile("a.mp4");
    const auto library = makeScanningLibrary();
    std::ofstream{clips / "a.mp4"} << std::string(30, 'x');
    library->addClip(file, [] {});
    answerEverything();
    ASSERT_THAT(names(*library), ElementsAre("a.mp4"));
    EXPECT_EQ(library->recentClips()[0].fileSize, 30);
}

TEST_F(ClipLibraryTest, AClipDeletedWhileTheFolderIsScannedDoesNotComeBack)
{
    const auto kept = addFile("kept.mp4", 1s);
    const auto deleted = addFile("deleted.mp4", 2s);
    const auto library = makeLibrary();
    assetReader->answersAtOnce = false;
    library->reloadClips();
    executor->runAll();
    answer(deleted);
    library->deleteClip(ClipItem{library->recentClips().at(1)});
    answer(kept);
    EXPECT_THAT(names(*library), ElementsAre("kept.mp4"));
}

TEST_F(ClipLibraryTest, AClipDeletedAndSavedAgainWhileTheFolderIsScannedIsListed)
{
    const auto file = addFile("a.mp4");
    const auto library = makeLibrary();
    assetReader->answersAtOnce = false;
    library->reloadClips();
    executor->runAll();
    library->deleteClip(ClipItem{library->recentClips().at(0)});
    addFile("a.mp4");
    library->addClip(file, [] {});
    answerEverything();
    EXPECT_THAT(names(*library), ElementsAre("a.mp4"));
}

TEST_F(ClipLibraryTest, AClipDeletedWhileItIsBeingDescribedIsNotAdded)
{
    const auto file = addFile("a.mp4");
    const auto library = makeLibrary();
    assetReader->answersAtOnce = false;
    bool isCompleted = false;
    library->addClip(file, [&] { isCompleted = true; });
    library->deleteClip(ClipItem{library->recentClips().at(0)});
    answerEverything();
    EXPECT_TRUE(isCompleted);
    EXPECT_THAT(library->recentClips(), IsEmpty());
}

TEST_F(ClipLibraryTest, AClipOfTheFolderThatWasLeftIsNotAmongThoseOfTheNewOne)
{
    const auto library = makeLibrary();
    const auto chosen = folder.path() / "new";
    std::filesystem::create_directory(chosen);
    std::ofstream{chosen / "c.mp4"} << "x";
    const auto saved = addFile("saved.mp4");
    assetReader->answersAtOnce = false;
    library->setOutputDirectory(chosen);
    executor->runAll();
    library->addClip(saved, [] {});
    answer(saved);
    answer(chosen / "c.mp4");
    EXPECT_THAT(names(*library), ElementsAre("c.mp4"));
}

TEST_F(ClipLibraryTest, AScanThatEndsAfterALaterOneKeepsWhatThatOneFound)
{
    const auto first = addFile("a.mp4", 10s);
    const auto gone = addFile("gone.mp4", 20s);
    const auto library = makeScanningLibrary();
    std::filesystem::remove(clips / "gone.mp4");
    const auto second = addFile("b.mp4", 5s);
    library->reloadClips();
    executor->runAll();
    ASSERT_TRUE(assetReader->answerNewest(first));
    executor->runAll();
    answer(second);
    ASSERT_THAT(names(*library), ElementsAre("b.mp4", "a.mp4")) << "the later scan is done";
    const auto id = library->recentClips()[1].id;
    std::ofstream{clips / "gone.mp4"} << "for the first scan it is still there";
    answer(first);
    answer(gone);
    EXPECT_THAT(names(*library), ElementsAre("b.mp4", "a.mp4"));
    EXPECT_NE(library->recentClips()[1].id, id) << "the last to finish is the one that is shown";
}

TEST_F(ClipLibraryTest, AScanThatWentOnAfterTheUserCameBackToItsFolderLosesNothingToTheOtherFoldersScan)
{
    const auto file = addFile("a.mp4");
    const auto library = makeScanningLibrary();
    const auto other = folder.path() / "new";
    std::filesystem::create_directory(other);
    library->setOutputDirectory(other);
    executor->runAll();
    ASSERT_THAT(library->recentClips(), IsEmpty());
    library->setOutputDirectory(PathUtilities::defaultOutputDirectory(*fileManager));
    answer(file);
    EXPECT_THAT(names(*library), ElementsAre("a.mp4"));
}

TEST_F(ClipLibraryTest, ADeletionTakesTheEntryOfItsNumberAndNoOther)
{
    addFile("a.mp4", 1s);
    addFile("b.mp4", 2s);
    const auto library = makeLibrary();
    auto earlierDescription = library->recentClips()[0];
    earlierDescription.id = QUuid::createUuid();
    library->deleteClip(earlierDescription);
    EXPECT_FALSE(std::filesystem::exists(clips / "a.mp4"));
    EXPECT_THAT(names(*library), ElementsAre("a.mp4", "b.mp4"));
    library->deleteClip(ClipItem{library->recentClips()[1]});
    EXPECT_THAT(names(*library), ElementsAre("a.mp4"));
}

TEST_F(ClipLibraryTest, ObserversHearOfEachChangeOnceItHasTakenEffect)
{
    addFile("a.mp4");
    const auto library = makeLibrary();
    using Seen = std::pair<std::size_t, bool>;
    const auto now = [&] { return Seen{library->recentClips().size(), library->customOutputDirectory().has_value()}; };
    std::vector<Seen> after;
    QObject::connect(library.get(), &ClipLibrary::recentClipsChanged, [&] { after.push_back(now()); });
    QObject::connect(library.get(), &ClipLibrary::customOutputDirectoryChanged, [&] { after.push_back(now()); });
    library->addClip(addFile("b.mp4"), [] {});
    executor->runAll();
    library->deleteClip(ClipItem{library->recentClips()[0]});
    library->setOutputDirectory(folder.path() / "new");
    executor->runAll();
    EXPECT_THAT(after, ElementsAre(Seen{2, false}, Seen{1, false}, Seen{1, true}, Seen{0, true}));
}

TEST_F(ClipLibraryTest, RevealsTheFile)
{
    const auto file = addFile("a.mp4");
    const auto library = makeLibrary();
    library->revealInFinder(library->recentClips()[0]);
    EXPECT_THAT(workspace->revealed, ElementsAre(std::vector<std::filesystem::path>{file}));
}

TEST_F(ClipLibraryTest, ALibraryThatIsGoneIsNotFilled)
{
    addFile("a.mp4");
    assetReader->answersAtOnce = false;
    auto library = makeLibrary();
    bool isCompleted = false;
    library->addClip(clips / "a.mp4", [&] { isCompleted = true; });
    library.reset();
    assetReader->answerAll();
    executor->runAll();
    EXPECT_TRUE(isCompleted);
}

TEST_F(ClipLibraryTest, AThumbnailIsAskedForAtOneSecondWithinItsSize)
{
    ClipItem clip;
    clip.url = addFile("a.mp4");
    assetReader->image = PixelBufferRef{std::make_shared<PixelBuffer>()};
    PixelBufferRef picture;
    clip.generateThumbnail({fileManager, assetReader, clock, executor}, [&](PixelBufferRef image) { picture = std::move(image); });
    executor->runAll();
    EXPECT_TRUE(picture);
    EXPECT_EQ(assetReader->imageTime, (MediaTime{600, 600}));
    EXPECT_EQ(assetReader->imageWidth, 320);
    EXPECT_EQ(assetReader->imageHeight, 180);
}

TEST_F(ClipLibraryTest, AThumbnailThatCannotBeMadeIsNone)
{
    ClipItem clip;
    bool isCompleted = false;
    clip.generateThumbnail({fileManager, assetReader, clock, executor}, [&](const PixelBufferRef& image) {
        isCompleted = true;
        EXPECT_FALSE(image);
    });
    executor->runAll();
    EXPECT_TRUE(isCompleted);
}

std::string durationText(double seconds)
{
    ClipItem clip;
    clip.duration = seconds;
    return clip.formattedDuration();
}

TEST(ClipItemTest, DurationsAreWholeMinutesAndSeconds)
{
    EXPECT_EQ(durationText(0), "0:00");
    EXPECT_EQ(durationText(0.5), "0:01");
    EXPECT_EQ(durationText(59.49), "0:59");
    EXPECT_EQ(durationText(59.5), "1:00");
    EXPECT_EQ(durationText(754), "12:34");
    EXPECT_EQ(durationText(3600), "60:00");
    EXPECT_EQ(durationText(3725), "62:05");
}

std::string sizeText(std::int64_t bytes)
{
    ClipItem clip;
    clip.fileSize = bytes;
    return clip.formattedFileSize();
}

class ClipItemSizeTest : public testing::Test {
protected:
    ~ClipItemSizeTest() override { QLocale::setDefault(before_); }

private:
    QLocale before_;
};

TEST_F(ClipItemSizeTest, SizesAreBytesKilobytesOrMegabytesOfAThousand)
{
    QLocale::setDefault(QLocale{QLocale::English, QLocale::UnitedStates});
    EXPECT_EQ(sizeText(0), "Zero KB");
    EXPECT_EQ(sizeText(1), "1 byte");
    EXPECT_EQ(sizeText(999), "999 bytes");
    EXPECT_EQ(sizeText(1000), "1 KB");
    EXPECT_EQ(sizeText(999'499), "999 KB");
    EXPECT_EQ(sizeText(999'500), "1 MB") << "the unit is chosen after rounding";
    EXPECT_EQ(sizeText(1'500'000), "1.5 MB");
    EXPECT_EQ(sizeText(5'000'000'000), "5,000 MB");
}

TEST_F(ClipItemSizeTest, SizesAreWrittenAsTheUserWritesNumbers)
{
    QLocale::setDefault(QLocale{QLocale::German, QLocale::Germany});
    EXPECT_EQ(sizeText(1'500'000), "1,5 MB");
    EXPECT_EQ(sizeText(5'000'000'000), "5.000 MB");
}

}  // namespace
}  // namespace velmora

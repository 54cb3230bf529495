// What becomes of a recording that is cancelled: it leaves its path at once, and what was written of it plays from the trash.

#include "media/mp4/MovieReader.h"
#include "media/mp4/PosixFile.h"
#include "platform/linux/desktop/Trash.h"
#include "tests/engine/files/AssetWriting.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/SlowDisk.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace velmora::linux_backend {
namespace {

using namespace velmora::test;
using namespace std::chrono_literals;
using Status = platform::AssetWriter::Status;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// A folder for clips and a trash beside it.
class CancelledRecordingTest : public ::testing::Test {
protected:
    [[nodiscard]] std::filesystem::path path(const char* name = "clip.mp4") const { return clips_.path() / name; }

    [[nodiscard]] std::shared_ptr<platform::AssetWriter> makeTrashingWriter(const char* name = "clip.mp4") const
    {
        engine::AssetWriterFactory factory{aacEncoders, {.trash = trash_}};
        return factory.makeAssetWriter(path(name), platform::AssetFileType::mpeg4).value();
    }

    [[nodiscard]] std::shared_ptr<platform::AssetWriter> makeSlowWriter(
        std::shared_ptr<DiskGate> gate, std::chrono::milliseconds patience = 1h) const
    {
        auto file = std::make_shared<SlowFile>(mp4::PosixFile::create(path()).value(), std::move(gate));
        return engine::AssetWriter::create(std::move(file), noEncoders, path(), {.trash = trash_, .patience = patience}).value();
    }

    [[nodiscard]] std::vector<std::filesystem::path> trashed(const char* folder = "files") const
    {
        std::error_code ignored;
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator{home_.path() / "Trash" / folder, ignored})
            found.push_back(entry.path());
        std::sort(found.begin(), found.end());
        return found;
    }

    /// Cancels and lets go, as the recording's owner does; returns when the writer is done with the file.
    static void cancel(Writing& writing)
    {
        writing.writer->cancelWriting();
        EXPECT_EQ(writing.writer->status(), Status::cancelled);
        writing = {};
    }

    /// The lock is given up when the file is closed.
    static void awaitClosed(const std::filesystem::path& file)
    {
        while (!(*mp4::PosixFile::openForUpdating(file))->tryLock().value())
            std::this_thread::yield();
    }

    TemporaryDirectory clips_;
    TemporaryDirectory home_;
    std::shared_ptr<const Trash> trash_ =
        std::make_shared<Trash>(Trash::Places{home_.path() / "Trash", [](const auto&) { return std::filesystem::path{}; }, ::geteuid()});
};

TEST_F(CancelledRecordingTest, IsGoneFromItsPathAtOnceAndPlaysWholeFromTheTrash)
{
    auto writing = begin(makeTrashingWriter());
    ASSERT_TRUE(appendSound(writing, clicks(96'000, {480, 50'000, 95'000}), 0));
    appendPictures(writing);
    writing.writer->cancelWriting();
    EXPECT_FALSE(std::filesystem::exists(path()));
    EXPECT_FALSE(writing.video->append(clip().samples[0]));
    EXPECT_FALSE(writing.video->isReadyForMoreMediaData());
    cancel(writing);

    ASSERT_THAT(trashed(), ElementsAre(home_.path() / "Trash/files/clip.mp4"));
    std::ifstream info{home_.path() / "Trash/info/clip.mp4.trashinfo"};
    const std::string text{std::istreambuf_iterator<char>{info}, {}};
    EXPECT_THAT(text, HasSubstr("\nPath=" + path().native() + "\n"));
    const auto decoded = decodeClean(trashed()[0]);
    ASSERT_EQ(decoded.pictures.size(), 60U);
    for (std::size_t i = 0; i < 60; ++i)
        EXPECT_EQ(decoded.pictures[i].number, static_cast<int>(i));
    EXPECT_THAT(decoded.peaks(), ElementsAre(480, 50'000, 95'000));
    const auto summary = mp4::readMovieSummary(trashed()[0]);
    EXPECT_FALSE(summary->isFragmented);
    EXPECT_EQ(summary->duration, (MediaTime{2, 1}));
    EXPECT_TRUE((*mp4::PosixFile::openForUpdating(trashed()[0]))->tryLock().value()) << "nobody is writing it any more";
}

TEST_F(CancelledRecordingTest, OfASecondIsKeptAndOfLessIsDeleted)
{
    auto second = begin(makeTrashingWriter("second.mp4"));
    appendPictures(second, 0, 30);
    cancel(second);
    auto less = begin(makeTrashingWriter("less.mp4"));
    appendPictures(less, 0, 29);
    cancel(less);
    EXPECT_THAT(trashed(), ElementsAre(home_.path() / "Trash/files/second.mp4"));
    EXPECT_THAT(trashed("info"), ElementsAre(home_.path() / "Trash/info/second.mp4.trashinfo"));
    EXPECT_FALSE(std::filesystem::exists(path("less.mp4")));
}

TEST_F(CancelledRecordingTest, WithoutAKeyFrameIsDeletedAndMakesNoTrash)
{
    const auto writer = makeTrashingWriter();
    writer->cancelWriting();
    EXPECT_EQ(writer->status(), Status::cancelled);
    EXPECT_FALSE(std::filesystem::exists(path()));
    EXPECT_FALSE(std::filesystem::exists(home_.path() / "Trash"));
}

TEST_F(CancelledRecordingTest, InWhichNoPictureFollowedTheSessionIsDeleted)
{
    auto writing = begin(makeTrashingWriter());
    cancel(writing);
    EXPECT_FALSE(std::filesystem::exists(path()));
    EXPECT_THAT(trashed(), IsEmpty());
    EXPECT_THAT(trashed("info"), IsEmpty());
}

TEST_F(CancelledRecordingTest, IsDeletedWhereThereIsNoTrash)
{
    std::ofstream{home_.path() / "Trash"} << "a file";
    auto writing = begin(makeTrashingWriter());
    appendPictures(writing);
    cancel(writing);
    EXPECT_FALSE(std::filesystem::exists(path()));

    auto without = begin(makeWriter(path()));
    appendPictures(without);
    cancel(without);
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(CancelledRecordingTest, IsTakenFromItsPathOnlyWhereItIsThatFile)
{
    auto removed = begin(makeTrashingWriter());
    appendPictures(removed);
    std::filesystem::remove(path());
    std::ofstream{path()} << "another";
    cancel(removed);
    EXPECT_EQ(std::filesystem::file_size(path()), 7U);
    EXPECT_THAT(trashed(), IsEmpty());
    EXPECT_THAT(trashed("info"), IsEmpty());
    std::filesystem::remove(path());

    auto moved = begin(makeTrashingWriter());
    appendPictures(moved);
    std::filesystem::rename(path(), path("mine.mp4"));
    cancel(moved);
    EXPECT_TRUE(std::filesystem::exists(path("mine.mp4")));
    EXPECT_THAT(trashed(), IsEmpty());
    EXPECT_THAT(trashed("info"), IsEmpty());
}

TEST_F(CancelledRecordingTest, WhoseFolderWasRenamedMeanwhilePlaysWholeFromTheTrashToo)
{
    std::filesystem::create_directory(path("folder"));
    auto writing = begin(makeTrashingWriter("folder/clip.mp4"));
    appendPictures(writing);
    std::filesystem::rename(path("folder"), path("renamed"));
    writing.writer->cancelWriting();
    EXPECT_TRUE(std::filesystem::is_empty(path("renamed")));
    cancel(writing);
    ASSERT_THAT(trashed(), ElementsAre(home_.path() / "Trash/files/clip.mp4"));
    EXPECT_EQ(decodeClean(trashed()[0]).pictures.size(), 60U);
    EXPECT_FALSE(mp4::readMovieSummary(trashed()[0]).value().isFragmented);
}

TEST_F(CancelledRecordingTest, WhoseFolderWasRenamedPlaysWholeFromTheTrashOfItsFileSystemToo)
{
    // The user's own cannot be reached.
    std::ofstream{home_.path() / "Trash"} << "a file";
    trash_ = std::make_shared<Trash>(
        Trash::Places{home_.path() / "Trash", [this](const auto&) { return std::filesystem::canonical(clips_.path()); }, ::geteuid()});
    std::filesystem::create_directory(path("folder"));
    auto writing = begin(makeTrashingWriter("folder/clip.mp4"));
    appendPictures(writing);
    std::filesystem::rename(path("folder"), path("renamed"));
    cancel(writing);
    EXPECT_TRUE(std::filesystem::is_empty(path("renamed")));
    const auto trash = clips_.path() / (".Trash-" + std::to_string(::geteuid()));
    ASSERT_TRUE(std::filesystem::exists(trash / "files/clip.mp4"));
    EXPECT_EQ(decodeClean(trash / "files/clip.mp4").pictures.size(), 60U);
    std::ifstream info{trash / "info/clip.mp4.trashinfo"};
    EXPECT_THAT((std::string{std::istreambuf_iterator<char>{info}, {}}), HasSubstr("Path=renamed/clip.mp4\n")) << "where it is restored to";
}

TEST_F(CancelledRecordingTest, WhoseFolderWasRenamedIsWholeThereWhereNoTrashCanBeReached)
{
    std::ofstream{home_.path() / "Trash"} << "a file";
    std::filesystem::create_directory(path("folder"));
    auto writing = begin(makeTrashingWriter("folder/clip.mp4"));
    appendPictures(writing);
    std::filesystem::rename(path("folder"), path("renamed"));
    cancel(writing);
    awaitClosed(path("renamed") / "clip.mp4");
    EXPECT_FALSE(mp4::readMovieSummary(path("renamed") / "clip.mp4").value().isFragmented);
    EXPECT_EQ(decodeClean(path("renamed") / "clip.mp4").pictures.size(), 60U);
}

TEST_F(CancelledRecordingTest, WithoutAKeyFrameIsDeletedFromAFolderThatWasRenamedToo)
{
    std::filesystem::create_directory(path("folder"));
    auto writer = makeTrashingWriter("folder/clip.mp4");
    std::filesystem::rename(path("folder"), path("renamed"));
    writer->cancelWriting();
    writer.reset();
    while (!std::filesystem::is_empty(path("renamed")))
        std::this_thread::yield();
    EXPECT_THAT(trashed(), IsEmpty());
}

TEST_F(CancelledRecordingTest, ThatItsUserHasRenamedIsWholeWhereItLies)
{
    auto writing = begin(makeTrashingWriter());
    appendPictures(writing);
    std::filesystem::rename(path(), path("mine.mp4"));
    cancel(writing);
    awaitClosed(path("mine.mp4"));
    EXPECT_FALSE(mp4::readMovieSummary(path("mine.mp4")).value().isFragmented);
    EXPECT_EQ(decodeClean(path("mine.mp4")).pictures.size(), 60U);
    EXPECT_THAT(trashed(), IsEmpty());
}

TEST_F(CancelledRecordingTest, DoesNotReplaceAnEarlierOneOfItsName)
{
    for (const std::size_t pictures : {30U, 60U}) {
        auto writing = begin(makeTrashingWriter());
        appendPictures(writing, 0, pictures);
        cancel(writing);
    }
    ASSERT_THAT(trashed(), ElementsAre(home_.path() / "Trash/files/clip.2.mp4", home_.path() / "Trash/files/clip.mp4"));
    EXPECT_EQ(decodeClean(trashed()[0]).pictures.size(), 60U);
    EXPECT_EQ(decodeClean(trashed()[1]).pictures.size(), 30U);
}

TEST_F(CancelledRecordingTest, PlaysFromTheTrashWhileTheDiskIsStillAtItAndIsWholeThereInTheEnd)
{
    const auto gate = std::make_shared<DiskGate>();
    auto writing = begin(makeSlowWriter(gate));
    appendPictures(writing, 0, 30);
    // The first fragment is on the disk, the second is held up on its way there.
    while (!mp4::readMovieSummary(path()) || mp4::readMovieSummary(path()).value().duration < MediaTime(1, 2))
        std::this_thread::yield();
    gate->close();
    appendPictures(writing, 30, 60);
    gate->awaitSomebody();
    writing.writer->cancelWriting();
    EXPECT_FALSE(std::filesystem::exists(path()));
    // What a program that dies here would leave.
    std::error_code error;
    std::filesystem::copy(home_.path() / "Trash/files/clip.mp4", path("copy.mp4"), error);
    gate->open();
    writing = {};
    ASSERT_FALSE(error) << error.message();
    EXPECT_GT(decodeClean(path("copy.mp4")).pictures.size(), 20U);
    EXPECT_TRUE(mp4::readMovieSummary(path("copy.mp4")).value().isFragmented);
    EXPECT_EQ(decodeClean(trashed()[0]).pictures.size(), 60U);
    EXPECT_FALSE(mp4::readMovieSummary(trashed()[0]).value().isFragmented);
}

TEST_F(CancelledRecordingTest, KeepsItsWriterUntilItIsWhole)
{
    const auto gate = std::make_shared<DiskGate>();
    auto writing = begin(makeSlowWriter(gate));
    appendPictures(writing);
    gate->close();
    writing.writer->cancelWriting();
    auto end = std::async(std::launch::async, [&] { writing = {}; });
    EXPECT_EQ(end.wait_for(50ms), std::future_status::timeout) << "the disk has not even begun";
    gate->open();
    end.wait();
    ASSERT_EQ(trashed().size(), 1U);
    EXPECT_FALSE(mp4::readMovieSummary(trashed()[0]).value().isFragmented);
}

TEST_F(CancelledRecordingTest, DoesNotKeepItsWriterForEverWhereTheDiskStandsStill)
{
    const auto gate = std::make_shared<DiskGate>();
    gate->close();
    auto writing = begin(makeSlowWriter(gate, 1ms));
    appendPictures(writing);
    cancel(writing);
    EXPECT_FALSE(std::filesystem::exists(path()));
    ASSERT_EQ(trashed().size(), 1U);
    gate->open();
    while (!mp4::readMovieSummary(trashed()[0]) || mp4::readMovieSummary(trashed()[0]).value().isFragmented)
        std::this_thread::yield();
    EXPECT_EQ(decodeClean(trashed()[0]).pictures.size(), 60U);
}

TEST_F(CancelledRecordingTest, OfAFullDiskIsWholeUpToThereOrDeletedWhereThatIsLessThanASecond)
{
    const auto gate = std::make_shared<DiskGate>();
    auto writing = begin(makeSlowWriter(gate));
    appendPictures(writing, 0, 59);
    while (!mp4::readMovieSummary(path()) || mp4::readMovieSummary(path()).value().duration < MediaTime(1, 1))
        std::this_thread::yield();
    gate->fillUp();
    appendPictures(writing, 59, 60);
    cancel(writing);
    ASSERT_EQ(trashed().size(), 1U);
    EXPECT_GE(decodeClean(trashed()[0]).pictures.size(), 30U);
    EXPECT_LT(decodeClean(trashed()[0]).pictures.size(), 60U);
    EXPECT_FALSE(mp4::readMovieSummary(trashed()[0]).value().isFragmented);

    const auto full = std::make_shared<DiskGate>();
    auto nothing = begin(makeSlowWriter(full));
    full->fillUp();
    appendPictures(nothing, 0, 20);
    cancel(nothing);
    EXPECT_FALSE(std::filesystem::exists(path()));
    EXPECT_EQ(trashed().size(), 1U);
    EXPECT_EQ(trashed("info").size(), 1U);
}

TEST_F(CancelledRecordingTest, ThatCannotBeReadForTheMomentIsKept)
{
    const auto gate = std::make_shared<DiskGate>();
    gate->close();
    auto writing = begin(makeSlowWriter(gate));
    appendPictures(writing);
    writing.writer->cancelWriting();
    // Every file that this process may have open is open.
    struct rlimit limit { };
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const struct rlimit none {
        0, limit.rlim_max
    };
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    gate->open();
    writing = {};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    ASSERT_EQ(trashed().size(), 1U);
    EXPECT_EQ(decodeClean(trashed()[0]).pictures.size(), 60U);
    EXPECT_EQ(trashed("info").size(), 1U);
}

}  // namespace
}  // namespace velmora::linux_backend

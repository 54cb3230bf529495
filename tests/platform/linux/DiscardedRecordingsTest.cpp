// How a discarded recording comes back from the desktop's trash.

#include "engine/files/DiscardedRecordings.h"

#include "media/mp4/MovieReader.h"
#include "media/mp4/PosixFile.h"
#include "platform/linux/desktop/Trash.h"
#include "tests/engine/files/AssetWriting.h"
#include "tests/support/FolderContents.h"
#include "tests/support/TemporaryDirectory.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace velmora::linux_backend {
namespace {

using namespace velmora::test;
using platform::DiscardedRecording;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

/// A folder for clips, a trash, and what becomes of a recording between the two.
class DiscardedRecordingsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        discarded_.setObserver([this](const DiscardedRecording& recording) { told_.push_back(recording); });
    }

    /// A recording of a second or two that is cancelled; returns when it is whole in the trash.
    void discard(const char* name = "clip.mp4", std::size_t pictures = 60)
    {
        engine::AssetWriterFactory factory{
            aacEncoders, {.trash = trash_, .kept = [this](const auto& trashed) { discarded_.wasKept(trashed); }}};
        auto writing = begin(factory.makeAssetWriter(clips_.path() / name, platform::AssetFileType::mpeg4).value());
        appendPictures(writing, 0, pictures);
        writing.writer->cancelWriting();
        writing = {};
    }

    [[nodiscard]] std::vector<std::string> trashed(const char* folder = "files") const { return namesIn(home_.path() / "Trash" / folder); }

    void expectStillThere(const char* name = "clip.mp4") const
    {
        EXPECT_THAT(trashed(), ElementsAre(name));
        EXPECT_THAT(trashed("info"), ElementsAre(std::string{name} + ".trashinfo"));
    }

    TemporaryDirectory clips_;
    TemporaryDirectory home_;
    const std::shared_ptr<const Trash> trash_ =
        std::make_shared<Trash>(Trash::Places{home_.path() / "Trash", [](const auto&) { return fs::path{}; }, ::geteuid()});
    engine::DiscardedRecordings discarded_{trash_};
    std::vector<DiscardedRecording> told_;
};

TEST_F(DiscardedRecordingsTest, AreToldOnceTheyAreWholeWithTheirLengthAndSize)
{
    discard();
    ASSERT_EQ(told_.size(), 1U);
    EXPECT_EQ(told_[0].file, home_.path() / "Trash/files/clip.mp4");
    EXPECT_EQ(told_[0].origin, clips_.path() / "clip.mp4");
    EXPECT_DOUBLE_EQ(told_[0].duration, 2);
    EXPECT_EQ(told_[0].fileSize, static_cast<std::int64_t>(fs::file_size(told_[0].file)));
    EXPECT_FALSE(mp4::readMovieSummary(told_[0].file).value().isFragmented);
    EXPECT_FALSE(told_[0].wasOffered);
}

TEST_F(DiscardedRecordingsTest, OfLessThanASecondAreNotTold)
{
    discard("short.mp4", 29);
    EXPECT_THAT(told_, IsEmpty());
    EXPECT_THAT(discarded_.list(), IsEmpty());
}

TEST_F(DiscardedRecordingsTest, AreListedNewestFirst)
{
    discard("Velmora-Recording-2026-01-01-10-00-00.mp4");
    discard("Velmora-Recording-2026-01-01-10-00-01.mp4", 30);
    const auto listed = discarded_.list();
    ASSERT_EQ(listed.size(), 2U);
    EXPECT_EQ(listed[0].filename(), "Velmora-Recording-2026-01-01-10-00-01.mp4");
    EXPECT_DOUBLE_EQ(listed[0].duration, 1);
    EXPECT_EQ(listed[1].filename(), "Velmora-Recording-2026-01-01-10-00-00.mp4");
    discarded_.noteOffered(listed[0]);
    EXPECT_TRUE(discarded_.list()[0].wasOffered);
    EXPECT_FALSE(discarded_.list()[1].wasOffered);
}

TEST_F(DiscardedRecordingsTest, ComeBackWholeAndLeaveNothingInTheTrash)
{
    discard();
    const auto restored = discarded_.restore(discarded_.list().at(0), clips_.path());
    ASSERT_TRUE(restored) << restored.error().localizedDescription;
    EXPECT_EQ(*restored, clips_.path() / "clip.mp4");
    EXPECT_EQ(decodeClean(*restored).pictures.size(), 60U);
    EXPECT_THAT(trashed(), IsEmpty());
    EXPECT_THAT(trashed("info"), IsEmpty());
    EXPECT_THAT(discarded_.list(), IsEmpty());
    EXPECT_THAT(namesIn(clips_.path()), ElementsAre("clip.mp4"));
}

TEST_F(DiscardedRecordingsTest, ReplaceNothingAndGetACounter)
{
    discard();
    std::ofstream{clips_.path() / "clip.mp4"} << "another";
    fs::create_symlink("nowhere", clips_.path() / "clip-1.mp4");
    const auto restored = discarded_.restore(discarded_.list().at(0), clips_.path());
    ASSERT_TRUE(restored) << restored.error().localizedDescription;
    EXPECT_EQ(*restored, clips_.path() / "clip-2.mp4");
    EXPECT_EQ(fs::file_size(clips_.path() / "clip.mp4"), 7U);
    EXPECT_TRUE(fs::is_symlink(clips_.path() / "clip-1.mp4"));
    EXPECT_EQ(decodeClean(*restored).pictures.size(), 60U);
}

TEST_F(DiscardedRecordingsTest, ThatWereEmptiedFromTheTrashMeanwhileAreGone)
{
    discard();
    const auto recording = discarded_.list().at(0);
    fs::remove_all(home_.path() / "Trash/files");
    fs::remove_all(home_.path() / "Trash/info");
    const auto restored = discarded_.restore(recording, clips_.path());
    ASSERT_FALSE(restored);
    EXPECT_EQ(restored.error().code, ENOENT);
    EXPECT_THAT(namesIn(clips_.path()), IsEmpty());
}

TEST_F(DiscardedRecordingsTest, WhoseNameInTheTrashLeadsElsewhereStayAlone)
{
    discard();
    const auto recording = discarded_.list().at(0);
    fs::rename(recording.file, home_.path() / "precious.mp4");
    fs::create_symlink(home_.path() / "precious.mp4", recording.file);
    EXPECT_FALSE(discarded_.restore(recording, clips_.path()));
    EXPECT_TRUE(fs::exists(home_.path() / "precious.mp4"));
    EXPECT_THAT(namesIn(clips_.path()), IsEmpty());
}

TEST_F(DiscardedRecordingsTest, StayWhileSomebodyIsStillWritingThem)
{
    discard();
    const auto recording = discarded_.list().at(0);
    auto writer = mp4::PosixFile::openForUpdating(recording.file);
    ASSERT_TRUE((*writer)->tryLock().value());
    const auto early = discarded_.restore(recording, clips_.path());
    ASSERT_FALSE(early);
    EXPECT_EQ(early.error().code, EBUSY);
    expectStillThere();
    writer->reset();
    EXPECT_TRUE(discarded_.restore(recording, clips_.path()));
}

TEST_F(DiscardedRecordingsTest, StayWhereTheFolderIsGoneOrNoFolder)
{
    discard();
    const auto recording = discarded_.list().at(0);
    const auto gone = discarded_.restore(recording, clips_.path() / "gone");
    ASSERT_FALSE(gone);
    EXPECT_EQ(gone.error().code, ENOENT);
    std::ofstream{clips_.path() / "file"} << "a file";
    const auto noFolder = discarded_.restore(recording, clips_.path() / "file");
    ASSERT_FALSE(noFolder);
    EXPECT_EQ(noFolder.error().code, ENOTDIR);
    expectStillThere();
}

TEST_F(DiscardedRecordingsTest, ComeBackOnceWhenTwoAskAtOnce)
{
    for (int round = 0; round < 20; ++round) {
        discard();
        const auto recording = discarded_.list().at(0);
        std::atomic<int> restored = 0;
        std::atomic<int> waiting = 2;
        const auto ask = [&] {
            --waiting;
            while (waiting > 0)
                std::this_thread::yield();
            restored += discarded_.restore(recording, clips_.path()).has_value();
        };
        std::thread other{ask};
        ask();
        other.join();
        EXPECT_EQ(restored, 1);
        ASSERT_THAT(namesIn(clips_.path()), ElementsAre("clip.mp4"));
        EXPECT_THAT(trashed(), IsEmpty());
        EXPECT_THAT(trashed("info"), IsEmpty());
        fs::remove(clips_.path() / "clip.mp4");
    }
}

TEST_F(DiscardedRecordingsTest, OfAProgramThatWasKilledAreFinishedWhenTheyComeBack)
{
    engine::AssetWriterFactory factory{aacEncoders, {}};
    auto writing = begin(factory.makeAssetWriter(clips_.path() / "clip.mp4", platform::AssetFileType::mpeg4).value());
    appendPictures(writing);
    writing = {};  // neither finished nor cancelled
    const auto isLetGo = [](const fs::path& file) { return mp4::PosixFile::openForUpdating(file).value()->tryLock().value(); };
    while (!isLetGo(clips_.path() / "clip.mp4"))
        std::this_thread::yield();
    ASSERT_TRUE(mp4::readMovieSummary(clips_.path() / "clip.mp4").value().isFragmented);
    ASSERT_TRUE(trash_->put(clips_.path() / "clip.mp4", [this](const fs::path& to) -> Result<void> {
        fs::rename(clips_.path() / "clip.mp4", to);
        return {};
    }));
    const auto restored = discarded_.restore(discarded_.list().at(0), clips_.path());
    ASSERT_TRUE(restored) << restored.error().localizedDescription;
    EXPECT_FALSE(mp4::readMovieSummary(*restored).value().isFragmented);
    EXPECT_GE(decodeClean(*restored).pictures.size(), 30U);
}

/// A clips folder on a file system other than the trash's, where the machine has one.
class RestoredElsewhereTest : public DiscardedRecordingsTest {
protected:
    void SetUp() override
    {
        DiscardedRecordingsTest::SetUp();
        std::string pattern = "/dev/shm/velmora-test-XXXXXX";
        struct stat here { };
        struct stat there { };
        if (!::mkdtemp(pattern.data()))
            GTEST_SKIP() << "there is no /dev/shm that can be written to";
        elsewhere_ = pattern;
        ASSERT_EQ(::stat(home_.path().c_str(), &here), 0);
        ASSERT_EQ(::stat(elsewhere_.c_str(), &there), 0);
        if (here.st_dev == there.st_dev)
            GTEST_SKIP() << "/dev/shm is where temporary files are";
    }
    void TearDown() override
    {
        if (!elsewhere_.empty())
            fs::remove_all(elsewhere_);
    }

    fs::path elsewhere_;
};

TEST_F(RestoredElsewhereTest, ComesBackToAnotherFileSystemAsACopyThatReplacesNothing)
{
    discard();
    std::ofstream{elsewhere_ / "clip.mp4"} << "another";
    const auto restored = discarded_.restore(discarded_.list().at(0), elsewhere_);
    ASSERT_TRUE(restored) << restored.error().localizedDescription;
    EXPECT_EQ(*restored, elsewhere_ / "clip-1.mp4");
    EXPECT_EQ(decodeClean(*restored).pictures.size(), 60U);
    EXPECT_THAT(namesIn(elsewhere_), ElementsAre("clip-1.mp4", "clip.mp4"));
    EXPECT_THAT(trashed(), IsEmpty());
    EXPECT_THAT(trashed("info"), IsEmpty());
}

TEST_F(RestoredElsewhereTest, StaysInTheTrashWhereTheOtherFileSystemIsFull)
{
    discard();
    struct rlimit limit { };
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const struct rlimit small {
        100, limit.rlim_max
    };
    const auto handler = ::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const auto restored = discarded_.restore(discarded_.list().at(0), elsewhere_);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    ::signal(SIGXFSZ, handler);
    EXPECT_FALSE(restored);
    expectStillThere();
    EXPECT_THAT(namesIn(elsewhere_), IsEmpty());
}

}  // namespace
}  // namespace velmora::linux_backend

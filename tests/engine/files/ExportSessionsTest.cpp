#include "engine/files/ExportSessions.h"

#include "base/LeftBehindWork.h"
#include "library/views/RunningExports.h"
#include "media/mp4/MovieReader.h"
#include "media/mp4/RecordingLayout.h"
#include "tests/support/FolderContents.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/WrittenClip.h"

#include <cerrno>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace velmora::engine {
namespace {

using namespace velmora::test;
using ExportStatus = platform::ExportSession::Status;
using ::testing::UnorderedElementsAre;

class LinuxExportSessionTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        shared_ = std::make_unique<TemporaryDirectory>();
        auto clip = unevenClip(3);
        clip.pictures.resize(150);
        clip.soundFrames = 120'000;
        writeClip(shared_->path() / "clip.mp4", clip);
    }
    static void TearDownTestSuite() { shared_.reset(); }

    void SetUp() override { std::filesystem::copy_file(shared_->path() / "clip.mp4", path("clip.mp4")); }

    /// What a test leaves behind counts for the whole process, the next test too.
    void TearDown() override { awaitLeftBehindWork(); }

    static void awaitLeftBehindWork()
    {
        while (LeftBehindWork::isAny())
            std::this_thread::yield();
    }

    [[nodiscard]] std::filesystem::path path(const std::string& name) const { return folder_.path() / name; }

    [[nodiscard]] std::vector<std::string> names() const { return namesIn(folder_.path()); }

    std::shared_ptr<platform::ExportSession> makeSession(const TimeRange& range = {{1, 1}, {2, 1}})
    {
        auto session = factory_->makeExportSession(path("clip.mp4"), platform::ExportPreset::passthrough);
        EXPECT_TRUE(session);
        (*session)->setOutputURL(path("part.mp4"));
        (*session)->setOutputFileType(platform::AssetFileType::mpeg4);
        (*session)->setTimeRange(range);
        return std::move(*session);
    }

    static void finish(platform::ExportSession& session)
    {
        std::promise<void> done;
        session.exportAsynchronously([&done] { done.set_value(); });
        done.get_future().wait();
    }

    /// Names as the naming rules make them: part.mp4, part-1.mp4, …
    [[nodiscard]] platform::ExportSession::NextOutputURL counted() const
    {
        return [this, count = 0]() mutable { return std::optional{path("part-" + std::to_string(++count) + ".mp4")}; };
    }

    static inline std::unique_ptr<TemporaryDirectory> shared_;
    const TemporaryDirectory folder_;
    const std::shared_ptr<platform::ExportSessionFactory> factory_ = makeExportSessions();
};

TEST_F(LinuxExportSessionTest, WritesTheRangeUnderTheOutputsName)
{
    const auto session = makeSession();
    EXPECT_EQ(session->status(), ExportStatus::unknown);
    EXPECT_EQ(session->progress(), 0);
    finish(*session);
    EXPECT_EQ(session->status(), ExportStatus::completed);
    EXPECT_FALSE(session->error());
    EXPECT_EQ(session->progress(), 1);
    EXPECT_EQ(session->outputURL(), path("part.mp4"));
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4", "part.mp4"));
    expectPartOf(decodeFile(path("clip.mp4")), {{1, 1}, {2, 1}}, decodeFile(path("part.mp4")));
}

TEST_F(LinuxExportSessionTest, WithoutARangeItWritesTheWholeAsset)
{
    auto session = factory_->makeExportSession(path("clip.mp4"), platform::ExportPreset::passthrough);
    ASSERT_TRUE(session);
    (*session)->setOutputURL(path("part.mp4"));
    finish(**session);
    EXPECT_EQ((*session)->status(), ExportStatus::completed);
    const auto whole = mp4::readMovieSummary(path("clip.mp4"));
    const auto part = mp4::readMovieSummary(path("part.mp4"));
    ASSERT_TRUE(whole && part);
    EXPECT_EQ(part->duration, whole->duration);
    EXPECT_EQ(part->tracks.at(0).sampleCount, whole->tracks.at(0).sampleCount);
    EXPECT_EQ(part->tracks.at(1).sampleCount, whole->tracks.at(1).sampleCount);
}

TEST_F(LinuxExportSessionTest, NeverWritesTheSource)
{
    const auto contentOf = [this] {
        std::ifstream stream{path("clip.mp4"), std::ios::binary};
        return std::string{std::istreambuf_iterator<char>{stream}, {}};
    };
    const auto before = contentOf();
    const auto time = std::filesystem::last_write_time(path("clip.mp4"));
    std::filesystem::permissions(path("clip.mp4"), std::filesystem::perms::owner_read);
    finish(*makeSession());
    EXPECT_EQ(contentOf(), before);
    EXPECT_EQ(std::filesystem::last_write_time(path("clip.mp4")), time);
}

TEST_F(LinuxExportSessionTest, ANameThatIsTakenGivesWayToTheNext)
{
    std::ofstream{path("part.mp4")} << "mine";
    std::ofstream{path("part-1.mp4")} << "mine";
    const auto session = makeSession();
    session->setNextOutputURL(counted());
    finish(*session);
    EXPECT_EQ(session->status(), ExportStatus::completed);
    EXPECT_EQ(session->outputURL(), path("part-2.mp4"));
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4", "part.mp4", "part-1.mp4", "part-2.mp4"));
    EXPECT_EQ(std::filesystem::file_size(path("part.mp4")), 4U);
}

TEST_F(LinuxExportSessionTest, TwoAtOnceWithOneNameMakeTwoFiles)
{
    const auto first = makeSession();
    const auto second = makeSession();
    first->setNextOutputURL(counted());
    second->setNextOutputURL(counted());
    std::promise<void> done[2];
    first->exportAsynchronously([&done] { done[0].set_value(); });
    second->exportAsynchronously([&done] { done[1].set_value(); });
    done[0].get_future().wait();
    done[1].get_future().wait();
    EXPECT_EQ(first->status(), ExportStatus::completed);
    EXPECT_EQ(second->status(), ExportStatus::completed);
    EXPECT_NE(first->outputURL(), second->outputURL());
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4", "part.mp4", "part-1.mp4"));
}

TEST_F(LinuxExportSessionTest, ANameThatIsTakenFailsWhereThereIsNoOther)
{
    std::ofstream{path("part.mp4")} << "mine";
    const auto alone = makeSession();
    finish(*alone);
    EXPECT_EQ(alone->status(), ExportStatus::failed);
    ASSERT_TRUE(alone->error());
    EXPECT_EQ(alone->error()->code, EEXIST);

    // A name that is free for those who follow links, but not for those who make a file.
    std::filesystem::create_symlink(path("nowhere"), path("link.mp4"));
    const auto stubborn = makeSession();
    stubborn->setOutputURL(path("link.mp4"));
    stubborn->setNextOutputURL([this] { return path("link.mp4"); });
    finish(*stubborn);
    EXPECT_EQ(stubborn->status(), ExportStatus::failed);
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4", "part.mp4", "link.mp4"));
}

TEST_F(LinuxExportSessionTest, ARangeThatMakesNoSenseFailsAndLeavesNothing)
{
    for (const TimeRange range : {TimeRange{{1, 1}, {1, 1}}, {{2, 1}, {1, 1}}, {{100, 1}, {101, 1}}}) {
        const auto session = makeSession(range);
        finish(*session);
        EXPECT_EQ(session->status(), ExportStatus::failed);
        ASSERT_TRUE(session->error());
        EXPECT_EQ(session->error()->code, static_cast<int>(mp4::ErrorCode::invalidRange));
        EXPECT_LT(session->progress(), 1);
    }
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4"));
}

TEST_F(LinuxExportSessionTest, ASourceThatIsNoFileMakesNoSession)
{
    ASSERT_EQ(::mkfifo(path("fifo.mp4").c_str(), 0600), 0);
    EXPECT_EQ(factory_->makeExportSession(path("missing.mp4"), platform::ExportPreset::passthrough).error().code, ENOENT);
    EXPECT_EQ(factory_->makeExportSession(path("fifo.mp4"), platform::ExportPreset::passthrough).error().code, EINVAL);
    EXPECT_EQ(factory_->makeExportSession(folder_.path(), platform::ExportPreset::passthrough).error().code, EINVAL);
}

TEST_F(LinuxExportSessionTest, ASourceThatIsNoMovieFails)
{
    std::ofstream{path("text.mp4")} << "This is a text and not a film.";
    auto session = factory_->makeExportSession(path("text.mp4"), platform::ExportPreset::passthrough);
    ASSERT_TRUE(session);
    (*session)->setOutputURL(path("part.mp4"));
    finish(**session);
    EXPECT_EQ((*session)->status(), ExportStatus::failed);
    ASSERT_TRUE((*session)->error());
    EXPECT_EQ((*session)->error()->code, static_cast<int>(mp4::ErrorCode::notAMovie));
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4", "text.mp4"));
}

TEST_F(LinuxExportSessionTest, ASourceThatIsRemovedAfterItWasOpenedIsExportedAllTheSame)
{
    const auto session = makeSession();
    std::filesystem::remove(path("clip.mp4"));
    finish(*session);
    EXPECT_EQ(session->status(), ExportStatus::completed);
    EXPECT_THAT(names(), UnorderedElementsAre("part.mp4"));
}

TEST_F(LinuxExportSessionTest, AFolderThatTakesNoFileFails)
{
    const auto session = makeSession();
    // Not even for root.
    session->setOutputURL("/proc/part.mp4");
    finish(*session);
    EXPECT_EQ(session->status(), ExportStatus::failed);
    ASSERT_TRUE(session->error());
    EXPECT_EQ(session->error()->domain, posixErrorDomain);
    EXPECT_THAT(session->error()->localizedDescription, testing::HasSubstr("/proc"));
}

TEST_F(LinuxExportSessionTest, CancelledBeforeItBeginsItLeavesNothing)
{
    const auto session = makeSession();
    session->cancelExport();
    EXPECT_EQ(session->status(), ExportStatus::cancelled);
    finish(*session);
    EXPECT_EQ(session->status(), ExportStatus::cancelled);
    EXPECT_FALSE(session->error());
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4"));
}

TEST_F(LinuxExportSessionTest, CancelledWhileItsNameIsChosenItLeavesNothing)
{
    std::ofstream{path("part.mp4")} << "mine";
    const auto session = makeSession();
    // At that moment the file is whole under its hidden name.
    session->setNextOutputURL([this, raw = session.get()] {
        EXPECT_EQ(names().size(), 3U);
        raw->cancelExport();
        EXPECT_EQ(names().size(), 2U);
        return path("part-1.mp4");
    });
    finish(*session);
    EXPECT_EQ(session->status(), ExportStatus::cancelled);
    EXPECT_FALSE(session->error());
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4", "part.mp4"));
}

TEST_F(LinuxExportSessionTest, CancelledAtAnyMomentItIsEitherThereOrNot)
{
    for (int i = 0; i < 30; ++i) {
        const auto session = makeSession();
        std::promise<void> done;
        session->exportAsynchronously([&done] { done.set_value(); });
        for (int wait = 0; wait < i * 20; ++wait)
            std::this_thread::yield();
        session->cancelExport();
        done.get_future().wait();
        const bool isCompleted = session->status() == ExportStatus::completed;
        EXPECT_TRUE(isCompleted || session->status() == ExportStatus::cancelled);
        EXPECT_EQ(std::filesystem::exists(path("part.mp4")), isCompleted);
        EXPECT_EQ(names().size(), isCompleted ? 2U : 1U);
        std::filesystem::remove(path("part.mp4"));
    }
}

TEST_F(LinuxExportSessionTest, DestroyedWhileItRunsItLeavesNothingAndStillCompletes)
{
    std::ofstream{path("part.mp4")} << "mine";
    std::promise<void> isWritten;
    std::promise<void> isDestroyed;
    std::promise<void> done;
    auto session = makeSession();
    session->setNextOutputURL([&] {
        isWritten.set_value();
        isDestroyed.get_future().wait();
        return path("part-1.mp4");
    });
    session->exportAsynchronously([&done] { done.set_value(); });
    isWritten.get_future().wait();
    session.reset();
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4", "part.mp4")) << "at once";
    isDestroyed.set_value();
    done.get_future().wait();
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4", "part.mp4"));
}

/// Hears of nothing until it is told to go on: a codec on a machine that has no time for it.
class SlowWork final : public ExportWork {
public:
    struct Steps {
        std::promise<void> isWriting;
        std::promise<void> mayGoOn;
        std::promise<bool> hasEnded;  ///< whether it was still wanted
    };

    explicit SlowWork(Steps& steps) : steps_(steps) { }

    Result<bool> write(const Surroundings& surroundings) override
    {
        const auto output = surroundings.createOutput();
        if (!output)
            return fail(output.error());
        const std::vector<std::byte> bytes(1000);
        static_cast<void>((*output)->writeAt(0, bytes));
        steps_.isWriting.set_value();
        steps_.mayGoOn.get_future().wait();
        steps_.hasEnded.set_value(surroundings.progress(0.5));
        return true;
    }

private:
    Steps& steps_;
};

TEST_F(LinuxExportSessionTest, CancellingWaitsForNoWorkThatHasYetToNotice)
{
    SlowWork::Steps steps;
    std::promise<void> done;
    const auto session =
        makeExportSession(std::make_unique<SlowWork>(steps), "com.velmora.test.slow", SerialQueue::QualityOfService::background);
    session->setOutputURL(path("part.mp4"));
    session->exportAsynchronously([&done] { done.set_value(); });
    steps.isWriting.get_future().wait();
    EXPECT_FALSE(LeftBehindWork::isAny());
    // The work goes on only after all of this: whoever waited for it would wait for ever.
    session->cancelExport();
    done.get_future().wait();
    EXPECT_EQ(session->status(), ExportStatus::cancelled);
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4"));
    EXPECT_TRUE(LeftBehindWork::isAny());
    session->cancelExport();

    steps.mayGoOn.set_value();
    EXPECT_FALSE(steps.hasEnded.get_future().get());
    awaitLeftBehindWork();
    EXPECT_EQ(session->status(), ExportStatus::cancelled);
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4"));
}

TEST_F(LinuxExportSessionTest, AtItsEndTheProgramWaitsForNoWorkThatHasYetToNotice)
{
    SlowWork::Steps steps;
    std::promise<void> done;
    auto session = makeExportSession(std::make_unique<SlowWork>(steps), "com.velmora.test.slow", SerialQueue::QualityOfService::background);
    session->setOutputURL(path("part.mp4"));
    RunningExports running;
    running.start(std::move(session), [&done] { done.set_value(); });
    steps.isWriting.get_future().wait();
    running.cancelAll();
    done.get_future().wait();
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4"));
    EXPECT_TRUE(LeftBehindWork::isAny());
    steps.mayGoOn.set_value();
    steps.hasEnded.get_future().wait();
}

TEST_F(LinuxExportSessionTest, MayBeDestroyedByItsOwnCompletion)
{
    std::promise<void> done;
    auto session = std::make_shared<std::shared_ptr<platform::ExportSession>>(makeSession());
    (*session)->exportAsynchronously([session, &done]() mutable {
        EXPECT_EQ((*session)->status(), ExportStatus::completed);
        session->reset();
        done.set_value();
    });
    session.reset();
    done.get_future().wait();
    EXPECT_THAT(names(), UnorderedElementsAre("clip.mp4", "part.mp4"));
}

}  // namespace
}  // namespace velmora::engine

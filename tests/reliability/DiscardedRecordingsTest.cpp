// Recordings that the capture's end discards: gone from the folder and from the list, and whole in the trash.

#include "app/KeptRecording.h"
#include "capture/ManualRecordingWriter.h"
#include "platform/linux/LinuxFileManager.h"
#include "platform/linux/desktop/Trash.h"
#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/RecordingEngine.h"
#include "tests/support/media/SlowDisk.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <thread>
#include <unistd.h>

namespace velmora::test {
namespace {

using ::testing::IsEmpty;

/// Two seconds.
constexpr int discardedPictures = 120;

class DiscardedRecordings : public ::testing::Test {
protected:
    [[nodiscard]] static CoordinatorFixture::Parts parts(std::shared_ptr<platform::AssetWriterFactory> writers)
    {
        return {std::move(writers), std::make_shared<RepeatedClipSessions>(6)};
    }

    [[nodiscard]] std::shared_ptr<platform::AssetWriterFactory> trashingWriters() const
    {
        return std::make_shared<engine::AssetWriterFactory>(
            RecordingEngine::makeSoundEncoder, engine::CancelledRecordings{.trash = trash_});
    }

    [[nodiscard]] static std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder)
    {
        std::error_code ignored;
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator{folder, ignored})
            files.push_back(entry.path());
        return files;
    }

    [[nodiscard]] static std::vector<std::filesystem::path> clips(const RecordingEngine& engine)
    {
        return filesIn(engine.library->effectiveOutputDirectory());
    }

    [[nodiscard]] std::vector<std::filesystem::path> trashed() const { return filesIn(home_.path() / "files"); }

    static void expectWhole(const std::filesystem::path& clip)
    {
        const auto decoded = decodeFile(clip);
        EXPECT_THAT(decoded.complaints, IsEmpty());
        EXPECT_EQ(decoded.pictures.size(), discardedPictures);
        EXPECT_TRUE(decoded.hasAudio);
    }

    TemporaryDirectory home_;
    std::shared_ptr<const linux_backend::Trash> trash_ = std::make_shared<linux_backend::Trash>(
        linux_backend::Trash::Places{home_.path(), [](const auto&) { return std::filesystem::path{}; }, ::geteuid()});
};

TEST_F(DiscardedRecordings, AreInTheTrashHoweverTheCaptureEnds)
{
    const std::vector<std::function<void(RecordingEngine&)>> ends{
        [](RecordingEngine& engine) { engine.coordinator->stopCapture(); },
        [](RecordingEngine& engine) { engine.workspace->sleep(); },
        [](RecordingEngine& engine) {
            engine.streams->streams.back()->stopWithError({"stream", 1, "The window is gone.", nullptr});
        },
    };
    for (std::size_t i = 0; i < ends.size(); ++i) {
        SCOPED_TRACE(i);
        RecordingEngine engine{parts(trashingWriters())};
        engine.start();
        engine.play(discardedPictures);
        ASSERT_EQ(clips(engine).size(), 1U);
        ends[i](engine);
        engine.executor->runAll();
        EXPECT_EQ(engine.coordinator->state(), CaptureState{CaptureState::WaitingForWindowSelection{}});
        engine.coordinator->drain();
        EXPECT_THAT(clips(engine), IsEmpty());
        EXPECT_THAT(engine.library->recentClips(), IsEmpty());
        EXPECT_EQ(engine.errors.size(), i == 2 ? 1U : 0U);
        ASSERT_EQ(trashed().size(), 1U);
        expectWhole(trashed()[0]);
        std::filesystem::remove_all(home_.path() / "files");
        std::filesystem::remove_all(home_.path() / "info");
    }
}

TEST_F(DiscardedRecordings, DoNotTouchTheNextOneOfTheirNameHoweverLongTheyTake)
{
    const auto path = home_.path() / "clip.mp4";
    const auto files = linux_backend::makeFileManager();
    const auto pictures = encodeClip(steadyTimes(90, 60), {.width = 64, .height = 48});
    const auto gate = std::make_shared<DiskGate>();
    SlowAssetWriters slow{
        gate, RecordingEngine::makeSoundEncoder, engine::CancelledRecordings{.trash = trash_, .patience = std::chrono::hours{1}}};
    const auto discarded = *ManualRecordingWriter::create(path, slow, files);
    gate->close();
    for (const auto& picture : pictures.samples)
        discarded->appendVideoSample(picture);
    discarded->cancel();
    while (std::filesystem::exists(path))
        std::this_thread::yield();

    const auto next = *ManualRecordingWriter::create(path, *trashingWriters(), files);
    for (std::size_t i = 0; i < 30; ++i)
        next->appendVideoSample(pictures.samples[i]);
    std::promise<bool> isSaved;
    next->finish([&](const Result<std::filesystem::path>& result) { isSaved.set_value(result.has_value()); });
    ASSERT_TRUE(isSaved.get_future().get());
    gate->open();
    discarded->drain();
    EXPECT_EQ(decodeFile(path).pictures.size(), 30U);
    ASSERT_EQ(trashed().size(), 1U);
    EXPECT_EQ(decodeFile(trashed()[0]).pictures.size(), 90U);
}

TEST_F(DiscardedRecordings, KeepNeitherTheMachineFromSleepingNorLeaveTheProgramUnfinishedOnASlowDisk)
{
    const auto gate = std::make_shared<DiskGate>();
    RecordingEngine engine{parts(std::make_shared<SlowAssetWriters>(
        gate, RecordingEngine::makeSoundEncoder, engine::CancelledRecordings{.trash = trash_, .patience = std::chrono::hours{1}}))};
    engine.start();
    const auto clip = clips(engine).at(0);
    gate->close();
    engine.play(discardedPictures);
    engine.workspace->sleep();
    engine.executor->runAll();
    EXPECT_EQ(engine.workspace->readyCount, 1) << "the disk has not moved yet";
    while (std::filesystem::exists(clip))
        std::this_thread::yield();

    std::atomic<bool> isOnTheDisk = false;
    std::thread disk{[&] {
        std::this_thread::sleep_for(std::chrono::milliseconds{100});  // a slow disk is what this is about
        isOnTheDisk = true;
        gate->open();
    }};
    engine.coordinator->drain();
    EXPECT_TRUE(isOnTheDisk);
    disk.join();
    ASSERT_EQ(trashed().size(), 1U);
    expectWhole(trashed()[0]);
}

TEST_F(DiscardedRecordings, OfTheRecordCommandAreFinishedAndNotInTheTrash)
{
    std::atomic<int> kept = 0;
    RecordingEngine engine{parts(keepingRecordings(trashingWriters(), [&](const Result<void>& result) { kept += result ? 1 : 100; }))};
    engine.start();
    engine.play(discardedPictures);
    // The command removes nothing; the coordinator of this test would.
    const auto clip = engine.folder.path() / "kept.mp4";
    std::filesystem::create_hard_link(clips(engine).at(0), clip);
    engine.coordinator->stopCapture();
    engine.coordinator->drain();
    while (kept == 0)
        std::this_thread::yield();
    EXPECT_THAT(trashed(), IsEmpty());
    expectWhole(clip);
}

}  // namespace
}  // namespace velmora::test

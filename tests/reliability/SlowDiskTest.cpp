// What a slow disk does to a clip that is being saved while the program is told to end: nothing.

#include "tests/support/media/SlowDisk.h"
#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/RecordingEngine.h"

#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <thread>

namespace velmora::test {
namespace {

using ::testing::IsEmpty;

TEST(SlowDisk, AProgramThatEndsWhileAClipIsSavedWaitsForTheLastOfIt)
{
    const auto gate = std::make_shared<DiskGate>();
    RecordingEngine engine{CoordinatorFixture::Parts{
        std::make_shared<SlowAssetWriters>(gate, RecordingEngine::makeSoundEncoder), std::make_shared<RepeatedClipSessions>(6)}};
    engine.start();
    gate->close();
    constexpr int pictures = 180;
    engine.play(pictures);
    engine.coordinator->stopRecording();
    engine.executor->runAll();
    ASSERT_FALSE(engine.coordinator->isRecording());
    gate->awaitSomebody();

    // As at the end of the program.
    engine.coordinator->stopCapture();
    std::atomic<bool> isOnTheDisk = false;
    std::thread disk{[&] {
        std::this_thread::sleep_for(std::chrono::milliseconds{100});  // a slow disk is what this is about
        isOnTheDisk = true;
        gate->open();
    }};
    engine.coordinator->drain();
    EXPECT_TRUE(isOnTheDisk);
    disk.join();

    const auto clips = engine.fileManager->contentsOfDirectory(engine.library->effectiveOutputDirectory(), false).value();
    ASSERT_EQ(clips.size(), 1U);
    const auto decoded = decodeFile(clips[0]);
    EXPECT_THAT(decoded.complaints, IsEmpty());
    EXPECT_EQ(decoded.pictures.size(), pictures);
    EXPECT_TRUE(decoded.hasAudio);
}

}  // namespace
}  // namespace velmora::test

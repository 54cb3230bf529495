// What many recordings leave in the process: nothing.

#include "tests/support/ProcessFigures.h"
#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/RecordingEngine.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <gmock/gmock.h>
#include <limits>
#include <thread>

namespace velmora::test {
namespace {

using ::testing::IsEmpty;

/// Instrumented code is many times slower.
constexpr int recordingCount = isSanitized ? 200 : 1000;

/// What the allocator keeps for its threads counts as used, and differs by 100 KiB from run to run. One picture, block of sound or writer that
/// every recording leaves is far more.
constexpr std::size_t allowedGrowth = 256 * 1024;

/// A writer lives a moment longer than its recording; its threads show when it has gone. False when it stays.
bool hasSettled(std::size_t threads)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{30};
    while (threadCount() > threads) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
    return true;
}

TEST(ManyRecordings, AThousandInOneProcessLeaveNoMemoryNoFileAndNoThreadBehind)
{
    RecordingEngine engine;
    // Every queue has its thread from its first work onwards.
    engine.play(1);
    const auto threads = threadCount();
    std::size_t heapBefore = 0;
    std::size_t residentBefore = 0;
    std::size_t descriptorsBefore = 0;
    for (int number = 1; number <= recordingCount; ++number) {
        engine.start();
        engine.play(20);
        const auto clip = engine.save();
        ASSERT_TRUE(clip) << number;
        ASSERT_EQ(engine.library->recentClips().size(), 1U);
        if (number % (recordingCount / 10) == 0) {
            const auto decoded = decodeFile(*clip);
            EXPECT_THAT(decoded.complaints, IsEmpty());
            EXPECT_GE(decoded.pictures.size(), 14U);
            EXPECT_TRUE(decoded.hasAudio);
        }
        // The list of clips grows for good reason; a user's folder too.
        engine.library->deleteClip(engine.library->recentClips().front());
        engine.assetReader->asked.clear();
        if (number == recordingCount / 10) {
            ASSERT_TRUE(hasSettled(threads));
            heapBefore = heapInUse();
            residentBefore = residentBytes();
            descriptorsBefore = openDescriptors();
        }
    }
    ASSERT_TRUE(hasSettled(threads));
    const auto heap = heapInUse();
    std::printf("heap after %d: %zu KiB, after %d: %zu KiB; resident %zu and %zu KiB; descriptors %zu and %zu; threads %zu\n",
        recordingCount / 10, heapBefore / 1024, recordingCount, heap / 1024, residentBefore / 1024, residentBytes() / 1024,
        descriptorsBefore, openDescriptors(), threads);
    EXPECT_LT(heap, heapBefore + allowedGrowth);
    EXPECT_EQ(openDescriptors(), descriptorsBefore);
    EXPECT_THAT(engine.errors, IsEmpty());
}

TEST(ManyRecordings, CapturingWithoutRecordingKeepsNothing)
{
    RecordingEngine engine;
    engine.play(1000);
    // A thread that is late for once fills the allocator's reserve for it, once; what is kept shows in every stretch.
    auto leastGrowth = std::numeric_limits<std::size_t>::max();
    for (int stretch = 0; stretch < 4; ++stretch) {
        const auto before = heapInUse();
        engine.play(isSanitized ? 2000 : 20'000);
        const auto after = heapInUse();
        std::printf("heap before: %zu KiB, after: %zu KiB\n", before / 1024, after / 1024);
        leastGrowth = std::min(leastGrowth, after > before ? after - before : 0);
    }
    EXPECT_LT(leastGrowth, allowedGrowth);
}

}  // namespace
}  // namespace velmora::test

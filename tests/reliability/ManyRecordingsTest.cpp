// What many recordings leave in the process: nothing.

#include "tests/support/ProcessFigures.h"
#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/RecordingEngine.h"

#include <cstdio>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using ::testing::IsEmpty;

/// Instrumented code is many times slower.
constexpr int recordingCount = isSanitized ? 200 : 1000;

/// What the allocator keeps for its threads counts as used, and differs by 100 KiB from run to run. One picture, block of sound or writer that
/// every recording leaves is far more.
constexpr std::size_t allowedGrowth = 256 * 1024;

TEST(ManyRecordings, AThousandInOneProcessLeaveNoMemoryNoFileAndNoThreadBehind)
{
    RecordingEngine engine;
    std::size_t heapBefore = 0;
    std::size_t residentBefore = 0;
    std::size_t descriptorsBefore = 0;
    std::size_t threadsBefore = 0;
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
            heapBefore = heapInUse();
            residentBefore = residentBytes();
            descriptorsBefore = openDescriptors();
            threadsBefore = threadCount();
        }
    }
    const auto heap = heapInUse();
    std::printf("heap after %d: %zu KiB, after %d: %zu KiB; resident %zu and %zu KiB; descriptors %zu and %zu; threads %zu and %zu\n",
        recordingCount / 10, heapBefore / 1024, recordingCount, heap / 1024, residentBefore / 1024, residentBytes() / 1024,
        descriptorsBefore, openDescriptors(), threadsBefore, threadCount());
    EXPECT_LT(heap, heapBefore + allowedGrowth);
    EXPECT_EQ(openDescriptors(), descriptorsBefore);
    EXPECT_EQ(threadCount(), threadsBefore);
    EXPECT_THAT(engine.errors, IsEmpty());
}

TEST(ManyRecordings, CapturingWithoutRecordingKeepsNothing)
{
    RecordingEngine engine;
    engine.play(1000);
    const auto before = heapInUse();
    engine.play(isSanitized ? 2000 : 20'000);
    EXPECT_LT(heapInUse(), before + allowedGrowth);
}

}  // namespace
}  // namespace velmora::test

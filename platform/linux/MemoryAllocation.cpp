#include "platform/linux/MemoryAllocation.h"

#include <malloc.h>

namespace velmora::linux_backend {

namespace {

// What glibc begins with (mallopt(3)). By itself it raises these two, up to 64 MB, with the largest block that was freed, such as a
// picture; pictures then lie among everything else, and what a closed preview had used stays with the process.
constexpr int blockGivenBack = 128 * 1024;
constexpr int heapEndGivenBack = 128 * 1024;

// Each new thread would get a heap of its own, up to eight for each core, and none of them shrinks below what it once held. The threads that
// capture and compress allocate next to nothing, so that two heaps are enough.
constexpr int heapCount = 2;

}  // namespace

void limitRetainedMemory()
{
    ::mallopt(M_MMAP_THRESHOLD, blockGivenBack);
    ::mallopt(M_TRIM_THRESHOLD, heapEndGivenBack);
    ::mallopt(M_ARENA_MAX, heapCount);
}

void giveBackUnusedMemory()
{
    ::malloc_trim(0);
}

}  // namespace velmora::linux_backend

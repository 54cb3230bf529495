// What this process holds.
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <string>
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VELMORA_SANITIZED_ALLOCATOR
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VELMORA_SANITIZED_ALLOCATOR
#endif
#ifdef VELMORA_SANITIZED_ALLOCATOR
// From the sanitizers' run-time libraries; g++ comes without the header.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace velmora::test {

#ifdef VELMORA_SANITIZED_ALLOCATOR
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

/// Bytes allocated and not freed, by all threads.
inline std::size_t heapInUse()
{
#ifdef VELMORA_SANITIZED_ALLOCATOR
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto information = ::mallinfo2();
    return information.uordblks + information.hblkhd;
#endif
}

inline std::size_t residentBytes()
{
    std::ifstream status{"/proc/self/status"};
    for (std::string word; status >> word;) {
        if (word == "VmRSS:") {
            std::size_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes * 1024;
        }
    }
    return 0;
}

inline std::size_t openDescriptors()
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator{"/proc/self/fd"}, {}));
}

inline std::size_t threadCount()
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator{"/proc/self/task"}, {}));
}

}  // namespace velmora::test

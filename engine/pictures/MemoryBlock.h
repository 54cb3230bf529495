// Memory that pictures lie in.
#pragma once

#include <cstddef>

namespace velmora::engine {

/// A block of memory in this process. Pictures in it may be held for longer than the capture that made it lasts.
class MemoryBlock {
public:
    virtual ~MemoryBlock() = default;
    MemoryBlock(const MemoryBlock&) = delete;
    MemoryBlock& operator=(const MemoryBlock&) = delete;

    [[nodiscard]] std::byte* data() const { return data_; }
    [[nodiscard]] std::size_t size() const { return size_; }

    /// Nobody needs what stands in this part, whole pages: the system may have them until something is written there. What is read
    /// before that is anything. Memory that the system cannot take back in part stays as it is. On any thread.
    virtual void giveBack(std::size_t offset, std::size_t size) = 0;

protected:
    MemoryBlock(std::byte* data, std::size_t size) : data_(data), size_(size) { }

private:
    std::byte* data_;
    std::size_t size_;
};

}  // namespace velmora::engine

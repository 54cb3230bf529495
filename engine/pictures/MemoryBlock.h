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

protected:
    MemoryBlock(std::byte* data, std::size_t size) : data_(data), size_(size) { }

private:
    std::byte* data_;
    std::size_t size_;
};

}  // namespace velmora::engine

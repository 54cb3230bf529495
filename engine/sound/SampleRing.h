// Hands blocks of sound from a real-time thread to another thread.
#pragma once

#include "base/MonotonicClock.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <span>
#include <vector>

namespace velmora::engine {

/// One thread writes, one reads; neither ever waits or locks, and the writer never allocates. A block that does not fit is dropped whole.
class SampleRing {
public:
    /// Room for `samples` values in at most `blocks` blocks, both rounded up to powers of two.
    SampleRing(std::size_t samples, std::size_t blocks) : samples_(powerOfTwo(samples)), blocks_(powerOfTwo(blocks)) { }

    /// False when the block was dropped.
    bool write(MonotonicTime stamp, std::span<const float> samples)
    {
        const auto head = written_.load(std::memory_order_relaxed);
        const auto tail = read_.load(std::memory_order_acquire);
        const auto firstFree = head == tail ? sampleHead_ : blocks_[tail & (blocks_.size() - 1)].begin;
        if (head - tail == blocks_.size() || sampleHead_ - firstFree + samples.size() > samples_.size())
            return false;
        const auto place = sampleHead_ & (samples_.size() - 1);
        const auto first = std::min(samples.size(), samples_.size() - place);
        std::copy_n(samples.begin(), first, samples_.begin() + static_cast<std::ptrdiff_t>(place));
        std::copy(samples.begin() + static_cast<std::ptrdiff_t>(first), samples.end(), samples_.begin());
        blocks_[head & (blocks_.size() - 1)] = {stamp, sampleHead_, samples.size()};
        sampleHead_ += samples.size();
        written_.store(head + 1, std::memory_order_release);
        return true;
    }

    /// Takes out the oldest block: its samples go into `samples`, its stamp into `stamp`. False when there is none. Allocates
    /// where `samples` has had no block of that size yet.
    bool read(MonotonicTime& stamp, std::vector<float>& samples)
    {
        const auto tail = read_.load(std::memory_order_relaxed);
        if (tail == written_.load(std::memory_order_acquire))
            return false;
        const auto& block = blocks_[tail & (blocks_.size() - 1)];
        stamp = block.stamp;
        samples.resize(block.count);
        const auto place = block.begin & (samples_.size() - 1);
        const auto first = std::min(block.count, samples_.size() - place);
        std::copy_n(samples_.begin() + static_cast<std::ptrdiff_t>(place), first, samples.begin());
        std::copy_n(samples_.begin(), block.count - first, samples.begin() + static_cast<std::ptrdiff_t>(first));
        read_.store(tail + 1, std::memory_order_release);
        return true;
    }

private:
    struct Block {
        MonotonicTime stamp;
        std::size_t begin = 0;  ///< counts samples since the beginning
        std::size_t count = 0;
    };

    static std::size_t powerOfTwo(std::size_t least)
    {
        std::size_t size = 1;
        while (size < least)
            size *= 2;
        return size;
    }

    std::vector<float> samples_;
    std::vector<Block> blocks_;
    std::size_t sampleHead_ = 0;  ///< the writer's
    std::atomic<std::size_t> written_{0};
    std::atomic<std::size_t> read_{0};
};

}  // namespace velmora::engine

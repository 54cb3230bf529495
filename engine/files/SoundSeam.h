// Where the sound before a pause meets the sound after it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

namespace velmora::engine {

/// Blends what followed before a cut, which nobody would hear otherwise, into what comes after it: a jump between two samples would be heard as
/// a click. Samples are interleaved.
class SoundSeam {
public:
    SoundSeam() = default;
    SoundSeam(std::size_t channels, std::size_t frames) : channels_(channels), length_(frames * channels) { }

    /// `samples` follow the cut, about `offset` frames after it.
    void keep(std::span<const float> samples, std::int64_t offset)
    {
        // What does not join the end of what is there belongs elsewhere.
        const auto frames = [this](std::size_t count) { return static_cast<std::int64_t>(count / std::max<std::size_t>(1, channels_)); };
        if (isOpen_ || std::abs(offset - frames(tail_.size())) > frames(length_))
            return;
        const auto room = length_ - tail_.size();
        tail_.insert(tail_.end(), samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(std::min(room, samples.size())));
    }

    /// What comes next is the other side.
    void begin() { isOpen_ = true; }
    void close()
    {
        isOpen_ = false;
        tail_.clear();
    }
    [[nodiscard]] bool isOpen() const { return isOpen_; }

    /// `samples` with the other side in them where they are the first after the cut; they live as long as this.
    std::span<const float> joined(std::span<const float> samples)
    {
        if (!isOpen_ || samples.empty())
            return samples;
        joined_.assign(samples.begin(), samples.end());
        const auto frames = std::min(tail_.size(), samples.size()) / std::max<std::size_t>(1, channels_);
        for (std::size_t i = 0; i < frames * channels_; ++i) {
            const auto frame = i / channels_;
            const float part = static_cast<float>(frame + 1) / static_cast<float>(frames + 1);
            joined_[i] = tail_[i] + (joined_[i] - tail_[i]) * part;
        }
        close();
        return joined_;
    }

private:
    std::size_t channels_ = 0;
    std::size_t length_ = 0;
    std::vector<float> tail_;
    std::vector<float> joined_;
    bool isOpen_ = false;
};

}  // namespace velmora::engine

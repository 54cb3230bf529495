// A desktop that is a drawing in memory, with one window and no sound.
#pragma once

#include "base/Mutex.h"
#include "engine/pictures/PictureStream.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace velmora::engine {

/// The desktop: programs draw, a capture looks. Colours are 0xRRGGBB. Safe on any thread.
class ToyWindow {
public:
    ToyWindow(std::int32_t width, std::int32_t height) { resize(width, height, 0); }

    void resize(std::int32_t width, std::int32_t height, std::uint32_t colour)
    {
        MutexLock lock(mutex_);
        size_ = {0, 0, width, height};
        pixels_.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), colour);
        isReplaced_ = true;
        isAwake_ = true;
        changed_.notifyAll();
    }

    /// All at once.
    void draw(const std::vector<std::pair<PixelRect, std::uint32_t>>& strokes)
    {
        MutexLock lock(mutex_);
        for (const auto& [part, colour] : strokes) {
            for (auto y = part.y; y < part.y + part.height; ++y)
                std::fill_n(pixels_.begin() + y * size_.width + part.x, part.width, colour);
            damage_.push_back(part);
        }
        isAwake_ = true;
        changed_.notifyAll();
    }

    /// Returns when somebody draws, even if nothing, or at `time`; tells the stream what happened.
    void waitAndTell(PictureStream& stream, MonotonicTime time)
    {
        MutexLock lock(mutex_);
        const auto deadline = std::min(time, MonotonicClock::now() + std::chrono::seconds{1});
        while (!isAwake_ && changed_.waitUntil(mutex_, deadline)) { }
        isAwake_ = false;
        if (std::exchange(isReplaced_, false))
            stream.contentReplaced(size_.width, size_.height);
        tellDamage(stream);
    }

    /// All of one moment, and what was drawn up to then. None when the window does not have the size that the stream knows.
    std::optional<ContentPixels> look(PictureStream& stream, std::vector<std::uint32_t>& moment)
    {
        MutexLock lock(mutex_);
        if (isReplaced_)
            return std::nullopt;
        tellDamage(stream);
        moment = pixels_;
        return ContentPixels{reinterpret_cast<const std::byte*>(moment.data()), static_cast<std::size_t>(size_.width) * 4};
    }

private:
    void tellDamage(PictureStream& stream) REQUIRES(mutex_)
    {
        for (const auto& part : std::exchange(damage_, {}))
            stream.damage(part);
    }

    Mutex mutex_;
    ConditionVariable changed_;
    PixelRect size_ GUARDED_BY(mutex_);
    std::vector<std::uint32_t> pixels_ GUARDED_BY(mutex_);
    std::vector<PixelRect> damage_ GUARDED_BY(mutex_);
    bool isReplaced_ GUARDED_BY(mutex_) = false;
    bool isAwake_ GUARDED_BY(mutex_) = false;
};

}  // namespace velmora::engine

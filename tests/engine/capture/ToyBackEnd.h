// A back end made as docs/developing.md says: its desktop is a drawing in memory, with one window and no sound.
#pragma once

#include "base/Mutex.h"
#include "engine/pictures/PictureStream.h"
#include "engine/pictures/SizeRequest.h"
#include "engine/pictures/VideoSource.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <thread>
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

struct ToyMemory final : std::vector<std::byte>, MemoryBlock {
    explicit ToyMemory(std::size_t bytes) : std::vector<std::byte>(bytes), MemoryBlock(std::vector<std::byte>::data(), bytes) { }
};

class ToyVideoSource final : public VideoSource, PictureContent {
public:
    ToyVideoSource(ToyWindow& window, const platform::StreamConfiguration& configuration, PictureScalerFactory makeScaler)
        : window_(window)
        , stream_(configuration, std::make_shared<ToyMemory>(PictureStream::requiredBytes(configuration)), *this, std::move(makeScaler),
              [this](SampleBufferRef picture) { callbacks_.picture(std::move(picture)); })
    {
    }
    ~ToyVideoSource() override { stop(); }

    Result<void> start(Callbacks callbacks) override
    {
        callbacks_ = std::move(callbacks);
        stream_.observeSize(std::move(callbacks_.settled));
        thread_ = std::thread{[this] {
            const auto worked = work();
            sizeRequest_.end();
            if (!worked)
                callbacks_.stopped(worked.error());
        }};
        return {};
    }

    Result<void> updateSize(std::int32_t width, std::int32_t height) override
    {
        return sizeRequest_.ask(width, height, [this] { window_.draw({}); });
    }

    void wantPicture() override
    {
        isPictureWanted_ = true;
        window_.draw({});
    }

    void stop() override
    {
        isStopping_ = true;
        window_.draw({});
        if (thread_.joinable())
            thread_.join();
    }

private:
    Result<void> work()
    {
        while (!isStopping_) {
            window_.waitAndTell(stream_, stream_.deadline());
            sizeRequest_.answer([this](std::int32_t width, std::int32_t height) {
                return stream_.updateSize(width, height, std::make_shared<ToyMemory>(PictureStream::requiredBytes(width, height)));
            });
            if (isPictureWanted_.exchange(false))
                stream_.wantPicture();
            if (auto worked = stream_.work(); !worked)
                return worked;
        }
        return {};
    }

    Result<bool> fetch(PooledPicture& picture) override
    {
        const auto content = window_.look(stream_, moment_);
        for (const auto& part : picture.missed.rectangles()) {
            for (auto y = part.y; content && y < part.y + part.height; ++y) {
                const auto offset = static_cast<std::size_t>(y) * content->bytesPerRow + static_cast<std::size_t>(part.x) * 4;
                std::memcpy(picture.pixels + offset, content->pixels + offset, static_cast<std::size_t>(part.width) * 4);
            }
        }
        return content.has_value();
    }

    Result<std::optional<ContentPixels>> fetchAll() override { return window_.look(stream_, moment_); }

    ToyWindow& window_;
    Callbacks callbacks_;
    PictureStream stream_;
    std::vector<std::uint32_t> moment_;
    SizeRequest sizeRequest_;
    std::atomic<bool> isPictureWanted_ = false;
    std::atomic<bool> isStopping_ = false;
    std::thread thread_;
};

}  // namespace velmora::engine

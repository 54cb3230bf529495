// A back end for the desktop in ToyDesktop.h, made as docs/developing.md says.
#pragma once

#include "ToyDesktop.h"
#include "engine/pictures/PictureStream.h"
#include "engine/pictures/SizeRequest.h"
#include "engine/pictures/VideoSource.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::engine {

struct ToyMemory final : std::vector<std::byte>, MemoryBlock {
    explicit ToyMemory(std::size_t bytes) : std::vector<std::byte>(bytes), MemoryBlock(std::vector<std::byte>::data(), bytes) { }
    void giveBack(std::size_t /*offset*/, std::size_t /*size*/) override { }
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

// Makes the pictures of a stream out of those of a cast.
#pragma once

#include "base/MonotonicClock.h"
#include "engine/pictures/PictureStream.h"
#include "engine/pictures/VideoSource.h"
#include "platform/StreamConfiguration.h"
#include "platform/linux/portal/CastBuffer.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::linux_backend {

/// The stream's pictures and, when they are taken, the newest picture of the cast. Used by one thread at a time; work() is
/// called at deadline().
class CastPictures final : engine::PictureContent {
public:
    static Result<std::unique_ptr<CastPictures>> create(const platform::StreamConfiguration& configuration,
        engine::PictureScalerFactory makeScaler, engine::VideoSource::Callbacks callbacks);

    /// The cast has a new picture. `damage` is what changed, within the content; none: not known, so all of it.
    void changed(PixelRect content, const std::optional<std::vector<PixelRect>>& damage);

    /// When work() has something to do.
    [[nodiscard]] MonotonicTime deadline() const { return stream_.deadline(); }

    /// Delivers what is due. `newest` is the newest picture of the cast, taken at `time`; null when there is none to be read now.
    Result<void> work(const CastPicture* newest, std::optional<MonotonicTime> time);

    /// PictureStream::updateSize(), from the newest picture of the cast; null when there is none to be read now, which fails it.
    Result<void> updateSize(std::int32_t width, std::int32_t height, const CastPicture* newest);

    /// PictureStream::wantPicture(); work() has something to do then.
    void wantPicture() { stream_.wantPicture(); }

    [[nodiscard]] engine::VideoSource::Callbacks& callbacks() { return callbacks_; }

private:
    CastPictures(const platform::StreamConfiguration& configuration, std::shared_ptr<engine::MemoryBlock> memory,
        engine::PictureScalerFactory makeScaler, engine::VideoSource::Callbacks callbacks);

    Result<bool> fetch(engine::PooledPicture& picture) override;
    Result<std::optional<engine::ContentPixels>> fetchAll() override;

    engine::VideoSource::Callbacks callbacks_;
    engine::PictureStream stream_;
    const CastPicture* newest_ = nullptr;  // while work() or updateSize() runs
    std::vector<std::byte> scratch_;  // the content in our order of colours, before it is scaled
    PixelRect content_;
};

}  // namespace velmora::linux_backend

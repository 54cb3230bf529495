// Makes the pictures of a stream out of those of a cast.
#pragma once

#include "engine/codecs/PictureScaler.h"
#include "engine/pictures/FramePacer.h"
#include "engine/pictures/PicturePool.h"
#include "engine/pictures/PictureSamples.h"
#include "engine/pictures/VideoSource.h"
#include "platform/StreamConfiguration.h"
#include "platform/linux/portal/CastBuffer.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace velmora::linux_backend {

/// Owns the pictures that one stream delivers, all of the configuration's size: content of another size is fitted in, its shape kept,
/// centred, black around. Used on one thread, which asks it at deadline() to take the newest picture of the cast, or to repeat the last.
/// Times are CLOCK_MONOTONIC nanoseconds.
class CastPictures {
public:
    static Result<std::unique_ptr<CastPictures>> create(const platform::StreamConfiguration& configuration,
        engine::PictureScalerFactory makeScaler, engine::VideoSource::Callbacks callbacks);

    /// The newest picture of the cast is another one. `damage` is what changed, within the content; nothing tells: all of it.
    void changed(PixelRect content, const std::optional<std::vector<PixelRect>>& damage);

    /// When work() has something to do.
    [[nodiscard]] std::int64_t deadline() const;

    /// Delivers what is due. `newest` is the newest picture of the cast, taken at `time`; null when there is none to be read now.
    Result<void> work(const CastPicture* newest, std::optional<std::int64_t> time);

    [[nodiscard]] engine::VideoSource::Callbacks& callbacks() { return callbacks_; }

private:
    CastPictures(const platform::StreamConfiguration& configuration, std::shared_ptr<engine::MemoryBlock> memory,
        engine::PictureScalerFactory makeScaler, engine::VideoSource::Callbacks callbacks);

    [[nodiscard]] bool isScaled() const;
    Result<void> take(const CastPicture& newest, std::optional<std::int64_t> time, std::int64_t now);
    Result<void> takeScaled(const CastPicture& newest, engine::PooledPicture& picture);
    void deliver(engine::PooledPicture& picture, std::int64_t time, std::vector<PixelRect> dirty);

    const PixelRect whole_;
    engine::PictureScalerFactory makeScaler_;
    engine::VideoSource::Callbacks callbacks_;
    engine::PictureSamples samples_;
    engine::PicturePool pool_;
    engine::FramePacer pacer_;
    std::unique_ptr<engine::PictureScaler> scaler_;
    std::vector<std::byte> scratch_;  ///< the content in our order of colours, before it is scaled
    PixelRect content_;
    engine::DamageRegion changed_;
    engine::PooledPicture* last_ = nullptr;
    std::int64_t lastTime_ = 0;
    std::int64_t retryDue_ = 0;
};

}  // namespace velmora::linux_backend

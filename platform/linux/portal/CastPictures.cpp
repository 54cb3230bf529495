#include "platform/linux/portal/CastPictures.h"

#include "base/MonotonicClock.h"
#include "engine/pictures/FitRectangle.h"
#include "platform/linux/kernel/AnonymousMemory.h"
#include "platform/linux/portal/Errors.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <limits>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr std::int64_t repeatInterval = nanosecondsPerSecond / 2;

std::size_t offsetOf(std::int32_t x, std::int32_t y, std::size_t bytesPerRow)
{
    return static_cast<std::size_t>(y) * bytesPerRow + static_cast<std::size_t>(x) * bytesPerPixel;
}

/// Copies `part` of the content to the same place of a picture of the content's size.
void copy(const CastPicture& source, PixelRect part, std::byte* target, std::size_t targetBytesPerRow)
{
    for (std::int32_t y = part.y; y < part.y + part.height; ++y) {
        const auto* from = source.pixels + offsetOf(source.content.x + part.x, source.content.y + y, source.bytesPerRow);
        auto* to = target + offsetOf(part.x, y, targetBytesPerRow);
        const auto bytes = static_cast<std::size_t>(part.width) * bytesPerPixel;
        std::memcpy(to, from, bytes);
        if (!source.isRedFirst)
            continue;
        for (std::size_t i = 0; i < bytes; i += bytesPerPixel)
            std::swap(to[i], to[i + 2]);
    }
}

}  // namespace

Result<std::unique_ptr<CastPictures>> CastPictures::create(
    const platform::StreamConfiguration& configuration, engine::PictureScalerFactory makeScaler, engine::VideoSource::Callbacks callbacks)
{
    if (configuration.width < 1 || configuration.height < 1 || configuration.width > largestSide || configuration.height > largestSide)
        return failPortal(PortalErrorCode::invalidSize, "The picture size is out of range.");
    auto memory = allocateAnonymousMemory(engine::PicturePool::requiredBytes(
        static_cast<std::int32_t>(configuration.width), static_cast<std::int32_t>(configuration.height)));
    if (!memory)
        return fail(std::move(memory.error()));
    return std::unique_ptr<CastPictures>(new CastPictures(configuration, std::move(*memory), std::move(makeScaler), std::move(callbacks)));
}

CastPictures::CastPictures(const platform::StreamConfiguration& configuration, std::shared_ptr<engine::MemoryBlock> memory,
    engine::PictureScalerFactory makeScaler, engine::VideoSource::Callbacks callbacks)
    : whole_{0, 0, static_cast<std::int32_t>(configuration.width), static_cast<std::int32_t>(configuration.height)}
    , makeScaler_(std::move(makeScaler))
    , callbacks_(std::move(callbacks))
    , samples_(configuration)
    , pool_(std::move(memory), whole_.width, whole_.height)
    , pacer_(samples_.interval())
{
}

bool CastPictures::isScaled() const
{
    return content_.width != whole_.width || content_.height != whole_.height;
}

void CastPictures::changed(PixelRect content, const std::optional<std::vector<PixelRect>>& damage)
{
    const bool isElsewhere = content != content_;
    content_ = content;
    if (isElsewhere || !damage || isScaled()) {
        pool_.invalidate();
        changed_.clear();
        changed_.add(whole_);
        return;
    }
    for (const auto& rectangle : *damage) {
        const auto inside = rectangle.intersected(whole_);
        pool_.addDamage(inside);
        changed_.add(inside);
    }
}

std::int64_t CastPictures::deadline() const
{
    auto time = last_ ? lastTime_ + repeatInterval : std::numeric_limits<std::int64_t>::max();
    if (!changed_.isEmpty())
        time = std::min(time, std::max(pacer_.due(), retryDue_));
    return time;
}

Result<void> CastPictures::work(const CastPicture* newest, std::optional<std::int64_t> time)
{
    const auto now = monotonicNow();
    if (newest && !changed_.isEmpty() && now >= std::max(pacer_.due(), retryDue_)) {
        if (auto taken = take(*newest, time, now); !taken)
            return taken;
    }
    if (last_ && now >= lastTime_ + repeatInterval)
        deliver(*last_, now, {});
    return {};
}

Result<void> CastPictures::take(const CastPicture& newest, std::optional<std::int64_t> time, std::int64_t now)
{
    retryDue_ = now + samples_.interval();
    auto* picture = pool_.leastOutdated();
    if (!picture)
        return {};
    if (isScaled()) {
        if (auto scaled = takeScaled(newest, *picture); !scaled)
            return scaled;
        changed_.clear();
        changed_.add(whole_);
    } else {
        picture->fitted = {};
        for (const auto& rectangle : picture->missed.rectangles())
            copy(newest, rectangle, picture->pixels, pool_.bytesPerRow());
    }
    picture->missed.clear();
    retryDue_ = 0;
    pacer_.taken(now);
    last_ = picture;
    // The cast's own time, unless it stands still, lies ahead, or is that of a picture which waited for somebody to want it.
    const bool isUsable = time && *time > lastTime_ && *time <= now && *time > now - repeatInterval;
    deliver(*picture, isUsable ? *time : std::max(now, lastTime_ + 1), std::exchange(changed_, {}).rectangles());
    return {};
}

Result<void> CastPictures::takeScaled(const CastPicture& newest, engine::PooledPicture& picture)
{
    if (!scaler_) {
        auto made = makeScaler_();
        if (!made)
            return fail(std::move(made.error()));
        scaler_ = std::move(*made);
    }
    const auto fitted = engine::fitRectangle(content_.width, content_.height, whole_.width, whole_.height);
    if (picture.fitted != fitted) {
        std::memset(picture.pixels, 0, pool_.bytesPerRow() * static_cast<std::size_t>(whole_.height));
        picture.fitted = fitted;
    }
    const auto* source = newest.pixels + offsetOf(newest.content.x, newest.content.y, newest.bytesPerRow);
    auto sourceBytesPerRow = newest.bytesPerRow;
    const PixelRect size{0, 0, content_.width, content_.height};
    if (newest.isRedFirst) {
        sourceBytesPerRow = static_cast<std::size_t>(size.width) * bytesPerPixel;
        scratch_.resize(sourceBytesPerRow * static_cast<std::size_t>(size.height));
        copy(newest, size, scratch_.data(), sourceBytesPerRow);
        source = scratch_.data();
    }
    auto* target = picture.pixels + offsetOf(fitted.x, fitted.y, pool_.bytesPerRow());
    return scaler_->scale(source, size, sourceBytesPerRow, target, {0, 0, fitted.width, fitted.height}, pool_.bytesPerRow());
}

void CastPictures::deliver(engine::PooledPicture& picture, std::int64_t time, std::vector<PixelRect> dirty)
{
    lastTime_ = time;
    callbacks_.picture(samples_.make(pool_, picture, time, std::move(dirty)));
}

}  // namespace velmora::linux_backend

#include "engine/pictures/PictureStream.h"

#include "engine/pictures/FitRectangle.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <utility>

namespace velmora::engine {

namespace {

constexpr const char* errorDomain = "Velmora.PictureStream";
constexpr int noPicture = 1;

platform::StreamConfiguration resized(platform::StreamConfiguration configuration, std::int32_t width, std::int32_t height)
{
    configuration.width = width;
    configuration.height = height;
    return configuration;
}

}  // namespace

bool PictureStream::isPossible(std::int64_t width, std::int64_t height)
{
    return width >= 1 && height >= 1 && width <= largestSide && height <= largestSide;
}

bool PictureStream::isPossible(const platform::StreamConfiguration& configuration)
{
    return isPossible(configuration.width, configuration.height);
}

std::size_t PictureStream::requiredBytes(std::int32_t width, std::int32_t height)
{
    return PicturePool::requiredBytes(width, height);
}

std::size_t PictureStream::requiredBytes(const platform::StreamConfiguration& configuration)
{
    return requiredBytes(static_cast<std::int32_t>(configuration.width), static_cast<std::int32_t>(configuration.height));
}

PictureStream::PictureStream(const platform::StreamConfiguration& configuration, std::shared_ptr<MemoryBlock> memory,
    PictureContent& content, PictureScalerFactory makeScaler, UniqueFunction<void(SampleBufferRef)> deliver, Clock now)
    : configuration_(configuration)
    , whole_{0, 0, static_cast<std::int32_t>(configuration.width), static_cast<std::int32_t>(configuration.height)}
    , content_(content)
    , makeScaler_(std::move(makeScaler))
    , deliver_(std::move(deliver))
    , now_(std::move(now))
    , samples_(configuration)
    , pool_(std::move(memory), whole_.width, whole_.height)
    , pacer_(samples_.interval())
{
    assert(isPossible(configuration));
}

void PictureStream::contentReplaced(std::int32_t width, std::int32_t height)
{
    const bool isResized = width != contentWidth_ || height != contentHeight_;
    contentWidth_ = width;
    contentHeight_ = height;
    if (isResized)
        awaitSettling();
    pool_.invalidate();
    changed_.add(whole_);
    unpainted_ = UnpaintedArea{{0, 0, width, height}};
}

void PictureStream::damage(PixelRect part)
{
    // A scaled picture is made anew, whole.
    const auto rectangle = isScaled() ? whole_ : part.intersected(whole_);
    pool_.addDamage(rectangle);
    changed_.add(rectangle);
    if (last_)
        return;
    unpainted_.paint(part);
    if (unpainted_.isEmpty())
        paintDue_ = {};
}

Result<void> PictureStream::updateSize(std::int32_t width, std::int32_t height, Result<std::shared_ptr<MemoryBlock>> memory)
{
    assert(isPossible(width, height));
    if (!memory) {
        awaitSettling();
        return fail(std::move(memory.error()));
    }
    if (width != contentWidth_ || height != contentHeight_) {
        awaitSettling();
        return fail(errorDomain, noPicture, "The content has another size.");
    }
    const auto formerWhole = std::exchange(whole_, {0, 0, width, height});
    auto formerSamples = std::exchange(samples_, PictureSamples{resized(configuration_, width, height)});
    auto formerPool = std::exchange(pool_, PicturePool{std::move(*memory), width, height});
    auto* const formerLast = std::exchange(last_, nullptr);
    changed_.clear();
    changed_.add(whole_);

    auto taken = take(std::nullopt);
    if (!last_) {
        whole_ = formerWhole;
        samples_ = std::move(formerSamples);
        pool_ = std::move(formerPool);
        last_ = formerLast;
        // What was reported meanwhile was reported to pictures that are gone.
        pool_.invalidate();
        changed_.clear();
        changed_.add(whole_);
        if (taken)
            taken = fail(errorDomain, noPicture, "No picture of that size can be had now.");
    }
    awaitSettling();
    return taken;
}

void PictureStream::awaitFirstPaint()
{
    paintDue_ = now_() + longestFirstPaint;
}

MonotonicTime PictureStream::due() const
{
    return std::max({pacer_.due(), retryDue_, paintDue_});
}

MonotonicTime PictureStream::repeatDue() const
{
    if (!last_)
        return never;
    return lastTime_ + (isPictureWanted_ ? std::min<std::chrono::nanoseconds>(samples_.interval(), repeatInterval) : repeatInterval);
}

MonotonicTime PictureStream::deadline() const
{
    const auto time = std::min(repeatDue(), settleDue_);
    return isOutdated() ? std::min(time, due()) : time;
}

Result<void> PictureStream::work(std::optional<MonotonicTime> contentTime)
{
    if (isOutdated() && now_() >= due()) {
        if (auto taken = take(contentTime); !taken)
            return taken;
    }
    repeat();
    return {};
}

void PictureStream::repeat()
{
    const auto now = now_();
    if (now >= repeatDue())
        deliver(*last_, std::max(now, lastTime_ + std::chrono::nanoseconds{1}), {});
    if (now < settleDue_)
        return;
    settleDue_ = never;
    if (settled_)
        settled_(contentWidth_, contentHeight_);
}

Result<void> PictureStream::take(std::optional<MonotonicTime> contentTime)
{
    const auto now = now_();
    retryDue_ = now + samples_.interval();
    auto* picture = pool_.leastOutdated();
    if (!picture)
        return {};
    const bool isFitted = isScaled();
    const auto fetched = isFitted ? fit(*picture) : content_.fetch(*picture);
    if (!fetched)
        return fail(fetched.error());
    if (!*fetched)
        return {};
    if (isFitted)
        changed_.add(whole_);
    else
        picture->fitted = {};
    picture->missed.clear();
    retryDue_ = {};
    overlayIsOutdated_ = false;
    pacer_.taken(now);
    last_ = picture;
    const bool isUsable = contentTime && *contentTime > lastTime_ && *contentTime <= now && *contentTime > now - repeatInterval;
    deliver(*picture, isUsable ? *contentTime : std::max(now, lastTime_ + std::chrono::nanoseconds{1}),
        std::exchange(changed_, {}).rectangles());
    return {};
}

/// Scales all of the content into the picture. False when it cannot be had now.
Result<bool> PictureStream::fit(PooledPicture& picture)
{
    if (!scaler_) {
        auto made = makeScaler_();
        if (!made)
            return fail(std::move(made.error()));
        scaler_ = std::move(*made);
    }
    const auto width = contentWidth_;
    const auto height = contentHeight_;
    const auto content = content_.fetchAll();
    if (!content)
        return fail(content.error());
    if (!*content)
        return false;
    const auto fitted = fitRectangle(width, height, whole_.width, whole_.height);
    if (picture.fitted != fitted) {
        std::memset(picture.pixels, 0, pool_.bytesPerRow() * static_cast<std::size_t>(whole_.height));
        picture.fitted = fitted;
    }
    auto* target = picture.pixels + static_cast<std::size_t>(fitted.y) * pool_.bytesPerRow() + static_cast<std::size_t>(fitted.x) * 4;
    const auto scaled = scaler_->scale((*content)->pixels, {0, 0, width, height}, (*content)->bytesPerRow, target,
        {0, 0, fitted.width, fitted.height}, pool_.bytesPerRow());
    if (!scaled)
        return fail(scaled.error());
    return true;
}

void PictureStream::deliver(PooledPicture& picture, MonotonicTime time, std::vector<PixelRect> dirty)
{
    lastTime_ = time;
    isPictureWanted_ = false;
    deliver_(samples_.make(pool_, picture, time, std::move(dirty)));
    pool_.use(picture, time);
}

}  // namespace velmora::engine

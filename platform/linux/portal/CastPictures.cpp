#include "platform/linux/portal/CastPictures.h"

#include "platform/linux/kernel/AnonymousMemory.h"
#include "platform/linux/portal/Errors.h"

#include <cstring>
#include <utility>

namespace velmora::linux_backend {

namespace {

std::size_t offsetOf(std::int32_t x, std::int32_t y, std::size_t bytesPerRow)
{
    return static_cast<std::size_t>(y) * bytesPerRow + static_cast<std::size_t>(x) * bytesPerPixel;
}

/// Copies `part` of the content to the same place in a picture of the content's size.
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
    if (!engine::PictureStream::isPossible(configuration))
        return failPortal(PortalErrorCode::invalidSize, "The picture size is out of range.");
    auto memory = allocateAnonymousMemory(engine::PictureStream::requiredBytes(configuration));
    if (!memory)
        return fail(std::move(memory.error()));
    return std::unique_ptr<CastPictures>(new CastPictures(configuration, std::move(*memory), std::move(makeScaler), std::move(callbacks)));
}

CastPictures::CastPictures(const platform::StreamConfiguration& configuration, std::shared_ptr<engine::MemoryBlock> memory,
    engine::PictureScalerFactory makeScaler, engine::VideoSource::Callbacks callbacks)
    : callbacks_(std::move(callbacks))
    , stream_(configuration, std::move(memory), *this, std::move(makeScaler),
          [this](SampleBufferRef picture) { callbacks_.picture(std::move(picture)); })
{
    stream_.observeSize([this](std::int32_t width, std::int32_t height) {
        if (callbacks_.settled)
            callbacks_.settled(width, height);
    });
}

void CastPictures::changed(PixelRect content, const std::optional<std::vector<PixelRect>>& damage)
{
    const bool isElsewhere = content != content_;
    content_ = content;
    if (isElsewhere || !damage) {
        stream_.contentReplaced(content.width, content.height);
        return;
    }
    for (const auto& rectangle : *damage)
        stream_.damage(rectangle);
}

Result<void> CastPictures::work(const CastPicture* newest, std::optional<MonotonicTime> time)
{
    if (!newest) {
        stream_.repeat();
        return {};
    }
    newest_ = newest;
    return stream_.work(time);
}

Result<void> CastPictures::updateSize(std::int32_t width, std::int32_t height, const CastPicture* newest)
{
    if (!newest)
        return stream_.updateSize(width, height, failPortal(PortalErrorCode::windowUnavailable, "There is no picture of the window now."));
    newest_ = newest;
    return stream_.updateSize(width, height, allocateAnonymousMemory(engine::PictureStream::requiredBytes(width, height)));
}

Result<bool> CastPictures::fetch(engine::PooledPicture& picture)
{
    for (const auto& rectangle : picture.missed.rectangles())
        copy(*newest_, rectangle, picture.pixels, stream_.bytesPerRow());
    return true;
}

Result<std::optional<engine::ContentPixels>> CastPictures::fetchAll()
{
    if (!newest_->isRedFirst)
        return engine::ContentPixels{
            newest_->pixels + offsetOf(newest_->content.x, newest_->content.y, newest_->bytesPerRow), newest_->bytesPerRow};
    const auto bytesPerRow = static_cast<std::size_t>(content_.width) * bytesPerPixel;
    scratch_.resize(bytesPerRow * static_cast<std::size_t>(content_.height));
    copy(*newest_, {0, 0, content_.width, content_.height}, scratch_.data(), bytesPerRow);
    return engine::ContentPixels{scratch_.data(), bytesPerRow};
}

}  // namespace velmora::linux_backend

#include "library/ClipItem.h"

#include "library/ClipFormat.h"

#include <cmath>
#include <utility>

namespace velmora {

namespace {

constexpr std::int32_t thumbnailWidth = 320;
constexpr std::int32_t thumbnailHeight = 180;

double finiteSeconds(const Result<MediaTime>& duration)
{
    const double seconds = duration && duration->isValid() ? duration->seconds() : 0;
    return std::isfinite(seconds) ? seconds : 0;
}

}  // namespace

std::string ClipItem::formattedDuration() const
{
    return velmora::formattedDuration(duration);
}

std::string ClipItem::formattedFileSize() const
{
    return velmora::formattedFileSize(fileSize);
}

void ClipItem::load(
    const std::filesystem::path& url, const ClipServices& services, UniqueFunction<void(std::optional<ClipItem>)> completion)
{
    auto deliver = [mainExecutor = services.mainExecutor, completion = std::move(completion)](std::optional<ClipItem> item) mutable {
        mainExecutor->async([completion = std::move(completion), item = std::move(item)]() mutable { completion(std::move(item)); });
    };
    if (!services.fileManager->fileExists(url))
        return deliver(std::nullopt);
    const auto attributes = services.fileManager->attributesOfItem(url).value_or(platform::FileAttributes{});
    ClipItem item;
    item.url = url;
    item.createdAt = attributes.creationDate.value_or(services.clock->now());
    item.fileSize = attributes.size.value_or(0);
    services.assetReader->loadDuration(
        url, [item = std::move(item), deliver = std::move(deliver)](const Result<MediaTime>& loaded) mutable {
            item.duration = finiteSeconds(loaded);
            deliver(std::move(item));
        });
}

void ClipItem::generateThumbnail(const ClipServices& services, UniqueFunction<void(PixelBufferRef)> completion, MediaTime time) const
{
    services.assetReader->generateImage(url, time, thumbnailWidth, thumbnailHeight,
        [mainExecutor = services.mainExecutor, completion = std::move(completion)](Result<PixelBufferRef> image) mutable {
            mainExecutor->async([completion = std::move(completion), picture = std::move(image).value_or(nullptr)]() mutable {
                completion(std::move(picture));
            });
        });
}

}  // namespace velmora

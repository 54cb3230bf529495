#include "platform/linux/x11/PicturePool.h"

#include <limits>

namespace velmora::linux_backend {

namespace {

std::size_t pictureBytes(std::int32_t width, std::int32_t height)
{
    // Every picture begins on a page, and so on a cache line.
    constexpr std::size_t page = 4096;
    const auto bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    return (bytes + page - 1) / page * page;
}

}  // namespace

Result<std::unique_ptr<PicturePool>> PicturePool::create(
    const Connection& connection, std::int32_t width, std::int32_t height, ImageTransport best)
{
    auto memory = ServerMemory::allocate(connection, pictureBytes(width, height) * pictureCount, best);
    if (!memory)
        return fail(std::move(memory.error()));
    return std::unique_ptr<PicturePool>(new PicturePool(std::move(*memory), width, height));
}

PicturePool::PicturePool(std::unique_ptr<ServerMemory> memory, std::int32_t width, std::int32_t height)
    : memory_(std::move(memory))
    , storage_(std::make_shared<Storage>())
    , width_(width)
    , height_(height)
{
    storage_->block = memory_->block();
    std::size_t offset = 0;
    for (auto& picture : storage_->pictures) {
        picture.offset = offset;
        picture.pixels = storage_->block->data() + offset;
        offset += pictureBytes(width, height);
    }
    invalidate();
}

void PicturePool::addDamage(PixelRect rectangle)
{
    for (auto& picture : storage_->pictures)
        picture.missed.add(rectangle);
}

void PicturePool::invalidate()
{
    for (auto& picture : storage_->pictures) {
        picture.missed.clear();
        picture.missed.add({0, 0, width_, height_});
    }
}

PooledPicture* PicturePool::leastOutdated()
{
    PooledPicture* best = nullptr;
    auto leastArea = std::numeric_limits<std::int64_t>::max();
    for (auto& picture : storage_->pictures) {
        if (picture.holders.load(std::memory_order_acquire) != 0)
            continue;
        const auto bound = picture.missed.bound();
        const auto area = std::int64_t{bound.width} * bound.height;
        if (area < leastArea) {
            leastArea = area;
            best = &picture;
        }
    }
    return best;
}

std::shared_ptr<const void> PicturePool::lease(PooledPicture& picture)
{
    picture.holders.fetch_add(1, std::memory_order_relaxed);
    return {static_cast<const void*>(picture.pixels),
        [storage = storage_, &picture](const void*) { picture.holders.fetch_sub(1, std::memory_order_release); }};
}

}  // namespace velmora::linux_backend

#include "engine/pictures/PicturePool.h"

#include <cassert>
#include <limits>
#include <utility>

namespace velmora::engine {

namespace {

std::size_t pictureBytes(std::int32_t width, std::int32_t height)
{
    // Every picture begins on a page, and so on a cache line.
    constexpr std::size_t page = 4096;
    const auto bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    return (bytes + page - 1) / page * page;
}

}  // namespace

std::size_t PicturePool::requiredBytes(std::int32_t width, std::int32_t height)
{
    return pictureBytes(width, height) * pictureCount;
}

PicturePool::PicturePool(std::shared_ptr<MemoryBlock> memory, std::int32_t width, std::int32_t height)
    : storage_(std::make_shared<Storage>())
    , width_(width)
    , height_(height)
{
    assert(memory->size() >= requiredBytes(width, height));
    storage_->block = std::move(memory);
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

void PicturePool::use(PooledPicture& picture, MonotonicTime now)
{
    picture.usedAt = now;
    const PooledPicture* spare = nullptr;
    for (const auto& other : storage_->pictures) {
        if (&other != &picture && other.usedAt && (!spare || *other.usedAt > *spare->usedAt))
            spare = &other;
    }
    for (auto& other : storage_->pictures) {
        const bool isIdle = other.usedAt && now - *other.usedAt >= idleTime && other.holders.load(std::memory_order_acquire) == 0;
        if (!isIdle || &other == spare)
            continue;
        storage_->block->giveBack(other.offset, pictureBytes(width_, height_));
        other.missed.clear();
        other.missed.add({0, 0, width_, height_});
        other.fitted = {};
        other.usedAt.reset();
        // One at a time: it takes the system a while.
        return;
    }
}

std::shared_ptr<const void> PicturePool::lease(PooledPicture& picture)
{
    picture.holders.fetch_add(1, std::memory_order_relaxed);
    return {static_cast<const void*>(picture.pixels),
        [storage = storage_, &picture](const void*) { picture.holders.fetch_sub(1, std::memory_order_release); }};
}

}  // namespace velmora::engine

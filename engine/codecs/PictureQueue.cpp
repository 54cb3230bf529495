#include "engine/codecs/PictureQueue.h"

#include <utility>

namespace velmora::engine {

void PictureQueue::push(PixelBufferRef picture, MediaTime presentationTimeStamp, MediaTime duration)
{
    PendingPicture entry;
    entry.changed = changeSinceLast(picture->change);
    entry.picture = std::move(picture);
    entry.presentationTimeStamp = presentationTimeStamp;
    entry.duration = duration;
    if (count_ < capacity) {
        pictures_[(first_ + count_++) % capacity] = std::move(entry);
        return;
    }
    PendingPicture& youngest = pictures_[(first_ + capacity - 1) % capacity];
    entry.changed.add(youngest.changed);
    entry.droppedBefore = youngest.droppedBefore + 1;
    ++droppedInAll_;
    youngest = std::move(entry);
}

std::optional<PendingPicture> PictureQueue::pop()
{
    if (count_ == 0)
        return std::nullopt;
    PendingPicture entry = std::exchange(pictures_[first_], {});
    first_ = (first_ + 1) % capacity;
    --count_;
    entry.droppedInAll = droppedInAll_;
    return entry;
}

void PictureQueue::clear()
{
    *this = {};
}

DirtyArea PictureQueue::changeSinceLast(const PictureChange& change)
{
    const bool sameStream = change.stream != 0 && change.stream == lastStream_;
    const bool isNext = sameStream && change.sequence == lastSequence_ + 1;
    const bool isSame = sameStream && change.sequence == lastSequence_;
    lastStream_ = change.stream;
    lastSequence_ = change.sequence;
    if (isSame)
        return {};
    if (!isNext)
        return DirtyArea::whole();
    DirtyArea area;
    for (const PixelRect& rectangle : change.dirty)
        area.add(rectangle);
    return area;
}

}  // namespace velmora::engine

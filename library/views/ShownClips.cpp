#include "library/views/ShownClips.h"

#include "library/views/PictureImage.h"

#include <algorithm>
#include <utility>

namespace velmora {

ShownClips::ShownClips(ClipFolder& folder, std::shared_ptr<platform::Thumbnails> thumbnails, std::shared_ptr<Executor> mainExecutor)
    : folder_(folder)
    , thumbnails_(std::move(thumbnails))
    , mainExecutor_(std::move(mainExecutor))
{
    connect(&folder_, &ClipFolder::durationLoaded, this, [this] {
        isLoadingDuration_ = false;
        loadNextDuration();
    });
}

ShownClips::~ShownClips() = default;

void ShownClips::show(const FolderClipRef& clip)
{
    auto& known = known_[clip];
    if (++known.showings > 1)
        return;
    std::erase(hidden_, clip);
    shown_.push_back(clip);
    loadNext();
}

void ShownClips::hide(const FolderClipRef& clip)
{
    const auto found = known_.find(clip);
    if (found == known_.end() || --found->second.showings > 0)
        return;
    shown_.remove(clip);
    if (found->second.picture.isNull() && found->second.stage != Stage::asked)
        known_.erase(found);
    else
        hidden_.push_back(clip);
    limit();
}

QImage ShownClips::picture(const FolderClipRef& clip) const
{
    const auto found = known_.find(clip);
    return found == known_.end() ? QImage{} : found->second.picture;
}

void ShownClips::setSide(int side)
{
    if (side == side_)
        return;
    const bool isMore = side > side_;
    side_ = side;
    if (!isMore)
        return;
    forgetHidden();
    for (auto& [clip, known] : known_) {
        if (known.stage == Stage::settled)
            known.stage = Stage::unknown;
    }
    loadNext();
}

void ShownClips::replace(const FolderClipRef& clip, const FolderClipRef& successor)
{
    const auto found = known_.find(clip);
    if (found == known_.end() || found->second.picture.isNull())
        return;
    known_[successor] = {.showings = 0, .stage = Stage::settled, .picture = found->second.picture};
    hidden_.push_back(successor);
}

void ShownClips::forgetHidden()
{
    for (const auto& clip : hidden_)
        known_.erase(clip);
    hidden_.clear();
}

std::size_t ShownClips::bytes() const
{
    std::size_t sum = 0;
    for (const auto& [clip, known] : known_)
        sum += static_cast<std::size_t>(known.picture.sizeInBytes());
    return sum;
}

void ShownClips::limit()
{
    std::size_t sum = 0;
    for (const auto& clip : hidden_)
        sum += static_cast<std::size_t>(known_[clip].picture.sizeInBytes());
    while (sum > mostBytes) {
        sum -= static_cast<std::size_t>(known_[hidden_.front()].picture.sizeInBytes());
        known_.erase(hidden_.front());
        hidden_.pop_front();
    }
}

void ShownClips::loadNext()
{
    findNext();
    makeNext();
    loadNextDuration();
}

FolderClipRef ShownClips::firstShown(Stage stage) const
{
    const auto found =
        std::find_if(shown_.begin(), shown_.end(), [&](const FolderClipRef& clip) { return known_.at(clip).stage == stage; });
    return found == shown_.end() ? nullptr : *found;
}

void ShownClips::findNext()
{
    const auto clip = isFinding_ ? nullptr : firstShown(Stage::unknown);
    if (!clip)
        return;
    known_[clip].stage = Stage::asked;
    isFinding_ = true;
    thumbnails_->find(clip->file, side_, taker(clip, Stage::missing, &ShownClips::isFinding_));
}

void ShownClips::makeNext()
{
    const auto clip = isMaking_ ? nullptr : firstShown(Stage::missing);
    if (!clip)
        return;
    known_[clip].stage = Stage::asked;
    isMaking_ = true;
    thumbnails_->make(clip->file, side_, taker(clip, Stage::settled, &ShownClips::isMaking_));
}

void ShownClips::loadNextDuration()
{
    if (isLoadingDuration_)
        return;
    const auto next = std::find_if(shown_.begin(), shown_.end(), [](const FolderClipRef& clip) { return !clip->duration; });
    if (next == shown_.end())
        return;
    isLoadingDuration_ = true;
    folder_.loadDuration(*next);
}

UniqueFunction<void(Result<PixelBufferRef>)> ShownClips::taker(const FolderClipRef& clip, Stage otherwise, bool ShownClips::*isBusy)
{
    return [weak = self_.weak(), executor = mainExecutor_, clip, otherwise, isBusy](Result<PixelBufferRef> picture) {
        executor->async([weak, clip, otherwise, isBusy, picture = std::move(picture)] {
            const auto self = weak.lock();
            if (!self)
                return;
            (*self).*isBusy = false;
            self->take(clip, picture, otherwise);
            self->loadNext();
        });
    };
}

void ShownClips::take(const FolderClipRef& clip, const Result<PixelBufferRef>& picture, Stage otherwise)
{
    // It may have been hidden and forgotten meanwhile.
    const auto found = known_.find(clip);
    if (found == known_.end())
        return;
    auto& known = found->second;
    if (!picture || !*picture) {
        known.stage = otherwise;
        if (known.showings == 0) {
            std::erase(hidden_, clip);
            known_.erase(found);
        }
        return;
    }
    known.picture = image(*picture);
    known.stage = Stage::settled;
    limit();
    emit pictureLoaded(clip);
}

}  // namespace velmora

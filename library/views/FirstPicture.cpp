#include "library/views/FirstPicture.h"

#include "library/views/PictureImage.h"

#include <utility>

namespace velmora {

FirstPicture::FirstPicture(
    std::filesystem::path clip, std::shared_ptr<platform::AssetReader> reader, std::shared_ptr<Executor> mainExecutor)
    : clip_(std::move(clip))
    , reader_(std::move(reader))
    , mainExecutor_(std::move(mainExecutor))
{
}

void FirstPicture::load(UniqueFunction<void(bool isThere)> loaded)
{
    if (size_.isEmpty())
        return loaded(false);
    isWanted_ = true;
    reader_->generateImage(clip_, MediaTime::zero(), size_.width(), size_.height(),
        [later = self_.weak(), executor = mainExecutor_, loaded = std::move(loaded)](Result<PixelBufferRef> picture) mutable {
            executor->async([later, loaded = std::move(loaded), picture = std::move(picture)]() mutable {
                const auto self = later.lock();
                if (!self)
                    return;
                const bool isThere = picture && self->isWanted_;
                if (isThere)
                    self->picture_ = image(*picture);
                loaded(isThere);
            });
        });
}

bool FirstPicture::drop()
{
    isWanted_ = false;
    return !std::exchange(picture_, {}).isNull();
}

bool FirstPicture::draw(const platform::PictureTarget& target) const
{
    if (picture_.isNull())
        return false;
    drawFitted(picture_, target);
    return true;
}

}  // namespace velmora

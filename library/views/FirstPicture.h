// What a preview shows until its player has a picture.
#pragma once

#include "base/SelfReference.h"
#include "base/SerialQueue.h"
#include "base/UniqueFunction.h"
#include "platform/Asset.h"
#include "platform/Player.h"

#include <QImage>
#include <QSize>

#include <filesystem>
#include <memory>

namespace velmora {

/// A clip's first picture, from our own decoder: its libraries are loaded in a quarter of the time that the player's take. Main thread.
class FirstPicture {
public:
    FirstPicture(std::filesystem::path clip, std::shared_ptr<platform::AssetReader> reader, std::shared_ptr<Executor> mainExecutor);

    /// How large it is to be, in pixels, at most.
    void setSize(const QSize& pixels) { size_ = pixels; }

    /// `loaded` is told whether there is one now: at once where no size is known. It is not told after this object's end.
    void load(UniqueFunction<void(bool isThere)> loaded);

    /// It is not shown any more, and one that is still being loaded will not be. Whether there was one.
    bool drop();

    /// As large as the target has room for and in its middle, its shape kept, black around it: as a player draws. False: there is none.
    [[nodiscard]] bool draw(const platform::PictureTarget& target) const;

private:
    const std::filesystem::path clip_;
    const std::shared_ptr<platform::AssetReader> reader_;
    const std::shared_ptr<Executor> mainExecutor_;
    QSize size_;
    QImage picture_;
    bool isWanted_ = false;

    const SelfReference<FirstPicture> self_{*this};
};

}  // namespace velmora

// Pictures as Qt draws them.
#pragma once

#include "media/PixelBuffer.h"
#include "platform/Player.h"

#include <QImage>

namespace velmora {

/// Shares the picture's pixels.
inline QImage image(const PixelBufferRef& picture)
{
    auto* owner = new PixelBufferRef{picture};
    return {reinterpret_cast<const uchar*>(picture->baseAddress), picture->width, picture->height,
        static_cast<qsizetype>(picture->bytesPerRow), QImage::Format_RGB32,
        [](void* buffer) { delete static_cast<PixelBufferRef*>(buffer); }, owner};
}

/// As large as the target has room for and in its middle, its shape kept, black around it: as a player draws its pictures.
void drawFitted(const QImage& picture, const platform::PictureTarget& target);

}  // namespace velmora

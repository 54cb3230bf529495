// Scaling with libswscale.
#pragma once

#include "platform/linux/ffmpeg/AvHandles.h"
#include "platform/linux/ffmpeg/CodecModule.h"

namespace velmora::linux_backend {

class LibswscalePictureScaler final : public engine::PictureScaler {
public:
    Result<void> scale(const std::byte* source, PixelRect sourceSize, std::size_t sourceBytesPerRow, std::byte* destination,
        PixelRect destinationSize, std::size_t destinationBytesPerRow) override;

private:
    AvScaler scaler_;
    PixelRect sourceSize_;
    PixelRect destinationSize_;
};

}  // namespace velmora::linux_backend

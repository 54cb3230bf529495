// Scaling pictures, whichever library does it.
#pragma once

#include "base/Geometry.h"
#include "base/Result.h"
#include "base/UniqueFunction.h"

#include <cstddef>
#include <memory>

namespace velmora::engine {

/// Scales a part of one BGRA picture into a part of another, bilinearly. The rectangles are the parts, in pixels from the first one in
/// their picture. Used on one thread; keeps its tables between calls with the same sizes.
class PictureScaler {
public:
    virtual ~PictureScaler() = default;

    virtual Result<void> scale(const std::byte* source, PixelRect sourceSize, std::size_t sourceBytesPerRow, std::byte* destination,
        PixelRect destinationSize, std::size_t destinationBytesPerRow) = 0;
};

/// Makes a scaler when the first picture has to be scaled.
using PictureScalerFactory = UniqueFunction<Result<std::unique_ptr<PictureScaler>>()>;

}  // namespace velmora::engine

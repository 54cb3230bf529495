// Decoding single pictures, whichever library does it.
#pragma once

#include "base/Result.h"
#include "media/FormatDescription.h"
#include "media/PixelBuffer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace velmora::engine {

/// One picture of a track, and how large it may become.
struct PictureRequest {
    std::int64_t time = 0;  ///< as it is given with its sample
    std::int32_t maximumWidth = 0;  ///< pixels, at least 1
    std::int32_t maximumHeight = 0;
};

/// Decodes samples of a track in decode order until the requested picture comes out. Used on one thread. Samples may be of any
/// origin: what claims too large a picture, or cannot be decoded without damage, is an error.
class PictureDecoder {
public:
    virtual ~PictureDecoder() = default;

    /// The picture, scaled down to fit with its shape kept (square pixels), never up; null: it needs more samples.
    virtual Result<PixelBufferRef> decode(std::span<const std::byte> sample, std::int64_t time) = 0;

    /// No sample follows. An error if the picture was not among them.
    virtual Result<PixelBufferRef> finish() = 0;
};

/// Makes the decoder of a picture.
using PictureDecoderFactory = std::function<Result<std::unique_ptr<PictureDecoder>>(const VideoFormat&, const PictureRequest&)>;

}  // namespace velmora::engine

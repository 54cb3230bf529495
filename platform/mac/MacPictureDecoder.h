// Decoding single pictures by Video Toolbox.
#pragma once

#include "engine/codecs/PictureDecoder.h"

#include <memory>

namespace velmora::mac_backend {

/// H.264, HEVC and AV1, as far as this Mac decodes them. Samples before the picture are decoded without being put out; the picture is scaled
/// by the decoder. Pixels that are not square are taken for square ones.
Result<std::unique_ptr<engine::PictureDecoder>> makePictureDecoder(const VideoFormat& format, const engine::PictureRequest& request);

}  // namespace velmora::mac_backend

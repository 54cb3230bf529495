// A track's format with what its decoder has to know, which the model of a file keeps for H.264 and AAC only.
#pragma once

#include "media/FormatDescription.h"
#include "media/mp4/Movie.h"

namespace velmora::engine {

/// The payload of "hvcC" or "av1C" is its configuration, too.
[[nodiscard]] VideoFormat decodablePictures(const mp4::Track& track);

/// Of Opus, "OpusHead" (RFC 7845 5.1) made of its "dOps" box.
[[nodiscard]] AudioFormat decodableSound(const mp4::Track& track);

}  // namespace velmora::engine

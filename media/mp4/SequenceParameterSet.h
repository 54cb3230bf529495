// What an H.264 stream says of itself as a whole.
#pragma once

#include "media/MediaTime.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace velmora::mp4 {

/// A NAL unit without the bytes that keep it from looking like a start code (ISO 14496-10 7.4.1).
[[nodiscard]] std::vector<std::byte> withoutEmulationPrevention(std::span<const std::byte> unit);

/// How long a picture lasts by the first sequence parameter set of an AVCDecoderConfigurationRecord (ISO 14496-15 5.3.3.1), whatever the
/// index says: some players believe it. None where it does not tell.
[[nodiscard]] std::optional<MediaTime> declaredPictureDuration(std::span<const std::byte> configuration);

}  // namespace velmora::mp4

// What an H.264 stream says about itself as a whole.
#pragma once

#include "media/MediaTime.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velmora::mp4 {

/// A NAL unit without the bytes that keep it from looking like a start code (ISO 14496-10 7.4.1).
[[nodiscard]] std::vector<std::byte> withoutEmulationPrevention(std::span<const std::byte> unit);

/// How long a picture lasts according to the first sequence parameter set of a decoder configuration (ISO 14496-15 5.3.3.1), whatever the
/// index says: some players believe it. None if it does not say.
[[nodiscard]] std::optional<MediaTime> declaredPictureDuration(std::span<const std::byte> configuration);

/// The idr_pic_id of a key frame with four-byte lengths (ISO 14496-10 7.4.3), by the first sequence parameter set of its decoder configuration.
/// None if there is no key frame in it, or it cannot be told.
[[nodiscard]] std::optional<std::uint32_t> keyFrameNumber(std::span<const std::byte> configuration, std::span<const std::byte> accessUnit);

}  // namespace velmora::mp4

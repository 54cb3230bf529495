// What a cast may look like: the parameters that are negotiated with whoever draws it.
#pragma once

#include "base/Geometry.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <spa/pod/builder.h>
#include <spa/pod/pod.h>
#include <vector>

namespace velmora::linux_backend {

/// In any of the formats that are negotiated.
inline constexpr std::size_t bytesPerPixel = 4;
inline constexpr std::int32_t largestSide = 32767;

struct CastFormat {
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool isRedFirst = false;  ///< RGBx or RGBA; otherwise BGRx or BGRA
    bool isLinear = false;  ///< said to be: only then may the memory of a graphics card be read

    friend bool operator==(const CastFormat&, const CastFormat&) = default;
};

/// Keeps the parameters that it builds, for one call to the library.
class CastParameters {
public:
    /// The formats that can be read, for the start of a stream: shared memory first, then memory of a graphics card, linear only.
    /// `framesPerSecond` bounds the rate.
    const std::vector<const spa_pod*>& formats(std::uint32_t framesPerSecond);

    /// The buffers and metadata that go with a format that was agreed on.
    const std::vector<const spa_pod*>& buffers(const CastFormat& format);

private:
    std::array<std::uint8_t, 4096> bytes_{};
    std::vector<const spa_pod*> parameters_;
};

/// The format that was agreed on; none when it is not one of ours.
[[nodiscard]] std::optional<CastFormat> parseCastFormat(const spa_pod* parameter);

}  // namespace velmora::linux_backend

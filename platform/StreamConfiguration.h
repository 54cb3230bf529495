// Seam: how a stream captures.
#pragma once

#include "base/Geometry.h"
#include "media/FourCharacterCode.h"
#include "media/MediaTime.h"

#include <cstdint>
#include <optional>

namespace velmora::platform {

struct StreamConfiguration {
    std::int64_t width = 0;  ///< pixels of every delivered picture
    std::int64_t height = 0;
    FourCharacterCode pixelFormat{"BGRA"};
    bool capturesAudio = false;
    std::int64_t sampleRate = 48000;
    std::int64_t channelCount = 2;
    bool excludesCurrentProcessAudio = false;
    bool ignoreShadowsSingleWindow = false;
    bool ignoreShadowsDisplay = false;
    bool showsCursor = true;
    MediaTime minimumFrameInterval{1, 60};
    std::optional<Rect> sourceRect;  ///< points, relative to the filter's display; none: all of it

    friend bool operator==(const StreamConfiguration&, const StreamConfiguration&) = default;
};

}  // namespace velmora::platform

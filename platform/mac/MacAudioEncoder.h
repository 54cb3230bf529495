// AAC by the system's audio converter on a Mac.
#pragma once

#include "engine/codecs/AudioEncoder.h"

namespace velmora::mac_backend {

/// AAC-LC in packets of 1024 frames. Fails for anything but "aac ", for rates and channel counts that an AudioSpecificConfig has no number
/// for, for what the converter refuses, and where the converter does not say how many frames it puts in front, because sound would be late
/// unnoticed.
Result<std::unique_ptr<engine::AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings);

}  // namespace velmora::mac_backend

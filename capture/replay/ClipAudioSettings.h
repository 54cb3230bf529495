// The format of the sound in every clip that is written.
#pragma once

#include "platform/AssetWriter.h"

namespace velmora {

inline constexpr platform::AudioOutputSettings clipAudioSettings{
    .format = FourCharacterCode{"aac "}, .channelCount = 2, .sampleRate = 48000, .bitRate = 192000};

}  // namespace velmora

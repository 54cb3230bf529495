// An AAC encoder for tests, made with libavcodec.
#pragma once

#include "engine/codecs/AudioEncoder.h"

#include <memory>

namespace velmora::test {

/// 48 kHz stereo, 192 kbit/s, priming of 1024 frames.
std::unique_ptr<engine::AudioEncoder> makeAacEncoder();

}  // namespace velmora::test

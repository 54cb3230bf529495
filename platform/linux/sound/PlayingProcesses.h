// Which processes play, as the sound server tells.
#pragma once

#include "platform/SoundActivity.h"

#include <memory>

namespace velmora::linux_backend {

/// Of the server that an ApplicationAudioSource would choose when it is first observed. While nobody observes, nothing is connected.
[[nodiscard]] std::shared_ptr<platform::SoundActivity> makeSoundActivity();

}  // namespace velmora::linux_backend

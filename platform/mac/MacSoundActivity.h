// Which processes play, by Core Audio's objects for processes, which are there from macOS 14.2 on.
#pragma once

#include "platform/SoundActivity.h"

#include <memory>

namespace velmora::mac_backend {

/// Each lineage is the process alone: no page says how to ask for the parent of another one.
[[nodiscard]] std::shared_ptr<platform::SoundActivity> makeSoundActivity();

}  // namespace velmora::mac_backend

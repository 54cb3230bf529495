// Players of the system's own on a Mac.
#pragma once

#include "base/SerialQueue.h"
#include "platform/Player.h"

#include <memory>

namespace velmora::mac_backend {

std::shared_ptr<platform::PlayerFactory> makePlayers(std::shared_ptr<Executor> mainExecutor);

}  // namespace velmora::mac_backend

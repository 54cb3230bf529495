// Players from the player module, which is loaded when the first is made or prepared.
#pragma once

#include "base/SerialQueue.h"
#include "platform/Asset.h"
#include "platform/Player.h"

#include <memory>

namespace velmora::linux_backend {

/// `assetReader` tells the players when pictures begin.
std::shared_ptr<platform::PlayerFactory> makePlayers(
    std::shared_ptr<platform::AssetReader> assetReader, std::shared_ptr<Executor> mainExecutor);

}  // namespace velmora::linux_backend

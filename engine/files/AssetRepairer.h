// Repair of unfinished recordings, over this system's own MP4 code.
#pragma once

#include "platform/AssetRepairer.h"

#include <memory>

namespace velmora::engine {

std::shared_ptr<platform::AssetRepairer> makeAssetRepairer();

}  // namespace velmora::engine

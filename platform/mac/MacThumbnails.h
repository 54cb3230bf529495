// Small pictures of clips on a Mac.
#pragma once

#include "platform/Asset.h"
#include "platform/Thumbnails.h"

#include <memory>

namespace velmora::mac_backend {

/// They are made, one after the other, by `reader`, and kept for nobody: what the system keeps it gives to its own programs alone.
std::shared_ptr<platform::Thumbnails> makeThumbnails(std::shared_ptr<platform::AssetReader> reader);

}  // namespace velmora::mac_backend

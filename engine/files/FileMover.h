// Moving files by this system's own means, over the desktop's trash.
#pragma once

#include "engine/files/Trash.h"
#include "platform/FileMover.h"

#include <memory>

namespace velmora::engine {

std::shared_ptr<platform::FileMover> makeFileMover(std::shared_ptr<const Trash> trash);

}  // namespace velmora::engine

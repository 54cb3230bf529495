// Memory for pictures that only this process writes into.
#pragma once

#include "base/Result.h"
#include "engine/pictures/MemoryBlock.h"

#include <cstddef>
#include <memory>

namespace velmora::linux_backend {

/// Zeroed; what is never touched costs nothing.
Result<std::shared_ptr<engine::MemoryBlock>> allocateAnonymousMemory(std::size_t size);

}  // namespace velmora::linux_backend

// How the process's memory is allocated.
#pragma once

namespace velmora::linux_backend {

/// Gives memory back to the system when it is freed, instead of keeping it for later. To be called before there are other threads.
void limitRetainedMemory();

/// Gives whole pages that nothing uses back, also those between others. Any thread.
void giveBackUnusedMemory();

}  // namespace velmora::linux_backend

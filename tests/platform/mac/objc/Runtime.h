// A small Objective-C runtime for Linux, for tests: the tables that clang writes with -fobjc-runtime=macosx, read from ELF sections.
// Classes with methods and C++ members, exceptions; no categories, no weak references, no forwarding. On x86-64 only.
#pragma once

#include <cstddef>
#include <string>

namespace velmora::standin {

/// Objects that are alive. Any thread.
[[nodiscard]] std::size_t liveObjectCount();

/// "SCStream 1, VelmoraError 2", by class; empty when none is alive.
[[nodiscard]] std::string liveObjects();

/// What is at this address is no object of Objective-C but may be held like one: a constant of another stand-in.
void holdLikeAnObject(const void* address);
[[nodiscard]] bool isHeldLikeAnObject(const void* address);

}  // namespace velmora::standin

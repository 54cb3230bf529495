// Whether the system's encoder works, tried out.
#pragma once

#include "platform/CompressionSession.h"
#include "platform/DesktopInspection.h"

namespace velmora::mac_backend {

/// Encodes a few pictures of a common size, and waits for them. That they come and begin with a key frame counts; nobody looks at them.
[[nodiscard]] platform::DesktopFacts::Encoder tryEncoder(platform::CompressionSessionFactory& sessions);

}  // namespace velmora::mac_backend

// A back end for desktops where capture is not possible: every service says why.
#pragma once

#include "platform/CaptureStream.h"
#include "platform/ShareableContent.h"

#include <memory>
#include <string>

namespace velmora::null_backend {

/// Queries fail with `reason`.
std::shared_ptr<platform::ShareableContentProvider> makeShareableContent(std::string reason);

/// Streams that fail to start with `reason`.
std::shared_ptr<platform::CaptureStreamFactory> makeCaptureStreams(std::string reason);

}  // namespace velmora::null_backend

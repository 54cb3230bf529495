// The seam's capture stream around the system's.
#pragma once

#include "engine/codecs/KeyFrameRequests.h"
#include "platform/CaptureStream.h"
#include "platform/mac/SystemStream.h"

#include <memory>

namespace velmora::mac_backend {

/// A stream around `system`, or one whose start fails with the error in its place.
///
/// The system's stream is stopped only once it has said that it had started, because it refuses before and would run on; and what it says
/// of its own end before that is told behind the start's completion. It keeps the size that it was started with.
std::shared_ptr<platform::CaptureStream> makeCaptureStream(Result<std::unique_ptr<SystemStream>> system,
    const platform::StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate,
    engine::KeyFrameRequests keyFrameRequests = {});

}  // namespace velmora::mac_backend

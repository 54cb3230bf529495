// What can be captured, and capturing it, by ScreenCaptureKit.
#pragma once

#include "engine/codecs/KeyFrameRequests.h"
#include "platform/CaptureStream.h"
#include "platform/ShareableContent.h"

#include <memory>

namespace velmora::mac_backend {

/// The streams capture what the provider has listed: in its last two answers.
struct ScreenCapture {
    std::shared_ptr<platform::ShareableContentProvider> shareableContent;
    std::shared_ptr<platform::CaptureStreamFactory> captureStreams;
};

[[nodiscard]] ScreenCapture makeScreenCapture(engine::KeyFrameRequests keyFrameRequests = {});

}  // namespace velmora::mac_backend

// A back end for desktops where capture is not possible: every service says why.
#pragma once

#include "platform/CaptureStream.h"
#include "platform/FloatingWindows.h"
#include "platform/HotKeyCenter.h"
#include "platform/ScreenCaptureAccess.h"
#include "platform/ShareableContent.h"
#include "platform/TrayAppearance.h"
#include "platform/WindowActivation.h"

#include <memory>
#include <string>

namespace velmora::null_backend {

/// Queries fail with `reason`.
std::shared_ptr<platform::ShareableContentProvider> makeShareableContent(std::string reason);

/// Streams that fail to start with `reason`.
std::shared_ptr<platform::CaptureStreamFactory> makeCaptureStreams(std::string reason);

/// No hot key can be registered: every registration fails with this status.
inline constexpr platform::HotKeyStatus hotKeysUnavailable = -1;
std::shared_ptr<platform::HotKeyCenter> makeHotKeyCenter();

/// Never granted; `reason` is the explanation.
std::shared_ptr<platform::ScreenCaptureAccess> makeScreenCaptureAccess(std::string reason);

/// Leaves windows where they are, and names no screen.
std::shared_ptr<platform::WindowActivation> makeWindowActivation();

/// Nothing is composited, everything is clickable, and nothing is kept in front.
std::shared_ptr<platform::FloatingWindows> makeFloatingWindows();

/// Names no colour.
std::shared_ptr<platform::TrayAppearance> makeTrayAppearance();

}  // namespace velmora::null_backend

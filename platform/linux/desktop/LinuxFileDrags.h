// Drags by the desktop's own means: to X11 programs by XDND, and by the portal to those in a sandbox.
#pragma once

#include "platform/FileDrags.h"

#include <chrono>
#include <memory>
#include <string>

namespace velmora::linux_backend {

struct FileDragsOptions {
    std::string busAddress;  ///< of a bus other than the session's, as tests have

    /// How long a drag is held up for the portal, which the first one may start. What is not ready by then is left out.
    std::chrono::milliseconds patience{250};
};

/// Needs an application with a user interface when a drag begins.
std::shared_ptr<platform::FileDrags> makeFileDrags(FileDragsOptions options = {});

}  // namespace velmora::linux_backend

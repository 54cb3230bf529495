// The desktop's own dialog for choosing a folder.
#pragma once

#include "platform/FolderChooser.h"

#include <chrono>
#include <memory>
#include <string>

namespace velmora::linux_backend {

struct PortalFolderChooserOptions {
    std::string busAddress;  ///< of a bus other than the session's, as tests have

    /// How long a portal may take to say that it is there. Some are only started by the question.
    std::chrono::milliseconds patience{3000};
};

/// By org.freedesktop.portal.FileChooser of XDG Desktop Portal. It has been able to choose folders since version 3; without one of
/// that version the answer is an error, as it is when the portal ends before the user has answered.
std::shared_ptr<platform::FolderChooser> makePortalFolderChooser(PortalFolderChooserOptions options = {});

}  // namespace velmora::linux_backend

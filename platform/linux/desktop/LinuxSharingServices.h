// Sharing through the clipboard and by e-mail.
#pragma once

#include "platform/SharingServices.h"

#include <memory>

namespace velmora::linux_backend {

std::shared_ptr<platform::SharingServices> makeSharingServices();

}  // namespace velmora::linux_backend

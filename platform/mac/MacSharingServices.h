// Sharing by the pasteboard and by the system's services on a Mac.
#pragma once

#include "platform/SharingServices.h"

#include <memory>

namespace velmora::mac_backend {

/// "Copy File", "Copy Path", and of AirDrop, Mail and Messages those that this system has, under its own names.
std::shared_ptr<platform::SharingServices> makeSharingServices();

}  // namespace velmora::mac_backend

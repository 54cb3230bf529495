// Whether this program starts with the user's login, as a Mac keeps it.
#pragma once

#include "platform/LoginItem.h"

#include <memory>

namespace velmora::mac_backend {

std::shared_ptr<platform::LoginItem> makeLoginItem();

}  // namespace velmora::mac_backend

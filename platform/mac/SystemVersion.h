// Which system this is, for a report.
#pragma once

#include <string>

namespace velmora::mac_backend {

/// In the user's language: "Version 14.4.1 (Build 23E224)".
[[nodiscard]] std::string systemVersion();

}  // namespace velmora::mac_backend

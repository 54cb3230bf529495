// Inside the Linux back end: how other programs are told of files.
#pragma once

#include <filesystem>
#include <string>

namespace velmora::linux_backend {

/// The file: URI of an absolute path of any bytes (RFC 8089), percent-encoded. Any thread.
[[nodiscard]] std::string fileUri(const std::filesystem::path& path);

}  // namespace velmora::linux_backend

// Inside the Linux back end: small pictures of files as all programs keep them (freedesktop.org, Thumbnail Managing Standard 0.9).
#pragma once

#include "platform/Asset.h"
#include "platform/Thumbnails.h"

#include <filesystem>
#include <memory>
#include <string>

namespace velmora::linux_backend {

/// Where this user's are, by XDG_CACHE_HOME or else below `home`.
[[nodiscard]] std::filesystem::path thumbnailsFolder(const std::filesystem::path& home);

/// The URI of a file as programs encode it whose thumbnails others find: those of GLib, which leave some characters that RFC 3986 would allow
/// to be encoded. Any thread.
[[nodiscard]] std::string thumbnailUri(const std::filesystem::path& file);

/// The name that the thumbnail of a URI has in the folder of its size.
[[nodiscard]] std::string thumbnailName(const std::string& uri);

/// `reader` makes the pictures, one at a time; `folder` is made when one is kept. Has no thread until it is used.
std::shared_ptr<platform::Thumbnails> makeThumbnails(std::shared_ptr<platform::AssetReader> reader, std::filesystem::path folder);

}  // namespace velmora::linux_backend

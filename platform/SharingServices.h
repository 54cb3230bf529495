// Seam: how a file can be shared.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velmora::platform {

struct SharingService {
    std::string identifier;
    std::string title;  ///< as a menu shows it
};

/// The service that puts the file itself on the clipboard, on every desktop that has one.
inline constexpr const char* copyFileService = "copy-file";

/// Main thread only.
class SharingServices {
public:
    virtual ~SharingServices() = default;

    /// In the order of the share menu.
    [[nodiscard]] virtual std::vector<SharingService> services() const = 0;

    /// Hands `file` to the service; does nothing for an unknown identifier.
    virtual void perform(const std::string& identifier, const std::filesystem::path& file) = 0;
};

}  // namespace velmora::platform

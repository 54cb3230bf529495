// A window that the user may record.
#pragma once

#include "base/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace velmora {

/// Immutable once made. `id` is the identity; equality compares every field.
struct CapturedWindowInfo {
    std::uint32_t id = 0;
    std::string title;  ///< trimmed; may be empty
    std::string appName;  ///< never empty when it comes from the catalogue
    std::string bundleID;  ///< may be empty
    Rect frame;  ///< points
    bool isOnScreen = false;

    /// What the user reads wherever this window is named: "Safari — Big Buck Bunny", or "VLC (Window #4127)" without a title.
    [[nodiscard]] std::string displayName() const;

    friend bool operator==(const CapturedWindowInfo&, const CapturedWindowInfo&) = default;
};

}  // namespace velmora

/// Consistent with equality: negative zero hashes as zero, and a frame hashes by its standardised form.
template <>
struct std::hash<velmora::CapturedWindowInfo> {
    std::size_t operator()(const velmora::CapturedWindowInfo& window) const noexcept;
};

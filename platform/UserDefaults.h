// Seam: the user's preferences.
#pragma once

#include <string_view>

namespace velmora::platform {

/// Main thread only. They outlast the process.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    /// False when there is no such preference, or it has another type.
    [[nodiscard]] virtual bool boolean(std::string_view key) const = 0;
    virtual void setBoolean(std::string_view key, bool value) = 0;
};

}  // namespace velmora::platform

// Seam: the screens that the program's own windows are on.
#pragma once

#include <optional>

namespace velmora::platform {

class Screens {
public:
    virtual ~Screens() = default;

    /// Pixels per point of the main screen; none when there is no main screen.
    [[nodiscard]] virtual std::optional<float> mainScreenBackingScaleFactor() const = 0;
};

}  // namespace velmora::platform

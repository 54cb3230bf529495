// Seam: the look of the desktop's place for status items.
#pragma once

#include <cstdint>
#include <optional>

namespace velmora::platform {

/// sRGB.
struct ItemColor {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;

    friend bool operator==(const ItemColor&, const ItemColor&) = default;
};

/// Main thread only.
class TrayAppearance {
public:
    virtual ~TrayAppearance() = default;

    /// The colour in which items are to be drawn now; none if the desktop does not say.
    [[nodiscard]] virtual std::optional<ItemColor> itemColor() = 0;
};

}  // namespace velmora::platform

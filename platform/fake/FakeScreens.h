// Screens with a scale that a test chooses.
#pragma once

#include "platform/Screens.h"

namespace velmora::fake {

class FakeScreens final : public platform::Screens {
public:
    [[nodiscard]] std::optional<float> mainScreenBackingScaleFactor() const override { return scale; }

    std::optional<float> scale = 1.0F;
};

}  // namespace velmora::fake

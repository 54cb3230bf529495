#include "platform/mac/MacTrayAppearance.h"

namespace velmora::mac_backend {

namespace {

class MacTrayAppearance final : public platform::TrayAppearance {
public:
    [[nodiscard]] std::optional<platform::ItemColor> itemColor() override { return platform::ItemColor{0, 0, 0}; }
};

}  // namespace

std::shared_ptr<platform::TrayAppearance> makeTrayAppearance()
{
    return std::make_shared<MacTrayAppearance>();
}

}  // namespace velmora::mac_backend

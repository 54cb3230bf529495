#include "windows/CapturedWindowInfo.h"

#include <bit>

namespace velmora {

std::string CapturedWindowInfo::displayName() const
{
    if (!title.empty())
        return appName + " — " + title;
    return appName + " (Window #" + std::to_string(id) + ")";
}

namespace {

void combine(std::size_t& seed, std::size_t value)
{
    seed ^= value + 0x9E3779B97F4A7C15U + (seed << 6U) + (seed >> 2U);
}

std::size_t hashOfComponent(double component)
{
    return std::hash<std::uint64_t>{}(component == 0 ? 0 : std::bit_cast<std::uint64_t>(component));
}

}  // namespace
}  // namespace velmora

std::size_t std::hash<velmora::CapturedWindowInfo>::operator()(const velmora::CapturedWindowInfo& window) const noexcept
{
    using velmora::combine;
    using velmora::hashOfComponent;
    const auto& frame = window.frame;
    std::size_t seed = std::hash<std::uint32_t>{}(window.id);
    combine(seed, std::hash<std::string>{}(window.title));
    combine(seed, std::hash<std::string>{}(window.appName));
    combine(seed, std::hash<std::string>{}(window.bundleID));
    // Frames that are equal as stored are equal when standardised, so consistency with equality holds.
    combine(seed, hashOfComponent(frame.width < 0 ? frame.x + frame.width : frame.x));
    combine(seed, hashOfComponent(frame.height < 0 ? frame.y + frame.height : frame.y));
    combine(seed, hashOfComponent(frame.width < 0 ? -frame.width : frame.width));
    combine(seed, hashOfComponent(frame.height < 0 ? -frame.height : frame.height));
    combine(seed, std::hash<bool>{}(window.isOnScreen));
    return seed;
}

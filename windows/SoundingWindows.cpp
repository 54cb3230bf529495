#include "windows/SoundingWindows.h"

namespace velmora {

std::set<std::uint32_t> soundingWindows(
    const std::vector<platform::ProcessLineage>& playing, const std::map<std::uint32_t, std::int32_t>& owners)
{
    std::set<std::uint32_t> sounding;
    for (const auto& lineage : playing) {
        for (const auto process : lineage) {
            bool ownsAny = false;
            for (const auto& [window, owner] : owners) {
                if (process > 0 && owner == process) {
                    sounding.insert(window);
                    ownsAny = true;
                }
            }
            if (ownsAny)
                break;
        }
    }
    return sounding;
}

}  // namespace velmora

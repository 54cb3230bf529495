// The properties of PipeWire's objects.
#pragma once

#include "platform/linux/pipewire/SoundGraph.h"

#include <spa/utils/dict.h>

namespace velmora::linux_backend {

[[nodiscard]] inline SoundGraph::Properties toProperties(const spa_dict* dictionary)
{
    SoundGraph::Properties properties;
    if (!dictionary)
        return properties;
    for (std::uint32_t i = 0; i < dictionary->n_items; ++i) {
        const auto& item = dictionary->items[i];
        if (item.key && item.value)
            properties.insert_or_assign(item.key, item.value);
    }
    return properties;
}

}  // namespace velmora::linux_backend

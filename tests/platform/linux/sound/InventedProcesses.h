// A few processes that the tests of the sound graph share.
#pragma once

#include "engine/sound/ProcessTree.h"

#include <cstdint>
#include <map>
#include <optional>

namespace velmora::linux_backend {

/// 110 is a child of 100; 200 and 300 belong to others.
inline std::optional<engine::ProcessRecord> readInvented(std::int32_t process)
{
    const std::map<std::int32_t, engine::ProcessRecord> records{
        {1, {0, 0}}, {100, {1, 10}}, {110, {100, 20}}, {200, {1, 30}}, {300, {1, 40}}};
    const auto found = records.find(process);
    return found == records.end() ? std::nullopt : std::optional{found->second};
}

inline engine::Processes inventedProcesses()
{
    return {.record = readInvented, .executable = {}, .now = [] { return std::uint64_t{50}; }, .own = 900};
}

}  // namespace velmora::linux_backend

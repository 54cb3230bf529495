// What the kernel says about processes.
#pragma once

#include "engine/sound/ProcessTree.h"

#include <cstdint>
#include <optional>
#include <string>

namespace velmora::linux_backend {

/// The record of a live process from /proc/<pid>/stat (proc(5)), its start in clock ticks since boot; none when there is no such process.
[[nodiscard]] std::optional<engine::ProcessRecord> readProcessRecord(std::int32_t processID);

/// Now, in the units of ProcessRecord::startTime.
[[nodiscard]] std::uint64_t clockTicksSinceBoot();

/// The program file that a process runs; empty when that is not known.
[[nodiscard]] std::string readExecutable(std::int32_t processID);

/// Takes the fields out of the text of a stat file. The name in it may hold anything, blanks, brackets and line breaks included.
[[nodiscard]] std::optional<engine::ProcessRecord> parseProcessStat(const std::string& text);

/// All of the above, as the engine asks for it.
[[nodiscard]] engine::Processes systemProcesses();

}  // namespace velmora::linux_backend

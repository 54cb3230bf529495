// `velmora repair`: makes an ordinary MP4 of a recording that was cut off.
#pragma once

#include "app/CommandLine.h"
#include "platform/AssetRepairer.h"

namespace velmora {

/// Returns the exit status. The file's path goes to standard output when it is whole now.
int runRepairCommand(const command_line::Repair& command, platform::AssetRepairer& repairer);

}  // namespace velmora

// `velmora join`: clips one after the other in a file of their own.
#pragma once

#include "app/CommandLine.h"
#include "app/ExportCommand.h"

namespace velmora {

/// As runExport() does it; without a name the file goes beside the first clip.
int runJoinCommand(const command_line::Join& command, const ExportServices& services);

}  // namespace velmora

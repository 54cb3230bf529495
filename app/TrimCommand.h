// `velmora trim`: a part of a clip, or what cuts leave of it, as a file of its own.
#pragma once

#include "app/CommandLine.h"
#include "app/ExportCommand.h"

namespace velmora {

/// As runExport() does it; without a name the file goes beside the clip.
int runTrimCommand(const command_line::Trim& command, const ExportServices& services);

}  // namespace velmora

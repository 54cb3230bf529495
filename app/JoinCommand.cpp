#include "app/JoinCommand.h"

#include <string>

namespace velmora {

int runJoinCommand(const command_line::Join& command, const ExportServices& services)
{
    const ExportedFile file{command.output, command.files.front(), "Velmora-Joined", "Cannot join the clips: "};
    if (!checkOutput(file))
        return command_line::failed;
    return exportTo(file, services, services.exportSessions->makeJoinSession(command.files, platform::ExportPreset::passthrough));
}

}  // namespace velmora

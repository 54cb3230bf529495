#include "app/TrimCommand.h"

#include "library/PathUtilities.h"

#include <string>

namespace velmora {

int runTrimCommand(const command_line::Trim& command, const ExportServices& services)
{
    const ExportedFile file{
        command.output, command.file, std::string{PathUtilities::prefixTrimmed}, "Cannot trim " + command.file.native() + ": "};
    if (!checkOutput(file))
        return command_line::failed;
    auto session = services.exportSessions->makeExportSession(command.file, platform::ExportPreset::passthrough);
    if (session) {
        (*session)->setTimeRange(command.range);
        (*session)->setCuts(command.cuts);
    }
    return exportTo(file, services, std::move(session));
}

}  // namespace velmora

#include "app/RepairCommand.h"

#include <cstdio>

namespace velmora {

int runRepairCommand(const command_line::Repair& command, platform::AssetRepairer& repairer)
{
    const auto outcome = repairer.repair(command.file);
    if (!outcome) {
        std::fprintf(stderr, "Cannot repair %s: %s\n", command.file.c_str(), outcome.error().localizedDescription.c_str());
        return command_line::failed;
    }
    if (*outcome == platform::AssetRepairer::Outcome::nothingToDo)
        std::fprintf(stderr, "Nothing to repair: the file is whole.\n");
    std::printf("%s\n", command.file.c_str());
    return command_line::succeeded;
}

}  // namespace velmora

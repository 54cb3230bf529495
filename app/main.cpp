// The program.

#include "app/CommandLine.h"
#include "app/MainThreadExecutor.h"
#include "app/RecordCommand.h"
#include "app/RepairCommand.h"
#include "app/TerminationSignals.h"
#include "app/TrimCommand.h"
#include "app/VelmoraApp.h"
#include "app/WindowsCommand.h"
#include "app/control/ControlCommands.h"
#include "platform/PlatformFactory.h"
#include "system/Log.h"

#include <QCoreApplication>

#include <cstdio>
#include <variant>

namespace {

using namespace velmora;

int run(const command_line::Command& command)
{
    if (const auto* print = std::get_if<command_line::Print>(&command)) {
        std::fputs(qUtf8Printable(print->text), stdout);
        return command_line::succeeded;
    }
    if (const auto* control = std::get_if<command_line::Control>(&command))
        return runControlCommand(*control);
    const auto mainExecutor = std::make_shared<MainThreadExecutor>();
    const auto services = platform::makePlatformServices(mainExecutor, {});
    Log::setSink(services.logSink);
    if (const auto* repair = std::get_if<command_line::Repair>(&command))
        return runRepairCommand(*repair, *services.assetRepairer);
    if (const auto* trim = std::get_if<command_line::Trim>(&command))
        return runTrimCommand(*trim, {services.exportSessions, services.fileManager, mainExecutor});

    if (const auto* windows = std::get_if<command_line::Windows>(&command))
        return runWindowsCommand(*windows, services, mainExecutor);
    return runRecordCommand(std::get<command_line::Record>(command), services, mainExecutor);
}

}  // namespace

int main(int argc, char** argv)
{
    platform::prepareProcess();
    TerminationSignals::block();
    if (argc < 2)
        return runVelmoraApp(argc, argv);
    QCoreApplication application{argc, argv};
    QCoreApplication::setApplicationName(QStringLiteral("Velmora"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));

    const auto command = command_line::parse(QCoreApplication::arguments());
    if (!command) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(command.error()));
        return command_line::wrongUse;
    }
    return run(*command);
}

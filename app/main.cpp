// The program.

#include "app/CommandLine.h"
#include "app/DoctorCommand.h"
#include "app/JoinCommand.h"
#include "app/MainThreadExecutor.h"
#include "app/RecordCommand.h"
#include "app/RepairCommand.h"
#include "app/RestoreCommand.h"
#include "app/ShareCommand.h"
#include "app/TerminationSignals.h"
#include "app/TrimCommand.h"
#include "app/VelmoraApp.h"
#include "app/WindowsCommand.h"
#include "app/control/BusRequests.h"
#include "app/control/ControlCommands.h"
#include "app/control/EventsCommand.h"
#include "base/LeftBehindWork.h"
#include "library/PathUtilities.h"
#include "platform/PlatformFactory.h"
#include "system/Log.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <variant>

namespace {

using namespace velmora;

/// Whether all that was printed has arrived; says why where it has not.
bool isWritten()
{
    // A stream that has failed before may not say so again.
    const bool hasFailed = std::ferror(stdout) != 0;
    if (std::fflush(stdout) == 0 && !hasFailed)
        return true;
    std::fprintf(stderr, "The output could not be written: %s\n", std::strerror(errno));
    return false;
}

/// That of the running program, where its user may have chosen another for as long as it runs.
std::filesystem::path clipsFolder(const platform::FileManager& fileManager)
{
    if (const auto status = runningInstanceStatus()) {
        if (auto folder = bus_requests::file(status->value(QLatin1String("clipsFolder")).toString()))
            return *folder;
    }
    return PathUtilities::defaultOutputDirectory(fileManager);
}

int run(const command_line::Command& command)
{
    if (const auto* print = std::get_if<command_line::Print>(&command)) {
        std::fputs(qUtf8Printable(print->text), stdout);
        return command_line::succeeded;
    }
    if (const auto* control = std::get_if<command_line::Control>(&command))
        return runControlCommand(*control);
    if (const auto* events = std::get_if<command_line::Events>(&command))
        return runEventsCommand(*events);
    if (const auto* doctor = std::get_if<command_line::Doctor>(&command)) {
        // Before the other services, some of which begin with a thread: the inspection forks.
        const auto inspection = platform::makeDesktopInspection();
        return runDoctorCommand(*doctor, *inspection, *platform::makeFileManager());
    }
    if (std::holds_alternative<command_line::Record>(command))
        TerminationSignals::blockHangUp();
    const auto mainExecutor = std::make_shared<MainThreadExecutor>();
    const auto services = platform::makePlatformServices(mainExecutor, {}, platform::WhenTheDisplayGoes::theStreamStops);
    Log::setSink(services.logSink);
    if (const auto* repair = std::get_if<command_line::Repair>(&command))
        return runRepairCommand(*repair, *services.assetRepairer);
    if (const auto* restore = std::get_if<command_line::Restore>(&command))
        return runRestoreCommand(*restore, *services.discardedRecordings, *services.fileManager, clipsFolder(*services.fileManager));
    if (const auto* trim = std::get_if<command_line::Trim>(&command))
        return runTrimCommand(*trim, {services.exportSessions, services.fileManager, mainExecutor});
    if (const auto* join = std::get_if<command_line::Join>(&command))
        return runJoinCommand(*join, {services.exportSessions, services.fileManager, mainExecutor});
    if (const auto* share = std::get_if<command_line::Share>(&command))
        return runShareCommand(*share,
            {services.clipTranscoder, services.fileManager, mainExecutor, [&services] { return clipsFolder(*services.fileManager); },
                // A clipboard keeps nothing of a program that has ended.
                [](const std::filesystem::path& file) { return copyByRunningInstance(file).has_value(); }});

    if (const auto* windows = std::get_if<command_line::Windows>(&command))
        return runWindowsCommand(*windows, services, mainExecutor, runningInstanceProcess());
    return runRecordCommand(std::get<command_line::Record>(command), services, mainExecutor);
}

/// Where work is left behind, statics stay as they are: some of them may be its.
int ended(int status)
{
    if (LeftBehindWork::isAny()) {
        std::fflush(nullptr);
        _exit(status);
    }
    return status;
}

}  // namespace

int main(int argc, char** argv)
{
    platform::prepareProcess();
    TerminationSignals::block();
    if (argc < 2)
        return ended(runVelmoraApp(argc, argv));
    QCoreApplication application{argc, argv};
    QCoreApplication::setApplicationName(QStringLiteral("Velmora"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));

    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(command_line::argumentText(argv[i]));
    const auto command = command_line::parse(arguments);
    if (!command) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(command.error()));
        return command_line::wrongUse;
    }
    const int status = run(*command);
    return ended(isWritten() || status == command_line::failed ? status : command_line::failed);
}

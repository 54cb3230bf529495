#include "app/ExportCommand.h"

#include "app/CommandLine.h"
#include "app/ExportRun.h"
#include "app/NewFile.h"
#include "library/PathUtilities.h"

#include <chrono>
#include <cstdio>
#include <utility>

namespace velmora {

namespace {

std::string failureText(const ExportedFile& file, const Error& error)
{
    if (file.output && new_file::isTaken(error))
        return new_file::alreadyThere(*file.output);
    return file.failure + error.localizedDescription;
}

void chooseOutput(platform::ExportSession& session, const ExportedFile& file, const ExportServices& services)
{
    if (file.output) {
        PathUtilities::ensureDirectoryExists(file.output->parent_path(), *services.fileManager);
        return session.setOutputURL(*file.output);
    }
    // All names tried for one export have the same time.
    const auto nextName = [folder = file.clip.parent_path(), prefix = file.prefix, date = std::chrono::system_clock::now(),
                              files = services.fileManager] {
        return PathUtilities::generateUniqueFileURL(folder, prefix, *files, PathUtilities::defaultExtension, date);
    };
    session.setOutputURL(nextName());
    session.setNextOutputURL(nextName);
}

}  // namespace

bool checkOutput(const ExportedFile& file)
{
    if (!file.output)
        return true;
    const auto isFree = new_file::checkIsFree(*file.output);
    if (!isFree)
        exportFailed(failureText(file, isFree.error()));
    return isFree.has_value();
}

int exportTo(const ExportedFile& file, const ExportServices& services, Result<std::shared_ptr<platform::ExportSession>> made)
{
    if (!made)
        return exportFailed(failureText(file, made.error()));
    const auto session = std::move(*made);
    session->setOutputFileType(platform::AssetFileType::mpeg4);
    chooseOutput(*session, file, services);
    runExport(session, services.mainExecutor);
    if (const auto error = session->error())
        return exportFailed(failureText(file, *error));
    if (session->status() != platform::ExportSession::Status::completed)
        return command_line::failed;
    std::printf("%s\n", session->outputURL().c_str());
    std::fflush(stdout);
    return command_line::succeeded;
}

}  // namespace velmora

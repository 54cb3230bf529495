#include "app/TrimCommand.h"

#include "app/ExportRun.h"
#include "app/NewFile.h"
#include "library/PathUtilities.h"

#include <chrono>
#include <cstdio>
#include <utility>

namespace velmora {

namespace {

class TrimCommand final {
public:
    TrimCommand(const command_line::Trim& command, const TrimServices& services) : command_(command), services_(services) { }

    int run()
    {
        if (command_.output) {
            if (const auto isFree = new_file::checkIsFree(*command_.output); !isFree)
                return fail(cannotTrim(isFree.error()));
        }
        auto session = services_.exportSessions->makeExportSession(command_.file, platform::ExportPreset::passthrough);
        if (!session)
            return fail(cannotTrim(session.error()));
        session_ = std::move(*session);
        session_->setOutputFileType(platform::AssetFileType::mpeg4);
        session_->setTimeRange(command_.range);
        chooseOutput();

        runExport(session_, services_.mainExecutor);
        return end();
    }

private:
    [[nodiscard]] std::string cannotTrim(const Error& error) const
    {
        if (command_.output && new_file::isTaken(error))
            return new_file::alreadyThere(*command_.output);
        return "Cannot trim " + command_.file.native() + ": " + error.localizedDescription;
    }

    void chooseOutput()
    {
        if (command_.output) {
            PathUtilities::ensureDirectoryExists(command_.output->parent_path(), *services_.fileManager);
            session_->setOutputURL(*command_.output);
            return;
        }
        // All names tried for one export have the same time.
        const auto nextName = [folder = command_.file.parent_path(), date = std::chrono::system_clock::now(),
                                  files = services_.fileManager] {
            return PathUtilities::generateUniqueFileURL(
                folder, PathUtilities::prefixTrimmed, *files, PathUtilities::defaultExtension, date);
        };
        session_->setOutputURL(nextName());
        session_->setNextOutputURL(nextName);
    }

    [[nodiscard]] int end() const
    {
        if (const auto error = session_->error())
            return fail(cannotTrim(*error));
        if (session_->status() != platform::ExportSession::Status::completed)
            return command_line::failed;
        std::printf("%s\n", session_->outputURL().c_str());
        std::fflush(stdout);
        return command_line::succeeded;
    }

    static int fail(const std::string& message)
    {
        std::fprintf(stderr, "%s\n", message.c_str());
        return command_line::failed;
    }

    const command_line::Trim command_;
    const TrimServices services_;
    std::shared_ptr<platform::ExportSession> session_;
};

}  // namespace

int runTrimCommand(const command_line::Trim& command, const TrimServices& services)
{
    return TrimCommand{command, services}.run();
}

}  // namespace velmora

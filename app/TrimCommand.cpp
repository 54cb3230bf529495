#include "app/TrimCommand.h"

#include "app/NewFile.h"
#include "app/TerminationSignals.h"
#include "library/PathUtilities.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto trimProgressInterval = 100ms;

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

        QObject::connect(&signals_, &TerminationSignals::received, &signals_, [this] { session_->cancelExport(); });
        if (isatty(STDERR_FILENO)) {
            QObject::connect(&progress_, &QTimer::timeout, &progress_, [this] { printProgress(); });
            progress_.start(trimProgressInterval);
        }
        // Nothing here goes away before end() has run.
        session_->exportAsynchronously([this, executor = services_.mainExecutor] { executor->async([this] { end(); }); });
        const int status = QCoreApplication::exec();
        session_.reset();
        return status;
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

    void end()
    {
        progress_.stop();
        int status = command_line::failed;
        if (session_->status() == platform::ExportSession::Status::completed) {
            if (progressIsShown_)
                printProgress();
            clearProgress();
            std::printf("%s\n", session_->outputURL().c_str());
            std::fflush(stdout);
            status = command_line::succeeded;
        } else if (const auto error = session_->error()) {
            fail(cannotTrim(*error));
        } else {
            fail("Cancelled.");
        }
        QCoreApplication::exit(status);
    }

    int fail(const std::string& message)
    {
        clearProgress();
        std::fprintf(stderr, "%s\n", message.c_str());
        return command_line::failed;
    }

    void printProgress()
    {
        std::fprintf(stderr, "\r\033[K%3.0f %%", session_->progress() * 100);
        progressIsShown_ = true;
    }

    void clearProgress()
    {
        if (std::exchange(progressIsShown_, false))
            std::fputs("\n", stderr);
    }

    const command_line::Trim command_;
    const TrimServices services_;
    std::shared_ptr<platform::ExportSession> session_;
    TerminationSignals signals_;
    QTimer progress_;
    bool progressIsShown_ = false;
};

}  // namespace

int runTrimCommand(const command_line::Trim& command, const TrimServices& services)
{
    return TrimCommand{command, services}.run();
}

}  // namespace velmora

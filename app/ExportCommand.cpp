#include "app/ExportCommand.h"

#include "app/CommandLine.h"
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

constexpr auto exportProgressInterval = 100ms;

std::string failureText(const ExportedFile& file, const Error& error)
{
    if (file.output && new_file::isTaken(error))
        return new_file::alreadyThere(*file.output);
    return file.failure + error.localizedDescription;
}

class ExportCommand final {
public:
    ExportCommand(const ExportedFile& file, const ExportServices& services, std::shared_ptr<platform::ExportSession> session)
        : file_(file)
        , services_(services)
        , session_(std::move(session))
    {
    }

    int run()
    {
        session_->setOutputFileType(platform::AssetFileType::mpeg4);
        chooseOutput();

        QObject::connect(&signals_, &TerminationSignals::received, &signals_, [this] { session_->cancelExport(); });
        if (isatty(STDERR_FILENO)) {
            QObject::connect(&progress_, &QTimer::timeout, &progress_, [this] { printProgress(); });
            progress_.start(exportProgressInterval);
        }
        // Nothing here goes away before end() has run.
        session_->exportAsynchronously([this, executor = services_.mainExecutor] { executor->async([this] { end(); }); });
        const int status = QCoreApplication::exec();
        session_.reset();
        return status;
    }

private:
    void chooseOutput()
    {
        if (file_.output) {
            PathUtilities::ensureDirectoryExists(file_.output->parent_path(), *services_.fileManager);
            session_->setOutputURL(*file_.output);
            return;
        }
        // All names tried for one export have the same time.
        const auto nextName = [folder = file_.clip.parent_path(), prefix = file_.prefix, date = std::chrono::system_clock::now(),
                                  files = services_.fileManager] {
            return PathUtilities::generateUniqueFileURL(folder, prefix, *files, PathUtilities::defaultExtension, date);
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
            fail(failureText(file_, *error));
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

    const ExportedFile file_;
    const ExportServices services_;
    std::shared_ptr<platform::ExportSession> session_;
    TerminationSignals signals_;
    QTimer progress_;
    bool progressIsShown_ = false;
};

}  // namespace

bool checkOutput(const ExportedFile& file)
{
    if (!file.output)
        return true;
    const auto isFree = new_file::checkIsFree(*file.output);
    if (!isFree)
        std::fprintf(stderr, "%s\n", failureText(file, isFree.error()).c_str());
    return isFree.has_value();
}

int runExport(const ExportedFile& file, const ExportServices& services, Result<std::shared_ptr<platform::ExportSession>> session)
{
    if (!session) {
        std::fprintf(stderr, "%s\n", failureText(file, session.error()).c_str());
        return command_line::failed;
    }
    return ExportCommand{file, services, std::move(*session)}.run();
}

}  // namespace velmora

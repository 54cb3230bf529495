#include "app/ExportRun.h"

#include "app/CommandLine.h"
#include "app/TerminationSignals.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto progressInterval = 100ms;

class Progress {
public:
    explicit Progress(const platform::ExportSession& session) : session_(session)
    {
        if (!isatty(STDERR_FILENO))
            return;
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { print(); });
        timer_.start(progressInterval);
    }

    void end()
    {
        timer_.stop();
        if (!isShown_)
            return;
        if (session_.status() == platform::ExportSession::Status::completed)
            print();
        std::fputs("\n", stderr);
    }

private:
    void print()
    {
        std::fprintf(stderr, "\r\033[K%3.0f %%", session_.progress() * 100);
        isShown_ = true;
    }

    const platform::ExportSession& session_;
    QTimer timer_;
    bool isShown_ = false;
};

}  // namespace

void runExport(const std::shared_ptr<platform::ExportSession>& session, const std::shared_ptr<Executor>& mainExecutor)
{
    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, &terminationSignals, [&] { session->cancelExport(); });
    Progress progress{*session};
    session->exportAsynchronously([mainExecutor] { mainExecutor->async([] { QCoreApplication::exit(); }); });
    QCoreApplication::exec();
    progress.end();
    if (session->status() == platform::ExportSession::Status::cancelled)
        std::fputs("Cancelled.\n", stderr);
}

int exportFailed(const std::string& message)
{
    std::fprintf(stderr, "%s\n", message.c_str());
    return command_line::failed;
}

}  // namespace velmora

#include "app/TerminationSignals.h"

#include <csignal>
#include <ctime>
#include <sys/signalfd.h>
#include <unistd.h>

namespace velmora {

namespace {

sigset_t terminationSet()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

sigset_t hangUpSet()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGHUP);
    return set;
}

}  // namespace

void TerminationSignals::block()
{
    const auto set = terminationSet();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void TerminationSignals::blockHangUp()
{
    struct sigaction action { };
    // A blocked signal would be kept even though it is to be ignored.
    if (sigaction(SIGHUP, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        return;
    const auto set = hangUpSet();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

bool TerminationSignals::await(std::chrono::milliseconds duration)
{
    const auto set = terminationSet();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(duration);
    const timespec time{seconds.count(), std::chrono::nanoseconds{duration - seconds}.count()};
    return sigtimedwait(&set, nullptr, &time) > 0;
}

TerminationSignals::TerminationSignals()
{
    auto set = terminationSet();
    sigaddset(&set, SIGHUP);
    descriptor_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo information;
        while (read(descriptor_, &information, sizeof(information)) == sizeof(information)) {
            if (information.ssi_signo == SIGHUP)
                emit hungUp();
            else
                emit received();
        }
    });
}

TerminationSignals::~TerminationSignals()
{
    notifier_.reset();
    close(descriptor_);
}

}  // namespace velmora

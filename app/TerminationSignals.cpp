#include "app/TerminationSignals.h"

#include <csignal>
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

}  // namespace

void TerminationSignals::block()
{
    const auto set = terminationSet();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

TerminationSignals::TerminationSignals()
{
    const auto set = terminationSet();
    descriptor_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    connect(notifier_.get(), &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo information;
        while (read(descriptor_, &information, sizeof(information)) == sizeof(information))
            emit received();
    });
}

TerminationSignals::~TerminationSignals()
{
    notifier_.reset();
    close(descriptor_);
}

}  // namespace velmora

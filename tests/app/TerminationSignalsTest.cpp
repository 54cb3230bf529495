#include "app/TerminationSignals.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <pthread.h>
#include <string>
#include <vector>

namespace velmora {
namespace {

using ::testing::ElementsAre;

/// Signals as a program finds them at its start, and as they were when it ends.
class TerminationSignalsTest : public testing::Test {
protected:
    TerminationSignalsTest()
    {
        sigset_t none;
        sigemptyset(&none);
        pthread_sigmask(SIG_SETMASK, &none, &mask_);
    }
    ~TerminationSignalsTest() override
    {
        setHangUp(hangUp_);
        pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
    }

    void setHangUp(void (*handler)(int))
    {
        const auto before = std::signal(SIGHUP, handler);
        if (!hangUp_)
            hangUp_ = before;
    }

    [[nodiscard]] static bool isBlocked(int signal)
    {
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        return sigismember(&mask, signal) == 1;
    }

private:
    int argumentCount_ = 1;
    char name_[8] = "velmora";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
    sigset_t mask_{};
    void (*hangUp_)(int) = nullptr;
};

TEST_F(TerminationSignalsTest, EachEndsNothingAndIsHeardAndTheHangUpIsHeardApart)
{
    setHangUp(SIG_DFL);
    TerminationSignals::block();
    TerminationSignals::blockHangUp();
    const TerminationSignals termination;
    std::vector<std::string> heard;
    QObject::connect(&termination, &TerminationSignals::received, &termination, [&] { heard.emplace_back("received"); });
    QObject::connect(&termination, &TerminationSignals::hungUp, &termination, [&] { heard.emplace_back("hung up"); });
    QEventLoop loop;
    for (const int signal : {SIGHUP, SIGINT, SIGTERM})
        pthread_kill(pthread_self(), signal);
    while (std::count(heard.begin(), heard.end(), "received") < 2)
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_THAT(heard, ElementsAre("hung up", "received", "received"));
}

TEST_F(TerminationSignalsTest, AHangUpThatIsToBeIgnoredStaysIgnored)
{
    setHangUp(SIG_IGN);
    TerminationSignals::blockHangUp();
    EXPECT_FALSE(isBlocked(SIGHUP));
    setHangUp(SIG_DFL);
    TerminationSignals::blockHangUp();
    EXPECT_TRUE(isBlocked(SIGHUP));
}

}  // namespace
}  // namespace velmora

#include "app/MainThreadClock.h"

#include <QTimer>

#include <utility>

namespace velmora {

namespace {

class MainThreadTimer final : public platform::Timer {
public:
    MainThreadTimer(std::chrono::nanoseconds delay, UniqueFunction<void()> work) : work_(std::move(work))
    {
        timer_.setSingleShot(true);
        timer_.setTimerType(Qt::PreciseTimer);
        // Taken out before it runs: the work may destroy this timer.
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { std::exchange(work_, {})(); });
        timer_.start(std::chrono::ceil<std::chrono::milliseconds>(delay));
    }

private:
    QTimer timer_;
    UniqueFunction<void()> work_;
};

}  // namespace

std::chrono::system_clock::time_point MainThreadClock::now() const
{
    return std::chrono::system_clock::now();
}

std::unique_ptr<platform::Timer> MainThreadClock::schedule(std::chrono::nanoseconds delay, UniqueFunction<void()> work)
{
    return std::make_unique<MainThreadTimer>(delay, std::move(work));
}

}  // namespace velmora

// SIGINT and SIGTERM, and SIGHUP where that is wanted, as events of the main loop.
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <memory>

namespace velmora {

class TerminationSignals final : public QObject {
    Q_OBJECT

public:
    /// Keeps the signals from ending the process. First thing in main(), before any thread exists: threads inherit it.
    static void block();

    /// The same for the signal that the terminal is gone; does nothing where the program was started to outlive its terminal (nohup).
    static void blockHangUp();

    /// Waits for one of those that are blocked, for so long at most; true when one has come. Beside no object of this class.
    static bool await(std::chrono::milliseconds duration);

    TerminationSignals();
    ~TerminationSignals() override;

signals:
    void received();

    /// The terminal is gone; after blockHangUp().
    void hungUp();

private:
    int descriptor_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace velmora

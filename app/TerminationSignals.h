// SIGINT and SIGTERM as an event of the main loop.
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace velmora {

class TerminationSignals final : public QObject {
    Q_OBJECT

public:
    /// Keeps the signals from ending the process. First thing in main(), before any thread exists: threads inherit it.
    static void block();

    TerminationSignals();
    ~TerminationSignals() override;

signals:
    void received();

private:
    int descriptor_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace velmora

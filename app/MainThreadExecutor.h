// The main thread as an executor.
#pragma once

#include "base/SerialQueue.h"

#include <QObject>

namespace velmora {

/// Runs work from the event loop of the thread that it was made on. Work that is still waiting when it is destroyed is released, not run.
class MainThreadExecutor final : public QObject, public Executor {
    Q_OBJECT

public:
    MainThreadExecutor();

    void async(UniqueFunction<void()> work) override;

    bool event(QEvent* event) override;
};

}  // namespace velmora

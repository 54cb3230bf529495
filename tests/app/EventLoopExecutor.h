// The main thread of a command that a test runs.
#pragma once

#include "base/SerialQueue.h"

#include <QCoreApplication>
#include <QTimer>

#include <memory>
#include <utility>

namespace velmora {

/// Runs work from the event loop of the command.
class EventLoopExecutor final : public Executor {
public:
    void async(UniqueFunction<void()> work) override
    {
        QTimer::singleShot(
            0, QCoreApplication::instance(), [shared = std::make_shared<UniqueFunction<void()>>(std::move(work))] { (*shared)(); });
    }
};

}  // namespace velmora

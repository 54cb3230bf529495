// Exports that outlive the windows that began them.
#pragma once

#include "base/Mutex.h"
#include "platform/ExportSession.h"

#include <memory>
#include <vector>

namespace velmora {

/// Keeps each session until it has ended. Main thread, except for the end of a session.
class RunningExports {
public:
    /// Begins the export; `completion` is called on any thread.
    void start(std::shared_ptr<platform::ExportSession> session, UniqueFunction<void()> completion);

    /// The program ends: cancels what is running, and returns when all of it has let go of its temporary files.
    void cancelAll();

private:
    struct State {
        Mutex mutex;
        ConditionVariable ended;
        std::vector<std::shared_ptr<platform::ExportSession>> sessions GUARDED_BY(mutex);
    };

    const std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace velmora

// What a crash left in the clips folder.
#pragma once

#include "base/SerialQueue.h"
#include "base/UniqueFunction.h"
#include "library/ClipLibrary.h"
#include "platform/AssetRepairer.h"
#include "platform/FileManager.h"

#include <QObject>

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <memory>

namespace velmora {

/// Makes unfinished recordings whole and removes what unfinished exports left, on a thread of its own. Only files with our writer's mark
/// that no recorder holds are repaired; every other clip stays as it is.
class InterruptedRecordings {
public:
    InterruptedRecordings(std::shared_ptr<platform::FileManager> fileManager, std::shared_ptr<platform::AssetRepairer> repairer,
        std::shared_ptr<Executor> mainExecutor);

    /// Ends with the file that is being repaired.
    ~InterruptedRecordings();
    InterruptedRecordings(const InterruptedRecordings&) = delete;
    InterruptedRecordings& operator=(const InterruptedRecordings&) = delete;

    /// Looks through `directory`. `completion` is called once, on the main thread, with how many were repaired; never when this
    /// object is destroyed first.
    void repair(const std::filesystem::path& directory, UniqueFunction<void(std::size_t)> completion);

    /// Looks through the library's folder now, and through another one when it is chosen; has the library look again where something was
    /// repaired. `library` outlives this. Main thread.
    void follow(ClipLibrary& library);

    /// Returns when everything that was asked for has been looked at.
    void drain() const { queue_.drain(); }

private:
    const std::shared_ptr<platform::FileManager> fileManager_;
    const std::shared_ptr<platform::AssetRepairer> repairer_;
    const std::shared_ptr<Executor> mainExecutor_;
    const std::shared_ptr<std::atomic<bool>> isCancelled_ = std::make_shared<std::atomic<bool>>(false);
    const QObject following_;
    SerialQueue queue_{"com.velmora.library.repair", SerialQueue::QualityOfService::utility};
};

}  // namespace velmora

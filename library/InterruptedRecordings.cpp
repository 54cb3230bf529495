#include "library/InterruptedRecordings.h"

#include "library/PathUtilities.h"

#include <utility>

namespace velmora {

InterruptedRecordings::InterruptedRecordings(std::shared_ptr<platform::FileManager> fileManager,
    std::shared_ptr<platform::AssetRepairer> repairer, std::shared_ptr<Executor> mainExecutor)
    : fileManager_(std::move(fileManager))
    , repairer_(std::move(repairer))
    , mainExecutor_(std::move(mainExecutor))
{
}

InterruptedRecordings::~InterruptedRecordings()
{
    *isCancelled_ = true;
}

void InterruptedRecordings::repair(const std::filesystem::path& directory, UniqueFunction<void(std::size_t)> completion)
{
    queue_.async([fileManager = fileManager_, repairer = repairer_, mainExecutor = mainExecutor_, isCancelled = isCancelled_, directory,
                     completion = std::move(completion)]() mutable {
        std::size_t repaired = 0;
        repairer->removeAbandonedExports(directory);
        if (const auto files = fileManager->contentsOfDirectory(directory, true)) {
            for (const auto& file : *files) {
                if (*isCancelled)
                    return;
                if (!PathUtilities::isMovie(file))
                    continue;
                const auto outcome = repairer->repair(file);
                repaired += outcome && *outcome == platform::AssetRepairer::Outcome::repaired;
            }
        }
        mainExecutor->async([isCancelled, repaired, completion = std::move(completion)]() mutable {
            if (!*isCancelled)
                completion(repaired);
        });
    });
}

void InterruptedRecordings::follow(ClipLibrary& library)
{
    const auto repairFolder = [this, &library] {
        repair(library.effectiveOutputDirectory(), [&library](std::size_t repaired) {
            if (repaired > 0)
                library.reloadClips();
        });
    };
    QObject::connect(&library, &ClipLibrary::customOutputDirectoryChanged, &following_, repairFolder);
    repairFolder();
}

}  // namespace velmora

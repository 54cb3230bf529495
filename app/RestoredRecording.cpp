#include "app/RestoredRecording.h"

#include "library/PathUtilities.h"

#include <cerrno>

namespace velmora {

Result<std::filesystem::path> restoredInto(const std::filesystem::path& folder, platform::DiscardedRecordings& recordings,
    const platform::DiscardedRecording& recording, platform::FileManager& fileManager)
{
    if (!PathUtilities::ensureDirectoryExists(folder, fileManager))
        return fail(posixError(ENOTDIR, folder.native()));
    auto restored = recordings.restore(recording, folder);
    if (restored)
        return restored;
    auto error = restored.error();
    const auto name = recording.filename();
    const bool isOfTheSystem = error.domain == posixErrorDomain;
    if (isOfTheSystem && error.code == EBUSY)
        error.localizedDescription = name + " is still being finished. Try again in a moment.";
    else if (isOfTheSystem && error.code == ENOENT && !fileManager.fileExists(recording.file))
        error.localizedDescription = name + " is no longer in the trash.";
    else
        error.localizedDescription = name + " stays in the trash: " + error.localizedDescription;
    return fail(std::move(error));
}

}  // namespace velmora

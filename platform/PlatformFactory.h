// Seam: the platform's functions that are needed before a back end is chosen, and the one that chooses it.
#pragma once

#include "base/SerialQueue.h"
#include "platform/ApplicationIcon.h"
#include "platform/PlatformServices.h"

#include <memory>

namespace velmora::platform {

/// Sets what holds for the whole process, such as how its memory is allocated. Call it first in main, before there are other threads.
void prepareProcess();

/// Gives the system back what the allocator holds and nothing uses: for when much was freed that will not be needed soon. Takes about a
/// millisecond. Any thread.
void giveBackUnusedMemory();

/// The file system alone, for what needs no other service.
std::shared_ptr<FileManager> makeFileManager();

/// How a capture ends when its display goes away.
enum class WhenTheDisplayGoes {
    theProgramEnds,  ///< at once, as every client of a display does; a recording is left as a crash would leave it
    theStreamStops,  ///< with an error, as for any other reason
};

/// Chooses the back end for the desktop that this process runs on. Once, on the main thread, at program start; connects to nothing
/// until a service is used. `mainExecutor` is the main thread.
PlatformServices makePlatformServices(const std::shared_ptr<Executor>& mainExecutor, MakeApplicationIcon makeIcon,
    WhenTheDisplayGoes whenTheDisplayGoes = WhenTheDisplayGoes::theProgramEnds);

}  // namespace velmora::platform

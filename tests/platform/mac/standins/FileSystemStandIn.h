// The calls that only a Mac's file system has, made of this system's, and how they fail when a test says so. One thread.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace velmora::standin {

struct FileSystem {
    int preallocateError = 0;  ///< errno values; 0: the call does what it is asked for
    int fullSyncError = 0;
    int renameError = 0;
    int statusError = 0;
    int interruptions = 0;  ///< so many of the next preallocations end with EINTR
    bool isLocal = true;
    std::string type = "apfs";

    std::vector<off_t> preallocated;  ///< the lengths that were asked for
    int fullSyncs = 0;
};
FileSystem& fileSystem();

}  // namespace velmora::standin

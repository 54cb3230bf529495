#include "tests/platform/mac/standins/FileSystemStandIn.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <stdio.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora::standin {

FileSystem& fileSystem()
{
    static FileSystem state;
    return state;
}

}  // namespace velmora::standin

namespace {

using velmora::standin::fileSystem;

int failed(int errnoValue)
{
    errno = errnoValue;
    return -1;
}

int preallocate(int descriptor, fstore_t& request)
{
    if (request.fst_posmode != F_PEOFPOSMODE || request.fst_offset != 0 || request.fst_length <= 0)
        return failed(EINVAL);
    if (fileSystem().interruptions > 0) {
        --fileSystem().interruptions;
        return failed(EINTR);
    }
    fileSystem().preallocated.push_back(request.fst_length);
    if (fileSystem().preallocateError != 0)
        return failed(fileSystem().preallocateError);
    struct stat status { };
    if (::fstat(descriptor, &status) != 0)
        return -1;
    // The room lies behind what the file has on the disk; its length stays.
    if (::fallocate(descriptor, FALLOC_FL_KEEP_SIZE, status.st_blocks * 512, request.fst_length) != 0)
        return -1;
    request.fst_bytesalloc = request.fst_length;
    return 0;
}

int path(int descriptor, char* buffer)
{
    const auto length = ::readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), buffer, PATH_MAX - 1);
    if (length < 0)
        return -1;
    buffer[length] = '\0';
    return std::strstr(buffer, " (deleted)") ? failed(ENOENT) : 0;
}

}  // namespace

extern "C" {

int macFcntl(int descriptor, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    void* argument = command == F_FULLFSYNC ? nullptr : va_arg(arguments, void*);
    va_end(arguments);
    switch (command) {
    case F_PREALLOCATE:
        return preallocate(descriptor, *static_cast<fstore_t*>(argument));
    case F_GETPATH:
        return path(descriptor, static_cast<char*>(argument));
    case F_FULLFSYNC:
        ++fileSystem().fullSyncs;
        return fileSystem().fullSyncError != 0 ? failed(fileSystem().fullSyncError) : ::fsync(descriptor);
    default:
        return failed(EINVAL);
    }
}

int renameatx_np(int fromFolder, const char* from, int toFolder, const char* to, unsigned int flags)
{
    if (flags != RENAME_EXCL)
        return failed(EINVAL);
    if (fileSystem().renameError != 0)
        return failed(fileSystem().renameError);
    if (::renameat2(fromFolder, from, toFolder, to, RENAME_NOREPLACE) == 0)
        return 0;
    return failed(errno == EINVAL || errno == ENOSYS ? ENOTSUP : errno);
}

int macFstatfs(int, struct statfs* status)
{
    if (fileSystem().statusError != 0)
        return failed(fileSystem().statusError);
    *status = {};
    status->f_flags = fileSystem().isLocal ? MNT_LOCAL : 0;
    fileSystem().type.copy(status->f_fstypename, sizeof status->f_fstypename - 1);
    return 0;
}

}  // extern "C"

// Loaded into a program before the C library: some calls that change a file fail, are cut short, take long or are the program's last.
//
//     LD_PRELOAD=…/libfaulty_files.so
//     VELMORA_FAULT_FILES=TEXT         files whose path contains TEXT; all others are left alone
//     VELMORA_FAULT=CALL:FROM:WHAT     CALL: write, sync, truncate, allocate, copy or rename
//                                      FROM: the call with that number, from 1, and all later ones; "N only" is that one alone
//                                      WHAT: an errno value; "short", half of what was asked for; "late", a second later (sync only);
//                                      "kill", SIGKILL before the call
//
// Calls are counted across all files concerned.

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/types.h>
#include <unistd.h>

namespace {

struct Fault {
    std::string files;
    std::string call;
    unsigned long from = 0;
    bool once = false;
    bool isShort = false;
    bool isKill = false;
    bool isLate = false;
    int errnoValue = 0;
};

Fault readFault()
{
    Fault fault;
    const char* files = std::getenv("VELMORA_FAULT_FILES");
    const char* text = std::getenv("VELMORA_FAULT");
    char call[16] = {};
    char what[16] = {};
    unsigned long from = 0;
    if (!files || !text)
        return fault;
    if (std::sscanf(text, "%15[a-z]:%lu only:%15s", call, &from, what) == 3)
        fault.once = true;
    else if (std::sscanf(text, "%15[a-z]:%lu:%15s", call, &from, what) != 3) {
        std::fprintf(stderr, "VELMORA_FAULT cannot be understood: %s\n", text);
        std::abort();
    }
    fault.files = files;
    fault.call = call;
    fault.from = from;
    fault.isShort = std::strcmp(what, "short") == 0;
    fault.isKill = std::strcmp(what, "kill") == 0;
    fault.isLate = std::strcmp(what, "late") == 0;
    fault.errnoValue = std::atoi(what);
    return fault;
}

const Fault& fault()
{
    static const Fault read = readFault();
    return read;
}

/// Empty when that is not known.
std::string pathOf(int descriptor)
{
    char link[64];
    char path[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const auto length = ::readlink(link, path, sizeof path);
    return length > 0 ? std::string{path, static_cast<std::size_t>(length)} : std::string{};
}

bool concerns(const std::string& path)
{
    return path.find(fault().files) != std::string::npos;
}

/// Whether the fault is meant for this call. Does not return from one that is the last.
bool strikes()
{
    static std::atomic<unsigned long> count = 0;
    const unsigned long number = ++count;
    if (fault().once ? number != fault().from : number < fault().from)
        return false;
    if (fault().isKill)
        ::kill(::getpid(), SIGKILL);
    return true;
}

bool strikes(const char* call, int descriptor)
{
    return fault().call == call && concerns(pathOf(descriptor)) && strikes();
}

template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

template <typename Outcome>
Outcome failed()
{
    errno = fault().errnoValue;
    return -1;
}

std::size_t cut(std::size_t size)
{
    return fault().isShort && size > 1 ? size / 2 : size;
}

ssize_t write(const char* name, int descriptor, const void* bytes, std::size_t size, off_t offset)
{
    static auto* const real = next<ssize_t(int, const void*, std::size_t, off_t)>(name);
    if (!strikes("write", descriptor))
        return real(descriptor, bytes, size, offset);
    return fault().errnoValue != 0 ? failed<ssize_t>() : real(descriptor, bytes, cut(size), offset);
}

}  // namespace

extern "C" {

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset)
{
    return write("pwrite", descriptor, bytes, size, offset);
}

ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off64_t offset)
{
    return write("pwrite64", descriptor, bytes, size, offset);
}

int fdatasync(int descriptor)
{
    static auto* const real = next<int(int)>("fdatasync");
    const bool isStruck = strikes("sync", descriptor);
    if (isStruck && fault().isLate)
        ::sleep(1);
    return isStruck && !fault().isLate ? failed<int>() : real(descriptor);
}

int ftruncate(int descriptor, off_t size) noexcept
{
    static auto* const real = next<int(int, off_t)>("ftruncate");
    return strikes("truncate", descriptor) ? failed<int>() : real(descriptor, size);
}

int posix_fallocate(int descriptor, off_t offset, off_t size)
{
    static auto* const real = next<int(int, off_t, off_t)>("posix_fallocate");
    return strikes("allocate", descriptor) ? fault().errnoValue : real(descriptor, offset, size);
}

ssize_t copy_file_range(int from, off64_t* fromOffset, int to, off64_t* toOffset, size_t size, unsigned flags)
{
    static auto* const real = next<ssize_t(int, off64_t*, int, off64_t*, std::size_t, unsigned)>("copy_file_range");
    if (!strikes("copy", to))
        return real(from, fromOffset, to, toOffset, size, flags);
    return fault().errnoValue != 0 ? failed<ssize_t>() : real(from, fromOffset, to, toOffset, cut(size), flags);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept
{
    static auto* const real = next<int(int, const char*, int, const char*, unsigned)>("renameat2");
    const auto folder = fromFolder == AT_FDCWD ? std::string{} : pathOf(fromFolder) + '/';
    const bool isConcerned = fault().call == "rename" && concerns(folder + from);
    return isConcerned && strikes() ? failed<int>() : real(fromFolder, from, toFolder, to, flags);
}
}

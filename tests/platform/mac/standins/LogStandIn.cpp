#include "tests/platform/mac/standins/LogStandIn.h"

#include "base/Mutex.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <cstdarg>
#include <map>
#include <os/log.h>
#include <string_view>
#include <utility>

struct os_log_s {
    std::string subsystem;
    std::string category;
};

namespace velmora::standin {

namespace {

struct Log {
    Mutex mutex;
    std::vector<LogLine> lines GUARDED_BY(mutex);
    std::map<std::pair<std::string, std::string>, os_log_s> made GUARDED_BY(mutex);
};
Log& log()
{
    static auto& all = *new Log;
    return all;
}

}  // namespace

std::vector<LogLine> takeLogLines()
{
    MutexLock lock(log().mutex);
    return std::exchange(log().lines, {});
}

std::size_t logCount()
{
    MutexLock lock(log().mutex);
    return log().made.size();
}

}  // namespace velmora::standin

using namespace velmora::standin;

extern "C" {

os_log_t os_log_create(const char* subsystem, const char* category)
{
    velmora::MutexLock lock(velmora::standin::log().mutex);
    return &velmora::standin::log().made.try_emplace({subsystem, category}, os_log_s{subsystem, category}).first->second;
}

void os_log_with_type(os_log_t to, os_log_type_t type, const char* format, ...)
{
    // What is not marked as public is hidden from everybody who reads the log.
    if (std::string_view{format} != "%{public}s")
        refuse("a log message whose text is hidden");
    std::va_list arguments;
    va_start(arguments, format);
    const std::string message = va_arg(arguments, const char*);
    va_end(arguments);
    velmora::MutexLock lock(velmora::standin::log().mutex);
    velmora::standin::log().lines.push_back({to->subsystem, to->category, type, message});
}

}  // extern "C"

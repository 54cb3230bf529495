#include "platform/mac/MacLogSink.h"

#include "base/Mutex.h"

#include <map>
#include <os/log.h>
#include <string>
#include <utility>

namespace velmora::mac_backend {

namespace {

os_log_type_t typeOf(platform::LogLevel level)
{
    switch (level) {
    case platform::LogLevel::info:
        return OS_LOG_TYPE_INFO;
    case platform::LogLevel::standard:
        return OS_LOG_TYPE_DEFAULT;
    case platform::LogLevel::error:
        return OS_LOG_TYPE_ERROR;
    }
    return OS_LOG_TYPE_DEFAULT;
}

class MacLogSink final : public platform::LogSink {
public:
    void write(const platform::LogRecord& record) noexcept override
    {
        try {
            const std::string message{record.message};
            os_log_with_type(logOf(record), typeOf(record.level), "%{public}s", message.c_str());
        } catch (...) {
            // Without memory for it the record is lost.
        }
    }

private:
    /// "A value is always returned", which is never to be released.
    os_log_t logOf(const platform::LogRecord& record)
    {
        std::pair key{std::string{record.subsystem}, std::string{record.category}};
        MutexLock lock(mutex_);
        const auto found = logs_.find(key);
        if (found != logs_.end())
            return found->second;
        const os_log_t made = os_log_create(key.first.c_str(), key.second.c_str());
        logs_.emplace(std::move(key), made);
        return made;
    }

    Mutex mutex_;
    std::map<std::pair<std::string, std::string>, os_log_t> logs_ GUARDED_BY(mutex_);
};

}  // namespace

std::shared_ptr<platform::LogSink> makeLogSink()
{
    return std::make_shared<MacLogSink>();
}

}  // namespace velmora::mac_backend

// Seam: where log lines are stored.
#pragma once

#include <string_view>

namespace velmora::platform {

enum class LogLevel { info, standard, error };

struct LogRecord {
    std::string_view subsystem;
    std::string_view category;
    LogLevel level = LogLevel::info;
    std::string_view message;  ///< as it is to be stored: private values have already been replaced
};

class LogSink {
public:
    virtual ~LogSink() = default;

    /// On any thread. Never blocks and never fails: a record that cannot be stored at once is lost.
    virtual void write(const LogRecord& record) noexcept = 0;
};

}  // namespace velmora::platform

// A log that keeps its lines.
#pragma once

#include "base/Mutex.h"
#include "platform/LogSink.h"

#include <algorithm>
#include <string>
#include <vector>

namespace velmora::fake {

class FakeLogSink final : public platform::LogSink {
public:
    struct Line {
        std::string subsystem;
        std::string category;
        platform::LogLevel level;
        std::string message;

        friend bool operator==(const Line&, const Line&) = default;
    };

    void write(const platform::LogRecord& record) noexcept override
    {
        MutexLock lock(mutex_);
        lines_.push_back({std::string{record.subsystem}, std::string{record.category}, record.level, std::string{record.message}});
    }

    [[nodiscard]] std::vector<Line> lines() const
    {
        MutexLock lock(mutex_);
        return lines_;
    }

    [[nodiscard]] std::vector<std::string> messages() const
    {
        std::vector<std::string> result;
        for (const auto& line : lines())
            result.push_back(line.message);
        return result;
    }

    [[nodiscard]] std::size_t count(std::string_view message) const
    {
        const auto all = messages();
        return static_cast<std::size_t>(std::count(all.begin(), all.end(), message));
    }

private:
    mutable Mutex mutex_;
    std::vector<Line> lines_ GUARDED_BY(mutex_);
};

}  // namespace velmora::fake

// What was written to the stand-in for the system's log. Any thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace velmora::standin {

struct LogLine {
    std::string subsystem;
    std::string category;
    unsigned type = 0;
    std::string message;

    friend bool operator==(const LogLine&, const LogLine&) = default;
};

/// What was written since the last call.
std::vector<LogLine> takeLogLines();

/// How many logs were ever made: each is kept for good.
std::size_t logCount();

}  // namespace velmora::standin

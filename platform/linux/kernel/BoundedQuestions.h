// Questions to what may hang or take its asker with it.
#pragma once

#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace velmora::linux_backend {

/// Gives its answer, or throws nothing and never returns.
using Question = std::function<std::string()>;

struct BoundedAnswer {
    enum class End {
        answered,
        late,  ///< it had not answered in time
        died,  ///< its process ended, by `signal` or without an answer (0)
    };

    End end = End::died;
    std::string text = {};  ///< where it answered
    int signal = 0;
};

/// Asks all of them at once, each in a process of its own that is forked from this one, and waits no longer than `patience`. What has not
/// answered then is killed and not waited for. The answers are in the order of the questions. For a process whose other threads, if it has
/// any, hold no lock that a question needs.
[[nodiscard]] std::vector<BoundedAnswer> askWithin(std::span<const Question> questions, std::chrono::milliseconds patience);

}  // namespace velmora::linux_backend

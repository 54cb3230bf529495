// Work whose end nobody waits for.
#pragma once

#include <atomic>

namespace velmora {

/// Lives from when a piece of work was told to end, and nobody cares for its result any more, until it has noticed. A process that ends
/// meanwhile destroys nothing that the work may be using: it leaves without running destructors of statics. Any thread.
class LeftBehindWork {
public:
    LeftBehindWork() { ++count_; }
    ~LeftBehindWork() { --count_; }
    LeftBehindWork(const LeftBehindWork&) = delete;
    LeftBehindWork& operator=(const LeftBehindWork&) = delete;

    [[nodiscard]] static bool isAny() { return count_ > 0; }

private:
    static inline std::atomic<int> count_ = 0;
};

}  // namespace velmora

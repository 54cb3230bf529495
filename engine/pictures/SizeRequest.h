// A size that one thread asks a stream's thread for.
#pragma once

#include "base/Mutex.h"
#include "base/Result.h"

#include <cstdint>
#include <future>
#include <optional>
#include <utility>

namespace velmora::engine {

/// For sources whose thread nobody else can hold up. At most one request at a time.
class SizeRequest {
public:
    /// Waits for the answer; `wake` makes the stream's thread look here. Any thread but the stream's.
    template <typename Wake>
    Result<void> ask(std::int32_t width, std::int32_t height, Wake wake)
    {
        std::future<Result<void>> answer;
        {
            MutexLock lock(mutex_);
            if (hasEnded_)
                return ended();
            waiting_.emplace(Waiting{width, height, {}});
            answer = waiting_->answer.get_future();
        }
        wake();
        return answer.get();
    }

    /// On the stream's thread: `change` makes the size that is asked for, if one is.
    template <typename Change>
    void answer(Change change)
    {
        if (auto request = take())
            request->answer.set_value(change(request->width, request->height));
    }

    /// On the stream's thread, when it will look no more.
    void end()
    {
        {
            MutexLock lock(mutex_);
            hasEnded_ = true;
        }
        if (auto request = take())
            request->answer.set_value(ended());
    }

private:
    struct Waiting {
        std::int32_t width;
        std::int32_t height;
        std::promise<Result<void>> answer;
    };

    static Result<void> ended() { return fail("Velmora.SizeRequest", 1, "The stream has ended."); }

    std::optional<Waiting> take()
    {
        MutexLock lock(mutex_);
        return std::exchange(waiting_, std::nullopt);
    }

    Mutex mutex_;
    std::optional<Waiting> waiting_ GUARDED_BY(mutex_);
    bool hasEnded_ GUARDED_BY(mutex_) = false;
};

}  // namespace velmora::engine

// A clock that a test turns.
#pragma once

#include "platform/Clock.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace velmora::fake {

class FakeClock final : public platform::Clock {
public:
    [[nodiscard]] std::chrono::system_clock::time_point now() const override { return time; }

    [[nodiscard]] std::unique_ptr<platform::Timer> schedule(std::chrono::nanoseconds delay, UniqueFunction<void()> work) override
    {
        auto entry = std::make_shared<Entry>(Entry{elapsed_ + delay, std::move(work)});
        entries_.push_back(entry);
        return std::make_unique<FakeTimer>(std::move(entry));
    }

    /// Runs what becomes due on the way, in the order of its times, each at its own time.
    void advance(std::chrono::nanoseconds duration)
    {
        const auto end = elapsed_ + duration;
        for (;;) {
            const auto next =
                std::min_element(entries_.begin(), entries_.end(), [](const auto& a, const auto& b) { return a->due < b->due; });
            if (next == entries_.end() || (*next)->due > end)
                break;
            const auto entry = *next;
            entries_.erase(next);
            moveTo(entry->due);
            if (auto work = std::exchange(entry->work, {}))
                work();
        }
        moveTo(end);
    }

    /// How many timers are neither due nor invalidated.
    [[nodiscard]] std::size_t pendingCount() const
    {
        return static_cast<std::size_t>(
            std::count_if(entries_.begin(), entries_.end(), [](const auto& entry) { return static_cast<bool>(entry->work); }));
    }

    std::chrono::system_clock::time_point time{std::chrono::seconds{1'700'000'000}};

private:
    struct Entry {
        std::chrono::nanoseconds due;
        UniqueFunction<void()> work;
    };

    class FakeTimer final : public platform::Timer {
    public:
        explicit FakeTimer(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) { }
        ~FakeTimer() override { entry_->work.reset(); }

    private:
        std::shared_ptr<Entry> entry_;
    };

    void moveTo(std::chrono::nanoseconds elapsed)
    {
        time += std::chrono::duration_cast<std::chrono::system_clock::duration>(elapsed - elapsed_);
        elapsed_ = elapsed;
    }

    std::chrono::nanoseconds elapsed_{0};
    std::vector<std::shared_ptr<Entry>> entries_;
};

}  // namespace velmora::fake

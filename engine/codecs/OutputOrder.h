// Brings the outcome of every picture into the order of the pictures.
#pragma once

#include "media/MediaTime.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <optional>
#include <utility>

namespace velmora::engine {

/// The pictures given to an encoder and not yet called back, oldest first. An encoder reorders nothing, so a picture whose
/// successor has come out was dropped inside it. Not thread-safe.
template <typename Outcome>
class OutputOrder {
public:
    struct Entry {
        std::int64_t encoderTime = 0;
        MediaTime presentationTimeStamp;
        MediaTime duration;
        std::optional<Outcome> outcome;
    };

    [[nodiscard]] bool isEmpty() const { return entries_.empty(); }

    /// A picture whose outcome is known before it reaches the encoder, or is still to come.
    void push(Entry entry) { entries_.push_back(std::move(entry)); }

    /// The encoder has refused the last one that was pushed, which is still here: it has no outcome.
    void withdrawNewest() { entries_.pop_back(); }

    /// The unfinished entry of `encoderTime`; null when there is none.
    Entry* find(std::int64_t encoderTime)
    {
        const auto isIt = [encoderTime](const Entry& entry) { return !entry.outcome && entry.encoderTime == encoderTime; };
        const auto entry = std::find_if(entries_.begin(), entries_.end(), isIt);
        return entry == entries_.end() ? nullptr : &*entry;
    }

    /// The same; every unfinished entry before it gets `dropped` as its outcome.
    Entry* finishUpTo(std::int64_t encoderTime, const Outcome& dropped)
    {
        Entry* const found = find(encoderTime);
        for (auto entry = entries_.begin(); found && &*entry != found; ++entry) {
            if (!entry->outcome)
                entry->outcome = dropped;
        }
        return found;
    }

    /// Gives `dropped` to everything that is unfinished.
    void finishAll(const Outcome& dropped)
    {
        for (Entry& entry : entries_) {
            if (!entry.outcome)
                entry.outcome = dropped;
        }
    }

    /// The oldest entry's outcome, taken out; none while it is not known.
    std::optional<Outcome> pop()
    {
        if (entries_.empty() || !entries_.front().outcome)
            return std::nullopt;
        std::optional<Outcome> outcome = std::move(entries_.front().outcome);
        entries_.pop_front();
        return outcome;
    }

private:
    std::deque<Entry> entries_;
};

}  // namespace velmora::engine

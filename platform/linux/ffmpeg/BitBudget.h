// What a software encoder's rate control has to spend, counted beside it because it does not say.
#pragma once

#include <cstdint>
#include <optional>

namespace velmora::linux_backend {

/// A buffer of bits that time fills and pictures empty, as x264's is filled at the rate that it is told before each picture. Times are in
/// microseconds and increase. Not thread-safe.
class BitBudget {
public:
    /// The rate that levels and rate control are planned for; frames may come slower and unevenly.
    static constexpr int plannedFrameRate = 60;

    /// What a buffer for `bitRate` holds: three quarters of a second's bits. A key frame of a busy picture fits.
    [[nodiscard]] static constexpr std::int64_t capacity(std::int64_t bitRate) { return bitRate * 3 / 4; }

    /// `bitRate` is what the buffer is for, `spentRate` what time brings of it. x264 begins with nine tenths of its buffer; `isEmpty`: with as
    /// little as it can.
    BitBudget(std::int64_t bitRate, std::int64_t spentRate, bool isEmpty);

    /// What a picture at this time brings: no more than half a second's worth, and a little in any case.
    [[nodiscard]] std::int64_t earnedBy(std::int64_t time) const;

    /// What brings the buffer to `unspent` with the next picture, as far as it has less than that.
    [[nodiscard]] std::int64_t missingTo(std::int64_t unspent) const;

    /// A picture at this time has taken `spent` and brought `earned`.
    void encoded(std::int64_t time, std::int64_t earned, std::int64_t spent);

    /// What a picture at this time could take at once, with what it brings.
    [[nodiscard]] std::int64_t unspent(std::int64_t time) const;

private:
    std::int64_t capacity_;
    std::int64_t spentRate_;
    std::int64_t unspent_;
    std::optional<std::int64_t> lastTime_;
};

}  // namespace velmora::linux_backend

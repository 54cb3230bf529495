#include "platform/linux/ffmpeg/BitBudget.h"

#include <algorithm>

namespace velmora::linux_backend {

namespace {

constexpr std::int64_t second = 1'000'000;
constexpr std::int64_t shortest = second / 1000;
constexpr std::int64_t longest = second / 2;

}  // namespace

BitBudget::BitBudget(std::int64_t bitRate, std::int64_t spentRate, bool isEmpty)
    : capacity_(capacity(bitRate))
    , spentRate_(spentRate)
    , unspent_(isEmpty ? bitRate / plannedFrameRate : capacity_ / 10 * 9)
{
}

std::int64_t BitBudget::earnedBy(std::int64_t time) const
{
    const std::int64_t elapsed = lastTime_ ? std::clamp(time - *lastTime_, shortest, longest) : second / plannedFrameRate;
    return spentRate_ * elapsed / second;
}

std::int64_t BitBudget::missingTo(std::int64_t unspent) const
{
    return std::clamp(unspent - unspent_, spentRate_ * shortest / second, capacity_);
}

void BitBudget::encoded(std::int64_t time, std::int64_t earned, std::int64_t spent)
{
    unspent_ = std::min(std::max<std::int64_t>(unspent_ - spent, 0) + earned, capacity_);
    lastTime_ = time;
}

std::int64_t BitBudget::unspent(std::int64_t time) const
{
    return std::min(unspent_ + earnedBy(time), capacity_);
}

}  // namespace velmora::linux_backend

#include "platform/linux/ffmpeg/EffortPolicy.h"

#include "platform/linux/ffmpeg/EncodingHeadroom.h"

#include <algorithm>
#include <utility>

namespace velmora::linux_backend {

namespace {

using Part = std::chrono::duration<double>;

/// What the next effort costs, by what the one below it does: 1.2 to 1.3, and some more.
constexpr double costOfNext = 1.4;

/// What encoding may take of the time that there is: with normal effort as much as when a session begins; with the low one so much that
/// some is left for moments that are busier than most.
constexpr double shareOfNormal = Part{greatestPictureTime} / Part{1.0 / 60};
constexpr double shareOfLow = 0.6;

/// A raised effort is on probation for so many times as long as it was waited for.
constexpr int probationPerWait = 4;

EncodingEffort below(EncodingEffort effort)
{
    return effort == EncodingEffort::normal ? EncodingEffort::low : EncodingEffort::least;
}

}  // namespace

void EffortPolicy::beginEvidence()
{
    active_ = {};
    busy_ = {};
}

void EffortPolicy::count(std::chrono::nanoseconds interval)
{
    active_ += interval;
    busy_ += std::min(lastDuration_, interval);
    if (probation_ <= std::chrono::nanoseconds{0})
        return;
    probation_ -= interval;
    if (probation_ <= std::chrono::nanoseconds{0})
        wait_ = std::max<std::chrono::nanoseconds>(wait_ / 2, firstWait);
}

void EffortPolicy::encoded(MonotonicTime begin, MonotonicTime end)
{
    if (std::exchange(awaitsFirstPicture_, false))
        settled_ = end + settling;
    if (lastBegin_)
        count(std::clamp<std::chrono::nanoseconds>(begin - *lastBegin_, std::chrono::nanoseconds{0}, longestInterval));
    lastBegin_ = begin;
    lastDuration_ = end - begin;
    if (active_ < wait_)
        return;
    const double share = Part{busy_} / Part{active_};
    beginEvidence();
    if (wanted_ != effort_ || effort_ == EncodingEffort::normal || end < restUntil_)
        return;
    const bool isLeast = effort_ == EncodingEffort::least;
    if (share * costOfNext <= (isLeast ? shareOfLow : shareOfNormal))
        wanted_ = isLeast ? EncodingEffort::low : EncodingEffort::normal;
}

void EffortPolicy::dropped(MonotonicTime now)
{
    beginEvidence();
    // What was about to be raised is not raised now.
    if (wanted_ > effort_)
        wanted_ = effort_;
    if (awaitsFirstPicture_ || now < settled_ || now < restUntil_)
        return;
    if (wanted_ < effort_ || effort_ == EncodingEffort::least)
        return;
    if (probation_ > std::chrono::nanoseconds{0})
        wait_ = std::min<std::chrono::nanoseconds>(2 * wait_, longestWait);
    probation_ = {};
    wanted_ = below(effort_);
}

void EffortPolicy::changed()
{
    probation_ = wanted_ > effort_ ? probationPerWait * wait_ : std::chrono::nanoseconds{0};
    effort_ = wanted_;
    awaitsFirstPicture_ = true;
    lastBegin_.reset();
    beginEvidence();
}

void EffortPolicy::changeFailed(MonotonicTime now)
{
    wanted_ = effort_;
    restUntil_ = now + restAfterFailure;
    beginEvidence();
}

}  // namespace velmora::linux_backend

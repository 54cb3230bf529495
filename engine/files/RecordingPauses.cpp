#include "engine/files/RecordingPauses.h"

#include <utility>

namespace velmora::engine {

namespace {

MediaTime later(MediaTime a, MediaTime b)
{
    return a < b ? b : a;
}

}  // namespace

void RecordingPauses::pause(MediaTime time)
{
    ask({time, true});
}

void RecordingPauses::resume(MediaTime time)
{
    ask({time, false});
}

void RecordingPauses::ask(Request request)
{
    MutexLock lock(mutex_);
    requests_.push_back(request);
    hasRequests_ = true;
}

void RecordingPauses::begin(MediaTime start, bool hasPictures)
{
    start_ = start;
    hasPictures_ = hasPictures;
    update();
    for (auto& pause : pauses_) {
        pause.from = later(pause.from, start);
        if (pause.resumed.isValid())
            pause.resumed = later(pause.resumed, start);
    }
}

void RecordingPauses::update()
{
    if (!hasRequests_)
        return;
    std::vector<Request> requests;
    {
        MutexLock lock(mutex_);
        requests = std::exchange(requests_, {});
        hasRequests_ = false;
    }
    for (const auto& request : requests)
        follow(request);
}

void RecordingPauses::follow(Request request)
{
    const bool isPaused = !pauses_.empty() && !pauses_.back().resumed.isValid();
    if (request.isPause == isPaused)
        return;
    if (!request.isPause) {
        auto& pause = pauses_.back();
        pause.resumed = later(request.time, pause.from);
        if (!hasPictures_)
            endPause(pause.resumed);
        return;
    }
    const auto earliest = pauses_.empty() ? start_ : pauses_.back().resumed;
    pauses_.push_back({earliest.isValid() ? later(request.time, earliest) : request.time, {}, {}, {}});
    pauses_.back().leftOutBefore = pauses_.size() - 1 == stretch_ ? leftOutBefore(stretch_) : MediaTime::invalid();
}

bool RecordingPauses::admits(MediaTime time, bool mayBegin)
{
    while (stretch_ < pauses_.size() && !(time < pauses_[stretch_].from)) {
        // It was paused again before a picture came with which it could have gone on.
        const bool isPausedAgain = stretch_ + 1 < pauses_.size() && !(time < pauses_[stretch_ + 1].from);
        if (isPausedAgain) {
            pauses_[stretch_].resumed = pauses_[stretch_ + 1].resumed;
            pauses_.erase(pauses_.begin() + static_cast<std::ptrdiff_t>(stretch_) + 1);
            continue;
        }
        if (!isResuming() || time < pauses_[stretch_].resumed || !mayBegin)
            return false;
        endPause(time);
    }
    return true;
}

void RecordingPauses::endPause(MediaTime to)
{
    pauses_[stretch_++].to = to;
    if (stretch_ < pauses_.size())
        pauses_[stretch_].leftOutBefore = leftOutBefore(stretch_);
}

MediaTime RecordingPauses::leftOutBefore(std::size_t stretch) const
{
    if (stretch == 0)
        return MediaTime::zero();
    const auto& last = pauses_[stretch - 1];
    return last.leftOutBefore + (last.to - last.from);
}

bool RecordingPauses::isResuming() const
{
    return stretch_ < pauses_.size() && pauses_[stretch_].resumed.isValid();
}

}  // namespace velmora::engine

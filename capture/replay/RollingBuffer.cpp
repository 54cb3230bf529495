#include "capture/replay/RollingBuffer.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace velmora {

namespace {

// How much older sound may be than the oldest picture.
constexpr MediaTime audioLead{1200, 600};

// What may be missing from a clip that still counts as long enough.
constexpr double durationTolerance = 0.5;

/// `seconds` before `time`, on the scale of `time`. Any duration will do: an absurd one gives an absurd time.
MediaTime earlier(MediaTime time, double seconds)
{
    const double largest = 4e18 / time.timescale;
    return time - MediaTime::fromSeconds(std::clamp(seconds, -largest, largest), time.timescale);
}

/// Compares with the difference instead of the sum, because that is exact where both times have the same scale.
bool endsAtOrAfter(const SampleBuffer& sample, MediaTime time)
{
    const auto& begin = sample.presentationTimeStamp;
    return sample.duration.isValid() ? sample.duration >= time - begin : begin >= time;
}

std::uint64_t bytesOfFirst(const std::vector<SampleBufferRef>& samples, std::size_t count)
{
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < count; ++i)
        bytes += samples[i]->data.bytes.size();
    return bytes;
}

template <typename Container>
void removeFirst(Container& container, std::size_t count)
{
    container.erase(container.begin(), container.begin() + static_cast<std::ptrdiff_t>(count));
}

}  // namespace

std::shared_ptr<RollingBuffer> RollingBuffer::create(double targetDuration, double maxRetentionDuration)
{
    return std::make_shared<RollingBuffer>(Private{}, targetDuration, maxRetentionDuration);
}

RollingBuffer::RollingBuffer(Private, double targetDuration, double maxRetentionDuration)
    : targetDuration_(targetDuration)
    , maxRetentionDuration_(maxRetentionDuration)
{
}

RollingBuffer::~RollingBuffer() = default;

void RollingBuffer::appendVideoSample(SampleBufferRef sample)
{
    assert(sample && sample->presentationTimeStamp.isValid());
    queue_.async([weak = weak_from_this(), sample = std::move(sample)]() mutable {
        if (const auto self = weak.lock())
            self->storeVideo(std::move(sample));
    });
}

void RollingBuffer::appendAudioSample(SampleBufferRef sample)
{
    assert(sample && sample->presentationTimeStamp.isValid());
    queue_.async([weak = weak_from_this(), sample = std::move(sample)]() mutable {
        if (const auto self = weak.lock())
            self->storeAudio(std::move(sample));
    });
}

void RollingBuffer::clear()
{
    queue_.async([weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->videoSamples_.clear();
            self->isKeyFrameFlags_.clear();
            self->audioSamples_.clear();
            self->bytesHeld_ = 0;
        }
    });
}

void RollingBuffer::bufferedDuration(UniqueFunction<void(double)> completion)
{
    queue_.async([self = shared_from_this(), completion = std::move(completion)]() mutable { completion(self->currentDuration()); });
}

void RollingBuffer::snapshot(UniqueFunction<void(BufferSnapshot)> completion)
{
    queue_.async([self = shared_from_this(), completion = std::move(completion)]() mutable {
        completion({self->videoSamples_.size(), self->audioSamples_.size(), self->currentDuration(), self->targetDuration_});
    });
}

void RollingBuffer::extractRecentClip(
    std::optional<double> requestedDuration, UniqueFunction<void(std::optional<RollingBufferExtraction>)> completion)
{
    const double duration = requestedDuration.value_or(targetDuration_);
    queue_.async([self = shared_from_this(), duration, completion = std::move(completion)]() mutable {
        completion(std::as_const(*self).extract(duration));
    });
}

void RollingBuffer::storeVideo(SampleBufferRef sample)
{
    isKeyFrameFlags_.push_back(sample->isSync());
    bytesHeld_ += sample->data.bytes.size();
    videoSamples_.push_back(std::move(sample));
    pruneByTime();
}

void RollingBuffer::storeAudio(SampleBufferRef sample)
{
    bytesHeld_ += sample->data.bytes.size();
    audioSamples_.push_back(std::move(sample));
    pruneAudio();
}

void RollingBuffer::pruneByTime()
{
    if (videoSamples_.empty())
        return;
    const auto latest = videoSamples_.back()->presentationTimeStamp;
    const auto retentionCutOff = earlier(latest, maxRetentionDuration_);
    if (retentionCutOff <= MediaTime::zero()) {
        applyCountCap();
        return;
    }
    const auto anchor = lastKeyFrameAtOrBefore(earlier(latest, targetDuration_)).value_or(0);
    for (auto i = anchor; i-- > 0;) {
        if (videoSamples_[i]->presentationTimeStamp < retentionCutOff) {
            removeOldestVideo(i);
            break;
        }
    }
    applyCountCap();
    pruneAudio();
}

void RollingBuffer::applyCountCap()
{
    if (videoSamples_.size() > maxVideoSampleCount)
        removeOldestVideo(videoSamples_.size() - maxVideoSampleCount);
    if (audioSamples_.size() > maxAudioSampleCount)
        removeOldestAudio(audioSamples_.size() - maxAudioSampleCount);
}

void RollingBuffer::pruneAudio()
{
    if (videoSamples_.empty())
        return;
    const auto cutOff = videoSamples_.front()->presentationTimeStamp - audioLead;
    const auto firstKept = std::find_if(
        audioSamples_.begin(), audioSamples_.end(), [cutOff](const auto& sample) { return sample->presentationTimeStamp >= cutOff; });
    if (firstKept != audioSamples_.end())
        removeOldestAudio(static_cast<std::size_t>(firstKept - audioSamples_.begin()));
}

void RollingBuffer::removeOldestVideo(std::size_t count)
{
    assert(videoSamples_.size() == isKeyFrameFlags_.size());
    bytesHeld_ -= bytesOfFirst(videoSamples_, count);
    removeFirst(videoSamples_, count);
    removeFirst(isKeyFrameFlags_, count);
}

void RollingBuffer::removeOldestAudio(std::size_t count)
{
    bytesHeld_ -= bytesOfFirst(audioSamples_, count);
    removeFirst(audioSamples_, count);
}

double RollingBuffer::currentDuration() const
{
    if (videoSamples_.empty())
        return 0;
    return std::max(0.0, (videoSamples_.back()->presentationTimeStamp - videoSamples_.front()->presentationTimeStamp).seconds());
}

std::optional<std::size_t> RollingBuffer::lastKeyFrameAtOrBefore(MediaTime time) const
{
    for (auto i = videoSamples_.size(); i-- > 0;) {
        if (isKeyFrameFlags_[i] && videoSamples_[i]->presentationTimeStamp <= time)
            return i;
    }
    return std::nullopt;
}

std::size_t RollingBuffer::startIndexFor(MediaTime desiredStart) const
{
    if (const auto index = lastKeyFrameAtOrBefore(desiredStart))
        return *index;
    const auto first = std::find(isKeyFrameFlags_.begin(), isKeyFrameFlags_.end(), true);
    return first == isKeyFrameFlags_.end() ? 0 : static_cast<std::size_t>(first - isKeyFrameFlags_.begin());
}

std::optional<RollingBufferExtraction> RollingBuffer::extract(double requestedDuration) const
{
    if (videoSamples_.empty())
        return std::nullopt;
    RollingBufferExtraction clip;
    clip.endPTS = videoSamples_.back()->presentationTimeStamp;
    const MediaTime zero{0, clip.endPTS.timescale};
    const auto desiredStart = earlier(clip.endPTS, requestedDuration);
    const auto start = startIndexFor(desiredStart > zero ? desiredStart : zero);
    clip.videoSamples.assign(videoSamples_.begin() + static_cast<std::ptrdiff_t>(start), videoSamples_.end());
    clip.startPTS = clip.videoSamples.front()->presentationTimeStamp;
    clip.actualDuration = std::max(0.0, (clip.endPTS - clip.startPTS).seconds());
    clip.isFullDuration = clip.actualDuration >= requestedDuration - durationTolerance;
    std::copy_if(audioSamples_.begin(), audioSamples_.end(), std::back_inserter(clip.audioSamples),
        [&clip](const auto& sample) { return endsAtOrAfter(*sample, clip.startPTS) && sample->presentationTimeStamp <= clip.endPTS; });
    return clip;
}

}  // namespace velmora

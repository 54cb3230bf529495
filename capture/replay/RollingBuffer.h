// The instant-replay memory: the most recent compressed pictures and their sound.
#pragma once

#include "base/SerialQueue.h"
#include "media/SampleBuffer.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// How much a rolling buffer holds.
struct BufferSnapshot {
    std::size_t videoSampleCount = 0;
    std::size_t audioSampleCount = 0;
    double bufferedDuration = 0;  ///< seconds
    double targetDuration = 0;  ///< seconds

    friend bool operator==(const BufferSnapshot&, const BufferSnapshot&) = default;
};

/// What was extracted from a rolling buffer. The samples are the buffer's own, shared with it; what the buffer drops later stays here.
struct RollingBufferExtraction {
    std::vector<SampleBufferRef> videoSamples;  ///< from a key frame on where there is one, up to the newest; never empty
    std::vector<SampleBufferRef> audioSamples;  ///< those that overlap the pictures
    double actualDuration = 0;  ///< seconds from startPTS to endPTS, never negative
    bool isFullDuration = false;  ///< at most half a second is missing from what was asked for
    MediaTime startPTS;  ///< of the first of `videoSamples`
    MediaTime endPTS;  ///< of the last
};

/// Keeps compressed pictures and raw sound for a bounded time and extracts the last seconds of them, from a key frame on.
///
/// What is kept goes back to the newest picture that is older than the retention, yet always to the key frame that a clip of the target
/// duration begins with; sound goes back two seconds further, but none is dropped while all of it is older than that. Whatever the times say,
/// pictures beyond the newest 1800 are dropped, and with the next picture also blocks of sound beyond the newest 2000.
///
/// Called on any thread; all work runs on the queue "com.velmora.rollingBuffer", in the order of submission, and completions are called
/// there. A query keeps the buffer alive until it is answered; a submitted sample does not.
class RollingBuffer : public std::enable_shared_from_this<RollingBuffer> {
    struct Private { };

public:
    static constexpr double defaultTargetDuration = 15.0;  ///< seconds
    static constexpr double defaultMaxRetentionDuration = 20.0;  ///< seconds

    /// Durations in seconds.
    static std::shared_ptr<RollingBuffer> create(
        double targetDuration = defaultTargetDuration, double maxRetentionDuration = defaultMaxRetentionDuration);

    RollingBuffer(Private, double targetDuration, double maxRetentionDuration);
    ~RollingBuffer();
    RollingBuffer(const RollingBuffer&) = delete;
    RollingBuffer& operator=(const RollingBuffer&) = delete;

    /// The length of clip to keep ready, and of an extraction that asks for no length; seconds.
    [[nodiscard]] double targetDuration() const { return targetDuration_; }

    /// How far back samples may be kept; seconds.
    [[nodiscard]] double maxRetentionDuration() const { return maxRetentionDuration_; }

    [[nodiscard]] const SerialQueue& queue() const { return queue_; }

    /// A compressed picture. Its presentation time is valid; pictures come in decode order, which is also that of presentation.
    void appendVideoSample(SampleBufferRef sample);

    /// A block of sound. Its presentation time is valid.
    void appendAudioSample(SampleBufferRef sample);

    /// Drops everything, but keeps the capacity.
    void clear();

    /// From the oldest picture to the newest, in seconds; 0 without pictures.
    void bufferedDuration(UniqueFunction<void(double)> completion);

    void snapshot(UniqueFunction<void(BufferSnapshot)> completion);

    /// The last `requestedDuration` seconds (without a value, targetDuration()), beginning with the last key frame that is not younger;
    /// if all are younger, with the first key frame; without a key frame, with the oldest picture. None without pictures. Changes
    /// nothing.
    void extractRecentClip(
        std::optional<double> requestedDuration, UniqueFunction<void(std::optional<RollingBufferExtraction>)> completion);

    /// Bytes of the pictures and blocks of sound that it holds, without those that are still being submitted. Any thread; takes no lock.
    [[nodiscard]] std::uint64_t bytesHeld() const { return bytesHeld_; }

    /// Returns when everything submitted so far has run. Never called from the buffer's queue.
    void drain() { queue_.drain(); }

private:
    static constexpr std::size_t maxVideoSampleCount = 1800;
    static constexpr std::size_t maxAudioSampleCount = 2000;

    void storeVideo(SampleBufferRef sample);
    void storeAudio(SampleBufferRef sample);
    void pruneByTime();
    void applyCountCap();
    void pruneAudio();
    void removeOldestVideo(std::size_t count);
    void removeOldestAudio(std::size_t count);
    [[nodiscard]] double currentDuration() const;
    [[nodiscard]] std::optional<std::size_t> lastKeyFrameAtOrBefore(MediaTime time) const;
    [[nodiscard]] std::size_t startIndexFor(MediaTime desiredStart) const;
    [[nodiscard]] std::optional<RollingBufferExtraction> extract(double requestedDuration) const;

    const double targetDuration_;
    const double maxRetentionDuration_;

    // All of these are used on the queue only.
    std::vector<SampleBufferRef> videoSamples_;
    std::vector<bool> isKeyFrameFlags_;  ///< for each of videoSamples_
    std::vector<SampleBufferRef> audioSamples_;

    std::atomic<std::uint64_t> bytesHeld_ = 0;  ///< changed on the queue only

    // Last: its end waits for work that uses the members above.
    SerialQueue queue_{"com.velmora.rollingBuffer", SerialQueue::QualityOfService::userInitiated};
};

}  // namespace velmora

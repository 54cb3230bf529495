// Which encoder this machine really has.
#pragma once

#include "base/Mutex.h"
#include "platform/linux/ffmpeg/CodecModule.h"
#include "platform/linux/ffmpeg/EncodingHeadroom.h"
#include "platform/linux/ffmpeg/VideoEncoderTrial.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <span>
#include <utility>
#include <vector>

namespace velmora::linux_backend {

/// Set to the name of a candidate ("libx264"), this environment variable rules out all others.
inline constexpr const char* videoEncoderVariable = "VELMORA_VIDEO_ENCODER";

/// Opens the first candidate that passed its trial. The trial for a size is made once; its outcome is kept. A hardware encoder that ended
/// a program of this login session in its trial is passed over; the software encoder never is: there is nothing behind it, and a
/// program that was killed at that moment would record nothing until the next login. Thread-safe.
class VideoEncoderSelection {
public:
    /// `onlyName`: the one candidate to consider, whatever became of it before; empty for all. `markFolder` is where trials leave their
    /// marks.
    VideoEncoderSelection(std::span<const VideoEncoderCandidate> candidates, std::string_view onlyName,
        std::filesystem::path markFolder = {}, VideoEncoderOpener open = openVideoEncoder);

    /// The selection of this process: all candidates, or the one that the environment names.
    static VideoEncoderSelection& shared();

    /// 0 when there is an encoder for pictures of this size, else the AVERROR of the last candidate.
    [[nodiscard]] int check(const VideoEncoderSettings& settings);

    /// What became of every candidate, the preferred one first, and of those behind the first that works too.
    [[nodiscard]] std::vector<EncoderTrialReport> tryAll(const VideoEncoderSettings& settings);

    /// How hard the encoder for pictures of this size may try, measured now. Normal where the encoder costs this machine nothing, or there
    /// is none. Takes as long as some pictures do.
    [[nodiscard]] EncodingEffort effortFor(VideoEncoderSettings settings, const std::function<MonotonicTime()>& now = MonotonicClock::now);

    /// A candidate that passed its trial and cannot be opened now (a graphics card has few encoders) gives way to the next.
    tl::expected<std::unique_ptr<VideoEncoder>, AvError> open(const VideoEncoderSettings& settings);

private:
    using Size = std::pair<std::int32_t, std::int32_t>;

    /// That of the candidate's one trial for this size.
    int keptOutcome(std::size_t index, const VideoEncoderSettings& settings) REQUIRES(mutex_);

    /// Index of the first candidate at or after `from` that passes its trial; the number of candidates when none does.
    std::size_t firstThatWorks(std::size_t from, const VideoEncoderSettings& settings);

    /// 0 or an AVERROR: EOWNERDEAD for one that is passed over.
    int outcomeOf(const VideoEncoderCandidate& candidate, const VideoEncoderSettings& settings);

    const std::span<const VideoEncoderCandidate> candidates_;
    const std::string_view onlyName_;
    const std::filesystem::path markFolder_;
    const VideoEncoderOpener open_;
    Mutex mutex_;
    std::map<std::pair<std::size_t, Size>, int> outcomes_ GUARDED_BY(mutex_);
    int lastError_ GUARDED_BY(mutex_) = AVERROR_ENCODER_NOT_FOUND;
};

}  // namespace velmora::linux_backend

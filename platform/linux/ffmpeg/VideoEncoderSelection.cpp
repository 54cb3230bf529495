#include "platform/linux/ffmpeg/VideoEncoderSelection.h"

#include "platform/linux/ffmpeg/EncoderTrialMark.h"
#include "platform/linux/ffmpeg/LibavError.h"

#include <cstdlib>
#include <optional>
#include <utility>

namespace velmora::linux_backend {

VideoEncoderSelection::VideoEncoderSelection(
    std::span<const VideoEncoderCandidate> candidates, std::string_view onlyName, std::filesystem::path markFolder, VideoEncoderOpener open)
    : candidates_(candidates)
    , onlyName_(onlyName)
    , markFolder_(std::move(markFolder))
    , open_(std::move(open))
{
}

VideoEncoderSelection& VideoEncoderSelection::shared()
{
    static const char* const onlyName = std::getenv(videoEncoderVariable);
    // Never destroyed, like the candidates: where the display goes, the program ends under threads that may look for an encoder.
    static auto& selection =
        *new VideoEncoderSelection{videoEncoderCandidates(), onlyName ? onlyName : "", EncoderTrialMark::sessionFolder()};
    return selection;
}

std::size_t VideoEncoderSelection::firstThatWorks(std::size_t from, const VideoEncoderSettings& settings)
{
    // The lock is held during the trials: whoever else asks wants the same answer.
    MutexLock lock(mutex_);
    for (std::size_t index = from; index < candidates_.size(); ++index) {
        if (!onlyName_.empty() && onlyName_ != candidates_[index].name)
            continue;
        const int outcome = keptOutcome(index, settings);
        if (outcome == 0)
            return index;
        lastError_ = outcome;
    }
    return candidates_.size();
}

int VideoEncoderSelection::keptOutcome(std::size_t index, const VideoEncoderSettings& settings)
{
    const auto [outcome, isNew] = outcomes_.try_emplace({index, {settings.width, settings.height}}, 0);
    if (isNew)
        outcome->second = outcomeOf(candidates_[index], settings);
    return outcome->second;
}

std::vector<EncoderTrialReport> VideoEncoderSelection::tryAll(const VideoEncoderSettings& settings)
{
    using Outcome = EncoderTrialReport::Outcome;
    std::vector<EncoderTrialReport> reports;
    MutexLock lock(mutex_);
    for (std::size_t index = 0; index < candidates_.size(); ++index) {
        const auto& candidate = candidates_[index];
        auto& report =
            reports.emplace_back(EncoderTrialReport{candidate.label ? candidate.label : candidate.name, {}, {}, candidate.isSoftware});
        if (!onlyName_.empty() && onlyName_ != candidate.name) {
            report.outcome = Outcome::ruledOut;
            continue;
        }
        const int outcome = keptOutcome(index, settings);
        report.outcome = outcome == 0              ? Outcome::works
            : outcome == AVERROR_ENCODER_NOT_FOUND ? Outcome::missing
            : outcome == AVERROR(EOWNERDEAD)       ? Outcome::endedAProgram
                                                   : Outcome::fails;
        if (report.outcome == Outcome::fails)
            report.reason = libavErrorText(outcome);
    }
    return reports;
}

int VideoEncoderSelection::outcomeOf(const VideoEncoderCandidate& candidate, const VideoEncoderSettings& settings)
{
    std::optional<EncoderTrialMark> mark;
    if (!candidate.isSoftware) {
        mark.emplace(markFolder_, candidate.name);
        if (mark->finding() == EncoderTrialMark::Finding::crashed && onlyName_.empty())
            return AVERROR(EOWNERDEAD);
    }
    return tryVideoEncoder(candidate, settings, open_);
}

int VideoEncoderSelection::check(const VideoEncoderSettings& settings)
{
    if (firstThatWorks(0, settings) < candidates_.size())
        return 0;
    MutexLock lock(mutex_);
    return lastError_;
}

EncodingEffort VideoEncoderSelection::effortFor(VideoEncoderSettings settings, const std::function<MonotonicTime()>& now)
{
    const auto index = firstThatWorks(0, settings);
    if (index == candidates_.size() || !candidates_[index].isSoftware)
        return EncodingEffort::normal;
    settings.effort = EncodingEffort::normal;
    const auto encoder = open_(candidates_[index], settings);
    if (!encoder)
        return EncodingEffort::normal;
    const auto pictureTime = measurePictureTime(**encoder, settings, now);
    return pictureTime ? effortWithin(*pictureTime) : EncodingEffort::normal;
}

tl::expected<std::unique_ptr<VideoEncoder>, AvError> VideoEncoderSelection::open(const VideoEncoderSettings& settings)
{
    int error = check(settings);
    for (std::size_t index = 0; (index = firstThatWorks(index, settings)) < candidates_.size(); ++index) {
        auto encoder = open_(candidates_[index], settings);
        if (encoder)
            return encoder;
        error = encoder.error();
    }
    return tl::unexpected(error);
}

}  // namespace velmora::linux_backend

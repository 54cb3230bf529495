#include "engine/sharing/SmallFile.h"

#include "engine/codecs/CopyKeyFrames.h"
#include "engine/sharing/EncodedMovie.h"
#include "engine/sharing/SharedCopy.h"
#include "engine/sharing/SmallFilePlan.h"
#include "engine/sharing/SmallFileSearch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace velmora::engine {

namespace {

using platform::TranscodingErrorCode;
using platform::TranscodingReport;

/// Without a limit.
constexpr double goodQuality = 18;

/// A first impression of a long clip, from parts of it.
constexpr int probeParts = 6;
constexpr int mostProbes = 4;
/// By how much a first impression may be wrong, and the least that another round changes; both in units of the quality.
constexpr double toleratedGuess = 3;
constexpr double leastStep = 0.2;
/// Beyond this a first impression says too little of what another quality takes.
constexpr double farOff = 3;
/// And this is as far as one leads: how steep sizes are differs too much between clips.
constexpr double farthest = 10;

/// How the size follows the number of pixels and of pictures, until it is measured.
constexpr double pixelExponent = 0.75;
constexpr double pictureExponent = 0.6;

std::array<std::int32_t, 9> scaledMatrix(std::array<std::int32_t, 9> matrix, double x, double y)
{
    // What turns a picture moves it back to where it is seen, by its width or height (ISO 14496-12 6.2.2).
    const bool swaps = matrix[0] == 0 && matrix[4] == 0;
    matrix[6] = static_cast<std::int32_t>(std::lround(matrix[6] * (swaps ? y : x)));
    matrix[7] = static_cast<std::int32_t>(std::lround(matrix[7] * (swaps ? x : y)));
    return matrix;
}

class SmallFile final : public CopyWork {
public:
    SmallFile(mp4::File& file, const platform::TranscodingSettings& settings, ClipCodecs& codecs, const CopyTools& tools)
        : CopyWork(file, settings, codecs, tools)
    {
    }

private:
    struct Round {
        std::unique_ptr<EncodedMovie> movie;
        std::uint64_t size = 0;
        double quality = 0;
        double pictureBytes = 0;
        std::size_t candidate = 0;
        std::size_t pictureCount = 0;
    };

    Result<bool> prepare() override
    {
        if (source().isWhole() && isLimited() && source().fileSize() <= settings().limit && !settings().hasConstantRate)
            return true;
        chooseCandidates();
        if (auto fits = checkLeast(); !fits)
            return fail(fits.error());
        auto pictures = codecs().makePictureTranscoder(source().pictures().format);
        if (!pictures)
            return fail(pictures.error());
        pictures_ = std::move(*pictures);
        return false;
    }

    [[nodiscard]] bool wantsSound() const override { return source().sound() != nullptr; }

    void chooseCandidates()
    {
        const auto& pictures = source().pictures();
        shape_ = {pictures.width, pictures.height, source().length(), pictures.times};
        candidates_ = pictureCandidates(shape_);
        if (settings().hasConstantRate) {
            const auto rate = steadyRate(shape_);
            std::erase_if(candidates_, [](const PictureCandidate& candidate) { return candidate.timing.largestRate > 0; });
            for (auto& candidate : candidates_) {
                candidate.timing.constantRate = rate;
                candidate.pictureCount = static_cast<std::size_t>(source().seconds() * rate) + 1;
            }
        }
    }

    /// Finds what no encoder could do before anything is encoded.
    Result<void> checkLeast()
    {
        if (!isLimited())
            return {};
        const auto seconds = source().seconds();
        const auto& last = candidates_.back();
        const auto packets = source().sound() ? static_cast<std::size_t>(seconds * 48000 / 1024) : 0;
        const auto sound = source().sound() ? seconds * std::min(leastSoundBitRate / 8.0, source().soundRate()) * 0.8 : 0;
        // An encoded picture in which nothing moves has some twenty bytes.
        const auto least =
            sound + static_cast<double>(leastIndexSize(last.pictureCount, packets)) + 20.0 * static_cast<double>(last.pictureCount);
        if (least > limit())
            return tooSmall(least);
        return {};
    }

    [[nodiscard]] tl::unexpected<Error> tooSmall(double least) const { return limitTooSmall(limit(), source().seconds(), least); }

    /// What is left for the bytes of pictures, as far as it can be known beforehand.
    [[nodiscard]] double pictureBytes(const PictureCandidate& candidate, double ofTheLimit) const
    {
        const auto packets = sound() ? sound()->packetSizes.size() : 0;
        // Pictures at uneven times take some more.
        const auto index =
            static_cast<double>(leastIndexSize(candidate.pictureCount, packets)) + 8.0 * static_cast<double>(candidate.pictureCount);
        return limit() * ofTheLimit - index - soundBytes();
    }

    [[nodiscard]] PictureEncoding encodingOf(const PictureCandidate& candidate, double quality) const
    {
        PictureEncoding encoding;
        encoding.width = candidate.width;
        encoding.height = candidate.height;
        encoding.timing = candidate.timing;
        encoding.quality = quality;
        encoding.end = source().length();
        encoding.effort = effortFor(static_cast<double>(candidate.pictureCount) * candidate.width * candidate.height, 1e9, 4e9);
        return encoding;
    }

    static constexpr auto partLength = static_cast<std::int64_t>(probeSeconds * pictureTimescale);

    /// Then they say exactly how many bytes a round has.
    [[nodiscard]] bool areProbesWhole() const { return source().length() <= 2 * probeParts * partLength; }

    /// How many bytes the clip's pictures take with this quality, from parts of it; none when cancelled.
    Result<std::optional<double>> probe(std::size_t index, double quality)
    {
        const auto length = source().length();
        const bool isWhole = areProbesWhole();
        double bytes = 0;
        double keyFrames = 0;
        double keyFrameBytes = 0;
        const auto encoded = encodeParts(isWhole ? 1 : probeParts, isWhole ? length : partLength,
            [&](CodedSamples& samples, std::int64_t begin, std::int64_t end) -> Result<void> {
                auto encoding = encodingOf(candidates_[index], quality);
                encoding.begin = begin;
                encoding.end = end;
                const auto format = pictures_->transcode(
                    samples, encoding, [this](std::int64_t) { return goesOn(); },
                    [&](const EncodedPicture& picture) -> Result<bool> {
                        bytes += static_cast<double>(picture.bytes.size());
                        if (picture.time == 0) {
                            ++keyFrames;
                            keyFrameBytes += static_cast<double>(picture.bytes.size());
                        }
                        return true;
                    });
                return format ? Result<void>{} : fail(format.error());
            });
        if (!encoded)
            return fail(encoded.error());
        if (isCancelled())
            return std::nullopt;
        if (isWhole)
            return bytes;
        // The parts begin with more key frames than the whole has.
        const auto others = (bytes - keyFrameBytes) * static_cast<double>(length) / static_cast<double>(partLength * probeParts);
        return others + keyFrameBytes / std::max(1.0, keyFrames) * expectedKeyFrames(candidates_[index]);
    }

    [[nodiscard]] double expectedKeyFrames(const PictureCandidate& candidate) const
    {
        return CopyKeyFrames::expectedCount(source().seconds(), static_cast<double>(candidate.pictureCount));
    }

    /// What a candidate takes compared with another at the same quality, as a rule.
    [[nodiscard]] double sizeRatio(const PictureCandidate& of, const PictureCandidate& to) const
    {
        const auto pixels = [](const PictureCandidate& candidate) { return static_cast<double>(candidate.width) * candidate.height; };
        return std::pow(pixels(of) / pixels(to), pixelExponent)
            * std::pow(static_cast<double>(of.pictureCount) / static_cast<double>(to.pictureCount), pictureExponent);
    }

    /// From here on `candidate_` is the best that is good enough, and `quality_` what it probably needs.
    Result<void> estimate() override
    {
        auto index = likelyCandidate();
        double quality = SmallFileSearch{}.qualityFor(0);
        const auto last = candidates_.size() - 1;
        // Those before it are not good enough; and the first that is known to be.
        std::size_t first = 0;
        std::optional<std::size_t> good;
        SmallFileSearch seen;
        for (int probes = 1;; ++probes) {
            quality = std::clamp(quality, SmallFileSearch::finest, SmallFileSearch::coarsest);
            const auto size = probe(index, quality);
            if (!size)
                return fail(size.error());
            if (!*size)
                return {};
            seen.add(quality, **size);
            // What each would need, if all are as this one says.
            const auto neededBy = [&](std::size_t other) {
                const auto room = pictureBytes(candidates_[other], aimedPart);
                return room > 0 ? seen.qualityFor(room / sizeRatio(candidates_[other], candidates_[index]))
                                : std::numeric_limits<double>::max();
            };
            const auto needed = neededBy(index);
            const bool isFarOff = std::abs(std::clamp(needed, SmallFileSearch::finest, SmallFileSearch::coarsest) - quality) > farOff;
            const bool isGood = needed <= SmallFileSearch::coarsestOfGood || index == last;
            if (isGood) {
                good = index;
                candidate_ = index;
                quality_ = std::clamp(needed, quality - farthest, quality + farthest);
                // A round over all of a short clip takes no longer than another look at it.
                search_ = areProbesWhole() ? seen : SmallFileSearch::withSlopeOf(seen);
            } else {
                first = index + 1;
            }
            auto next = first;
            while (next < good.value_or(last) && neededBy(next) > SmallFileSearch::coarsestOfGood)
                ++next;
            if (probes < mostProbes && next != good) {
                index = next;
                // Just where it is decided whether it will do: no guess is needed then.
                quality = SmallFileSearch::coarsestOfGood;
                seen = SmallFileSearch::withSlopeOf(seen);
                continue;
            }
            if (probes < mostProbes && isGood && isFarOff && !areProbesWhole()) {
                quality = quality_;
                continue;
            }
            if (!good) {
                candidate_ = next;
                quality_ = neededBy(next);
                search_ = SmallFileSearch::withSlopeOf(seen);
            }
            if (quality_ <= SmallFileSearch::coarsest + toleratedGuess)
                return {};
            const auto others = limit() * aimedPart - pictureBytes(candidates_[candidate_], aimedPart);
            const auto coarse =
                **size * sizeRatio(candidates_[candidate_], candidates_[index]) * std::exp2((quality - SmallFileSearch::coarsest) / 6);
            return tooSmall((others + coarse) / aimedPart);
        }
    }

    /// The first whose pictures usually look good with the bits that there are.
    [[nodiscard]] std::size_t likelyCandidate() const
    {
        constexpr double usualBitsForAPixel = 0.045;
        const auto found = std::find_if(candidates_.begin(), candidates_.end() - 1, [this](const PictureCandidate& candidate) {
            const auto pixels = static_cast<double>(candidate.pictureCount) * candidate.width * candidate.height;
            return pictureBytes(candidate, aimedPart) * 8 > usualBitsForAPixel * pixels;
        });
        return static_cast<std::size_t>(found - candidates_.begin());
    }

    Result<void> encodeRounds() override
    {
        double quality = isLimited() ? quality_ : goodQuality;
        for (rounds_ = 1;; ++rounds_) {
            quality = std::clamp(quality, SmallFileSearch::finest, SmallFileSearch::coarsest);
            auto encoded = encodeRound(quality);
            if (!encoded)
                return fail(encoded.error());
            if (isCancelled())
                return {};
            auto& round = *encoded;
            const auto size = static_cast<double>(round.size);
            const bool fits = !isLimited() || (round.movie && round.size <= settings().limit);
            search_.add(quality, round.pictureBytes);
            const auto room = limit() * aimedPart - (size - round.pictureBytes);
            const bool hasNoMoreToShow = fits && quality <= SmallFileSearch::finest;
            if (fits && (!best_ || round.size > best_->size))
                best_ = std::move(round);
            const bool isEnough = best_ && (!isLimited() || static_cast<double>(best_->size) >= enoughPart * limit() || hasNoMoreToShow);
            if (isEnough || (best_ && rounds_ == mostRounds))
                return {};
            if (!fits && quality >= SmallFileSearch::coarsest && candidate_ + 1 == candidates_.size())
                return tooSmall(size / aimedPart);
            if (rounds_ == mostRounds)
                return limitMissed(limit());
            const auto next = search_.qualityFor(room);
            quality = fits ? std::min(next, quality - leastStep) : std::max(next, quality + leastStep);
            if (!best_ && quality > SmallFileSearch::coarsestOfGood + toleratedGuess && candidate_ + 1 < candidates_.size()) {
                const auto ratio = sizeRatio(candidates_[candidate_ + 1], candidates_[candidate_]);
                quality += 6 * std::log2(ratio);
                ++candidate_;
                search_ = SmallFileSearch::withSlopeOf(search_);
            }
        }
    }

    /// Without a movie where it became too large on the way; then sizes are what it would have had.
    Result<Round> encodeRound(double quality)
    {
        const auto& candidate = candidates_[candidate_];
        auto scratch = makeScratch();
        if (!scratch)
            return fail(scratch.error());
        Round round;
        round.quality = quality;
        round.candidate = candidate_;
        round.movie = std::make_unique<EncodedMovie>(std::move(*scratch), sound());
        const auto withoutPictures = round.movie->mediaSize();
        const auto length = static_cast<double>(source().length());
        const auto progress = roundProgress();
        double keyFrames = 0;
        double keyFrameBytes = 0;
        const auto samples = source().pictureSamples();
        const auto format = pictures_->transcode(
            *samples, encodingOf(candidate, quality), [&](std::int64_t time) { return progress(static_cast<double>(time) / length); },
            [&](const EncodedPicture& picture) -> Result<bool> {
                if (auto added = round.movie->add(picture); !added)
                    return fail(added.error());
                if (picture.isSync) {
                    ++keyFrames;
                    keyFrameBytes += static_cast<double>(picture.bytes.size());
                }
                return !isLimited() || round.movie->mediaSize() <= settings().limit;
            });
        if (!format)
            return fail(format.error());
        round.pictureBytes = static_cast<double>(round.movie->mediaSize() - withoutPictures);
        round.pictureCount = round.movie->pictureCount();
        if (isCancelled())
            return round;
        if (!*format) {
            // How far it came is too little to go by at the very beginning, where most bytes are the first key frame's.
            constexpr double leastPart = 0.02;
            const auto part =
                std::clamp(static_cast<double>(round.pictureCount) / static_cast<double>(candidate.pictureCount), leastPart, 1.0);
            const auto allKeyFrames = std::max(expectedKeyFrames(candidate), 1 + (keyFrames - 1) / part);
            round.pictureBytes = (round.pictureBytes - keyFrameBytes) / part + keyFrameBytes / std::max(1.0, keyFrames) * allKeyFrames;
            round.size = static_cast<std::uint64_t>(round.pictureBytes + limit() * aimedPart - pictureBytes(candidate, aimedPart));
            round.movie.reset();
            return round;
        }
        if (round.pictureCount == 0)
            return sharingFailure(TranscodingErrorCode::unsupported, "The clip's pictures could not be decoded.");
        const auto& pictures = source().pictures();
        EncodedMovie::Ending ending;
        ending.format = *format;
        ending.matrix = scaledMatrix(pictures.matrix, static_cast<double>(candidate.width) / pictures.matrixWidth,
            static_cast<double>(candidate.height) / pictures.matrixHeight);
        ending.length = source().length();
        const auto size = round.movie->finish(ending);
        if (!size)
            return fail(size.error());
        round.size = *size;
        return round;
    }

    Result<bool> writeBest(mp4::File& target, const std::function<bool(double)>& progress) override
    {
        return best_->movie->writeTo(target, progress);
    }

    void describeBest(TranscodingReport& report) const override
    {
        const auto& candidate = candidates_[best_->candidate];
        report.width = candidate.width;
        report.height = candidate.height;
        report.pictureRate = static_cast<double>(best_->pictureCount) / source().seconds();
        report.quality = best_->quality;
        report.rounds = rounds_;
    }

    ClipShape shape_;
    std::vector<PictureCandidate> candidates_;
    std::unique_ptr<PictureTranscoder> pictures_;
    std::size_t candidate_ = 0;
    double quality_ = goodQuality;
    SmallFileSearch search_;
    int rounds_ = 0;
    std::optional<Round> best_;
};

}  // namespace

Result<std::optional<platform::TranscodingReport>> makeSmallFile(
    mp4::File& source, const platform::TranscodingSettings& settings, ClipCodecs& codecs, const CopyTools& tools)
{
    return SmallFile{source, settings, codecs, tools}.make();
}

}  // namespace velmora::engine

#include "engine/sharing/MovieCopy.h"

#include "engine/sharing/MovieLadder.h"
#include "engine/sharing/SharedCopy.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace velmora::engine {

namespace {

using platform::CopyFormat;
using platform::TranscodingReport;

/// A first impression of a long clip, from parts of it.
constexpr int impressionParts = 3;
constexpr int mostImpressions = 3;

/// Half the bytes for each rung, until it is measured; and what no clip goes beyond.
constexpr double usualFall = 1;
constexpr double leastFall = 0.15;
constexpr double mostFall = 4;
/// Of a rung: less changes nothing.
constexpr double leastMove = 0.05;
/// How far it came is too little to go by at the very beginning.
constexpr double leastWritten = 0.02;
/// In powers of two: as close as that to what is sought, a copy tells how many colours it will have.
constexpr double closeBy = 0.6;

int quarterTurnsOf(const std::array<std::int32_t, 9>& matrix)
{
    if (matrix[1] > 0 && matrix[3] < 0)
        return 1;
    if (matrix[0] < 0 && matrix[4] < 0)
        return 2;
    return matrix[1] < 0 && matrix[3] > 0 ? 3 : 0;
}

/// Places of the ladder and the sizes that they had; finds the next to try.
class PlaceSearch {
public:
    PlaceSearch(double wanted, double coarsest) : wanted_(std::log2(std::max(wanted, 1.0))), coarsest_(coarsest) { }

    void add(double place, double bytes, bool fits)
    {
        const Point point{place, std::log2(std::max(bytes, 1.0))};
        auto& nearest = fits ? fits_ : exceeds_;
        sameSide_ = last_ && fits == didLastFit_ ? sameSide_ + 1 : 0;
        didLastFit_ = fits;
        if (!nearest || (fits ? place < nearest->place : place > nearest->place))
            nearest = point;
        if (last_ && std::abs(last_->place - place) >= leastMove)
            fall_ = std::clamp((last_->logarithm - point.logarithm) / (place - last_->place), leastFall, mostFall);
        last_ = point;
    }

    /// None where there is nothing between what fits and what does not. Precondition: add() was called.
    [[nodiscard]] std::optional<double> next() const
    {
        if (fits_ && exceeds_) {
            const auto room = fits_->place - exceeds_->place;
            if (room < 2 * leastMove)
                return std::nullopt;
            const auto fall = std::max(leastFall * room, exceeds_->logarithm - fits_->logarithm);
            // One that stays on one side of what is sought comes closer too slowly.
            const auto part = sameSide_ > 0 ? 0.5 : (exceeds_->logarithm - wanted_) / fall;
            return exceeds_->place + std::clamp(part * room, leastMove, room - leastMove);
        }
        if (exceeds_)
            // Rather too far than not far enough: what lies between is found faster.
            return std::min(coarsest_, exceeds_->place + leastMove + (exceeds_->logarithm - wanted_) / std::min(fall_, usualFall));
        return std::max(0.0, fits_->place - std::max(leastMove, (wanted_ - fits_->logarithm) / fall_));
    }

private:
    struct Point {
        double place = 0;
        double logarithm = 0;
    };
    const double wanted_;
    const double coarsest_;
    std::optional<Point> fits_;
    std::optional<Point> exceeds_;
    std::optional<Point> last_;
    double fall_ = usualFall;
    int sameSide_ = 0;
    bool didLastFit_ = false;
};

class Packets final : public MovieSound {
public:
    explicit Packets(const EncodedSound& sound) : sound_(sound) { }

    [[nodiscard]] const AudioFormat& format() const override { return *sound_.format->audio(); }
    [[nodiscard]] std::int64_t packetFrames() const override { return sound_.packetFrames; }
    [[nodiscard]] std::int64_t primingFrames() const override { return sound_.primingFrames; }
    [[nodiscard]] std::int64_t presentedFrames() const override { return sound_.presentedFrames; }

    Result<std::optional<std::span<const std::byte>>> next() override
    {
        if (index_ == sound_.packetSizes.size())
            return std::nullopt;
        bytes_.resize(sound_.packetSizes[index_++]);
        const auto complete = sound_.file->readAt(offset_, bytes_);
        if (!complete)
            return fail(complete.error());
        offset_ += bytes_.size();
        return std::span<const std::byte>{bytes_};
    }

private:
    const EncodedSound& sound_;
    std::size_t index_ = 0;
    std::uint64_t offset_ = 0;
    std::vector<std::byte> bytes_;
};

class MovieCopy final : public CopyWork {
public:
    MovieCopy(mp4::File& file, const platform::TranscodingSettings& settings, MovieCodecs& codecs, const CopyTools& tools)
        : CopyWork(file, settings, codecs, tools)
        , codecs_(codecs)
    {
    }

private:
    struct Round {
        std::unique_ptr<mp4::File> file;  // none where it became too large on the way
        std::uint64_t size = 0;
        double place = 0;
        MovieEncoding encoding;
        std::size_t pictureCount = 0;
    };

    struct Attempt {
        double place = 0;
        double size = 0;
        bool fits = false;
        int colours = 0;
    };

    Result<bool> prepare() override
    {
        const auto& pictures = source().pictures();
        shape_ = {pictures.width, pictures.height, source().length(), pictures.times};
        ladder_.emplace(settings().format, shape_);
        auto transcoder = codecs_.makeMovieTranscoder(settings().format, pictures.format, wantsSound());
        if (!transcoder)
            return fail(transcoder.error());
        transcoder_ = std::move(*transcoder);
        return false;
    }

    [[nodiscard]] bool wantsSound() const override { return settings().format == CopyFormat::webm && source().sound(); }

    [[nodiscard]] MovieEncoding encodingAt(double place) const
    {
        auto encoding = ladder_->at(place, colours_);
        encoding.quarterTurns = quarterTurnsOf(source().pictures().matrix);
        const auto rate = encoding.timing.largestRate > 0 ? encoding.timing.largestRate : usualRate(shape_);
        encoding.effort = effortFor(source().seconds() * rate * encoding.width * encoding.height, 1e8, 5e8);
        return encoding;
    }

    /// How large the whole of a long clip becomes, from parts of it, until a place seems to fit: from there on `place_`.
    Result<void> estimate() override
    {
        if (soundBytes() > limit())
            return limitTooSmall(limit(), source().seconds(), soundBytes() * 2);
        const auto length = source().length();
        const auto part = static_cast<std::int64_t>(probeSeconds * pictureTimescale);
        if (length <= 3 * impressionParts * part)
            return {};
        PlaceSearch search{limit() * aimedPart, ladder_->coarsest()};
        for (int probes = 1; probes <= mostImpressions; ++probes) {
            std::uint64_t bytes = 0;
            auto encoded =
                encodeParts(impressionParts, part, [&](CodedSamples& samples, std::int64_t begin, std::int64_t end) -> Result<void> {
                    auto encoding = encodingAt(place_);
                    encoding.begin = begin;
                    encoding.end = end;
                    std::uint64_t size = 0;
                    const auto written = transcoder_->transcode(
                        samples, encoding, nullptr,
                        [&](std::uint64_t offset, std::span<const std::byte> data) -> Result<void> {
                            size = std::max(size, offset + data.size());
                            return {};
                        },
                        [this](const MovieProgress&) { return goesOn(); });
                    bytes += size;
                    return written ? Result<void>{} : fail(written.error());
                });
            if (!encoded || isCancelled())
                return encoded;
            const auto whole =
                static_cast<double>(bytes) * static_cast<double>(length) / static_cast<double>(part * impressionParts) + soundBytes();
            const bool fits = whole <= limit();
            if (fits && (place_ == 0 || whole >= enoughPart * limit()))
                return {};
            search.add(place_, whole, fits);
            const auto next = search.next();
            if (!next)
                return {};
            place_ = *next;
        }
        return {};
    }

    Result<void> encodeRounds() override
    {
        std::vector<Attempt> attempts;
        for (rounds_ = 1;; ++rounds_) {
            auto encoded = encodeRound();
            if (!encoded)
                return fail(encoded.error());
            if (isCancelled())
                return {};
            auto& round = *encoded;
            const auto size = static_cast<double>(round.size);
            const bool fits = !isLimited() || (round.file && size <= limit());
            attempts.push_back({place_, size, fits, round.encoding.colours});
            if (fits && (!best_ || round.size > best_->size))
                best_ = std::move(round);
            if (best_ && (!isLimited() || best_->place == 0 || static_cast<double>(best_->size) >= enoughPart * limit()))
                return {};
            if (!fits && place_ >= ladder_->coarsest())
                return limitTooSmall(limit(), source().seconds(), size / aimedPart);
            const auto next = nextPlace(attempts);
            if (best_ && (rounds_ == mostRounds || !next || *next == best_->place))
                return {};
            if (!next || rounds_ == mostRounds)
                return limitMissed(limit());
            // Better coarse than not at all.
            place_ = !best_ && rounds_ + 1 == mostRounds ? ladder_->coarsest() : *next;
        }
    }

    /// Close to what is sought the number of colours stays what it is: a step of it may be larger than what is left to find, and each needs a
    /// palette of its own.
    [[nodiscard]] std::optional<double> nextPlace(const std::vector<Attempt>& attempts)
    {
        const auto wanted = limit() * aimedPart;
        if (const auto& last = attempts.back(); !colours_ && std::abs(std::log2(std::max(last.size, 1.0) / wanted)) < closeBy)
            colours_ = last.colours;
        PlaceSearch search{wanted, ladder_->coarsest()};
        for (const auto& attempt : attempts) {
            if (!colours_ || attempt.colours == *colours_)
                search.add(attempt.place, attempt.size, attempt.fits);
        }
        return search.next();
    }

    Result<Round> encodeRound()
    {
        auto scratch = makeScratch();
        if (!scratch)
            return fail(scratch.error());
        Round round;
        round.file = std::move(*scratch);
        round.place = place_;
        round.encoding = encodingAt(place_);
        const auto progress = roundProgress();
        std::optional<Packets> packets;
        if (sound())
            packets.emplace(*sound());
        double written = 0;
        bool isTooLarge = false;
        const auto samples = source().pictureSamples();
        const auto made = transcoder_->transcode(
            *samples, round.encoding, packets ? &*packets : nullptr,
            [&](std::uint64_t offset, std::span<const std::byte> data) -> Result<void> {
                round.size = std::max(round.size, offset + data.size());
                isTooLarge = isLimited() && static_cast<double>(round.size) > limit();
                return isTooLarge ? Result<void>{} : round.file->writeAt(offset, data);
            },
            [&](const MovieProgress& reached) {
                written = reached.written;
                return progress(reached.done) && !(isTooLarge && written > 0);
            });
        if (!made)
            return fail(made.error());
        if (isCancelled())
            return round;
        if (isTooLarge)
            round.file.reset();
        if (!*made) {
            round.size = static_cast<std::uint64_t>(static_cast<double>(round.size) / std::clamp(written, leastWritten, 1.0));
            return round;
        }
        round.pictureCount = (*made)->count;
        return round;
    }

    Result<bool> writeBest(mp4::File& target, const std::function<bool(double)>& progress) override
    {
        return copyBytes(*best_->file, best_->size, target, progress);
    }

    void describeBest(TranscodingReport& report) const override
    {
        const auto& encoding = best_->encoding;
        const bool isOnItsSide = encoding.quarterTurns % 2 == 1;
        report.width = isOnItsSide ? encoding.height : encoding.width;
        report.height = isOnItsSide ? encoding.width : encoding.height;
        report.pictureRate = static_cast<double>(best_->pictureCount) / source().seconds();
        report.quality = encoding.quality;
        report.colours = settings().format == CopyFormat::gif ? encoding.colours : 0;
        report.rounds = rounds_;
    }

    MovieCodecs& codecs_;
    ClipShape shape_;
    std::optional<MovieLadder> ladder_;
    std::unique_ptr<MovieTranscoder> transcoder_;
    double place_ = 0;
    std::optional<int> colours_;  // once they are settled
    int rounds_ = 0;
    std::optional<Round> best_;
};

}  // namespace

Result<std::optional<platform::TranscodingReport>> makeMovieCopy(
    mp4::File& source, const platform::TranscodingSettings& settings, MovieCodecs& codecs, const CopyTools& tools)
{
    return MovieCopy{source, settings, codecs, tools}.make();
}

}  // namespace velmora::engine

#include "media/mp4/TrimPlanner.h"

#include "media/mp4/AudioSpecificConfig.h"
#include "media/mp4/CuttableTrack.h"
#include "media/mp4/RecordingLayout.h"
#include "media/mp4/SequenceParameterSet.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

namespace velmora::mp4 {

namespace {

/// Between the last picture that is not shown and the first that is.
constexpr MediaTime shortestLeadInGap{34, 1000};
constexpr MediaTime longestLeadInGap{1, 1};

/// Between the end of what is shown and pictures after it. More than any rounding.
constexpr MediaTime leadOutGap{1, 1000};

/// A track's part, before it is known on what scale the movie gives its edits.
struct PlannedTrack {
    Track track;
    MediaTime begin;  ///< of what is shown, from the range's beginning
    std::int64_t mediaTime = 0;  ///< where that lies in the new media
    std::int64_t shown = 0;  ///< for how long, on the track's scale
};

/// The pictures of a track on a scale that is fine enough to be cut on.
class PicturePlanner {
public:
    PicturePlanner(const Track& source, const ShownMedia& shown, const Kept& kept, const StartsAfresh& startsAfresh)
        : source_(source)
        , kept_(kept)
        , startsAfresh_(startsAfresh)
        , factor_(source.timescale >= fineTimescale ? 1 : (videoTimescale + source.timescale - 1) / source.timescale)
        , timescale_(source.timescale * factor_)
        , begin_(shown.begin)
        , mediaBegin_(shown.mediaBegin * factor_)
        , mediaEnd_(shown.mediaEnd * factor_)
        , samples_(source.samples.expanded())
    {
        for (auto& sample : samples_)
            sample.decodeTime *= factor_;
    }

    Result<PlannedTrack> plan()
    {
        if (kept_.range.end <= begin_)
            return fail(makeError(ErrorCode::nothingInside, "There is no picture in that range."));
        chooseSpan();
        if (const auto result = chooseSamples(); !result)
            return fail(result.error());
        if (!(kept_.isWhole ? placeWhole() : place()))
            return tooLargeForAFile();
        return result();
    }

private:
    [[nodiscard]] std::int64_t presented(std::size_t index) const
    {
        return samples_[index].decodeTime + std::int64_t{samples_[index].compositionOffset} * factor_;
    }

    [[nodiscard]] std::int64_t ticks(MediaTime time) const { return time.converted(timescale_).value; }

    void chooseSpan()
    {
        const auto& range = kept_.range;
        spanBegin_ = mediaBegin_ + (range.start > begin_ ? ticks(range.start - begin_) : 0);
        // Past its end the last picture is held; there is nothing else to show.
        spanEnd_ = spanBegin_ < mediaEnd_ ? std::min(mediaEnd_, mediaBegin_ + ticks(range.end - begin_))
                                          : spanBegin_ + ticks(range.end - range.start);
        spanEnd_ = std::max(spanEnd_, spanBegin_ + 1);
        visibleEnd_ = std::min(spanEnd_, mediaEnd_);
    }

    Result<void> chooseSamples()
    {
        // The last picture presented at or before the beginning; the first one if the edit begins before it.
        std::optional<std::size_t> shown;
        const auto latest = std::min(spanBegin_, mediaEnd_ - 1);
        for (std::size_t i = 0; i < samples_.size(); ++i) {
            if (presented(i) <= latest && (!shown || presented(i) >= presented(*shown)))
                shown = i;
        }
        firstShown_ = shown.value_or(0);
        if (!kept_.isWhole) {
            const auto found = closedSyncSample();
            if (!found)
                return fail(found.error());
            first_ = *found;
        }
        last_ = firstShown_;
        for (std::size_t i = firstShown_; i < samples_.size(); ++i) {
            if (kept_.isWhole || presented(i) < visibleEnd_)
                last_ = i;
        }
        return {};
    }

    /// The last sync sample before the first shown picture that divides the track: nothing on either side is presented beyond it. What
    /// follows another kind may need pictures from before it.
    [[nodiscard]] Result<std::size_t> closedSyncSample() const
    {
        std::vector<std::size_t> candidates;
        auto latest = std::numeric_limits<std::int64_t>::min();
        for (std::size_t i = 0; i <= firstShown_; ++i) {
            if (samples_[i].isSync && presented(i) >= latest)
                candidates.push_back(i);
            latest = std::max(latest, presented(i));
        }
        auto earliest = std::numeric_limits<std::int64_t>::max();
        for (std::size_t i = samples_.size(); i-- > 0 && !candidates.empty();) {
            if (i == candidates.back()) {
                if (presented(i) <= earliest) {
                    const auto found = isRandomAccess(i);
                    if (!found)
                        return fail(found.error());
                    if (*found)
                        return i;
                }
                candidates.pop_back();
            }
            earliest = std::min(earliest, presented(i));
        }
        return std::size_t{0};
    }

    [[nodiscard]] Result<bool> isRandomAccess(std::size_t index) const { return startsAfresh_ ? startsAfresh_(samples_[index]) : true; }

    [[nodiscard]] bool isBeforeFirstShown(std::size_t index) const
    {
        return std::pair{presented(index), index} < std::pair{presented(firstShown_), firstShown_};
    }

    /// New times for the chosen samples, presentation first.
    bool place()
    {
        std::vector<std::size_t> before;
        std::vector<std::size_t> after;
        for (auto i = first_; i <= last_; ++i) {
            if (isBeforeFirstShown(i))
                before.push_back(i);
            else if (i != firstShown_ && presented(i) >= visibleEnd_)
                after.push_back(i);
        }
        const auto count = last_ - first_ + 1;
        edit_ = before.empty() ? 0 : static_cast<std::int64_t>(before.size()) - 1 + leadInGap(before.size(), count);
        end_ = edit_ + spanEnd_ - spanBegin_;

        std::vector<std::int64_t> presentation(count);
        for (auto i = first_; i <= last_; ++i)
            presentation[i - first_] = edit_ + std::max<std::int64_t>(0, presented(i) - spanBegin_);
        presentation[firstShown_ - first_] = edit_;
        line(before, 0, presentation);
        // Decoded only for others that are shown.
        line(after, end_ + ticks(leadOutGap), presentation);
        const auto mediaEnd = after.empty() ? end_ : end_ + ticks(leadOutGap) + static_cast<std::int64_t>(after.size());
        const auto decode = decodeTimes(presentation);
        // Some players (GStreamer's) take a track that is much shorter than the movie for a still picture, its pictures in order or not.
        const auto enough = decode.front() + (spanEnd_ - spanBegin_) / 2 - decode.back();
        return append(presentation, decode, std::max(mediaEnd - presentation.back(), enough));
    }

    /// Presents samples in their order, a tick each.
    void line(std::vector<std::size_t>& samples, std::int64_t begin, std::vector<std::int64_t>& presentation) const
    {
        std::stable_sort(samples.begin(), samples.end(), [this](std::size_t a, std::size_t b) { return presented(a) < presented(b); });
        for (const auto index : samples)
            presentation[index - first_] = begin++;
    }

    /// Some decoders (GStreamer's) take every picture to last as long as all do on average, from the second on, and show those that would
    /// reach into the edit.
    [[nodiscard]] std::int64_t leadInGap(std::size_t before, std::size_t count) const
    {
        const auto pictures = static_cast<double>(count - 1);
        const auto shown = static_cast<double>(spanEnd_ - spanBegin_) + static_cast<double>(before);
        // They round the average to a usual number of pictures a second.
        constexpr double leeway = 1.015;
        // With more than one picture before it, the gap itself counts.
        const double average = leeway * shown / (before == 1 ? pictures : std::max(pictures - leeway, 0.5));
        // Where the stream itself says how long a picture lasts, they believe that.
        const auto declared = declaredPictureDuration(source_.format->video()->decoderConfiguration).value_or(MediaTime::zero());
        const auto least = std::min(declared + MediaTime{1, 1000}, longestLeadInGap);
        return std::clamp(
            static_cast<std::int64_t>(std::min(average, 1e15)) + 1, ticks(std::max(least, shortestLeadInGap)), ticks(longestLeadInGap));
    }

    /// Each is decoded as late as possible, but from the range's beginning on no later than its own time says.
    [[nodiscard]] std::vector<std::int64_t> decodeTimes(const std::vector<std::int64_t>& presentation) const
    {
        std::vector<std::int64_t> times(presentation.size());
        auto latest = std::numeric_limits<std::int64_t>::max();
        for (std::size_t i = presentation.size(); i-- > 0;) {
            const auto own = samples_[first_ + i].decodeTime;
            times[i] = std::min(presentation[i], latest);
            if (own >= spanBegin_)
                times[i] = std::min(times[i], edit_ + own - spanBegin_);
            latest = times[i];
            if (i > 0 && samples_[first_ + i - 1].decodeTime < own)
                --latest;
        }
        return times;
    }

    /// The times of the source as they are.
    bool placeWhole()
    {
        std::vector<std::int64_t> presentation;
        std::vector<std::int64_t> decode;
        for (std::size_t i = 0; i < samples_.size(); ++i) {
            presentation.push_back(presented(i));
            decode.push_back(samples_[i].decodeTime);
        }
        edit_ = spanBegin_;
        end_ = spanEnd_;
        return append(presentation, decode, std::int64_t{samples_.back().duration} * factor_);
    }

    /// Whether a key frame is marked as one. Up to the first shown picture only the first is: some players (FFmpeg's) begin at the last one
    /// before the edit, and decoding may be unable to begin there. After it, some players (GStreamer's) take one for the end when what
    /// follows it in the media lies beyond the movie's duration.
    [[nodiscard]] bool isCalledSync(std::size_t index, const std::vector<std::int64_t>& decode) const
    {
        const auto first = decode.front();
        if (kept_.isWhole || index == 0 || edit_ == first)
            return true;
        if (first_ + index <= firstShown_)
            return false;
        return index + 1 < decode.size() && std::max(edit_, decode[index + 1]) - first < end_ - edit_;
    }

    bool append(const std::vector<std::int64_t>& presentation, const std::vector<std::int64_t>& decode, std::int64_t lastDuration)
    {
        for (std::size_t i = 0; i < decode.size(); ++i) {
            const auto& sample = samples_[first_ + i];
            const auto offset = presentation[i] - decode[i];
            if (offset > std::numeric_limits<std::int32_t>::max() || offset < std::numeric_limits<std::int32_t>::min())
                return false;
            const bool isSync = sample.isSync && isCalledSync(i, decode);
            if (!planned_.append({sample.offset, sample.size, decode[i] - decode.front(), static_cast<std::int32_t>(offset), isSync}))
                return false;
        }
        if (lastDuration > std::numeric_limits<std::uint32_t>::max())
            return false;
        planned_.setLastDuration(static_cast<std::uint32_t>(lastDuration));
        edit_ -= decode.front();
        end_ -= decode.front();
        return true;
    }

    PlannedTrack result()
    {
        PlannedTrack planned{emptyCopy(source_), MediaTime::zero(), edit_, end_ - edit_};
        planned.track.timescale = timescale_;
        planned.track.samples = std::move(planned_);
        if (begin_ > kept_.range.start)
            planned.begin = begin_ - kept_.range.start;
        return planned;
    }

    const Track& source_;
    const Kept& kept_;
    const StartsAfresh& startsAfresh_;
    const std::int32_t factor_;
    const std::int32_t timescale_;
    const MediaTime begin_;
    const std::int64_t mediaBegin_;
    const std::int64_t mediaEnd_;
    std::vector<Sample> samples_;  ///< decode times on the new scale

    // On the source's time line, the new scale.
    std::int64_t spanBegin_ = 0;
    std::int64_t spanEnd_ = 0;
    std::int64_t visibleEnd_ = 0;  ///< what is presented from here on is not shown
    std::size_t firstShown_ = 0;
    std::size_t first_ = 0;
    std::size_t last_ = 0;

    SampleTable planned_;
    // On the new media's time line.
    std::int64_t edit_ = 0;
    std::int64_t end_ = 0;
};

/// None when nothing of it is heard in the range.
Result<std::optional<PlannedTrack>> planSound(const Track& source, const ShownMedia& shown, const Kept& kept)
{
    const auto& range = kept.range;
    if (range.end <= shown.begin)
        return std::nullopt;
    const auto at = [&](MediaTime time) { return shown.mediaBegin + (time - shown.begin).converted(source.timescale).value; };
    auto begin = range.start > shown.begin ? at(range.start) : shown.mediaBegin;
    const auto end = std::min(shown.mediaEnd, at(range.end));
    if (begin >= end)
        return std::nullopt;

    const auto samples = source.samples.expanded();
    const auto startsAfter = [](std::int64_t time, const Sample& sample) { return time < sample.decodeTime; };
    const auto next = std::upper_bound(samples.begin(), samples.end(), begin, startsAfter);
    // The packet that holds the beginning, and the one before it.
    auto heard = next - std::min<std::ptrdiff_t>(next - samples.begin(), 1);
    const auto frames = packetFramesOf(source.format->audio()->decoderConfiguration);
    std::int64_t silence = 0;
    if (!kept.isWhole && next != samples.end() && begin >= heard->decodeTime + frames) {
        // A packet that lasts longer than it sounds.
        if (next->decodeTime >= end)
            return std::nullopt;
        silence = next->decodeTime - begin;
        begin = next->decodeTime;
        heard = next;
    }
    auto first = heard - std::min<std::ptrdiff_t>(heard - samples.begin(), 1);
    auto last = std::upper_bound(samples.begin(), samples.end(), end - 1, startsAfter) - 1;
    if (kept.isWhole) {
        first = samples.begin();
        last = samples.end() - 1;
    }
    // A packet that is there only to be decoded lasts no longer than it sounds, or the edit would leave out more than it holds.
    const auto gap = kept.isWhole || first == heard ? 0 : std::max<std::int64_t>(0, heard->decodeTime - first->decodeTime - frames);

    PlannedTrack planned{emptyCopy(source), MediaTime::zero(), begin - first->decodeTime - gap, end - begin};
    for (auto sample = first; sample <= last; ++sample) {
        const auto time = sample == first ? 0 : sample->decodeTime - first->decodeTime - gap;
        if (!planned.track.samples.append({sample->offset, sample->size, time, 0, sample->isSync}))
            return tooLargeForAFile();
    }
    // Readers that take the media's duration for the track's get the right one too.
    planned.track.samples.setLastDuration(kept.isWhole ? last->duration
                                                       : static_cast<std::uint32_t>(std::clamp<std::int64_t>(end - last->decodeTime,
                                                           std::min<std::uint32_t>(1, last->duration), last->duration)));
    if (shown.begin > range.start)
        planned.begin = shown.begin - range.start;
    planned.begin = planned.begin + MediaTime{silence, source.timescale};
    return planned;
}

Result<std::optional<PlannedTrack>> planHeardSound(const Movie& movie, const Track& source, const ShownMedia& shown, const Kept& kept)
{
    const auto& configuration = source.format->audio()->decoderConfiguration;
    const auto rate = sampleRateOf(configuration);
    if (kept.isWhole || rate == 0 || rate == source.timescale)
        return planSound(source, shown, kept);
    const auto track = onItsOwnClock(source, rate, packetFramesOf(configuration));
    if (!track)
        return fail(track.error());
    const auto shownOnIt = shownMedia(movie, *track);
    if (!shownOnIt)
        return fail(shownOnIt.error());
    return planSound(*track, *shownOnIt, kept);
}

void setEdits(PlannedTrack& planned, std::int32_t movieTimescale)
{
    const auto begin = planned.begin.converted(movieTimescale).value;
    // The end is rounded, not the length: tracks that end together end together.
    const auto end = (planned.begin + MediaTime{planned.shown, planned.track.timescale}).converted(movieTimescale).value;
    auto& track = planned.track;
    if (begin > 0)
        track.edits.push_back({static_cast<std::uint64_t>(begin), -1});
    if (begin > 0 || planned.mediaTime > 0 || static_cast<std::uint64_t>(planned.shown) != track.samples.duration())
        track.edits.push_back({static_cast<std::uint64_t>(std::max<std::int64_t>(1, end - begin)), planned.mediaTime});
}

}  // namespace

Result<Movie> planTrim(const Movie& source, const TimeRange& range, const StartsAfresh& startsAfresh)
{
    struct Candidate {
        const Track* track;
        ShownMedia shown;
    };
    std::vector<Candidate> candidates;
    std::size_t pictureTracks = 0;
    MediaTime duration{0, source.timescale};
    for (const auto& track : source.tracks) {
        if (track.samples.isEmpty())
            continue;
        if (const auto result = checkTrack(track); !result)
            return fail(result.error());
        const auto shown = shownMedia(source, track);
        if (!shown)
            return fail(shown.error());
        duration = std::max(duration, endOf(*shown, track));
        pictureTracks += track.isVideo() ? 1U : 0U;
        candidates.push_back({&track, *shown});
    }
    if (pictureTracks == 0)
        return fail(makeError(ErrorCode::nothingInside, "The file has no video."));
    if (pictureTracks > 1)
        return cannotBeCut("it has more than one video track");
    const auto kept = keptRange(range, duration);
    if (!kept)
        return fail(kept.error());

    std::vector<PlannedTrack> planned;
    std::int32_t soundTimescale = 0;
    std::int32_t pictureTimescale = 0;
    for (const auto& [track, shown] : candidates) {
        if (track->isVideo()) {
            auto pictures = PicturePlanner{*track, shown, *kept, startsAfresh}.plan();
            if (!pictures)
                return fail(pictures.error());
            pictureTimescale = pictures->track.timescale;
            planned.push_back(std::move(*pictures));
            continue;
        }
        auto sound = planHeardSound(source, *track, shown, *kept);
        if (!sound)
            return fail(sound.error());
        if (!*sound)
            continue;
        if (soundTimescale == 0)
            soundTimescale = (**sound).track.timescale;
        planned.push_back(std::move(**sound));
    }

    Movie movie;
    // One scale on which the edges of the sound are exact.
    movie.timescale = soundTimescale > 0 ? soundTimescale : pictureTimescale;
    if (kept->isWhole && !source.isFragmented)
        movie.timescale = source.timescale;
    movie.creationTime = source.creationTime;
    for (auto& track : planned) {
        setEdits(track, movie.timescale);
        if (!kept->isWhole && track.track.isVideo() && track.mediaTime > 0) {
            const MediaTime leadIn{track.mediaTime, track.track.timescale};
            if (presentationDuration(movie, track.track) <= leadIn)
                movie.leastDuration = static_cast<std::uint64_t>(leadIn.converted(movie.timescale).value) + 2;
        }
        movie.tracks.push_back(std::move(track.track));
    }
    return movie;
}

}  // namespace velmora::mp4

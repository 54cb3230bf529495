#include "media/mp4/SplicePlanner.h"

#include "media/mp4/AudioSpecificConfig.h"
#include "media/mp4/CuttableTrack.h"
#include "media/mp4/PictureData.h"
#include "media/mp4/RecordingLayout.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <utility>

namespace velmora::mp4 {

namespace {

tl::unexpected<Error> spliceRefused(const std::string& why)
{
    return fail(makeError(ErrorCode::unsupported, why));
}

/// A day of sixty pictures a second. More is claimed by a damaged file sooner than it is recorded.
constexpr std::size_t mostSamples = std::size_t{5} << 20;

/// The error of one of several sources says which one it is of.
Error named(Error error, const std::vector<SpliceSource>& sources, std::size_t source)
{
    if (sources.size() > 1)
        error.localizedDescription = sources[source].name + ": " + error.localizedDescription;
    return error;
}

/// What a source has to show and to sound.
struct SourceTracks {
    const Track* pictures = nullptr;
    const Track* sound = nullptr;
    ShownMedia shownPictures;
    Track soundOnItsClock;
    ShownMedia shownSound;
    MediaTime duration;
};

Result<SourceTracks> tracksOf(const Movie& movie)
{
    SourceTracks tracks;
    tracks.duration = {0, movie.timescale};
    for (const auto& track : movie.tracks) {
        if (track.samples.isEmpty())
            continue;
        if (const auto result = checkTrack(track); !result)
            return fail(result.error());
        if (track.samples.count() > mostSamples)
            return tooLargeForAFile();
        const auto shown = shownMedia(movie, track);
        if (!shown)
            return fail(shown.error());
        tracks.duration = std::max(tracks.duration, endOf(*shown, track));
        if (track.isVideo()) {
            if (tracks.pictures)
                return cannotBeCut("it has more than one video track");
            if (track.format->video()->codec != FourCharacterCode{"avc1"} || !hasParameterSetsInEntry(track))
                return cannotBeCut("what a decoder has to know comes with its pictures");
            tracks.pictures = &track;
            tracks.shownPictures = *shown;
            continue;
        }
        if (tracks.sound)
            return cannotBeCut("it has more than one track of sound");
        const auto& configuration = track.format->audio()->decoderConfiguration;
        const auto rate = sampleRateOf(configuration);
        if (rate == 0 || packetFramesOf(configuration) != SoundSplice::packetFrames)
            return cannotBeCut("its sound is a kind of AAC that is not encoded here");
        tracks.sound = &track;
        auto onItsClock = rate == track.timescale ? Result<Track>{track} : onItsOwnClock(track, rate, SoundSplice::packetFrames);
        if (!onItsClock)
            return fail(onItsClock.error());
        const auto shownOnIt = shownMedia(movie, *onItsClock);
        if (!shownOnIt)
            return fail(shownOnIt.error());
        tracks.soundOnItsClock = std::move(*onItsClock);
        tracks.shownSound = *shownOnIt;
    }
    if (!tracks.pictures)
        return fail(makeError(ErrorCode::nothingInside, "The file has no video."));
    return tracks;
}

std::string sizeOf(const Track& track)
{
    const auto& format = *track.format->video();
    return std::to_string(format.width) + " x " + std::to_string(format.height);
}

std::string shapeOf(const Track& track)
{
    return std::to_string(track.shownWidth >> 16) + " x " + std::to_string(track.shownHeight >> 16);
}

/// What keeps two tracks of pictures or of sound from being one; empty if nothing does.
std::string differenceOf(const SourceTracks& first, const std::string& firstName, const SourceTracks& other, const std::string& name)
{
    const auto differ = [&](const std::string& what, const std::string& mine, const std::string& theirs) {
        return what + " of " + name + " " + theirs + ", and those of " + firstName + " " + mine;
    };
    const auto& a = *first.pictures->format->video();
    const auto& b = *other.pictures->format->video();
    if (a.width != b.width || a.height != b.height)
        return differ("the pictures", "are " + sizeOf(*first.pictures), "are " + sizeOf(*other.pictures));
    if (first.pictures->shownWidth != other.pictures->shownWidth || first.pictures->shownHeight != other.pictures->shownHeight)
        return differ("the pictures", "are shown as " + shapeOf(*first.pictures), "are shown as " + shapeOf(*other.pictures));
    // Where a picture is put does not matter, how it is turned does.
    constexpr std::array<std::size_t, 4> turning{0, 1, 3, 4};
    if (std::any_of(turning.begin(), turning.end(), [&](auto i) { return first.pictures->matrix.at(i) != other.pictures->matrix.at(i); }))
        return differ("the pictures", "are turned another way", "are turned one way");
    if (!(a.colour == b.colour))
        return differ("the pictures", "have others", "have colours of one kind");
    if (a.decoderConfiguration != b.decoderConfiguration)
        return differ("the pictures", "by another", "were made by one encoder");
    if ((first.sound == nullptr) != (other.sound == nullptr))
        return (other.sound ? name : firstName) + " has sound, and " + (other.sound ? firstName : name) + " has none";
    if (!first.sound)
        return {};
    const auto& heard = *first.sound->format->audio();
    const auto& there = *other.sound->format->audio();
    if (first.soundOnItsClock.timescale != other.soundOnItsClock.timescale)
        return "the sound of " + name + " has " + std::to_string(other.soundOnItsClock.timescale) + " samples a second, and that of "
            + firstName + " " + std::to_string(first.soundOnItsClock.timescale);
    if (heard.channelCount != there.channelCount)
        return "the sound of " + name + " has " + std::to_string(there.channelCount) + " channels, and that of " + firstName + " "
            + std::to_string(heard.channelCount);
    if (heard.decoderConfiguration != there.decoderConfiguration)
        return "the sound of " + name + " is another kind of AAC than that of " + firstName;
    return {};
}

/// The pictures of a source, on the scale of the new track.
class PictureSource {
public:
    PictureSource(const SpliceSource& source, const SourceTracks& tracks, std::int32_t timescale)
        : source_(source)
        , timescale_(timescale)
        , samples_(tracks.pictures->samples.expanded())
        , begin_(tracks.shownPictures.begin)
        , mediaBegin_(scaled(tracks.shownPictures.mediaBegin, tracks.pictures->timescale))
        , mediaEnd_(scaled(tracks.shownPictures.mediaEnd, tracks.pictures->timescale))
    {
        auto latest = std::numeric_limits<std::int64_t>::min();
        for (const auto& sample : samples_) {
            presented_.push_back(scaled(sample.decodeTime + sample.compositionOffset, tracks.pictures->timescale));
            decoded_.push_back(scaled(sample.decodeTime, tracks.pictures->timescale));
            latest = std::max(latest, presented_.back());
            latestUpTo_.push_back(latest);
        }
        earliestFrom_.resize(samples_.size());
        auto earliest = std::numeric_limits<std::int64_t>::max();
        for (auto i = samples_.size(); i-- > 0;)
            earliestFrom_[i] = earliest = std::min(earliest, presented_[i]);
    }

    [[nodiscard]] std::size_t count() const { return samples_.size(); }
    [[nodiscard]] const Sample& sample(std::size_t index) const { return samples_[index]; }
    [[nodiscard]] std::int64_t presented(std::size_t index) const { return presented_[index]; }
    [[nodiscard]] std::int64_t decoded(std::size_t index) const { return decoded_[index]; }
    [[nodiscard]] std::int64_t latestUpTo(std::size_t index) const { return latestUpTo_[index]; }
    [[nodiscard]] MediaTime begin() const { return begin_; }
    [[nodiscard]] std::int64_t mediaBegin() const { return mediaBegin_; }
    [[nodiscard]] std::int64_t mediaEnd() const { return mediaEnd_; }

    /// Whether the track falls into two at the sample: nothing on either side is presented beyond it.
    [[nodiscard]] bool divides(std::size_t index) const
    {
        return (index == 0 || latestUpTo_[index - 1] < presented_[index]) && earliestFrom_[index] == presented_[index];
    }

    /// Whether everything from the sample on is presented after everything before it.
    [[nodiscard]] bool isBorder(std::size_t index) const
    {
        return index == 0 || index == samples_.size() || latestUpTo_[index - 1] < earliestFrom_[index];
    }

    [[nodiscard]] Result<bool> canBeCopiedFrom(std::size_t index) const
    {
        if (!samples_[index].isSync || !divides(index))
            return false;
        return source_.isInstantRefresh ? source_.isInstantRefresh(samples_[index]) : true;
    }

    /// The last sample up to `index` at which decoding can begin; the first one if there is none.
    [[nodiscard]] Result<std::size_t> decodingStart(std::size_t index) const
    {
        for (auto i = index + 1; i-- > 0;) {
            if (!samples_[i].isSync || !divides(i))
                continue;
            const auto found = source_.startsAfresh ? source_.startsAfresh(samples_[i]) : Result<bool>{true};
            if (!found)
                return fail(found.error());
            if (*found)
                return i;
        }
        return std::size_t{0};
    }

private:
    [[nodiscard]] std::int64_t scaled(std::int64_t ticks, std::int32_t scale) const
    {
        return MediaTime{ticks, scale}.converted(timescale_).value;
    }

    const SpliceSource& source_;
    const std::int32_t timescale_;
    const std::vector<Sample> samples_;
    const MediaTime begin_;
    const std::int64_t mediaBegin_;
    const std::int64_t mediaEnd_;
    std::vector<std::int64_t> presented_;
    std::vector<std::int64_t> decoded_;
    std::vector<std::int64_t> latestUpTo_;
    std::vector<std::int64_t> earliestFrom_;
};

/// The pictures of all spans, one span after the other.
class PictureSplicer {
public:
    PictureSplicer(SplicePlan& plan, std::int32_t timescale) : plan_(plan), timescale_(timescale) { }

    /// `begin`: of the span in the new movie.
    Result<void> add(const PictureSource& source, std::size_t number, const TimeRange& range, MediaTime begin)
    {
        const auto ticks = [this](MediaTime time) { return time.converted(timescale_).value; };
        if (range.end <= source.begin())
            return {};
        const auto late = range.start < source.begin() ? source.begin() - range.start : MediaTime::zero();
        const auto from = source.mediaBegin() + (range.start > source.begin() ? ticks(range.start - source.begin()) : 0);
        const auto begins = ticks(begin + late);
        const auto ends = ticks(begin + range.end - range.start);
        // Past its end the last picture is held; there is nothing else to show.
        const auto end = from < source.mediaEnd() ? std::min(source.mediaEnd(), from + ends - begins) : from + 1;
        const Place place{number, from, begins};
        const auto shown = shownPictures(source, from, std::min(end, source.mediaEnd()));
        if (auto result = addShown(source, place, shown); !result)
            return result;
        plan_.picturesEnd = from < source.mediaEnd() ? begins + end - from : ends;
        return {};
    }

    /// Decode times for what was added, each as late as possible. Precondition: there is a picture.
    void setDecodeTimes()
    {
        auto latest = std::numeric_limits<std::int64_t>::max();
        for (auto picture = plan_.pictures.rbegin(); picture != plan_.pictures.rend(); ++picture) {
            picture->decode = std::min(picture->decode, latest);
            latest = picture->decode - 1;
        }
    }

private:
    struct Place {
        std::size_t source;
        std::int64_t from;  ///< on the source's time line
        std::int64_t begins;  ///< on the new one
    };

    /// Those presented before `end`, in that order, the first being the one on the screen at `from`.
    static std::vector<std::size_t> shownPictures(const PictureSource& source, std::int64_t from, std::int64_t end)
    {
        std::vector<std::size_t> shown;
        std::optional<std::size_t> first;
        const auto latest = std::min(from, source.mediaEnd() - 1);
        for (std::size_t i = 0; i < source.count(); ++i) {
            if (source.presented(i) <= latest && (!first || source.presented(i) >= source.presented(*first)))
                first = i;
            if (source.presented(i) > latest && source.presented(i) < end)
                shown.push_back(i);
        }
        if (first || shown.empty())
            shown.push_back(first.value_or(0));
        std::stable_sort(
            shown.begin(), shown.end(), [&](std::size_t a, std::size_t b) { return source.presented(a) < source.presented(b); });
        return shown;
    }

    Result<void> addShown(const PictureSource& source, const Place& place, const std::vector<std::size_t>& shown)
    {
        // The first picture from which on nothing is needed that comes before.
        auto copied = shown.begin();
        for (; copied != shown.end(); ++copied) {
            const auto canBe = source.canBeCopiedFrom(*copied);
            if (!canBe)
                return fail(canBe.error());
            if (*canBe)
                break;
        }
        if (auto result = encode(source, place, {shown.begin(), copied}); !result || copied == shown.end())
            return result;
        // As far as it goes without one that is not shown.
        const auto last = source.presented(shown.back());
        auto end = *copied;
        for (auto i = *copied; i < source.count() && source.presented(i) <= last; ++i) {
            if (source.isBorder(i + 1))
                end = i + 1;
        }
        if (copied == shown.begin() && end > *copied)
            separateRefreshes();
        for (auto i = *copied; i < end; ++i)
            copy(source, place, i);
        if (end > *copied) {
            const auto isRefresh = source.canBeCopiedFrom(end - 1);
            if (!isRefresh)
                return fail(isRefresh.error());
            if (*isRefresh)
                lastRefresh_ = PictureRun{place.source, end - 1, end - 1, {end - 1}};
        }
        const auto rest = end == *copied ? copied
                                         : std::upper_bound(copied, shown.end(), source.latestUpTo(end - 1),
                                             [&](auto time, auto index) { return time < source.presented(index); });
        return encode(source, place, {rest, shown.end()});
    }

    [[nodiscard]] static std::int64_t presentation(const PictureSource& source, const Place& place, std::size_t index)
    {
        return place.begins + std::max<std::int64_t>(0, source.presented(index) - place.from);
    }

    /// Two IDR pictures that follow one another must have different numbers (ISO 14496-10 7.4.3, idr_pic_id), which those of two spans need
    /// not have. So the first of them, which nothing else needs, is encoded anew, with another parameter set.
    void separateRefreshes()
    {
        if (!lastRefresh_)
            return;
        plan_.pictures.back().origin = {SampleOrigin::anew, 0, 0};
        plan_.pictureRuns.push_back(std::move(*lastRefresh_));
        lastRefresh_.reset();
    }

    void copy(const PictureSource& source, const Place& place, std::size_t index)
    {
        lastRefresh_.reset();
        const auto& sample = source.sample(index);
        const auto presented = presentation(source, place, index);
        const auto delay = std::max<std::int64_t>(0, source.presented(index) - source.decoded(index));
        plan_.pictures.push_back({{place.source, sample.offset, sample.size}, presented, presented - delay, sample.isSync});
    }

    Result<void> encode(const PictureSource& source, const Place& place, std::vector<std::size_t> shown)
    {
        if (shown.empty())
            return {};
        lastRefresh_.reset();
        const auto [first, last] = std::minmax_element(shown.begin(), shown.end());
        const auto start = source.decodingStart(*first);
        if (!start)
            return fail(start.error());
        for (const auto index : shown) {
            const auto presented = presentation(source, place, index);
            plan_.pictures.push_back({{SampleOrigin::anew, 0, 0}, presented, presented, index == shown.front()});
        }
        plan_.pictureRuns.push_back({place.source, *start, *last, std::move(shown)});
        return {};
    }

    SplicePlan& plan_;
    const std::int32_t timescale_;
    std::optional<PictureRun> lastRefresh_;  ///< the picture added last, if it is an IDR picture and copied
};

SoundSource soundSource(const Track& track)
{
    SoundSource source{track.samples.expanded(), true};
    for (std::size_t i = 0; i + 1 < source.packets.size(); ++i)
        source.isGapless = source.isGapless && source.packets[i + 1].decodeTime - source.packets[i].decodeTime == SoundSplice::packetFrames;
    return source;
}

/// The sound of a span, if it has any.
std::optional<SoundSpan> soundSpan(const SourceTracks& tracks, const KeptSpan& kept, MediaTime begin)
{
    const auto rate = tracks.soundOnItsClock.timescale;
    const auto frames = [rate](MediaTime time) { return time.converted(rate).value; };
    const auto& shown = tracks.shownSound;
    SoundSpan span;
    span.source = kept.source;
    const auto spanBegin = frames(begin);
    const auto spanEnd = frames(begin + kept.range.end - kept.range.start);
    const auto mediaAtBegin = shown.mediaBegin + frames(kept.range.start) - frames(shown.begin);
    span.mediaOffset = mediaAtBegin - spanBegin;
    span.begin = std::max(spanBegin, shown.mediaBegin - span.mediaOffset);
    span.end = std::min(spanEnd, shown.mediaEnd - span.mediaOffset);
    if (span.begin >= span.end)
        return std::nullopt;
    return span;
}

struct Placed {
    KeptSpan span;
    MediaTime begin;
};

void planSound(SplicePlan& plan, const std::vector<SourceTracks>& tracks, const std::vector<Placed>& placed)
{
    SoundSplice splice;
    splice.rate = tracks.front().soundOnItsClock.timescale;
    for (const auto& source : tracks)
        splice.sources.push_back(soundSource(source.soundOnItsClock));
    for (const auto& [kept, begin] : placed) {
        if (const auto span = soundSpan(tracks[kept.source], kept, begin)) {
            splice.spans.push_back(*span);
            splice.end = std::max(splice.end, span->end);
        }
    }
    if (splice.spans.empty())
        return;
    splice.spans.front().extendsBack = splice.spans.front().begin == 0;
    splice.spans.back().extendsOn = true;
    planSoundRuns(splice);
    plan.sound = std::move(splice);
}

}  // namespace

std::vector<TimeRange> rangesWithout(const TimeRange& whole, std::vector<TimeRange> cuts)
{
    std::sort(cuts.begin(), cuts.end(), [](const TimeRange& a, const TimeRange& b) { return a.start < b.start; });
    std::vector<TimeRange> kept;
    auto next = whole.start;
    for (const auto& cut : cuts) {
        if (!(cut.start < cut.end) || cut.end <= next)
            continue;
        if (cut.start > next)
            kept.push_back({next, std::min(cut.start, whole.end)});
        next = cut.end;
        if (next >= whole.end)
            return kept;
    }
    kept.push_back({next, whole.end});
    return kept;
}

Result<SplicePlan> planSplice(const std::vector<SpliceSource>& sources, const std::vector<KeptSpan>& spans)
{
    SplicePlan plan;
    if (spans.size() == 1 && spans[0].source == 0) {
        auto trim = planTrim(*sources[0].movie, spans[0].range, sources[0].startsAfresh);
        if (!trim)
            return fail(trim.error());
        plan.movie = std::move(*trim);
        plan.isTrim = true;
        return plan;
    }
    if (spans.empty())
        return fail(makeError(ErrorCode::invalidRange, "Nothing is left of the clip."));

    std::vector<SourceTracks> tracks;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        auto found = tracksOf(*sources[i].movie);
        if (!found)
            return fail(named(found.error(), sources, i));
        tracks.push_back(std::move(*found));
        if (const auto difference = differenceOf(tracks.front(), sources.front().name, tracks.back(), sources[i].name); !difference.empty())
            return spliceRefused("The clips do not go together: " + difference + ".");
    }

    const auto pictureScale = tracks.front().pictures->timescale;
    const auto factor = pictureScale >= fineTimescale ? 1 : (videoTimescale + pictureScale - 1) / pictureScale;
    const auto timescale = pictureScale * factor;
    std::vector<Placed> placed;
    MediaTime begin = MediaTime::zero();
    for (const auto& span : spans) {
        auto kept = keptRange(span.range, tracks[span.source].duration);
        if (!kept)
            return fail(named(kept.error(), sources, span.source));
        placed.push_back({{span.source, kept->range}, begin});
        begin = begin + (kept->range.end - kept->range.start);
    }

    PictureSplicer splicer{plan, timescale};
    std::optional<PictureSource> source;
    std::optional<std::size_t> sourceNumber;
    for (const auto& [span, at] : placed) {
        if (sourceNumber != span.source)
            source.emplace(sources[span.source], tracks[span.source], timescale);
        sourceNumber = span.source;
        if (const auto added = splicer.add(*source, span.source, span.range, at); !added)
            return fail(named(added.error(), sources, span.source));
    }
    if (plan.pictures.empty())
        return fail(makeError(ErrorCode::nothingInside, "There is no picture in that range."));
    splicer.setDecodeTimes();

    plan.movie.creationTime = sources.front().movie->creationTime;
    plan.movie.timescale = timescale;
    plan.movie.tracks.push_back(emptyCopy(*tracks.front().pictures));
    plan.movie.tracks.back().timescale = timescale;
    if (tracks.front().sound) {
        planSound(plan, tracks, placed);
        if (plan.sound) {
            plan.movie.timescale = plan.sound->rate;
            plan.movie.tracks.push_back(emptyCopy(tracks.front().soundOnItsClock));
        }
    }
    return plan;
}

}  // namespace velmora::mp4

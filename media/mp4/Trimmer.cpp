#include "media/mp4/Trimmer.h"

#include "media/mp4/MovieReader.h"
#include "media/mp4/PictureData.h"
#include "media/mp4/RecordingLayout.h"
#include "media/mp4/Repair.h"
#include "media/mp4/TrimPlanner.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace velmora::mp4 {

namespace {

constexpr std::size_t bufferSize = std::size_t{1} << 20;

/// Bytes that follow one another in the source and in the target.
struct Extent {
    std::uint64_t from = 0;
    std::uint64_t size = 0;
};

/// The media of a plan in the order of the source, without gaps.
class MediaLayout {
public:
    explicit MediaLayout(const Movie& plan)
    {
        for (std::size_t track = 0; track < plan.tracks.size(); ++track)
            addChunks(track, plan.tracks[track].samples);
        std::stable_sort(chunks_.begin(), chunks_.end(), [](const Chunk& a, const Chunk& b) { return a.from < b.from; });
        for (auto& chunk : chunks_) {
            chunk.to = size_;
            size_ += chunk.size;
            if (!extents_.empty() && extents_.back().from + extents_.back().size == chunk.from)
                extents_.back().size += chunk.size;
            else
                extents_.push_back({chunk.from, chunk.size});
        }
    }

    [[nodiscard]] std::uint64_t size() const { return size_; }
    [[nodiscard]] const std::vector<Extent>& extents() const { return extents_; }

    /// Puts the samples of `plan` where this layout has them when the media begins at `begin`.
    void apply(Movie& plan, std::uint64_t begin) const
    {
        std::vector<std::vector<std::uint64_t>> offsets;
        for (const auto& track : plan.tracks)
            offsets.emplace_back(track.samples.chunks().size());
        for (const auto& chunk : chunks_)
            offsets[chunk.track][chunk.index] = begin + chunk.to;
        for (std::size_t track = 0; track < plan.tracks.size(); ++track)
            plan.tracks[track].samples.setChunkOffsets(offsets[track]);
    }

private:
    struct Chunk {
        std::size_t track = 0;
        std::size_t index = 0;
        std::uint64_t from = 0;
        std::uint64_t to = 0;
        std::uint64_t size = 0;
    };

    void addChunks(std::size_t track, const SampleTable& samples)
    {
        auto size = samples.sizes().begin();
        for (std::size_t index = 0; index < samples.chunks().size(); ++index) {
            Chunk chunk{track, index, samples.chunks()[index].offset, 0, 0};
            for (std::uint32_t i = 0; i < samples.chunks()[index].sampleCount; ++i)
                chunk.size += *size++;
            chunks_.push_back(chunk);
        }
    }

    std::vector<Chunk> chunks_;
    std::vector<Extent> extents_;
    std::uint64_t size_ = 0;
};

/// The bytes before the media; they and the plan agree on where the media begins.
std::vector<std::byte> headOf(Movie& plan, const MediaLayout& layout)
{
    // Offsets beyond 4 GiB make the index larger, which moves them further, never back.
    std::uint64_t begin = 0;
    for (;;) {
        layout.apply(plan, begin);
        auto head = serializeWholeHead(plan, layout.size());
        if (head.size() == begin)
            return head;
        begin = head.size();
    }
}

const Track* pictureTrack(const Movie& movie)
{
    const auto found = std::find_if(
        movie.tracks.begin(), movie.tracks.end(), [](const Track& track) { return track.isVideo() && !track.samples.isEmpty(); });
    return found == movie.tracks.end() ? nullptr : &*found;
}

/// What was not read may lie anywhere after the point where reading failed.
Result<void> checkWasRead(const MovieFile& read, const TimeRange& range)
{
    if (!read.unread || !range.end.isValid())
        return {};
    const auto& [from, what] = *read.unread;
    if (range.end <= std::max(from, from.converted(range.end.timescale)))
        return {};
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.3f", from.seconds());
    // The decimal point follows the locale.
    std::replace(seconds, seconds + sizeof seconds, ',', '.');
    return fail(makeError(ErrorCode::damaged,
        std::string{"The file cannot be trimmed beyond "} + seconds + " s, because it could not be read from there on: " + what + "."));
}

/// Fails where a decoder would begin without parameter sets, or with others than those the pictures were made with.
Result<void> checkParameterSets(File& source, const Movie& movie, const Movie& plan)
{
    const auto* whole = pictureTrack(movie);
    const auto* part = pictureTrack(plan);
    if (!whole || !part || (whole->format->video()->codec == FourCharacterCode{"avc1"} && hasParameterSetsInEntry(*whole)))
        return {};
    Sample first;
    SampleTable::Cursor{part->samples}.next(first);
    const auto begin = readPictureContent(source, *whole, first);
    if (!begin)
        return fail(begin.error());
    if (begin->hasParameterSets)
        return {};
    // Those of the sample entry hold until a picture brings others.
    bool areInEntry = hasParameterSetsInEntry(*whole);
    SampleTable::Cursor cursor{whole->samples};
    for (Sample sample; areInEntry && cursor.next(sample) && sample.offset != first.offset;) {
        const auto content = readPictureContent(source, *whole, sample);
        if (!content)
            return fail(content.error());
        areInEntry = !content->hasParameterSets;
    }
    if (!areInEntry)
        return fail(makeError(
            ErrorCode::unsupported, "The file cannot be trimmed exactly: the part's first picture lacks what a decoder has to know."));
    return {};
}

}  // namespace

Result<Movie> readAndPlanTrim(File& source, const TimeRange& range)
{
    auto read = readMovie(source);
    if (read && read->recording && !read->recording->isFinished) {
        read = readWholeFragments(source);
        // It may have been finished in between.
        if (read && read->movie.isFragmented)
            closeRecordedMovie(read->movie, {});
    }
    if (!read)
        return fail(read.error());
    const auto* pictures = pictureTrack(read->movie);
    auto plan = planTrim(read->movie, range, [&](const Sample& sample) -> Result<bool> {
        const auto content = readPictureContent(source, *pictures, sample);
        if (!content)
            return fail(content.error());
        return content->startsAfresh;
    });
    if (!plan)
        return plan;
    if (const auto result = checkWasRead(*read, range); !result)
        return fail(result.error());
    if (const auto result = checkParameterSets(source, read->movie, *plan); !result)
        return fail(result.error());
    return plan;
}

Result<TrimOutcome> writeTrim(File& source, Movie plan, File& target, const TrimProgress& progress, const TrimOptions& options)
{
    plan.creationTime = options.creationTime;
    const MediaLayout layout{plan};
    const auto sourceSize = source.size();
    if (!sourceSize)
        return fail(sourceSize.error());
    // A few bytes of a file can be claimed by as many samples as a file may have.
    if (layout.size() > *sourceSize)
        return fail(makeError(ErrorCode::damaged, "The file is damaged: its samples share their bytes."));
    const auto head = headOf(plan, layout);
    if (const auto result = target.writeAt(0, head); !result)
        return fail(result.error());

    std::vector<std::byte> buffer(std::min(bufferSize, options.largestBlock));
    std::uint64_t done = 0;
    for (auto extent : layout.extents()) {
        while (extent.size > 0) {
            if (progress && !progress(static_cast<double>(done) / static_cast<double>(layout.size())))
                return TrimOutcome::cancelled;
            const auto block = std::min<std::uint64_t>(extent.size, options.largestBlock);
            const auto complete = target.copyFrom(source, extent.from, head.size() + done, block, buffer);
            if (!complete)
                return fail(complete.error());
            if (!*complete)
                return fail(makeError(ErrorCode::damaged, "The file became shorter while it was being trimmed."));
            extent.from += block;
            extent.size -= block;
            done += block;
        }
    }
    return progress && !progress(1) ? TrimOutcome::cancelled : TrimOutcome::written;
}

Result<TrimOutcome> trim(File& source, const TimeRange& range, File& target, const TrimProgress& progress, const TrimOptions& options)
{
    auto plan = readAndPlanTrim(source, range);
    if (!plan)
        return fail(plan.error());
    return writeTrim(source, std::move(*plan), target, progress, options);
}

}  // namespace velmora::mp4

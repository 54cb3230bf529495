#include "media/mp4/Splicer.h"

#include "media/mp4/MediaLayout.h"
#include "media/mp4/PictureData.h"
#include "media/mp4/RecordingLayout.h"
#include "media/mp4/Repair.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace velmora::mp4 {

namespace {

constexpr std::size_t bufferSize = std::size_t{1} << 20;

/// Less than that behind a cut is the clip's end, which nobody can give more exactly.
constexpr MediaTime shortestRest{1, 1000};

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

Result<MovieFile> readForCutting(File& source)
{
    auto read = readMovie(source);
    if (read && read->recording && !read->recording->isFinished) {
        read = readWholeFragments(source);
        // It may have been finished in between.
        if (read && read->movie.isFragmented)
            closeRecordedMovie(read->movie, {});
    }
    return read;
}

/// What is left of a file. A range that begins behind its end is an error that the planner finds; what a cut leaves there is nothing.
std::vector<TimeRange> rangesOf(const KeptFile& file, const Movie& movie)
{
    const auto isValid = [](const TimeRange& range) { return range.start.isValid() && range.end.isValid(); };
    if (file.cuts.empty() || !isValid(file.range) || !std::all_of(file.cuts.begin(), file.cuts.end(), isValid))
        return {file.range};
    auto ranges = rangesWithout(file.range, file.cuts);
    const auto end = presentationDuration(movie) - shortestRest;
    if (!ranges.empty() && ranges.back().start > file.range.start && ranges.back().start >= end)
        ranges.pop_back();
    return ranges;
}

/// How far the samples of a plan reach into each source. It may have become shorter since it was read.
std::vector<std::uint64_t> reachOf(const SplicePlan& plan, std::size_t sourceCount)
{
    std::vector<std::uint64_t> reach(sourceCount);
    const auto add = [&](std::size_t source, std::uint64_t end) { reach[source] = std::max(reach[source], end); };
    if (plan.isTrim) {
        for (const auto& track : plan.movie.tracks) {
            SampleTable::Cursor cursor{track.samples};
            for (Sample sample; cursor.next(sample);)
                add(0, sample.offset + sample.size);
        }
        return reach;
    }
    for (const auto& picture : plan.pictures) {
        if (picture.origin.source != SampleOrigin::anew)
            add(picture.origin.source, picture.origin.offset + picture.origin.size);
    }
    for (std::size_t source = 0; plan.sound && source < sourceCount; ++source) {
        for (const auto& packet : plan.sound->sources[source].packets)
            add(source, packet.offset + packet.size);
    }
    return reach;
}

}  // namespace

Result<OpenSplice> readAndPlanSplice(const std::vector<KeptFile>& files)
{
    OpenSplice splice;
    std::vector<KeptSpan> spans;
    const auto named = [&](Error error, std::size_t number) {
        if (files.size() > 1)
            error.localizedDescription = files[number].name + ": " + error.localizedDescription;
        return fail(std::move(error));
    };
    for (std::size_t i = 0; i < files.size(); ++i) {
        auto read = readForCutting(*files[i].file);
        if (!read)
            return named(read.error(), i);
        for (const auto& range : rangesOf(files[i], read->movie))
            spans.push_back({i, range});
        splice.movies.push_back(std::move(*read));
    }
    std::vector<SpliceSource> sources;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const auto* pictures = pictureTrack(splice.movies[i].movie);
        const auto ask = [&file = *files[i].file, pictures](bool PictureContent::*answer) {
            return [&file, pictures, answer](const Sample& sample) -> Result<bool> {
                const auto content = readPictureContent(file, *pictures, sample);
                if (!content)
                    return fail(content.error());
                return *content.*answer;
            };
        };
        sources.push_back(
            {&splice.movies[i].movie, files[i].name, ask(&PictureContent::startsAfresh), ask(&PictureContent::isInstantRefresh)});
    }
    auto plan = planSplice(sources, spans);
    if (!plan)
        return fail(plan.error());
    for (const auto& span : spans) {
        if (const auto result = checkWasRead(splice.movies[span.source], span.range); !result)
            return named(result.error(), span.source);
    }
    if (plan->isTrim) {
        const auto source = spans.front().source;
        if (const auto result = checkParameterSets(*files[source].file, splice.movies[source].movie, plan->movie); !result)
            return named(result.error(), source);
    }
    splice.plan = std::move(*plan);
    return splice;
}

Result<TrimOutcome> writeSplice(const std::vector<File*>& files, const SplicePlan& plan, const AnewMedia& anew, File& target,
    const TrimProgress& progress, const TrimOptions& options)
{
    std::uint64_t whole = anew.bytes.size();
    for (auto* file : files) {
        const auto size = file->size();
        if (!size)
            return fail(size.error());
        whole += *size;
    }
    const auto offsets = sourceOffsets(reachOf(plan, files.size()));
    auto movie = assembleSplice(plan, anew, offsets);
    if (!movie)
        return fail(movie.error());
    movie->creationTime = options.creationTime;
    const MediaLayout layout{*movie, plan.isTrim ? MediaLayout::Order::source : MediaLayout::Order::time};
    // A few bytes of a file can be claimed by as many samples as a file may have.
    if (layout.size() > whole)
        return fail(makeError(ErrorCode::damaged, "The file is damaged: its samples share their bytes."));
    const auto head = layout.headOf(*movie);
    if (const auto result = target.writeAt(0, head); !result)
        return fail(result.error());

    std::vector<std::byte> buffer(std::min(bufferSize, options.largestBlock));
    std::uint64_t done = 0;
    for (auto extent : layout.extents()) {
        const auto source = static_cast<std::size_t>(std::upper_bound(offsets.begin(), offsets.end(), extent.from) - offsets.begin()) - 1;
        while (extent.size > 0) {
            if (progress && !progress(static_cast<double>(done) / static_cast<double>(layout.size())))
                return TrimOutcome::cancelled;
            const auto block = std::min<std::uint64_t>(extent.size, options.largestBlock);
            const auto from = extent.from - offsets[source];
            const auto to = head.size() + done;
            if (source == files.size()) {
                const auto bytes = std::span{anew.bytes}.subspan(static_cast<std::size_t>(from), static_cast<std::size_t>(block));
                if (const auto written = target.writeAt(to, bytes); !written)
                    return fail(written.error());
            } else {
                const auto complete = target.copyFrom(*files[source], from, to, block, buffer);
                if (!complete)
                    return fail(complete.error());
                if (!*complete)
                    return fail(makeError(ErrorCode::damaged, "The file became shorter while it was being trimmed."));
            }
            extent.from += block;
            extent.size -= block;
            done += block;
        }
    }
    return progress && !progress(1) ? TrimOutcome::cancelled : TrimOutcome::written;
}

}  // namespace velmora::mp4

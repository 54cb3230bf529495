#include "media/mp4/ForeignFragments.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace velmora::mp4 {

namespace {

constexpr std::size_t mostNotes = 16;

bool precedes(const SampleTable::Entry& entry, std::int64_t time)
{
    return entry.decodeTime < time;
}

std::vector<SampleTable::Entry> entriesOf(const SampleTable& samples)
{
    std::vector<SampleTable::Entry> entries;
    entries.reserve(samples.count());
    SampleTable::Cursor cursor{samples};
    for (Sample sample; cursor.next(sample);)
        entries.push_back({sample.offset, sample.size, sample.decodeTime, sample.compositionOffset, sample.isSync});
    return entries;
}

/// Whether the run's samples are all there, by their times and sizes.
bool isThere(const std::vector<SampleTable::Entry>& entries, const ParsedRun& run)
{
    auto place = std::lower_bound(entries.begin(), entries.end(), run.entries.front().decodeTime, precedes);
    if (static_cast<std::size_t>(entries.end() - place) < run.entries.size())
        return false;
    return std::equal(run.entries.begin(), run.entries.end(), place,
        [](const auto& a, const auto& b) { return a.decodeTime == b.decodeTime && a.size == b.size; });
}

}  // namespace

void ForeignFragments::add(std::vector<ParsedRun> runs)
{
    for (auto& run : runs) {
        const auto missing = std::find_if(run.entries.begin(), run.entries.end(),
            [this](const auto& entry) { return entry.offset > fileEnd_ || entry.size > fileEnd_ - entry.offset; });
        const bool isCut = missing != run.entries.end();
        if (isCut && missing != run.entries.begin())
            run.lastDuration = static_cast<std::uint32_t>(
                std::min<std::int64_t>(missing->decodeTime - (missing - 1)->decodeTime, std::numeric_limits<std::uint32_t>::max()));
        run.entries.erase(missing, run.entries.end());
        if (!run.entries.empty())
            append(run);
        if (isCut)
            noteUnread("media is missing");
    }
}

void ForeignFragments::append(ParsedRun& run)
{
    auto& samples = movie_.tracks[run.track].samples;
    const auto first = run.entries.front().decodeTime;
    constexpr std::int64_t longest = std::numeric_limits<std::uint32_t>::max();
    if (!samples.isEmpty() && first <= samples.lastDecodeTime() && run.entries.back().decodeTime >= run.entries.front().decodeTime) {
        late_[run.track].push_back(std::move(run));
        return;
    }
    if (!samples.isEmpty() && first - samples.lastDecodeTime() > longest) {
        noteUnread("a fragment's time is out of range");
        return;
    }
    for (const auto& entry : run.entries) {
        if (!samples.append(entry)) {
            noteUnread("a fragment's samples make no sense");
            return;
        }
    }
    samples.setLastDuration(run.lastDuration);
}

void ForeignFragments::insertLate(std::size_t index)
{
    auto& samples = movie_.tracks[index].samples;
    auto entries = entriesOf(samples);
    auto lastDuration = samples.lastDuration();
    for (const auto& run : late_[index]) {
        if (isThere(entries, run))
            continue;
        const auto place = std::lower_bound(entries.begin(), entries.end(), run.entries.front().decodeTime, precedes);
        if (place != entries.end() && place->decodeTime <= run.entries.back().decodeTime) {
            Note note{std::vector<std::optional<std::int64_t>>(movie_.tracks.size(), std::numeric_limits<std::int64_t>::max()),
                "two of its fragments cover the same time"};
            note.ends[index] = run.entries.front().decodeTime;
            notes_.push_back(std::move(note));
            break;
        }
        if (place == entries.end())
            lastDuration = run.lastDuration;
        entries.insert(place, run.entries.begin(), run.entries.end());
    }
    SampleTable sorted;
    for (const auto& entry : entries) {
        if (!sorted.append(entry)) {
            noteUnread("its fragments make no sense");
            return;
        }
    }
    sorted.setLastDuration(lastDuration);
    samples = std::move(sorted);
}

void ForeignFragments::noteUnread(std::string what)
{
    if (notes_.size() == mostNotes)
        return;
    Note note{{}, std::move(what)};
    for (const auto& track : movie_.tracks) {
        const auto& samples = track.samples;
        note.ends.push_back(samples.isEmpty() ? std::nullopt : std::optional{samples.lastDecodeTime() + samples.lastDuration()});
    }
    notes_.push_back(std::move(note));
}

MediaTime ForeignFragments::shownAt(const Track& track, std::int64_t decodeTime) const
{
    std::int64_t time = decodeTime;
    for (const auto& run : track.samples.compositionRuns())
        time = std::min(time, decodeTime + run.value);
    MediaTime begin{0, movie_.timescale};
    for (const auto& edit : track.edits) {
        if (edit.mediaTime >= 0)
            return begin + MediaTime{std::max<std::int64_t>(0, time - edit.mediaTime), track.timescale};
        begin.value += static_cast<std::int64_t>(edit.duration);
    }
    return begin + MediaTime{std::max<std::int64_t>(0, time), track.timescale};
}

std::optional<MediaTime> ForeignFragments::earliest(const Note& note) const
{
    std::optional<MediaTime> found;
    for (std::size_t i = 0; i < movie_.tracks.size(); ++i) {
        const auto& track = movie_.tracks[i];
        if (track.samples.isEmpty() || note.ends[i] == std::numeric_limits<std::int64_t>::max())
            continue;
        const auto time = note.ends[i] ? shownAt(track, *note.ends[i]) : MediaTime{0, movie_.timescale};
        if (!found || time < *found)
            found = time;
    }
    return found;
}

std::optional<Unread> ForeignFragments::finish()
{
    for (std::size_t i = 0; i < late_.size(); ++i) {
        if (!late_[i].empty())
            insertLate(i);
    }
    std::optional<Unread> unread;
    for (auto& note : notes_) {
        const auto time = earliest(note).value_or(MediaTime{0, movie_.timescale});
        if (!unread || time < unread->from)
            unread = Unread{time, std::move(note.what)};
    }
    return unread;
}

}  // namespace velmora::mp4

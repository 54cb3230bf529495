#include "media/mp4/BoxReader.h"
#include "media/mp4/MovieParser.h"
#include "media/mp4/RecordingLayout.h"

#include <algorithm>
#include <array>
#include <limits>

namespace velmora::mp4 {

namespace {

tl::unexpected<Error> damagedFragment()
{
    return fail(makeError(ErrorCode::damaged, "A fragment of the file is damaged."));
}

// ISO 14496-12 8.8.7 and 8.8.8.
enum TrackFragmentFlags : std::uint32_t {
    baseDataOffsetPresent = 0x1,
    sampleDescriptionIndexPresent = 0x2,
    defaultDurationPresent = 0x8,
    defaultSizePresent = 0x10,
    defaultFlagsPresent = 0x20,
    defaultBaseIsMoof = 0x20000,
};
enum RunFlags : std::uint32_t {
    dataOffsetPresent = 0x1,
    firstSampleFlagsPresent = 0x4,
    durationsPresent = 0x100,
    sizesPresent = 0x200,
    flagsPresent = 0x400,
    compositionOffsetsPresent = 0x800,
};
// What may be inside "moof" and "traf".
bool isKnownInFragment(FourCharacterCode type)
{
    constexpr std::array known{FourCharacterCode{"mfhd"}, FourCharacterCode{"traf"}, FourCharacterCode{"pssh"}, FourCharacterCode{"meta"},
        FourCharacterCode{"uuid"}, FourCharacterCode{"free"}, FourCharacterCode{"skip"}, FourCharacterCode{"udta"}};
    return std::find(known.begin(), known.end(), type) != known.end();
}

bool isKnownInTrackFragment(FourCharacterCode type)
{
    constexpr std::array known{FourCharacterCode{"tfhd"}, FourCharacterCode{"trun"}, FourCharacterCode{"tfdt"}, FourCharacterCode{"sbgp"},
        FourCharacterCode{"sgpd"}, FourCharacterCode{"subs"}, FourCharacterCode{"saiz"}, FourCharacterCode{"saio"},
        FourCharacterCode{"senc"}, FourCharacterCode{"sdtp"}, FourCharacterCode{"meta"}, FourCharacterCode{"uuid"},
        FourCharacterCode{"free"}, FourCharacterCode{"skip"}, FourCharacterCode{"udta"}};
    return std::find(known.begin(), known.end(), type) != known.end();
}

constexpr std::uint32_t sampleIsNonSync = 0x10000;

struct TrackFragment {
    std::uint64_t base = 0;
    std::uint64_t next = 0;  ///< where a run without an offset of its own begins
    std::int64_t time = 0;
    std::int64_t latest = 0;
    TrackDefaults defaults;
    ParsedRun run;
};

bool readRun(std::span<const std::byte> payload, TrackFragment& fragment, std::size_t budget)
{
    ByteReader reader{payload};
    const auto header = readFullBoxHeader(reader);
    const auto count = reader.u32();
    if (header.flags & dataOffsetPresent)
        fragment.next = fragment.base + static_cast<std::uint64_t>(std::int64_t{reader.i32()});
    auto firstFlags = fragment.defaults.flags;
    if (header.flags & firstSampleFlagsPresent)
        firstFlags = reader.u32();
    std::uint64_t width = 0;
    for (const auto flag : {durationsPresent, sizesPresent, flagsPresent, compositionOffsetsPresent})
        width += header.flags & flag ? 4 : 0;
    if (reader.failed() || count * width > reader.remaining() || count > budget)
        return false;
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto duration = header.flags & durationsPresent ? reader.u32() : fragment.defaults.duration;
        const auto size = header.flags & sizesPresent ? reader.u32() : fragment.defaults.size;
        auto flags = i == 0 ? firstFlags : fragment.defaults.flags;
        if (header.flags & flagsPresent)
            flags = reader.u32();
        const auto composition = header.flags & compositionOffsetsPresent ? reader.i32() : 0;
        fragment.run.entries.push_back({fragment.next, size, fragment.time, composition, (flags & sampleIsNonSync) == 0});
        fragment.run.lastDuration = duration;
        fragment.time += duration;
        if (fragment.time > fragment.latest)
            return false;
        fragment.next += size;
    }
    return true;
}

}  // namespace

Result<std::vector<ParsedRun>> parseFragment(
    std::span<const std::byte> payload, std::uint64_t offset, const ParsedMovie& parsed, std::size_t budget)
{
    std::vector<ParsedRun> runs;
    std::uint64_t previousEnd = offset;
    const auto& tracks = parsed.movie.tracks;
    std::vector<std::int64_t> times(tracks.size(), -1);
    ByteReader boxes{payload};
    while (const auto traf = nextBox(boxes)) {
        if (!isKnownInFragment(traf->type))
            return damagedFragment();
        if (traf->type != FourCharacterCode{"traf"})
            continue;
        const auto tfhd = findBox(traf->payload, "tfhd");
        if (!tfhd)
            return damagedFragment();
        ByteReader reader{tfhd->payload};
        const auto flags = readFullBoxHeader(reader).flags;
        const auto id = reader.u32();
        const auto track = std::find_if(tracks.begin(), tracks.end(), [id](const Track& t) { return t.id == id; });
        const auto known = parsed.defaults.find(id);
        if (track == tracks.end() && known == parsed.defaults.end())
            return damagedFragment();
        TrackFragment fragment;
        if (known != parsed.defaults.end())
            fragment.defaults = known->second;
        fragment.base = flags & baseDataOffsetPresent ? reader.u64() : flags & defaultBaseIsMoof ? offset : previousEnd;
        if (flags & sampleDescriptionIndexPresent)
            reader.u32();
        if (flags & defaultDurationPresent)
            fragment.defaults.duration = reader.u32();
        if (flags & defaultSizePresent)
            fragment.defaults.size = reader.u32();
        if (flags & defaultFlagsPresent)
            fragment.defaults.flags = reader.u32();
        if (reader.failed())
            return damagedFragment();
        fragment.next = fragment.base;

        const auto index = static_cast<std::size_t>(track - tracks.begin());
        fragment.latest = std::numeric_limits<std::int64_t>::max() / 4;
        if (track != tracks.end()) {
            fragment.run.track = index;
            fragment.latest = largestSeconds * track->timescale;
            const auto& samples = track->samples;
            fragment.time = times[index] >= 0 ? times[index] : samples.isEmpty() ? 0 : samples.lastDecodeTime() + samples.lastDuration();
        }
        if (const auto tfdt = findBox(traf->payload, "tfdt")) {
            ByteReader time{tfdt->payload};
            const auto value = time.sized(readFullBoxHeader(time).version);
            if (time.failed() || value > static_cast<std::uint64_t>(fragment.latest))
                return damagedFragment();
            fragment.time = static_cast<std::int64_t>(value);
        }
        ByteReader inner{traf->payload};
        while (const auto trun = nextBox(inner)) {
            if (!isKnownInTrackFragment(trun->type))
                return damagedFragment();
            if (trun->type != FourCharacterCode{"trun"})
                continue;
            const auto before = fragment.run.entries.size();
            if (!readRun(trun->payload, fragment, budget))
                return damagedFragment();
            budget -= fragment.run.entries.size() - before;
        }
        if (inner.failed())
            return damagedFragment();
        previousEnd = fragment.next;
        if (track != tracks.end()) {
            times[index] = fragment.time;
            if (!fragment.run.entries.empty())
                runs.push_back(std::move(fragment.run));
        }
    }
    if (boxes.failed())
        return damagedFragment();
    return runs;
}

}  // namespace velmora::mp4

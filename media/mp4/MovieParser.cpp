#include "media/mp4/MovieParser.h"

#include "media/mp4/BoxReader.h"
#include "media/mp4/RecordingLayout.h"

#include <algorithm>
#include <optional>

namespace velmora::mp4 {

namespace {

constexpr std::size_t largestTrackCount = 64;

tl::unexpected<Error> tooLarge()
{
    return fail(makeError(ErrorCode::tooLarge, "The file has more samples than can be handled."));
}

// A table of `width` bytes an entry; none when the box claims more entries than it holds.
struct Table {
    ByteReader reader;
    std::uint32_t count = 0;
};

std::optional<Table> openTable(const Box& box, std::size_t width, std::uint8_t* version = nullptr)
{
    ByteReader reader{box.payload};
    const auto header = readFullBoxHeader(reader);
    if (version)
        *version = header.version;
    const auto count = reader.u32();
    if (reader.failed() || std::uint64_t{count} * width > reader.remaining())
        return std::nullopt;
    return Table{reader, count};
}

// Hands out one value after another from runs of (count, value).
class RunReader {
public:
    explicit RunReader(Table table) : table_(table) { }

    std::optional<std::uint32_t> next()
    {
        while (left_ == 0) {
            if (table_.count == 0)
                return std::nullopt;
            --table_.count;
            left_ = table_.reader.u32();
            value_ = table_.reader.u32();
        }
        --left_;
        return value_;
    }

private:
    Table table_;
    std::uint32_t left_ = 0;
    std::uint32_t value_ = 0;
};

struct SampleSizes {
    std::uint32_t common = 0;  ///< 0: each has its own
    std::uint32_t count = 0;
    unsigned fieldBits = 32;
    ByteReader reader{{}};

    std::uint32_t next()
    {
        if (common != 0)
            return common;
        switch (fieldBits) {
        case 32:
            return reader.u32();
        case 16:
            return reader.u16();
        case 8:
            return reader.u8();
        default:
            // Two of 4 bits share a byte, the first in the upper half.
            second_ = !second_;
            if (second_)
                pair_ = reader.u8();
            return second_ ? pair_ >> 4 : pair_ & 0xFU;
        }
    }

private:
    bool second_ = false;
    std::uint8_t pair_ = 0;
};

Result<SampleSizes> readSampleSizes(std::span<const std::byte> stbl)
{
    SampleSizes sizes;
    const auto compact = findBox(stbl, "stz2");
    const auto plain = findBox(stbl, "stsz");
    if (!plain && !compact)
        return damagedFile("no sample sizes");
    sizes.reader = ByteReader{plain ? plain->payload : compact->payload};
    readFullBoxHeader(sizes.reader);
    if (plain) {
        sizes.common = sizes.reader.u32();
    } else {
        sizes.fieldBits = sizes.reader.u32() & 0xFF;
        if (sizes.fieldBits != 4 && sizes.fieldBits != 8 && sizes.fieldBits != 16)
            return damagedFile("sample sizes of an unknown width");
    }
    sizes.count = sizes.reader.u32();
    if (sizes.count > SampleTable::largestCount)
        return tooLarge();
    if (sizes.reader.failed() || (sizes.common == 0 && (std::uint64_t{sizes.count} * sizes.fieldBits + 7) / 8 > sizes.reader.remaining()))
        return damagedFile("the sample sizes end early");
    return sizes;
}

struct ChunkRun {
    std::uint32_t firstChunk = 0;
    std::uint32_t samplesPerChunk = 0;
};

Result<std::vector<ChunkRun>> readChunkRuns(std::span<const std::byte> stbl)
{
    const auto box = findBox(stbl, "stsc");
    auto table = box ? openTable(*box, 12) : std::nullopt;
    if (!table)
        return damagedFile("no map of chunks");
    std::vector<ChunkRun> runs;
    for (std::uint32_t i = 0; i < table->count; ++i) {
        const ChunkRun run{table->reader.u32(), table->reader.u32()};
        table->reader.u32();
        if (run.firstChunk == 0 || run.samplesPerChunk == 0 || (!runs.empty() && run.firstChunk <= runs.back().firstChunk))
            return damagedFile("the map of chunks makes no sense");
        runs.push_back(run);
    }
    return runs;
}

// Where the samples are, one after the other.
class SamplePlaces {
public:
    SamplePlaces(std::vector<ChunkRun> runs, Table chunks, bool large) : runs_(std::move(runs)), chunks_(chunks), large_(large) { }

    std::optional<std::uint64_t> next(std::uint32_t size)
    {
        if (left_ == 0) {
            if (chunk_ == chunks_.count || runs_.empty() || runs_.front().firstChunk != 1)
                return std::nullopt;
            ++chunk_;
            if (run_ + 1 < runs_.size() && runs_[run_ + 1].firstChunk == chunk_)
                ++run_;
            left_ = runs_[run_].samplesPerChunk;
            offset_ = large_ ? chunks_.reader.u64() : chunks_.reader.u32();
        }
        --left_;
        const auto place = offset_;
        offset_ += size;
        return place;
    }

private:
    std::vector<ChunkRun> runs_;
    Table chunks_;
    bool large_;
    std::uint32_t chunk_ = 0;
    std::size_t run_ = 0;
    std::uint32_t left_ = 0;
    std::uint64_t offset_ = 0;
};

class SyncReader {
public:
    explicit SyncReader(std::optional<Table> table) : table_(table) { advance(); }

    bool isSync(std::uint32_t number)
    {
        if (!table_)
            return true;
        while (next_ != 0 && next_ < number)
            advance();
        return next_ == number;
    }

private:
    void advance()
    {
        next_ = 0;
        if (table_ && table_->count > 0) {
            --table_->count;
            next_ = table_->reader.u32();
        }
    }

    std::optional<Table> table_;
    std::uint32_t next_ = 0;
};

Result<void> readSamples(std::span<const std::byte> stbl, std::uint64_t fileSize, std::size_t budget, Track& track)
{
    auto sizes = readSampleSizes(stbl);
    if (!sizes)
        return fail(sizes.error());
    if (sizes->count > budget)
        return tooLarge();
    if (sizes->count == 0)
        return {};
    auto runs = readChunkRuns(stbl);
    if (!runs)
        return fail(runs.error());
    const auto large = findBox(stbl, "co64");
    const auto small = findBox(stbl, "stco");
    const auto chunks = large ? openTable(*large, 8) : small ? openTable(*small, 4) : std::nullopt;
    const auto sttsBox = findBox(stbl, "stts");
    const auto stts = sttsBox ? openTable(*sttsBox, 8) : std::nullopt;
    if (!chunks || !stts)
        return damagedFile("no offsets or no times");
    const auto cttsBox = findBox(stbl, "ctts");
    const auto ctts = cttsBox ? openTable(*cttsBox, 8) : std::nullopt;
    const auto stssBox = findBox(stbl, "stss");
    const auto stss = stssBox ? openTable(*stssBox, 4) : std::nullopt;
    if ((cttsBox && !ctts) || (stssBox && !stss))
        return damagedFile("a table ends early");

    SamplePlaces places{std::move(*runs), *chunks, large.has_value()};
    RunReader durations{*stts};
    std::optional<RunReader> compositions;
    if (ctts)
        compositions.emplace(*ctts);
    SyncReader syncs{stss};
    std::int64_t time = 0;
    for (std::uint32_t number = 1; number <= sizes->count; ++number) {
        const auto size = sizes->next();
        const auto offset = places.next(size);
        const auto duration = durations.next();
        if (!offset || !duration)
            return damagedFile("its tables disagree");
        if (*offset > fileSize || size > fileSize - *offset)
            return damagedFile("media is missing");
        const auto composition = compositions ? compositions->next() : std::nullopt;
        if (!track.samples.append({*offset, size, time, static_cast<std::int32_t>(composition.value_or(0)), syncs.isSync(number)}))
            return damagedFile("its tables disagree");
        track.samples.setLastDuration(*duration);
        time += *duration;
        if (time > largestSeconds * track.timescale)
            return damagedFile("its times are out of range");
    }
    return {};
}

Result<void> readEdits(std::span<const std::byte> trak, const Movie& movie, Track& track)
{
    const auto container = findBox(trak, "edts");
    const auto box = container ? findBox(container->payload, "elst") : std::nullopt;
    if (!box)
        return {};
    std::uint8_t version = 0;
    auto table = openTable(*box, 12, &version);
    if (table && version == 1)
        table = openTable(*box, 20);
    if (!table)
        return damagedFile("the edit list ends early");
    for (std::uint32_t i = 0; i < table->count; ++i) {
        Edit edit;
        edit.duration = table->reader.sized(version);
        edit.mediaTime = version == 1 ? table->reader.i64() : table->reader.i32();
        edit.isAtNormalSpeed = table->reader.u32() == 0x10000;
        if (edit.mediaTime < -1 || edit.mediaTime > largestSeconds * track.timescale)
            return damagedFile("an edit begins nowhere");
        edit.duration = std::min(edit.duration, static_cast<std::uint64_t>(largestSeconds * movie.timescale));
        track.edits.push_back(edit);
    }
    return {};
}

Result<void> readTrackHeader(std::span<const std::byte> trak, Track& track)
{
    const auto box = findBox(trak, "tkhd");
    if (!box)
        return damagedFile("a track has no header");
    ByteReader reader{box->payload};
    const auto version = readFullBoxHeader(reader).version;
    reader.skip(version == 1 ? 16 : 8);
    track.id = reader.u32();
    reader.skip(4 + (version == 1 ? 8 : 4) + 16);
    for (auto& value : track.matrix)
        value = reader.i32();
    track.shownWidth = reader.u32();
    track.shownHeight = reader.u32();
    if (reader.failed() || track.id == 0)
        return damagedFile("a track's header ends early");
    return {};
}

Result<std::int32_t> readTimescale(std::span<const std::byte> payload, std::uint64_t* creationTime = nullptr)
{
    ByteReader reader{payload};
    const auto version = readFullBoxHeader(reader).version;
    const auto created = reader.sized(version);
    reader.sized(version);
    const auto timescale = reader.i32();
    if (reader.failed() || timescale <= 0)
        return damagedFile("no time scale");
    if (creationTime)
        *creationTime = created;
    return timescale;
}

void readLanguage(std::span<const std::byte> mdia, std::span<const std::byte> mdhd, Track& track)
{
    // Anything longer is not a language tag.
    constexpr std::size_t longestTag = 256;
    ByteReader reader{mdhd};
    const auto version = readFullBoxHeader(reader).version;
    reader.skip(version == 1 ? 28 : 16);
    const auto language = reader.u16();
    // QuickTime has numbers there, smaller than any three letters make.
    if (!reader.failed() && language >= 0x400 && language < 0x7FFF)
        track.language = language;
    if (const auto tag = findBox(mdia, "elng"); tag && tag->payload.size() <= longestTag)
        track.extendedLanguage.assign(tag->payload.begin(), tag->payload.end());
}

// None for a track that is neither pictures nor sound.
Result<std::optional<Track>> readTrack(std::span<const std::byte> trak, const Movie& movie, std::uint64_t fileSize, std::size_t budget)
{
    const auto mdia = findBox(trak, "mdia");
    const auto mdhd = mdia ? findBox(mdia->payload, "mdhd") : std::nullopt;
    const auto hdlr = mdia ? findBox(mdia->payload, "hdlr") : std::nullopt;
    if (!mdhd || !hdlr)
        return damagedFile("a track says nothing about its media");
    ByteReader handler{hdlr->payload};
    handler.skip(8);
    const auto kind = handler.code();
    if (kind != FourCharacterCode{"vide"} && kind != FourCharacterCode{"soun"})
        return std::nullopt;
    const auto minf = findBox(mdia->payload, "minf");
    const auto stbl = minf ? findBox(minf->payload, "stbl") : std::nullopt;
    const auto stsd = stbl ? findBox(stbl->payload, "stsd") : std::nullopt;
    if (!stsd)
        return damagedFile("a track has no sample table");

    Track track;
    const auto timescale = readTimescale(mdhd->payload);
    if (!timescale)
        return fail(timescale.error());
    track.timescale = *timescale;
    readLanguage(mdia->payload, mdhd->payload, track);
    if (const auto result = readTrackHeader(trak, track); !result)
        return fail(result.error());
    if (const auto result = readEdits(trak, movie, track); !result)
        return fail(result.error());

    ByteReader descriptions{stsd->payload};
    readFullBoxHeader(descriptions);
    track.sampleEntryCount = descriptions.u32();
    const auto entries = descriptions.rest();
    if (track.sampleEntryCount == 0 || !nextBox(descriptions))
        return damagedFile("a track has no sample description");
    const auto entry = entries.first(entries.size() - descriptions.remaining());
    track.sampleEntry.assign(entry.begin(), entry.end());
    auto format = parseSampleEntry(entry, kind == FourCharacterCode{"vide"} ? MediaType::video : MediaType::audio);
    if (!format)
        return fail(format.error());
    track.format = std::move(*format);
    if (const auto result = readSamples(stbl->payload, fileSize, budget, track); !result)
        return fail(result.error());
    return track;
}

void readDefaults(std::span<const std::byte> mvex, ParsedMovie& parsed)
{
    ByteReader boxes{mvex};
    while (const auto box = nextBox(boxes)) {
        if (box->type != FourCharacterCode{"trex"} || parsed.defaults.size() >= largestTrackCount)
            continue;
        ByteReader reader{box->payload};
        readFullBoxHeader(reader);
        const auto id = reader.u32();
        reader.u32();
        TrackDefaults defaults;
        defaults.duration = reader.u32();
        defaults.size = reader.u32();
        defaults.flags = reader.u32();
        if (!reader.failed())
            parsed.defaults[id] = defaults;
    }
}

}  // namespace

std::size_t largestSampleCount(std::uint64_t fileSize)
{
    return static_cast<std::size_t>(std::min<std::uint64_t>(SampleTable::largestCount, fileSize));
}

Result<ParsedMovie> parseMovie(std::span<const std::byte> payload, std::uint64_t fileSize)
{
    ParsedMovie parsed;
    const auto mvhd = findBox(payload, "mvhd");
    if (!mvhd)
        return damagedFile("its index has no header");
    const auto timescale = readTimescale(mvhd->payload, &parsed.movie.creationTime);
    if (!timescale)
        return fail(timescale.error());
    parsed.movie.timescale = *timescale;
    if (const auto mvex = findBox(payload, "mvex")) {
        parsed.movie.isFragmented = true;
        readDefaults(mvex->payload, parsed);
    }
    // All tracks together: a few bytes of a file can claim as many samples as one may have.
    auto budget = largestSampleCount(fileSize);
    ByteReader boxes{payload};
    // A few bytes that are not a box may end the list.
    constexpr std::size_t smallestBox = 8;
    while (boxes.remaining() >= smallestBox) {
        const auto box = nextBox(boxes);
        if (!box || box->type != FourCharacterCode{"trak"})
            continue;
        auto track = readTrack(box->payload, parsed.movie, fileSize, budget);
        if (!track)
            return fail(track.error());
        if (!*track)
            continue;
        if (parsed.movie.tracks.size() == largestTrackCount)
            return damagedFile("too many tracks");
        budget -= (*track)->samples.count();
        parsed.movie.tracks.push_back(std::move(**track));
    }
    if (boxes.failed())
        return damagedFile("its index ends early");
    return parsed;
}

}  // namespace velmora::mp4

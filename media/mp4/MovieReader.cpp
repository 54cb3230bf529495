#include "media/mp4/MovieReader.h"

#include "media/mp4/BoxReader.h"
#include "media/mp4/ForeignFragments.h"
#include "media/mp4/MovieParser.h"
#include "media/mp4/PosixFile.h"

#include <algorithm>
#include <array>

namespace velmora::mp4 {

namespace {

// Ten hours of recording need 12 MB and 45 000 fragments.
constexpr std::uint64_t largestIndex = std::uint64_t{128} << 20;  // for all fragments together, too
constexpr std::uint64_t largestFragmentIndex = std::uint64_t{16} << 20;
constexpr std::size_t largestBoxCount = 1'000'000;

/// A box at the top level of a file.
struct FileBox {
    FourCharacterCode type;
    std::uint64_t offset = 0;
    std::uint64_t headerSize = 0;
    std::uint64_t size = 0;  ///< header included

    [[nodiscard]] std::uint64_t end() const { return offset + size; }
};

enum class BoxState { whole, incomplete, end };

class FileScanner {
public:
    FileScanner(File& file, std::uint64_t end) : file_(file), end_(end) { }

    /// The box at `offset`. `incomplete`: the bytes there are not a box, or it reaches beyond the end.
    Result<BoxState> read(std::uint64_t offset, FileBox& box)
    {
        if (offset == end_)
            return BoxState::end;
        std::array<std::byte, 16> bytes{};
        const auto available = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), end_ - offset));
        if (available < 8)
            return BoxState::incomplete;
        const auto complete = file_.readAt(offset, std::span{bytes}.first(available));
        if (!complete)
            return fail(complete.error());
        ByteReader reader{std::span{bytes}.first(available)};
        const auto size = reader.u32();
        box = {reader.code(), offset, 8, size};
        if (size == 1) {
            box.size = reader.u64();
            box.headerSize = 16;
        } else if (size == 0) {
            box.size = end_ - offset;
        }
        if (!*complete || reader.failed() || box.size < box.headerSize || box.size > end_ - offset)
            return BoxState::incomplete;
        return BoxState::whole;
    }

    Result<std::vector<std::byte>> payload(const FileBox& box, std::uint64_t largest)
    {
        const auto size = box.size - box.headerSize;
        if (size > largest)
            return fail(makeError(ErrorCode::tooLarge, "The file's index is larger than can be handled."));
        std::vector<std::byte> bytes(static_cast<std::size_t>(size));
        const auto complete = file_.readAt(box.offset + box.headerSize, bytes);
        if (!complete)
            return fail(complete.error());
        if (!*complete)
            return damagedFile("it has become shorter");
        return bytes;
    }

private:
    File& file_;
    std::uint64_t end_;
};

Result<std::optional<RecordingState>> readRecordingState(File& file)
{
    std::array<std::byte, reserveOffset + 8> bytes{};
    const auto complete = file.readAt(0, bytes);
    if (!complete)
        return fail(complete.error());
    ByteReader reader{bytes};
    const auto ftyp = nextBox(reader);
    const auto uuid = nextBox(reader);
    const auto mark = std::as_bytes(std::span{writerMark});
    if (!*complete || !ftyp || ftyp->type != FourCharacterCode{"ftyp"} || !uuid || uuid->type != FourCharacterCode{"uuid"}
        || uuid->payload.size() < mark.size() || !std::equal(mark.begin(), mark.end(), uuid->payload.begin()) || reader.remaining() != 8)
        return std::nullopt;
    const auto size = reader.u32();
    const auto type = reader.code();
    if (type == FourCharacterCode{"free"})
        return RecordingState{size == 8, size == 8 ? 0 : size};
    if (type == FourCharacterCode{"mdat"})
        return RecordingState{true, 0};
    return std::nullopt;
}

bool canBeginAMovie(FourCharacterCode type)
{
    // Files older than "ftyp" begin with one of the others.
    return type == FourCharacterCode{"ftyp"} || type == FourCharacterCode{"moov"} || type == FourCharacterCode{"mdat"}
    || type == FourCharacterCode{"free"} || type == FourCharacterCode{"skip"} || type == FourCharacterCode{"wide"};
}

/// What may stand between fragments.
bool isKnownBesideFragments(FourCharacterCode type)
{
    constexpr std::array known{FourCharacterCode{"ftyp"}, FourCharacterCode{"styp"}, FourCharacterCode{"moov"}, FourCharacterCode{"moof"},
        FourCharacterCode{"mdat"}, FourCharacterCode{"free"}, FourCharacterCode{"skip"}, FourCharacterCode{"wide"},
        FourCharacterCode{"uuid"}, FourCharacterCode{"sidx"}, FourCharacterCode{"ssix"}, FourCharacterCode{"prft"},
        FourCharacterCode{"emsg"}, FourCharacterCode{"mfra"}, FourCharacterCode{"meta"}, FourCharacterCode{"udta"},
        FourCharacterCode{"pdin"}, FourCharacterCode{"pnot"}, FourCharacterCode{"PICT"}, FourCharacterCode{"junk"}};
    return std::find(known.begin(), known.end(), type) != known.end();
}

std::string atByte(std::string_view what, std::uint64_t offset)
{
    return std::string{what} + " at byte " + std::to_string(offset);
}

// A fragment whose media has not been seen yet.
struct PendingFragment {
    std::uint64_t offset = 0;
    std::vector<ParsedRun> runs;
};

bool liesInside(const PendingFragment& fragment, const FileBox& media)
{
    const auto begin = media.offset + media.headerSize;
    for (const auto& run : fragment.runs) {
        for (const auto& entry : run.entries) {
            if (entry.offset < begin || entry.offset > media.end() || entry.size > media.end() - entry.offset)
                return false;
        }
    }
    return true;
}

bool isInOrder(const PendingFragment& fragment, const Movie& movie)
{
    for (const auto& run : fragment.runs) {
        const auto& samples = movie.tracks[run.track].samples;
        constexpr std::int64_t longest = std::numeric_limits<std::uint32_t>::max();
        if (!samples.isEmpty()
            && (run.entries.front().decodeTime < samples.lastDecodeTime()
                || run.entries.front().decodeTime - samples.lastDecodeTime() > longest))
            return false;
    }
    return true;
}

bool add(PendingFragment& fragment, Movie& movie)
{
    for (const auto& run : fragment.runs) {
        auto& samples = movie.tracks[run.track].samples;
        for (const auto& entry : run.entries) {
            if (!samples.append(entry))
                return false;
        }
        samples.setLastDuration(run.lastDuration);
    }
    return true;
}

std::size_t sampleCount(const Movie& movie)
{
    std::size_t count = 0;
    for (const auto& track : movie.tracks)
        count += track.samples.count();
    return count;
}

class MovieFileReader {
public:
    MovieFileReader(File& file, std::uint64_t end) : file_(file), scanner_(file, end), end_(end) { }

    Result<MovieFile> read()
    {
        auto recording = readRecordingState(file_);
        if (!recording)
            return fail(recording.error());
        result_.recording = *recording;
        result_.fileSize = end_;
        std::uint64_t offset = 0;
        for (std::size_t count = 0; count < largestBoxCount; ++count) {
            FileBox box;
            const auto state = scanner_.read(offset, box);
            if (!state)
                return fail(state.error());
            if (offset == 0 && (*state == BoxState::end || !canBeginAMovie(box.type)))
                return fail(makeError(ErrorCode::notAMovie, "The file is not an MP4 file."));
            if (foreign_) {
                const auto next = takeForeign(*state, offset, box);
                if (!next)
                    return fail(next.error());
                if (*next == offset)
                    break;
                offset = *next;
                continue;
            }
            if (*state != BoxState::whole)
                break;
            const auto goesOn = take(box);
            if (!goesOn)
                return fail(goesOn.error());
            if (!*goesOn)
                break;
            offset = box.end();
        }
        return finished();
    }

private:
    [[nodiscard]] bool isUnfinished() const { return result_.recording && !result_.recording->isFinished; }

    /// False when nothing after it counts.
    Result<bool> take(const FileBox& box)
    {
        if (box.type == FourCharacterCode{"moov"} && !parsed_)
            return takeIndex(box);
        if (!parsed_ || !parsed_->movie.isFragmented)
            return true;
        if (box.type == FourCharacterCode{"moof"})
            return takeFragment(box);
        if (box.type == FourCharacterCode{"mdat"})
            return takeMedia(box);
        // After the fragments of an unfinished recording there is at most an index that was not completed.
        return !isUnfinished();
    }

    Result<bool> takeIndex(const FileBox& box)
    {
        const auto bytes = scanner_.payload(box, largestIndex);
        if (!bytes)
            return fail(bytes.error());
        auto parsed = parseMovie(*bytes, end_);
        if (!parsed)
            return fail(parsed.error());
        parsed_ = std::move(*parsed);
        result_.wholeEnd = box.end();
        if (!result_.recording)
            foreign_.emplace(parsed_->movie, end_);
        // Nothing more is to be learned from an ordinary file of ours.
        return foreign_ || parsed_->movie.isFragmented;
    }

    /// After the index of a file that is not ours: where to go on; `offset` when nothing from there on counts.
    Result<std::uint64_t> takeForeign(BoxState state, std::uint64_t offset, const FileBox& box)
    {
        constexpr std::uint64_t smallestBox = 8;
        const bool isFragmented = parsed_->movie.isFragmented;
        if (state == BoxState::end || end_ - offset < smallestBox)
            return offset;
        if (state == BoxState::incomplete) {
            if (isFragmented)
                foreign_->noteUnread(atByte("a box is cut off or damaged", offset));
            return offset;
        }
        if (box.type == FourCharacterCode{"moov"}) {
            foreign_->noteUnread(atByte("another movie begins", offset));
            return offset;
        }
        if (!isFragmented)
            return box.end();
        if (box.type == FourCharacterCode{"moof"}) {
            const auto result = takeForeignFragment(box);
            if (!result)
                return fail(result.error());
        } else if (!isKnownBesideFragments(box.type)) {
            return takeUnknown(offset, box);
        }
        return box.end();
    }

    Result<void> takeForeignFragment(const FileBox& box)
    {
        const auto bytes = scanner_.payload(box, std::min(largestFragmentIndex, largestIndex - fragmentIndexSize_));
        if (!bytes)
            return fail(bytes.error());
        fragmentIndexSize_ += bytes->size();
        const auto largest = largestSampleCount(end_);
        auto runs = parseFragment(*bytes, box.offset, *parsed_, largest - std::min(largest, foreignSampleCount_));
        if (!runs) {
            foreign_->noteUnread(atByte("a fragment is damaged", box.offset));
            return {};
        }
        for (const auto& run : *runs)
            foreignSampleCount_ += run.entries.size();
        foreign_->add(std::move(*runs));
        return {};
    }

    Result<std::uint64_t> takeUnknown(std::uint64_t offset, const FileBox& box)
    {
        // Zeros that end a list or pad the file.
        constexpr std::uint64_t wordSize = 4;
        if (box.end() == end_ && box.type.value == 0)
            return offset;
        FileBox next;
        if (const auto state = scanner_.read(offset + wordSize, next); !state)
            return fail(state.error());
        else if (box.size == end_ - offset && *state == BoxState::whole && isKnownBesideFragments(next.type))
            return offset + wordSize;
        foreign_->noteUnread(atByte("a box is of an unknown kind", offset));
        return box.end();
    }

    Result<bool> takeFragment(const FileBox& box)
    {
        const auto bytes = scanner_.payload(box, std::min(largestFragmentIndex, largestIndex - fragmentIndexSize_));
        if (!bytes)
            return fail(bytes.error());
        fragmentIndexSize_ += bytes->size();
        const auto count = sampleCount(parsed_->movie);
        const auto largest = largestSampleCount(end_);
        auto runs = parseFragment(*bytes, box.offset, *parsed_, largest - std::min(largest, count));
        if (!runs)
            return false;
        pending_ = PendingFragment{box.offset, std::move(*runs)};
        return true;
    }

    Result<bool> takeMedia(const FileBox& box)
    {
        if (!pending_)
            return !isUnfinished();
        if (!liesInside(*pending_, box) || !isInOrder(*pending_, parsed_->movie))
            return false;
        if (!add(*pending_, parsed_->movie))
            return fail(makeError(ErrorCode::tooLarge, "The file has more samples than can be handled."));
        result_.lastFragment = pending_->offset;
        result_.wholeEnd = box.end();
        pending_.reset();
        return true;
    }

    Result<MovieFile> finished()
    {
        if (!parsed_) {
            if (isUnfinished())
                return fail(makeError(ErrorCode::nothingInside, "Nothing was recorded in the file."));
            return damagedFile("it has no index");
        }
        if (foreign_)
            result_.unread = foreign_->finish();
        result_.movie = std::move(parsed_->movie);
        return std::move(result_);
    }

    File& file_;
    FileScanner scanner_;
    std::uint64_t end_;
    std::optional<ParsedMovie> parsed_;
    std::optional<PendingFragment> pending_;
    std::optional<ForeignFragments> foreign_;  ///< once there is an index of a file that is not ours
    std::size_t foreignSampleCount_ = 0;
    std::uint64_t fragmentIndexSize_ = 0;
    MovieFile result_;
};

}  // namespace

Result<MovieFile> readMovie(File& file, std::uint64_t end)
{
    const auto size = file.size();
    if (!size)
        return fail(size.error());
    return MovieFileReader{file, std::min(*size, end)}.read();
}

Result<MovieSummary> readMovieSummary(const std::filesystem::path& path)
{
    const auto file = PosixFile::openForReading(path);
    if (!file)
        return fail(file.error());
    const auto movieFile = readMovie(**file);
    if (!movieFile)
        return fail(movieFile.error());
    const auto& movie = movieFile->movie;
    MovieSummary summary;
    summary.duration = presentationDuration(movie);
    summary.isFragmented = movie.isFragmented;
    summary.recording = movieFile->recording;
    for (const auto& track : movie.tracks)
        summary.tracks.push_back(
            {track.format, presentationDuration(movie, track), track.samples.count(), track.samples.syncSamples().size()});
    return summary;
}

}  // namespace velmora::mp4

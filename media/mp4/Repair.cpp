#include "media/mp4/Repair.h"

#include "media/mp4/BoxReader.h"
#include "media/mp4/PosixFile.h"

#include <array>

namespace velmora::mp4 {

namespace {

// Every fragment is on the disk before the next is written, so a loss of power can hurt only the last; some leeway for disks that
// do not keep their word.
constexpr int largestHurtCount = 8;

// Whether the picture's NAL units add up (ISO 14496-15 5.3.4.2): a file may have grown before its bytes arrived.
Result<bool> isPlausiblePicture(File& file, const Sample& sample)
{
    std::uint64_t position = 0;
    for (int units = 0; position < sample.size; ++units) {
        std::array<std::byte, 4> bytes{};
        if (units == 1000 || sample.size - position < bytes.size())
            return false;
        const auto complete = file.readAt(sample.offset + position, bytes);
        if (!complete)
            return fail(complete.error());
        const auto length = ByteReader{bytes}.u32();
        position += bytes.size();
        if (!*complete || length == 0 || length > sample.size - position)
            return false;
        position += length;
    }
    return true;
}

Result<bool> isLastFragmentPlausible(File& file, const MovieFile& movieFile)
{
    for (const auto& track : movieFile.movie.tracks) {
        if (!track.isVideo() || track.format->video()->codec != FourCharacterCode{"avc1"})
            continue;
        SampleTable::Cursor cursor{track.samples};
        Sample sample;
        while (cursor.next(sample)) {
            if (sample.offset < movieFile.lastFragment)
                continue;
            const auto plausible = isPlausiblePicture(file, sample);
            if (!plausible || !*plausible)
                return plausible;
        }
    }
    return true;
}

bool hasSamples(const Movie& movie)
{
    for (const auto& track : movie.tracks) {
        if (!track.samples.isEmpty())
            return true;
    }
    return false;
}

}  // namespace

Result<MovieFile> readWholeFragments(File& file)
{
    auto movieFile = readMovie(file);
    for (int hurt = 0; movieFile && movieFile->lastFragment > 0; ++hurt) {
        const auto plausible = isLastFragmentPlausible(file, *movieFile);
        if (!plausible)
            return fail(plausible.error());
        if (*plausible)
            break;
        if (hurt == largestHurtCount)
            return fail(makeError(ErrorCode::damaged, "The file is damaged: its pictures were not written."));
        movieFile = readMovie(file, movieFile->lastFragment);
    }
    return movieFile;
}

Result<RepairReport> repair(const std::filesystem::path& path)
{
    {
        // A file that needs nothing need not be writable.
        const auto file = PosixFile::openForReading(path);
        if (!file)
            return fail(file.error());
        const auto movieFile = readMovie(**file);
        if (!movieFile)
            return fail(movieFile.error());
        if (movieFile->recording && movieFile->recording->isFinished)
            return RepairReport{true, presentationDuration(movieFile->movie), 0};
        if (!movieFile->recording)
            return fail(makeError(ErrorCode::foreign, "The file was written by another program."));
    }
    const auto file = PosixFile::openForUpdating(path);
    if (!file)
        return fail(file.error());
    return repair(**file);
}

Result<RepairReport> repair(File& file)
{
    auto movieFile = readMovie(file);
    if (!movieFile)
        return fail(movieFile.error());
    if (!movieFile->recording)
        return fail(makeError(ErrorCode::foreign, "The file was written by another program."));
    if (movieFile->recording->isFinished)
        return RepairReport{true, presentationDuration(movieFile->movie), 0};
    const auto locked = file.tryLock();
    if (!locked)
        return fail(locked.error());
    if (!*locked)
        return fail(makeError(ErrorCode::inUse, "The file is still being recorded."));
    const auto isWrittenElsewhere = file.mayHaveWriterElsewhere();
    if (!isWrittenElsewhere)
        return fail(isWrittenElsewhere.error());
    if (*isWrittenElsewhere)
        return fail(makeError(ErrorCode::inUse, "The file changed a moment ago, and another computer may still be recording it."));

    // Read again: whoever held the lock a moment ago may have finished the file.
    movieFile = readWholeFragments(file);
    if (!movieFile)
        return fail(movieFile.error());
    if (!movieFile->recording || movieFile->recording->isFinished)
        return RepairReport{true, presentationDuration(movieFile->movie), 0};
    if (!movieFile->movie.isFragmented || movieFile->recording->reserveSize < 16)
        return fail(makeError(ErrorCode::damaged, "The file is damaged: it is neither finished nor being recorded."));
    if (!hasSamples(movieFile->movie))
        return fail(makeError(ErrorCode::nothingInside, "Nothing was recorded in the file."));

    const auto size = file.size();
    if (!size)
        return fail(size.error());
    closeRecordedMovie(movieFile->movie, {});
    // The incomplete end stays, dead like the fragments' indexes: what is cut off is lost even if the rest fails.
    if (const auto result = finishInPlace(file, movieFile->recording->reserveSize, movieFile->movie); !result)
        return fail(result.error());
    return RepairReport{false, presentationDuration(movieFile->movie), *size - movieFile->wholeEnd};
}

}  // namespace velmora::mp4

// How a recording lies in its file, while it is being written and when it is whole.
//
// While being written:  ftyp | uuid (our mark) | free (the reserve) | moov + mvex | (moof mdat)*      a fragmented MP4
// When it is whole:     ftyp | uuid | free (8 bytes) | moov | mdat ............................      an ordinary one
//
// The index and the header of the "mdat" go into the reserve, where no reader looks; then 4 bytes (the size of "free") are changed and
// the file is an ordinary one, without a byte of media having moved. The fragments' own indexes lie dead inside the "mdat".
// An index that is too large for the reserve is appended instead:
//                       ftyp | uuid | mdat (64-bit size) ............................ | moov
// where 16 bytes, inside one sector, make the change. Both ways are safe against a loss of power at any moment, because what is
// about to count is on the disk before the change.
#pragma once

#include "media/mp4/File.h"
#include "media/mp4/Movie.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace velmora::mp4 {

/// The domain of errors whose reason is a file's content.
inline constexpr std::string_view errorDomain = "Velmora.MP4";

enum class ErrorCode : int {
    damaged = 1,  ///< the file claims the impossible
    notAMovie = 2,  ///< not an MP4 file
    foreign = 3,  ///< written by something else
    inUse = 4,  ///< somebody else is writing it
    nothingInside = 5,  ///< no sample was recorded
    tooLarge = 6,  ///< more samples or bytes than this system handles
    invalidRange = 7,  ///< a part that the movie does not have
    unsupported = 8,  ///< a kind of movie that this system reads but does not change
    moved = 9,  ///< underlies the failure when the whole file is elsewhere; its description is that path
};

[[nodiscard]] Error makeError(ErrorCode code, std::string description);

/// ErrorCode::damaged, with the words "The file is damaged: ", what is wrong, and a full stop.
[[nodiscard]] tl::unexpected<Error> damagedFile(const char* what);

/// Where the whole file is that was moved while it was being recorded; none if `error` is about something else.
[[nodiscard]] std::optional<std::filesystem::path> placeOfMovedFile(const Error& error);

/// Room for the index of the first minutes of a recording.
inline constexpr std::uint32_t defaultReserveSize = 256 * 1024;

/// Where the reserve begins: a multiple of 16, so that the 16 bytes there never straddle two sectors.
inline constexpr std::uint64_t reserveOffset = 64;

/// The user type of the "uuid" box by which files of this writer are recognised (ISO 14496-12 11.1).
inline constexpr std::array<std::uint8_t, 16> writerMark{
    0x5E, 0x1B, 0x8C, 0x0D, 0x6A, 0x7F, 0x4E, 0x43, 0x9B, 0x52, 0xD1, 0x0A, 0x3C, 0xE6, 0x74, 0x28};

/// "ftyp", "uuid" and the 8 bytes of the header of a "free" box of `reserveSize` bytes, header included.
[[nodiscard]] std::vector<std::byte> serializeRecordingHeader(std::uint32_t reserveSize);

/// Everything before the media of a whole file: as above, up to the header of an "mdat" of `mediaSize` bytes.
[[nodiscard]] std::vector<std::byte> serializeWholeHead(const Movie& movie, std::uint64_t mediaSize);

/// Makes the recording in `file` whole: `movie` is the final index, `reserveSize` the size of the "free" box at reserveOffset, the end
/// of the file the end of its media. After a failure the file plays as before, a fragmented MP4: there may be an index at its end that
/// does not count. Only if it was the last sync that failed, it is whole.
Result<void> finishInPlace(File& file, std::uint32_t reserveSize, const Movie& movie);

}  // namespace velmora::mp4

// Clips as the recorder leaves them, and what a part of one has to show and play.
#pragma once

#include "media/TimeRange.h"
#include "tests/support/media/DecodedFile.h"

#include <cstdint>
#include <filesystem>
#include <vector>

namespace velmora::test {

struct WrittenClip {
    std::vector<MediaTime> pictures;  ///< when each begins, from 0 on; numbered from 0
    int keyFrameInterval = 30;
    std::int64_t soundStart = 0;  ///< frames after the first picture
    std::int64_t soundFrames = 0;  ///< 0: without sound
    std::vector<std::pair<std::int64_t, std::int64_t>> silences = {};  ///< frames from the sound's beginning: from, to
    bool isFinished = true;
};

/// Pictures with numbers, and a steadily rising tone with clicks: no two places sound alike. Written by this system's writer.
void writeClip(const std::filesystem::path& path, const WrittenClip& clip);

/// About ten seconds: 60 pictures a second, a still stretch with two a second, 30 a second at uneven times, a pause of a second; sound
/// that begins late, with a gap. `seed` decides the times.
WrittenClip unevenClip(unsigned seed);

/// Fails the test unless `part` shows exactly the pictures in `range` of `whole`, at their times, and plays its samples at theirs.
void expectPartOf(const DecodedFile& whole, const TimeRange& range, const DecodedFile& part);

/// The pictures in `range`: the one on the screen at its beginning (time 0), and all that follow.
std::vector<DecodedPicture> picturesIn(const DecodedFile& whole, const TimeRange& range);

}  // namespace velmora::test

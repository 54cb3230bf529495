// A copy of a clip in another format than MP4.
#pragma once

#include "engine/codecs/MovieCodecs.h"
#include "engine/sharing/CopyWork.h"

namespace velmora::engine {

/// Writes the clip in `source` as `settings.format`, with at most `settings.limit` bytes where that is not 0: as fine as its ladder begins
/// where that fits, else so much coarser that it fits, and uses nine tenths of the limit if six rounds find how. None: cancelled. After any
/// failure or a cancel the target is useless. Errors: those of ClipSource::open(), the codecs', the system's;
/// platform::TranscodingErrorCode.
Result<std::optional<platform::TranscodingReport>> makeMovieCopy(
    mp4::File& source, const platform::TranscodingSettings& settings, MovieCodecs& codecs, const CopyTools& tools);

}  // namespace velmora::engine

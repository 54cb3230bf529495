// A clip made to fit into a number of bytes.
#pragma once

#include "engine/sharing/CopyWork.h"

namespace velmora::engine {

/// Writes the clip in `source` as an MP4 file of at most `settings.limit` bytes: as it is where it fits, else
/// encoded anew, a second time and more often where the result is too large or leaves more than a tenth of the limit although the clip has
/// more to show. None: cancelled. After any failure or a cancel the target is useless. Errors: those of ClipSource::open(), the codecs', the
/// system's; platform::TranscodingErrorCode.
Result<std::optional<platform::TranscodingReport>> makeSmallFile(
    mp4::File& source, const platform::TranscodingSettings& settings, ClipCodecs& codecs, const CopyTools& tools);

}  // namespace velmora::engine

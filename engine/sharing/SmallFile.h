// A clip made to fit into a number of bytes.
#pragma once

#include "engine/sharing/ClipSource.h"
#include "platform/ClipTranscoder.h"

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace velmora::engine {

/// What it works with, on one thread.
struct SmallFileTools {
    ClipCodecs& codecs;
    /// The file that becomes the copy, empty; asked for once, when all of it is known. Null: cancelled.
    std::function<Result<mp4::File*>()> makeTarget;
    /// An empty file that nobody sees and that goes with its object.
    std::function<Result<std::unique_ptr<mp4::File>>()> makeScratch;
    /// Called with rising values from 0 to 1; false cancels.
    std::function<bool(double)> progress;
};

/// Writes the clip in `source` as an MP4 file of at most `settings.limit` bytes: as it is where it fits, else
/// encoded anew, a second time and more often where the result is too large or leaves more than a tenth of the limit although the clip has
/// more to show. None: cancelled. After any failure or a cancel the target is useless. Errors: those of ClipSource::open(), the codecs', the
/// system's; platform::TranscodingErrorCode.
Result<std::optional<platform::TranscodingReport>> makeSmallFile(
    mp4::File& source, const platform::TranscodingSettings& settings, const SmallFileTools& tools);

}  // namespace velmora::engine

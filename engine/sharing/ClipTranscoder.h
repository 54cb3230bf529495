// The seam's transcoder, by whatever codecs there are.
#pragma once

#include "engine/codecs/ClipCodecs.h"
#include "engine/codecs/MovieCodecs.h"
#include "platform/ClipTranscoder.h"

#include <memory>

namespace velmora::engine {

/// Each session works on a thread of its own, in the background. `makeCodecs`, or for other formats than MP4 `makeMovieCodecs`, is called
/// there, for each of them.
std::shared_ptr<platform::ClipTranscoder> makeClipTranscoder(MakeClipCodecs makeCodecs, MakeMovieCodecs makeMovieCodecs);

}  // namespace velmora::engine

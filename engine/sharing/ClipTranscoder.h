// The seam's transcoder, by whatever codecs there are.
#pragma once

#include "engine/codecs/ClipCodecs.h"
#include "platform/ClipTranscoder.h"

#include <memory>

namespace velmora::engine {

/// Each session works on a thread of its own, in the background. `makeCodecs` is called there, for each of them.
std::shared_ptr<platform::ClipTranscoder> makeClipTranscoder(MakeClipCodecs makeCodecs);

}  // namespace velmora::engine

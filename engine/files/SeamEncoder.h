// Encodes anew what a plan of several spans asks for.
#pragma once

#include "engine/codecs/SeamCodecs.h"
#include "media/mp4/Splicer.h"

#include <optional>
#include <vector>

namespace velmora::engine {

/// What the plan's runs are to hold. Sound that is copied may become less by a few packets, or none, where its windows do not overlap those of
/// what was encoded: the plan is changed then. None when `progress` cancels. `files` are those that the plan was made from. Errors: the
/// system's, the codecs'; ErrorCode::unsupported for sound that is not encoded here.
Result<std::optional<mp4::AnewMedia>> encodeSeams(
    const std::vector<mp4::File*>& files, mp4::OpenSplice& splice, const SeamCodecs& codecs, const mp4::TrimProgress& progress = {});

}  // namespace velmora::engine

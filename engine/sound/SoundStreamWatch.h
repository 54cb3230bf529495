// The streams of a sound server, followed.
#pragma once

#include "engine/sound/SoundingApplications.h"

#include <functional>
#include <vector>

namespace velmora::engine {

/// Tells of all streams, at first and whenever one has come, gone, paused or gone on, on a thread of its own; of none once the server is gone. When
/// it has ended, no call is running or will run. Not ended by such a call.
class SoundStreamWatch {
public:
    using Changed = std::function<void(const std::vector<SoundStream>& streams)>;

    virtual ~SoundStreamWatch() = default;
};

}  // namespace velmora::engine

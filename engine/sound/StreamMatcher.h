// Decides whose sound a stream of the sound server is.
#pragma once

#include "engine/sound/ApplicationIdentity.h"
#include "engine/sound/AudioSource.h"
#include "engine/sound/ProcessTree.h"

#include <cstdint>
#include <optional>
#include <string>

namespace velmora::engine {

/// What a sound server tells about the program behind a stream of sound. Empty and 0 mean "unknown".
struct StreamIdentity {
    std::int32_t processID = 0;
    /// True when the kernel vouches for the process id (the credentials of the connection), false when the program said it itself:
    /// inside a pid namespace it then means nothing.
    bool processIDIsCertain = false;
    std::string applicationName;
    std::string binary;
    std::string portalApplicationID;
};

/// How a stream was recognised.
enum class StreamMatch { none, processTree, portalApplication, name };

/// The stream's process if that can be relied on; 0 if it cannot.
[[nodiscard]] std::int32_t knownProcess(const StreamIdentity& stream, const ProcessTree::Reader& reader);

[[nodiscard]] ApplicationIdentity applicationIdentity(const StreamIdentity& stream);

/// Decides by the process tree, then the portal's application id, then the name or the binary; the last only where the process of one
/// of the two is unknown, because two instances of one program share a name, and where a chosen application is followed by its name.
class StreamMatcher {
public:
    StreamMatcher(const AudioTarget& target, Processes processes);

    [[nodiscard]] StreamMatch match(const StreamIdentity& stream) const;

private:
    [[nodiscard]] bool isAnotherInstance(std::int32_t process) const;

    AudioTarget target_;
    Processes processes_;
    ProcessTree tree_;
    std::uint64_t beginning_;
    bool targetLived_;  // in the beginning
};

}  // namespace velmora::engine

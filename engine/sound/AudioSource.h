// Where a stream's sound comes from.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "media/SampleBuffer.h"

#include <cstdint>
#include <functional>
#include <string>

namespace velmora::engine {

/// Whose sound is wanted. Matched in this order: process tree, portal application, name; the name only where this process or that of the
/// sound is unknown, and for an application that isFollowedByName.
struct AudioTarget {
    std::int32_t processID = 0;  ///< the process that owns the window; 0 when unknown
    std::string applicationName;
    std::string bundleIdentifier;
    std::string portalApplicationID;
    bool excludesCurrentProcess = true;
    /// The user chose the application by its sound. When its process has ended, later processes of the same name and the same binary (here
    /// `bundleIdentifier`) are that application again; those that ran beside it are not.
    bool isFollowedByName = false;
    /// True for a process that owns windows of another application: it and everything below it do not belong to the tree. Called on
    /// the source's thread; may be empty.
    std::function<bool(std::int32_t processID)> ownsWindowsOfAnotherApplication;
};

struct AudioSourceFormat {
    std::int32_t sampleRate = 48000;
    std::int32_t channelCount = 2;
};

/// Delivers the sound of one application from a thread of its own, silence included, in blocks of at least 1024 frames of interleaved
/// 32-bit float with time stamps of MonotonicClock. Started once, stopped once.
class AudioSource {
public:
    using BlockCallback = UniqueFunction<void(SampleBufferRef)>;

    virtual ~AudioSource() = default;

    /// Fails when there is no sound server to talk to. If the server dies later, the track goes on in silence, without an error.
    virtual Result<void> start(const AudioTarget& target, AudioSourceFormat format, BlockCallback block) = 0;

    /// Returns when no callback is running or will run. Idempotent. Never called from the callback.
    virtual void stop() = 0;
};

}  // namespace velmora::engine

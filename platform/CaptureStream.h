// Seam: a running capture.
#pragma once

#include "base/Result.h"
#include "base/SerialQueue.h"
#include "base/UniqueFunction.h"
#include "media/SampleBuffer.h"
#include "platform/ContentFilter.h"
#include "platform/StreamConfiguration.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace velmora::platform {

class CaptureStream;

enum class StreamOutputType { screen, audio, microphone };

/// Why a capture hears nothing of an application that plays.
enum class UnheardReason {
    muted,  ///< its stream is
    undecoded,  ///< it goes to its device as it is, to be decoded there
    anotherServer,  ///< it plays on a sound server whose sound is not recorded
    noStream,  ///< what plays is not known to belong to the window
    noServer,  ///< no sound server answers; whether it plays is not known
};

class StreamOutput {
public:
    virtual ~StreamOutput() = default;

    /// A picture ("BGRA") or a block of sound ("lpcm"), on the queue that was given for its type.
    virtual void streamDidOutputSampleBuffer(const CaptureStream& stream, const SampleBufferRef& sample, StreamOutputType type) = 0;
};

class StreamDelegate {
public:
    virtual ~StreamDelegate() = default;

    /// The running stream has ended by itself; its window is gone, for example. At most once, on any thread; nothing is delivered after it.
    virtual void streamDidStopWithError(const CaptureStream& stream, const Error& error) = 0;

    /// The stream goes on without sound, though it was to have some, because there is no sound server for example. On any thread.
    virtual void streamDidLoseSound([[maybe_unused]] const CaptureStream& stream, [[maybe_unused]] const Error& error) { }

    /// Sound has come after all. On any thread.
    virtual void streamDidRegainSound([[maybe_unused]] const CaptureStream& stream) { }

    /// What is captured has had this size, in pixels, for a second, and it is not that of the pictures. Said once, and again when it has
    /// changed, or a second after an update of the size that failed. On any thread.
    virtual void streamContentDidSettle(
        [[maybe_unused]] const CaptureStream& stream, [[maybe_unused]] std::int32_t width, [[maybe_unused]] std::int32_t height)
    {
    }
};

/// Delivers the pictures and sound of one filter until it is stopped or stops with an error.
///
/// Pictures come when something has changed, on average no closer than the configuration's minimum frame interval, all of the configuration's
/// size or of that of the last update, and at least every 0.5 s (the last picture again, with a new time stamp). Sound comes in blocks of at
/// least 1024 frames of interleaved 32-bit float, without a gap while the sound server lives. Time stamps of both are MonotonicClock's. Once
/// a stop has been asked for, nothing but its completion arrives. Outputs and delegate are held weakly.
class CaptureStream {
public:
    using Completion = UniqueFunction<void(Result<void>)>;

    virtual ~CaptureStream() = default;

    /// Before the start only. Fails when the type cannot be delivered.
    virtual Result<void> addStreamOutput(std::weak_ptr<StreamOutput> output, StreamOutputType type, std::shared_ptr<Executor> queue) = 0;

    /// Once. `completion` is called exactly once, on any thread.
    virtual void startCapture(Completion completion) = 0;

    /// The running stream goes on in pictures of another size, in pixels, without a pause. `completion` is called exactly once, on any thread:
    /// with an error when no picture of that size has been or will be delivered, so that all is as before, else when every picture that has yet
    /// to be handed to its queue has the new size and one of them has been.
    virtual void updateSize(std::int32_t width, std::int32_t height, Completion completion) = 0;

    /// Asks the desktop why nothing is heard of what is captured, as things are now. None: it does not play as far as anybody can tell, or what
    /// it plays is silent. `completion` is called exactly once, on any thread; that may take some seconds.
    using UnheardCompletion = UniqueFunction<void(std::optional<UnheardReason>)>;
    virtual void explainSilence(UnheardCompletion completion) { completion(std::nullopt); }

    /// `completion` is called exactly once, on any thread, after the last sample has been handed to its queue.
    virtual void stopCapture(Completion completion) = 0;
};

class CaptureStreamFactory {
public:
    virtual ~CaptureStreamFactory() = default;

    /// Never fails: what cannot be captured is reported by the start.
    virtual std::shared_ptr<CaptureStream> makeStream(
        const ContentFilter& filter, const StreamConfiguration& configuration, std::weak_ptr<StreamDelegate> delegate) = 0;
};

}  // namespace velmora::platform

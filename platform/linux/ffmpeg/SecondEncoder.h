// An encoder that is opened beside the one that runs.
#pragma once

#include "base/MonotonicClock.h"
#include "base/SerialQueue.h"
#include "platform/linux/ffmpeg/VideoEncoder.h"

#include <memory>
#include <optional>

namespace velmora::linux_backend {

/// Opens encoders, and closes those that are no longer needed, where no picture waits for that: opening one takes as long as a picture or
/// several. Used on one thread; the work is done on another.
class SecondEncoder {
public:
    using Opened = tl::expected<std::unique_ptr<VideoEncoder>, AvError>;
    using Open = UniqueFunction<Opened(const VideoEncoderSettings&)>;

    /// One that is there for longer than this is let go: it takes as much memory as the one that runs.
    static constexpr std::chrono::seconds longestStay{1};

    /// `open` is called on one thread at a time. Without an executor there is a queue from the first use on.
    explicit SecondEncoder(Open open, std::shared_ptr<Executor> executor = nullptr);

    /// Lets go of what there is. Work that has not begun is not done.
    ~SecondEncoder();

    SecondEncoder(const SecondEncoder&) = delete;
    SecondEncoder& operator=(const SecondEncoder&) = delete;

    /// At once, on the calling thread, after what is being opened.
    [[nodiscard]] Opened openNow(const VideoEncoderSettings& settings);

    /// Begins to open one, instead of any other.
    void begin(const VideoEncoderSettings& settings);

    /// The effort of the one that was begun and neither taken nor let go; none without.
    [[nodiscard]] std::optional<EncodingEffort> effort() const { return effort_; }

    /// Whether it is there, or failed. To be asked with every picture, because its stay counts from the first time that it is. One that has
    /// stayed too long is let go, and counts as failed.
    enum class State { none, beingOpened, isThere, failed };
    [[nodiscard]] State look(MonotonicTime now);

    /// The one that is there.
    [[nodiscard]] std::unique_ptr<VideoEncoder> take();

    void letGo();

    /// Destroys an encoder that has been replaced.
    void close(std::unique_ptr<VideoEncoder> encoder);

private:
    struct Shared;

    Executor& executor();

    const std::shared_ptr<Shared> shared_;
    std::shared_ptr<Executor> executor_;
    std::optional<EncodingEffort> effort_;
    std::optional<MonotonicTime> since_;
};

}  // namespace velmora::linux_backend

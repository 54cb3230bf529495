// Hears what a capture stream says.
#pragma once

#include "base/Mutex.h"
#include "platform/CaptureStream.h"

#include <cstddef>
#include <vector>

namespace velmora::test {

/// What a stream has said. Any thread.
class StreamListener final : public platform::StreamOutput, public platform::StreamDelegate {
public:
    void streamDidOutputSampleBuffer(
        const platform::CaptureStream& stream, const SampleBufferRef& sample, platform::StreamOutputType type) override;
    void streamDidStopWithError(const platform::CaptureStream& stream, const Error& error) override;

    /// Returns when that many have come.
    void waitForPictures(std::size_t count);
    void waitForSound(std::size_t count);
    void waitForEnd();

    /// Lets go of what has come.
    void forget();

    [[nodiscard]] std::vector<SampleBufferRef> pictures();
    [[nodiscard]] std::vector<SampleBufferRef> sound();
    [[nodiscard]] std::vector<Error> errors();

private:
    Mutex mutex_;
    ConditionVariable changed_;
    std::vector<SampleBufferRef> pictures_ GUARDED_BY(mutex_);
    std::vector<SampleBufferRef> sound_ GUARDED_BY(mutex_);
    std::vector<Error> errors_ GUARDED_BY(mutex_);
};

}  // namespace velmora::test

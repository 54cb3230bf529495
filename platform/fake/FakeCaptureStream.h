// A capture stream that a test plays by hand.
#pragma once

#include "platform/CaptureStream.h"

#include <algorithm>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

namespace velmora::fake {

class FakeCaptureStream final : public platform::CaptureStream {
public:
    struct Output {
        std::weak_ptr<platform::StreamOutput> output;
        platform::StreamOutputType type;
        std::shared_ptr<Executor> queue;
    };

    FakeCaptureStream(const platform::ContentFilter& f, const platform::StreamConfiguration& c, std::weak_ptr<platform::StreamDelegate> d)
        : filter(f)
        , configuration(c)
        , delegate(std::move(d))
    {
    }

    Result<void> addStreamOutput(
        std::weak_ptr<platform::StreamOutput> output, platform::StreamOutputType type, std::shared_ptr<Executor> queue) override
    {
        if (refusedOutput == type)
            return fail("Fake", 1, "The output cannot be added.");
        outputs.push_back({std::move(output), type, std::move(queue)});
        return {};
    }

    void startCapture(Completion completion) override
    {
        started = true;
        if (holdsStart)
            heldStart_ = std::move(completion);
        else
            completion(startResult());
    }

    void answerStart() { std::exchange(heldStart_, nullptr)(startResult()); }

    void updateSize(std::int32_t width, std::int32_t height, Completion completion) override
    {
        sizesAsked.emplace_back(width, height);
        heldUpdate_ = std::move(completion);
    }

    /// The answer to the last update. As the real one, deliver a picture of the new size before one that is good.
    void answerUpdate(Result<void> result) { std::exchange(heldUpdate_, nullptr)(std::move(result)); }

    /// The window has had this size for a second.
    void settle(std::int32_t width, std::int32_t height)
    {
        if (const auto target = delegate.lock())
            target->streamContentDidSettle(*this, width, height);
    }

    void explainSilence(UnheardCompletion completion) override { silenceQuestions.push_back(std::move(completion)); }

    void stopCapture(Completion completion) override
    {
        ++stopCount;
        if (holdsStop)
            heldStop_ = std::move(completion);
        else
            completion(stopResult());
    }

    void answerStop() { std::exchange(heldStop_, nullptr)(stopResult()); }

    /// Delivers as the real one does: on the queue of the type, unless stopped.
    void deliver(const SampleBufferRef& sample, platform::StreamOutputType type)
    {
        if (stopCount > 0)
            return;
        deliverEvenIfStopped(sample, type);
    }

    void deliverEvenIfStopped(const SampleBufferRef& sample, platform::StreamOutputType type)
    {
        for (const auto& output : outputs) {
            if (output.type == type) {
                output.queue->async([this, weak = output.output, sample, type] {
                    if (const auto target = weak.lock())
                        target->streamDidOutputSampleBuffer(*this, sample, type);
                });
            }
        }
    }

    void stopWithError(const Error& error)
    {
        if (const auto target = delegate.lock())
            target->streamDidStopWithError(*this, error);
    }

    platform::ContentFilter filter;
    platform::StreamConfiguration configuration;
    std::weak_ptr<platform::StreamDelegate> delegate;
    std::vector<Output> outputs;
    std::optional<platform::StreamOutputType> refusedOutput;
    std::optional<Error> startError;
    std::optional<Error> stopError;
    bool holdsStart = false;
    bool holdsStop = false;  ///< a stream that takes its time to stop, until answerStop()
    bool started = false;
    int stopCount = 0;
    std::vector<std::pair<std::int32_t, std::int32_t>> sizesAsked;  ///< by updates
    std::deque<UnheardCompletion> silenceQuestions;  ///< to be answered by the test

private:
    [[nodiscard]] Result<void> startResult() const
    {
        if (startError)
            return fail(*startError);
        return {};
    }

    [[nodiscard]] Result<void> stopResult() const
    {
        if (stopError)
            return fail(*stopError);
        return {};
    }

    Completion heldStart_;
    Completion heldStop_;
    Completion heldUpdate_;
};

class FakeCaptureStreams final : public platform::CaptureStreamFactory {
public:
    std::shared_ptr<platform::CaptureStream> makeStream(const platform::ContentFilter& filter,
        const platform::StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate) override
    {
        auto stream = std::make_shared<FakeCaptureStream>(filter, configuration, std::move(delegate));
        if (prepare)
            prepare(*stream);
        streams.push_back(stream);
        return stream;
    }

    std::vector<std::shared_ptr<FakeCaptureStream>> streams;
    UniqueFunction<void(FakeCaptureStream&)> prepare;  ///< may set faults before the stream is handed out
};

}  // namespace velmora::fake

// The whole way from a captured picture to a saved clip, with real files and without waiting for anything: pictures and sound are fed in by
// hand, and the encoder takes no time.
#pragma once

#include "engine/files/AssetWriter.h"
#include "tests/support/CoordinatorFixture.h"
#include "tests/support/Samples.h"
#include "tests/support/media/AacEncoder.h"
#include "tests/support/media/RepeatedClip.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

class RecordingEngine : public CoordinatorFixture {
public:
    static constexpr std::int64_t pictureInterval = 1'000'000'000 / 60;
    static constexpr std::int64_t soundInterval = 1'024'000'000'000 / 48'000;

    explicit RecordingEngine(
        int keyFrameInterval = 6, RepeatedClipSession::Outcome outcome = {}, engine::AudioEncoderFactory sound = makeSoundEncoder)
        : RecordingEngine(Parts{std::make_shared<engine::AssetWriterFactory>(std::move(sound)),
            std::make_shared<RepeatedClipSessions>(keyFrameInterval, std::move(outcome))})
    {
    }

    explicit RecordingEngine(const Parts& parts) : CoordinatorFixture(parts)
    {
        const CapturedWindowInfo film{
            .id = 7, .title = "Film", .appName = "Player", .bundleID = "player", .frame = {0, 0, 64, 48}, .isOnScreen = true};
        addLiveWindow(film);
        coordinator->onClipSaved = [this](const auto& clip, double, bool) { saved_ = clip; };
        coordinator->onCaptureError = [this](const std::string& message) { errors.push_back(message); };
        executor->runAll();
        coordinator->selectWindowAndStartCapture(film);
        executor->runAll();
    }

    static Result<std::unique_ptr<engine::AudioEncoder>> makeSoundEncoder(const platform::AudioOutputSettings&) { return makeAacEncoder(); }

    /// Pictures and sound as they come at 60 a second, `count` pictures long.
    void play(int count)
    {
        for (int i = 0; i < count; ++i) {
            time_ += pictureInterval;
            deliver(sample_, time_);
            for (; soundTime_ < time_; soundTime_ += soundInterval)
                deliverSound(silence_, soundTime_);
            // As many as may be waiting anywhere.
            if (i % 16 == 15)
                drain();
        }
        drain();
    }

    void deliver(const SampleBufferRef& picture, std::int64_t time)
    {
        streams->streams.back()->deliver(at(picture, time), platform::StreamOutputType::screen);
    }
    void deliverSound(const SampleBufferRef& block, std::int64_t time)
    {
        streams->streams.back()->deliver(at(block, time), platform::StreamOutputType::audio);
    }

    void drain()
    {
        captureService->sampleQueue().drain();
        captureService->audioQueue().drain();
        captureService->encoder().outputQueue().drain();
    }

    void start()
    {
        clock->time += std::chrono::seconds{1};
        coordinator->startRecording();
        executor->runAll();
    }

    /// The clip; none when it could not be saved.
    std::optional<std::filesystem::path> save()
    {
        saved_.reset();
        const auto before = errors.size();
        coordinator->stopRecording();
        executor->runUntil([&] { return saved_ || errors.size() > before; });
        executor->runAll();
        return saved_;
    }

    [[nodiscard]] std::int64_t now() const { return time_; }
    [[nodiscard]] const SampleBufferRef& picture() const { return sample_; }

    std::vector<std::string> errors;

private:
    static SampleBufferRef at(const SampleBufferRef& sample, std::int64_t time)
    {
        auto moved = std::make_shared<SampleBuffer>(*sample);
        moved->presentationTimeStamp = MediaTime::nanoseconds(time);
        return moved;
    }

    const SampleBufferRef sample_ = screenSample(0, 64, 48);
    const SampleBufferRef silence_ = audioSample(0);
    std::int64_t time_ = 86'412'345'678'901;
    std::int64_t soundTime_ = time_;
    std::optional<std::filesystem::path> saved_;
};

}  // namespace velmora::test

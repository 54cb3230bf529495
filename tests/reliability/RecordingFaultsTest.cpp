// Recordings that cannot go on: what was written is saved, and the reason is known.

#include "app/RecordingObserver.h"
#include "tests/support/media/DecodedFile.h"
#include "tests/support/media/RecordingEngine.h"
#include "tests/support/media/SlowDisk.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using ::testing::IsEmpty;

/// Puts out the pictures of one encoder, then, from a given picture on, those of another with other parameter sets.
class TwoEncoders final : public platform::CompressionSession {
public:
    TwoEncoders(std::size_t picturesOfTheFirst, OutputCallback output) : picturesOfTheFirst_(picturesOfTheFirst), output_(std::move(output))
    {
    }

    platform::CompressionStatus setProperty(platform::CompressionProperty, platform::CompressionPropertyValue) override { return 0; }
    platform::CompressionStatus prepareToEncodeFrames() override { return 0; }
    platform::CompressionStatus completeFrames() override { return 0; }
    void invalidate() override { }

    platform::CompressionStatus encodeFrame(const PixelBufferRef&, MediaTime presentationTimeStamp, MediaTime duration) override
    {
        const auto& clip = count_ < picturesOfTheFirst_ ? first_ : second_;
        auto sample = std::make_shared<SampleBuffer>(*clip.samples[count_++ % clip.samples.size()]);
        sample->presentationTimeStamp = presentationTimeStamp;
        sample->duration = duration;
        output_(0, std::move(sample));
        return 0;
    }

private:
    static constexpr int interval = 6;
    const EncodedClip first_ = encodeClip(steadyTimes(interval, 60), {.width = 64, .height = 48, .keyFrameInterval = interval});
    const EncodedClip second_ = encodeClip(steadyTimes(interval, 60), {.width = 128, .height = 96, .keyFrameInterval = interval});
    const std::size_t picturesOfTheFirst_;
    OutputCallback output_;
    std::size_t count_ = 0;
};

class TwoEncodersSessions final : public platform::CompressionSessionFactory {
public:
    explicit TwoEncodersSessions(std::size_t picturesOfTheFirst) : picturesOfTheFirst_(picturesOfTheFirst) { }

    tl::expected<std::shared_ptr<platform::CompressionSession>, platform::CompressionStatus> makeSession(
        std::int32_t, std::int32_t, FourCharacterCode, platform::CompressionSession::OutputCallback output) override
    {
        return std::make_shared<TwoEncoders>(picturesOfTheFirst_, std::move(output));
    }

private:
    const std::size_t picturesOfTheFirst_;
};

/// An engine whose recordings are observed as the program's are.
struct ObservedEngine {
    ObservedEngine(std::shared_ptr<platform::AssetWriterFactory> writers, std::shared_ptr<platform::CompressionSessionFactory> sessions)
        : engine(CoordinatorFixture::Parts{metered(std::move(writers), meter), metered(std::move(sessions), meter)})
        , observer(RecordingObserver::create(engine.executor, meter))
    {
        observer->onNothingMoreCanBeWritten = [this](const std::string&) { engine.coordinator->stopRecording(); };
    }

    /// Runs what the observer asks for, until the recording has ended by itself and is saved or has failed.
    void settle()
    {
        engine.executor->runUntil([&] { return !engine.coordinator->isRecording(); });
        bool isSettled = false;
        engine.coordinator->notifyWhenSaved([&] { isSettled = true; });
        if (!isSettled)
            engine.executor->runUntil([&] { return isSettled; });
    }

    [[nodiscard]] std::filesystem::path onlyFile()
    {
        const auto files = engine.fileManager->contentsOfDirectory(engine.library->effectiveOutputDirectory(), false).value();
        EXPECT_EQ(files.size(), 1U);
        return files.empty() ? std::filesystem::path{} : files.front();
    }

    std::shared_ptr<RecordingMeter> meter = std::make_shared<RecordingMeter>();
    RecordingEngine engine;
    std::shared_ptr<RecordingObserver> observer;
};

TEST(RecordingFaults, WhenAnotherEncoderTakesOverTheRecordingIsSavedUpToThereAndTheNextIsWhole)
{
    constexpr int picturesOfTheFirst = 48;
    ObservedEngine observed{std::make_shared<engine::AssetWriterFactory>(RecordingEngine::makeSoundEncoder),
        std::make_shared<TwoEncodersSessions>(picturesOfTheFirst)};
    auto& engine = observed.engine;
    engine.start();
    engine.play(90);
    observed.settle();
    EXPECT_FALSE(engine.coordinator->isRecording());
    EXPECT_THAT(engine.errors, IsEmpty());
    const auto clip = engine.coordinator->lastSavedClipURL();
    ASSERT_TRUE(clip);
    EXPECT_EQ(*clip, observed.onlyFile());
    const auto decoded = decodeFile(*clip);
    EXPECT_THAT(decoded.complaints, IsEmpty());
    EXPECT_EQ(decoded.pictures.size(), picturesOfTheFirst);
    EXPECT_THAT(observed.observer->notice(), ::testing::HasSubstr("Another encoder has taken over"));

    engine.start();
    EXPECT_EQ(observed.observer->notice(), "");
    engine.play(30);
    const auto next = engine.save();
    ASSERT_TRUE(next);
    const auto decodedNext = decodeFile(*next);
    EXPECT_THAT(decodedNext.complaints, IsEmpty());
    EXPECT_EQ(decodedNext.width, 128);
    EXPECT_GE(decodedNext.pictures.size(), 24U);
}

TEST(RecordingFaults, WhenTheDiskFillsUpTheRecordingEndsByItselfAndPlaysUpToThere)
{
    const auto gate = std::make_shared<DiskGate>();
    ObservedEngine observed{
        std::make_shared<SlowAssetWriters>(gate, RecordingEngine::makeSoundEncoder), std::make_shared<RepeatedClipSessions>(6)};
    auto& engine = observed.engine;
    engine.start();
    const auto file = observed.onlyFile();
    engine.play(120);
    // Of two seconds all but the last fragment, which is of 0.8 s at most, reaches the disk.
    std::size_t onTheDisk = 0;
    while (onTheDisk < 72)
        onTheDisk = decodeFile(file).pictures.size();
    gate->fillUp();
    // Nobody asks for the end, and pictures keep coming.
    while (engine.coordinator->isRecording()) {
        engine.play(30);
        engine.executor->runAll();
    }
    observed.settle();
    EXPECT_FALSE(engine.coordinator->isRecording());
    EXPECT_THAT(engine.errors, ::testing::ElementsAre(::testing::HasSubstr("No space left on device")));
    EXPECT_THAT(observed.observer->notice(), ::testing::StartsWith("The recording ended early: "));
    const auto decoded = decodeFile(observed.onlyFile());
    EXPECT_THAT(decoded.complaints, IsEmpty());
    EXPECT_GE(decoded.pictures.size(), onTheDisk);
}

}  // namespace
}  // namespace velmora::test

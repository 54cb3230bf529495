// What docs/developing.md promises the author of a back end: that a few lines of one can record.
#include "tests/engine/capture/ToyBackEnd.h"
#include "engine/capture/CaptureStreams.h"
#include "platform/fake/FakeShareableContent.h"
#include "platform/linux/CodecModuleServices.h"
#include "tests/engine/files/AssetWriting.h"
#include "tests/engine/pictures/PictureRecorder.h"
#include "tests/support/TemporaryDirectory.h"

#include <future>
#include <string>

namespace velmora::engine {
namespace {

using test::DecodedFile;

constexpr std::int32_t sceneWidth = 320;
constexpr std::int32_t sceneHeight = 240;

/// Draws what the tests' decoder reads as a number: twelve bars, each a sixteenth of the width.
void drawNumber(ToyWindow& window, int number, PixelRect area = {0, 0, sceneWidth, sceneHeight})
{
    std::vector<std::pair<PixelRect, std::uint32_t>> bars;
    for (std::int32_t bit = 0; bit < 12; ++bit)
        bars.push_back(
            {{area.x + bit * (area.width / 16), area.y, area.width / 16, area.height}, (number >> bit) & 1 ? 0xffffffU : 0x101010U});
    window.draw(bars);
}

/// Encodes the pictures of a stream and writes them to a file, all with the real services. When they have another size, it begins anew.
class RecordedStream final : public platform::StreamOutput {
public:
    RecordedStream(std::filesystem::path path, KeyFrameRequests requests) : path_(std::move(path)), requests_(std::move(requests)) { }

    void streamDidOutputSampleBuffer(const platform::CaptureStream&, const SampleBufferRef& sample, platform::StreamOutputType) override
    {
        MutexLock lock(mutex_);
        const std::pair size{sample->imageBuffer->width, sample->imageBuffer->height};
        if (!session_ || size != size_)
            open(size);
        EXPECT_EQ(session_->encodeFrame(sample->imageBuffer, sample->presentationTimeStamp, sample->duration), 0);
        EXPECT_EQ(session_->completeFrames(), 0);
        changed_.notifyAll();
    }

    /// Waits for compressed pictures.
    void waitFor(std::size_t count)
    {
        MutexLock lock(mutex_);
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (encodedCount() < count && changed_.waitUntil(mutex_, deadline)) { }
        ASSERT_GE(encodedCount(), count);
    }

    /// Waits for compressed pictures of this size.
    void waitForSize(std::pair<std::int32_t, std::int32_t> size)
    {
        MutexLock lock(mutex_);
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (size_ != size && changed_.waitUntil(mutex_, deadline)) { }
        ASSERT_EQ(size_, size);
    }

    std::size_t encodedCount() const
    {
        MutexLock lock(samplesMutex_);
        return samples_.size();
    }

    std::vector<SampleBufferRef> samples() const
    {
        MutexLock lock(samplesMutex_);
        return samples_;
    }

    DecodedFile finish()
    {
        MutexLock lock(samplesMutex_);
        AssetWriterFactory factory{test::noEncoders};
        auto writer = factory.makeAssetWriter(path_, platform::AssetFileType::mpeg4).value();
        auto input = writer->makeInput(MediaType::video, std::nullopt, samples_.front()->format);
        EXPECT_TRUE(writer->canAdd(*input));
        writer->add(input);
        EXPECT_TRUE(writer->startWriting());
        writer->startSession(samples_.front()->presentationTimeStamp);
        for (const auto& sample : samples_)
            EXPECT_TRUE(input->append(sample));
        test::finish(*writer);
        return test::decodeClean(path_);
    }

private:
    void open(std::pair<std::int32_t, std::int32_t> size) REQUIRES(mutex_)
    {
        session_.reset();
        size_ = size;
        {
            MutexLock lock(samplesMutex_);
            samples_.clear();
        }
        auto made = linux_backend::makeCompressionSessions(requests_)->makeSession(
            size.first, size.second, FourCharacterCode{"avc1"}, [this](platform::CompressionStatus status, SampleBufferRef sample) {
                EXPECT_EQ(status, 0);
                MutexLock lock(samplesMutex_);
                samples_.push_back(std::move(sample));
            });
        session_ = made.value();
    }

    const std::filesystem::path path_;
    const KeyFrameRequests requests_;
    Mutex mutex_;
    ConditionVariable changed_;
    mutable Mutex samplesMutex_;
    std::vector<SampleBufferRef> samples_ GUARDED_BY(samplesMutex_);
    std::pair<std::int32_t, std::int32_t> size_ GUARDED_BY(mutex_);
    std::shared_ptr<platform::CompressionSession> session_;
};

/// The size that the window has settled at.
class SettledSize final : public platform::StreamDelegate {
public:
    std::pair<std::int32_t, std::int32_t> wait()
    {
        MutexLock lock(mutex_);
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (!size_ && changed_.waitUntil(mutex_, deadline)) { }
        return size_.value_or(std::pair{0, 0});
    }

    void streamDidStopWithError(const platform::CaptureStream&, const Error& error) override
    {
        ADD_FAILURE() << error.localizedDescription;
    }

    void streamContentDidSettle(const platform::CaptureStream&, std::int32_t width, std::int32_t height) override
    {
        MutexLock lock(mutex_);
        size_ = {width, height};
        changed_.notifyAll();
    }

private:
    Mutex mutex_;
    ConditionVariable changed_;
    std::optional<std::pair<std::int32_t, std::int32_t>> size_ GUARDED_BY(mutex_);
};

class ToyBackEnd : public ::testing::Test {
protected:
    ToyBackEnd()
    {
        const auto streams = makeCaptureStreams({
            .makeVideoSource =
                [this](const platform::ContentFilter&, const platform::StreamConfiguration& configuration) {
                    return std::make_unique<ToyVideoSource>(window, configuration, nearestScalers());
                },
            .makeAudioSource = [] { return std::unique_ptr<AudioSource>{}; },
            .shareableContent = std::make_shared<fake::FakeShareableContent>(),
            .keyFrameRequests = requests,
        });
        stream_ = streams->makeStream(platform::ContentFilter::desktopIndependentWindow({}), pictureSize(sceneWidth, sceneHeight), settled);
        EXPECT_TRUE(stream_->addStreamOutput(recorded, platform::StreamOutputType::screen, queue_));
    }

    void start()
    {
        std::promise<Result<void>> started;
        stream_->startCapture([&](Result<void> result) { started.set_value(std::move(result)); });
        EXPECT_TRUE(started.get_future().get());
    }

    Result<void> update(std::int32_t width, std::int32_t height)
    {
        std::promise<Result<void>> updated;
        stream_->updateSize(width, height, [&](Result<void> result) { updated.set_value(std::move(result)); });
        return updated.get_future().get();
    }

    DecodedFile stop()
    {
        std::promise<void> stopped;
        stream_->stopCapture([&](const Result<void>&) { stopped.set_value(); });
        stopped.get_future().wait();
        queue_->drain();
        return recorded->finish();
    }

    ToyWindow window{sceneWidth, sceneHeight};
    test::TemporaryDirectory folder;
    KeyFrameRequests requests;
    std::shared_ptr<SettledSize> settled = std::make_shared<SettledSize>();
    std::shared_ptr<RecordedStream> recorded = std::make_shared<RecordedStream>(folder.path() / "clip.mp4", requests);

private:
    std::shared_ptr<SerialQueue> queue_ = std::make_shared<SerialQueue>("toy");
    std::shared_ptr<platform::CaptureStream> stream_;
};

TEST_F(ToyBackEnd, AStillSceneIsAPictureEveryHalfSecond)
{
    drawNumber(window, 7);
    start();
    recorded->waitFor(4);
    const auto file = stop();
    ASSERT_GE(file.pictures.size(), 4U);
    for (std::size_t index = 0; index < file.pictures.size(); ++index) {
        EXPECT_EQ(file.pictures[index].number, 7) << index;
        EXPECT_GE(file.pictures[index].time, 0.5 * static_cast<double>(index) - 0.001);
    }
}

TEST_F(ToyBackEnd, AFileThatBeginsInAStillSceneNeedNotWaitForTheHalfSecond)
{
    drawNumber(window, 7);
    start();
    recorded->waitFor(2);
    AssetWriterFactory factory{test::noEncoders, {}, requests};
    bool cameAtOnce = false;
    // By itself no picture ever comes sooner. One that is asked for may be late on a busy machine, but not each time.
    for (int attempt = 0; attempt < 20 && !cameAtOnce; ++attempt) {
        const auto before = recorded->encodedCount();
        const auto writer = factory.makeAssetWriter(folder.path() / "next.mp4", platform::AssetFileType::mpeg4).value();
        recorded->waitFor(before + 1);
        const auto samples = recorded->samples();
        cameAtOnce = samples[before]->presentationTimeStamp - samples[before - 1]->presentationTimeStamp < MediaTime{1, 2};
        EXPECT_TRUE(samples[before]->isSync());
        writer->cancelWriting();
    }
    EXPECT_TRUE(cameAtOnce);
    const auto file = stop();
    for (const auto& picture : file.pictures)
        EXPECT_EQ(picture.number, 7) << picture.time;
}

TEST_F(ToyBackEnd, AMovingSceneIsRecordedInOrderAndWhole)
{
    drawNumber(window, 0);
    start();
    for (int number = 1; number <= 30; ++number) {
        recorded->waitFor(static_cast<std::size_t>(number));
        drawNumber(window, number);
    }
    // One that was taken before may still be on its way.
    recorded->waitFor(recorded->encodedCount() + 2);
    const auto file = stop();
    ASSERT_GE(file.pictures.size(), 31U);
    for (std::size_t index = 1; index < file.pictures.size(); ++index) {
        EXPECT_GE(file.pictures[index].number, file.pictures[index - 1].number) << index;
        EXPECT_GT(file.pictures[index].time, file.pictures[index - 1].time) << index;
    }
    EXPECT_EQ(file.pictures.back().number, 30);
}

TEST_F(ToyBackEnd, AWindowThatGrowsIsFittedIn)
{
    drawNumber(window, 5);
    start();
    recorded->waitFor(1);
    window.resize(sceneWidth * 2, sceneHeight * 2, 0);
    drawNumber(window, 1234, {0, 0, sceneWidth * 2, sceneHeight * 2});
    recorded->waitFor(recorded->encodedCount() + 2);
    const auto file = stop();
    EXPECT_EQ(file.pictures.front().number, 5);
    EXPECT_EQ(file.pictures.back().number, 1234);
    EXPECT_EQ(file.width, sceneWidth);
}

TEST_F(ToyBackEnd, AWindowThatGrewIsRecordedInItsOwnSizeOnceTheStreamIsToldTo)
{
    constexpr std::pair grown{sceneWidth * 2, sceneHeight * 3};
    drawNumber(window, 5);
    start();
    recorded->waitFor(1);
    window.resize(grown.first, grown.second, 0);
    drawNumber(window, 1234, {0, 0, grown.first, grown.second});
    EXPECT_EQ(settled->wait(), grown);
    EXPECT_FALSE(update(grown.first + 1, grown.second)) << "which the window does not have";
    EXPECT_TRUE(update(grown.first, grown.second));
    recorded->waitForSize(grown);
    const auto file = stop();
    EXPECT_EQ(std::pair(file.width, file.height), grown);
    ASSERT_FALSE(file.pictures.empty());
    for (const auto& picture : file.pictures)
        EXPECT_EQ(picture.number, 1234) << picture.time;
}

}  // namespace
}  // namespace velmora::engine

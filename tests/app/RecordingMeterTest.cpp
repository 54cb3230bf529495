#include "app/RecordingMeter.h"

#include "platform/fake/FakeAssetWriter.h"
#include "platform/fake/FakeCompressionSession.h"
#include "tests/support/Samples.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

class RecordingMeterTest : public testing::Test {
protected:
    RecordingMeterTest()
    {
        writer = metered(inner, meter)->makeAssetWriter(folder.path() / "clip.mp4", platform::AssetFileType::mpeg4).value();
        video = writer->makeInput(MediaType::video, std::nullopt, test::videoSample(0, true)->format);
        audio = writer->makeInput(MediaType::audio, platform::AudioOutputSettings{}, nullptr);
        writer->add(video);
    }

    [[nodiscard]] fake::FakeAssetWriter& fake() const { return *inner->writers.at(0); }

    test::TemporaryDirectory folder;
    std::shared_ptr<RecordingMeter> meter = std::make_shared<RecordingMeter>();
    std::shared_ptr<fake::FakeAssetWriters> inner = std::make_shared<fake::FakeAssetWriters>();
    std::shared_ptr<platform::AssetWriter> writer;
    std::shared_ptr<platform::AssetWriterInput> video;
    std::shared_ptr<platform::AssetWriterInput> audio;
};

TEST_F(RecordingMeterTest, SoundIsMadeReadyByTheWritersThatAreMetered)
{
    const auto writers = metered(inner, meter);
    ASSERT_TRUE(writers->soundPreparation());
    writers->soundPreparation()->prepareSound({.bitRate = 1234});
    ASSERT_EQ(inner->preparedSounds.size(), 1U);
    EXPECT_EQ(inner->preparedSounds[0].bitRate, 1234);
}

TEST_F(RecordingMeterTest, CountsFramesAndTellsOfTheFirstOnce)
{
    std::vector<std::int64_t> firsts;
    meter->onFirstSample = [&](MediaTime time) { firsts.push_back(time.value); };
    EXPECT_TRUE(video->append(test::videoSample(100, true)));
    EXPECT_TRUE(video->append(test::videoSample(200, false)));
    EXPECT_EQ(meter->writtenFrames, 2U);
    EXPECT_EQ(meter->droppedFrames, 0U);
    EXPECT_EQ(firsts, std::vector<std::int64_t>{100});
    EXPECT_EQ(fake().input(MediaType::video)->samples.size(), 2U);
}

TEST_F(RecordingMeterTest, CountsWhatTheFileDidNotTakeAsDropped)
{
    fake().input(MediaType::video)->appendFails = true;
    EXPECT_FALSE(video->append(test::videoSample(100, true)));
    fake().input(MediaType::video)->ready = false;
    EXPECT_FALSE(video->isReadyForMoreMediaData());
    EXPECT_EQ(meter->droppedFrames, 2U);
    EXPECT_EQ(meter->writtenFrames, 0U);
}

TEST_F(RecordingMeterTest, TellsSoundFromSilence)
{
    EXPECT_FALSE(meter->writesSound);
    EXPECT_TRUE(writer->canAdd(*audio));
    writer->add(audio);
    EXPECT_TRUE(meter->writesSound);
    audio->append(test::audioSample(1000));
    EXPECT_EQ(meter->lastSound.load(), MonotonicTime{});
    auto loud = std::make_shared<SampleBuffer>(*test::audioSample(2000));
    loud->data = DataBlock::owning(std::vector<std::byte>(8192, std::byte{1}));
    audio->append(loud);
    EXPECT_EQ(meter->lastSound.load(), MonotonicTime{std::chrono::nanoseconds{2000}});
    EXPECT_EQ(meter->writtenFrames, 0U);
}

TEST_F(RecordingMeterTest, TheFileThatBeginsSaysHowLargeItIsAsSamplesCome)
{
    std::vector<RecordingReport> begun;
    meter->onReport = [&](RecordingReport report) {
        if (report.event == RecordingReport::Event::fileBegins)
            begun.push_back(std::move(report));
    };
    const auto writers = metered(inner, meter);
    const auto before = MonotonicClock::now();
    const auto first = writers->makeAssetWriter(folder.path() / "1.mp4", platform::AssetFileType::mpeg4).value();
    const auto second = writers->makeAssetWriter(folder.path() / "2.mp4", platform::AssetFileType::mpeg4).value();
    ASSERT_EQ(begun.size(), 2U);
    ASSERT_TRUE(begun[0].size && begun[1].size);
    EXPECT_GE(begun[0].time, before);
    EXPECT_LE(begun[1].time, MonotonicClock::now());
    const auto pictures = first->makeInput(MediaType::video, std::nullopt, test::videoSample(0, true)->format);
    first->add(pictures);
    inner->writers.at(1)->size = 300'000;
    EXPECT_EQ(first->fileSize(), 300'000U);
    EXPECT_EQ(*begun[0].size, 0U);
    pictures->append(test::videoSample(100, true));
    EXPECT_EQ(*begun[0].size, 300'000U);
    EXPECT_EQ(*begun[1].size, 0U) << "another file";
}

TEST_F(RecordingMeterTest, PassesEverythingElseThrough)
{
    fake().refused = {MediaType::audio};
    EXPECT_FALSE(writer->canAdd(*audio));
    EXPECT_TRUE(writer->startWriting());
    writer->startSession(MediaTime{5, 10});
    EXPECT_EQ(fake().sessionTime, (MediaTime{5, 10}));
    EXPECT_EQ(writer->status(), platform::AssetWriter::Status::writing);
    fake().currentError = Error{"Fake", 1, "x", nullptr};
    EXPECT_EQ(writer->error(), fake().currentError);
    video->markAsFinished();
    EXPECT_TRUE(fake().input(MediaType::video)->finished);
    bool finished = false;
    writer->finishWriting([&] { finished = true; });
    EXPECT_TRUE(finished);
    writer->cancelWriting();
    EXPECT_EQ(fake().cancelCount, 1);
    inner->createError = Error{"POSIX", 13, "Permission denied", nullptr};
    EXPECT_EQ(metered(inner, meter)->makeAssetWriter("/x", platform::AssetFileType::mpeg4).error(), *inner->createError);
}

TEST_F(RecordingMeterTest, CountsPicturesThatWereNotEncodedWhileAFileIsWritten)
{
    const auto sessions = std::make_shared<fake::FakeCompressionSessions>();
    int outputs = 0;
    const auto session = metered(sessions, meter)->makeSession(640, 480, FourCharacterCode{"avc1"}, [&](auto, const auto&) { ++outputs; });
    ASSERT_TRUE(session.has_value());
    sessions->sessions[0]->emitOutput(0, nullptr);
    EXPECT_EQ(meter->droppedFrames, 0U) << "nothing is being recorded yet";
    video->append(test::videoSample(100, true));
    sessions->sessions[0]->emitOutput(0, nullptr);
    sessions->sessions[0]->emitOutput(0, test::videoSample(1, true));
    EXPECT_EQ(meter->droppedFrames, 1U);
    EXPECT_EQ(outputs, 3);
}

TEST_F(RecordingMeterTest, AFileCountsWhatTheMachineWasTooSlowForFromItsFirstPictureToItsEnd)
{
    std::vector<std::shared_ptr<const FileFrames>> begun;
    meter->onReport = [&](const RecordingReport& report) {
        if (report.event == RecordingReport::Event::fileBegins)
            begun.push_back(report.frames);
    };
    const auto sessions = std::make_shared<fake::FakeCompressionSessions>();
    const auto session = metered(sessions, meter)->makeSession(640, 480, FourCharacterCode{"avc1"}, [](auto, const auto&) {});
    ASSERT_TRUE(session.has_value());
    const auto lose = [&](int status) { sessions->sessions[0]->emitOutput(status, nullptr); };
    const auto writers = metered(inner, meter);
    for (const char* name : {"1.mp4", "2.mp4"}) {
        const auto clip = writers->makeAssetWriter(folder.path() / name, platform::AssetFileType::mpeg4).value();
        const auto pictures = clip->makeInput(MediaType::video, std::nullopt, test::videoSample(0, true)->format);
        clip->add(pictures);
        const auto& frames = *begun.back();
        lose(0);
        pictures->append(test::videoSample(100, true));
        EXPECT_EQ(frames.lost, 0U) << "it had not begun";
        lose(0);
        lose(-5);
        pictures->append(test::videoSample(200, false));
        EXPECT_EQ(frames.lost, 1U) << "an encoder that fails is not slow";
        EXPECT_EQ(frames.written, 2U);
        inner->writers.back()->input(MediaType::video)->ready = false;
        EXPECT_FALSE(pictures->isReadyForMoreMediaData());
        lose(0);
        clip->finishWriting([] {});
        EXPECT_EQ(frames.lost, 3U);
    }
    EXPECT_EQ(begun.front()->lost, 3U) << "the next one has its own";
}

TEST_F(RecordingMeterTest, ASizeIsCheckedByTheEncodersThatAreMetered)
{
    const auto sessions = metered(std::make_shared<fake::FakeCompressionSessions>(), meter);
    EXPECT_EQ(sessions->checkSize(4096, 4096), 0);
    EXPECT_NE(sessions->checkSize(4097, 4096), 0);
}

}  // namespace
}  // namespace velmora

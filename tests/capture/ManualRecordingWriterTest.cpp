#include "capture/ManualRecordingWriter.h"

#include "capture/replay/ClipExporterError.h"
#include "platform/fake/FakeAssetWriter.h"
#include "platform/fake/FakeFileManager.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Samples.h"
#include "tests/support/TemporaryDirectory.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <gtest/gtest.h>

namespace velmora {
namespace {

using platform::AssetWriter;
using test::audioSample;
using test::videoSample;

class ManualRecordingWriterTest : public testing::Test {
protected:
    void create()
    {
        auto result = ManualRecordingWriter::create(url, writers, fileManager);
        ASSERT_TRUE(result.has_value()) << result.error().localizedDescription;
        recording = *result;
        asset = writers.writers.back();
    }

    Result<std::filesystem::path> finish()
    {
        std::promise<Result<std::filesystem::path>> promise;
        recording->finish([&](Result<std::filesystem::path> result) { promise.set_value(std::move(result)); });
        return promise.get_future().get();
    }

    static std::vector<std::int64_t> times(const std::shared_ptr<fake::FakeAssetWriterInput>& input)
    {
        std::vector<std::int64_t> result;
        for (const auto& sample : input->samples)
            result.push_back(sample->presentationTimeStamp.value);
        return result;
    }

    [[nodiscard]] std::vector<std::int64_t> videoTimes() const { return times(asset->input(MediaType::video)); }
    [[nodiscard]] std::vector<std::int64_t> audioTimes() const { return times(asset->input(MediaType::audio)); }

    using Times = std::vector<std::int64_t>;

    test::TemporaryDirectory folder;
    test::CapturedLog log;
    const std::filesystem::path url = folder.path() / "clip.mp4";
    fake::FakeAssetWriters writers;
    std::shared_ptr<fake::FakeFileManager> fileManager = std::make_shared<fake::FakeFileManager>();
    std::shared_ptr<ManualRecordingWriter> recording;
    std::shared_ptr<fake::FakeAssetWriter> asset;
};

TEST_F(ManualRecordingWriterTest, CreatesAnMpeg4WriterWithOneSoundInputAndDoesNotStartIt)
{
    create();
    EXPECT_EQ(recording->outputURL(), url);
    EXPECT_EQ(recording->writeQueue().label(), "com.velmora.manualWriter");
    EXPECT_EQ(recording->writeQueue().qualityOfService(), SerialQueue::QualityOfService::userInitiated);
    EXPECT_EQ(writers.fileType, platform::AssetFileType::mpeg4);
    ASSERT_EQ(asset->inputs.size(), 1U);
    const auto& audio = *asset->inputs[0];
    EXPECT_EQ(audio.mediaType, MediaType::audio);
    EXPECT_EQ(audio.settings, (platform::AudioOutputSettings{FourCharacterCode{"aac "}, 2, 48000, 192000}));
    EXPECT_EQ(audio.realTime, true);
    EXPECT_EQ(asset->startCount, 0);
}

TEST_F(ManualRecordingWriterTest, AFileAlreadyThereIsReplaced)
{
    std::ofstream{url} << "something older";
    create();
    EXPECT_FALSE(writers.foundFileAtCreation);
}

TEST_F(ManualRecordingWriterTest, AFailureToCreateTheFileIsPassedOnUnchanged)
{
    writers.createError = Error{"POSIX", 30, "Read-only file system", nullptr};
    const auto result = ManualRecordingWriter::create(url, writers, fileManager);
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error(), *writers.createError);
}

TEST_F(ManualRecordingWriterTest, FramesBeforeTheFirstKeyFrameAreDiscardedAndItsTimeIsTheSessionStart)
{
    create();
    recording->appendVideoSample(videoSample(10, false));
    recording->appendVideoSample(videoSample(20, false));
    recording->appendVideoSample(videoSample(30, true));
    recording->appendVideoSample(videoSample(40, false));
    recording->drain();
    EXPECT_EQ(videoTimes(), (Times{30, 40}));
    EXPECT_EQ(asset->sessionTime, MediaTime::nanoseconds(30));
    EXPECT_EQ(asset->startCount, 1);
    const auto input = asset->input(MediaType::video);
    EXPECT_FALSE(input->settings) << "compressed frames pass through";
    EXPECT_EQ(input->sourceFormatHint, videoSample(30, true)->format);
    EXPECT_EQ(input->realTime, true);
}

TEST_F(ManualRecordingWriterTest, AKeyFrameWithoutAFormatCannotBeginTheFile)
{
    create();
    auto bare = std::make_shared<SampleBuffer>(*videoSample(10, true));
    bare->format = nullptr;
    recording->appendVideoSample(bare);
    recording->appendVideoSample(videoSample(20, true));
    recording->drain();
    EXPECT_EQ(videoTimes(), Times{20});
}

TEST_F(ManualRecordingWriterTest, SoundBeforeTheFirstKeyFrameOrOlderThanTheSessionIsAbsent)
{
    create();
    recording->appendAudioSample(audioSample(10));
    recording->appendVideoSample(videoSample(100, true));
    recording->appendAudioSample(audioSample(99));
    recording->appendAudioSample(audioSample(100));
    recording->appendAudioSample(audioSample(200));
    recording->drain();
    EXPECT_EQ(audioTimes(), (Times{100, 200}));
}

TEST_F(ManualRecordingWriterTest, WithTheSoundInputRefusedAVideoOnlyFileIsWrittenInSilence)
{
    writers.refused = {MediaType::audio};
    create();
    EXPECT_TRUE(asset->inputs.empty());
    recording->appendVideoSample(videoSample(10, true));
    recording->appendAudioSample(audioSample(20));
    EXPECT_EQ(finish(), url);
    EXPECT_EQ(videoTimes(), Times{10});
    EXPECT_FALSE(asset->input(MediaType::audio));
    EXPECT_TRUE(log->lines().empty());
}

TEST_F(ManualRecordingWriterTest, ARefusedVideoInputIsLoggedAndTheNextKeyFrameTriesAgain)
{
    writers.refused = {MediaType::video};
    create();
    recording->appendVideoSample(videoSample(10, true));
    recording->appendVideoSample(videoSample(20, false));
    recording->drain();
    EXPECT_EQ(log->messages(), std::vector<std::string>{"Cannot add manual recording video input"});
    asset->refused.clear();
    recording->appendVideoSample(videoSample(30, false));
    recording->appendVideoSample(videoSample(40, true));
    recording->drain();
    EXPECT_EQ(videoTimes(), Times{40});
    EXPECT_EQ(asset->sessionTime, MediaTime::nanoseconds(40));
}

TEST_F(ManualRecordingWriterTest, AFailedStartIsLoggedAndTheNextKeyFrameEntersTheSameSteps)
{
    create();
    asset->startFails = true;
    recording->appendVideoSample(videoSample(10, true));
    recording->drain();
    asset->currentError = Error{"Fake", 1, "no such codec", nullptr};
    recording->appendVideoSample(videoSample(20, true));
    recording->drain();
    EXPECT_EQ(log->count("Manual writer startWriting failed: <private>"), 2U);
    asset->startFails = false;
    recording->appendVideoSample(videoSample(30, true));
    recording->drain();
    EXPECT_EQ(asset->startCount, 3);
    EXPECT_EQ(asset->sessionTime, MediaTime::nanoseconds(30));
}

TEST_F(ManualRecordingWriterTest, ASampleThatTheInputCannotTakeAtOnceIsDroppedSilently)
{
    create();
    recording->appendVideoSample(videoSample(10, true));
    recording->drain();
    asset->input(MediaType::video)->ready = false;
    asset->input(MediaType::audio)->ready = false;
    recording->appendVideoSample(videoSample(20, false));
    recording->appendAudioSample(audioSample(20));
    recording->drain();
    asset->input(MediaType::video)->ready = true;
    asset->input(MediaType::audio)->ready = true;
    recording->appendVideoSample(videoSample(30, false));
    recording->appendAudioSample(audioSample(30));
    recording->drain();
    EXPECT_EQ(videoTimes(), (Times{10, 30}));
    EXPECT_EQ(audioTimes(), Times{30});
    EXPECT_TRUE(log->lines().empty());
}

TEST_F(ManualRecordingWriterTest, AFailedAppendIsLoggedAndLaterSamplesAreStillTried)
{
    create();
    recording->appendVideoSample(videoSample(10, true));
    recording->drain();
    asset->input(MediaType::video)->appendFails = true;
    asset->input(MediaType::audio)->appendFails = true;
    recording->appendVideoSample(videoSample(20, false));
    recording->appendAudioSample(audioSample(20));
    recording->drain();
    asset->input(MediaType::video)->appendFails = false;
    recording->appendVideoSample(videoSample(30, false));
    recording->drain();
    EXPECT_EQ(log->messages(),
        (std::vector<std::string>{
            "Manual recording: failed to append video sample: <private>", "Manual recording: failed to append audio sample: <private>"}));
    EXPECT_EQ(videoTimes(), (Times{10, 30}));
}

TEST_F(ManualRecordingWriterTest, TheLogNamesTheWritersErrorOrSaysThatItIsUnknown)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";  // in its own process: whether values are shown is read once
    const auto failAtEverything = [this] {
        ::setenv(Log::revealVariable, "1", 1);
        const auto append = [this](std::optional<Error> error, SampleBufferRef video, SampleBufferRef audio) {
            asset->currentError = std::move(error);
            recording->appendVideoSample(std::move(video));
            recording->appendAudioSample(std::move(audio));
            recording->drain();
        };
        create();
        asset->startFails = true;
        append(std::nullopt, videoSample(10, true), audioSample(10));
        append(Error{"Fake", 1, "no such codec", nullptr}, videoSample(20, true), audioSample(20));
        asset->startFails = false;
        append(std::nullopt, videoSample(30, true), audioSample(30));
        for (const auto& input : asset->inputs)
            input->appendFails = true;
        append(std::nullopt, videoSample(40, false), audioSample(40));
        append(Error{"Fake", 2, "disk full", nullptr}, videoSample(50, false), audioSample(50));
        for (const auto& message : log->messages())
            std::fprintf(stderr, "<%s>", message.c_str());
        std::_Exit(0);
    };
    EXPECT_EXIT(failAtEverything(), testing::ExitedWithCode(0),
        "<Manual writer startWriting failed: unknown><Manual writer startWriting failed: no such codec>"
        "<Manual recording: failed to append video sample: unknown error><Manual recording: failed to append audio sample: unknown error>"
        "<Manual recording: failed to append video sample: disk full><Manual recording: failed to append audio sample: disk full>");
}

TEST_F(ManualRecordingWriterTest, FinishMarksTheInputsAndReturnsTheFile)
{
    create();
    recording->appendVideoSample(videoSample(10, true));
    EXPECT_EQ(finish(), url);
    EXPECT_TRUE(asset->input(MediaType::video)->finished);
    EXPECT_TRUE(asset->input(MediaType::audio)->finished);
    EXPECT_EQ(asset->finishCount, 1);
}

TEST_F(ManualRecordingWriterTest, AFinishThatDoesNotEndCompletedFailsWithTheWritersOwnError)
{
    create();
    asset->finishStatus = AssetWriter::Status::failed;
    asset->currentError = Error{"POSIX", 28, "No space left on device", nullptr};
    const auto result = finish();
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error(), *asset->currentError);
}

TEST_F(ManualRecordingWriterTest, AFinishWithoutAnErrorOfTheWriterSaysUnknownWriterFailure)
{
    create();
    for (const auto status : {AssetWriter::Status::failed, AssetWriter::Status::cancelled, AssetWriter::Status::unknown}) {
        asset->finishStatus = status;
        const auto result = finish();
        ASSERT_FALSE(result.has_value());
        EXPECT_EQ(ClipExporterError::from(result.error())->errorCase(), ClipExporterError::Case::writingFailed);
        EXPECT_FALSE(ClipExporterError::from(result.error())->underlyingError());
        EXPECT_EQ(result.error().localizedDescription, "Failed to export MP4 clip: Unknown writer failure");
    }
}

TEST_F(ManualRecordingWriterTest, AFinishThatEndsCompletedWithoutAFileFails)
{
    create();
    recording->appendVideoSample(videoSample(10, true));
    recording->drain();
    asset->removesFileAtFinish = true;
    const auto result = finish();
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error().localizedDescription, "Failed to export MP4 clip: Unknown writer failure");
}

TEST_F(ManualRecordingWriterTest, CancelLeavesNoFile)
{
    create();
    recording->appendVideoSample(videoSample(10, true));
    ASSERT_TRUE(std::filesystem::exists(url));
    recording->cancel();
    recording->drain();
    EXPECT_EQ(asset->cancelCount, 1);
    EXPECT_TRUE(asset->fileWasThereAtCancel) << "it is deleted after the writer has let go of it";
    EXPECT_FALSE(std::filesystem::exists(url));
}

TEST_F(ManualRecordingWriterTest, WhatComesAfterACancelIsDropped)
{
    create();
    recording->appendVideoSample(videoSample(10, true));
    recording->cancel();
    recording->appendVideoSample(videoSample(20, true));
    recording->appendAudioSample(audioSample(20));
    recording->cancel();
    recording->drain();
    EXPECT_EQ(videoTimes(), Times{10});
    EXPECT_EQ(audioTimes(), Times{});
    EXPECT_EQ(asset->cancelCount, 1);
    EXPECT_TRUE(log->lines().empty());
}

TEST_F(ManualRecordingWriterTest, ACancelledWriterReleasedAtOnceStillDeletesItsFile)
{
    create();
    recording->appendVideoSample(videoSample(10, true));
    recording->cancel();
    const std::weak_ptr<ManualRecordingWriter> watch = recording;
    recording.reset();
    while (const auto alive = watch.lock())
        alive->drain();
    EXPECT_FALSE(std::filesystem::exists(url));
}

TEST_F(ManualRecordingWriterTest, AFinishWithoutAWriterSaysThatTheFileWasNotFound)
{
    create();
    recording->cancel();
    const auto result = finish();
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(ClipExporterError::from(result.error()), ClipExporterError::outputFileNotFound());
}

TEST_F(ManualRecordingWriterTest, EverythingIsOrderedAsItWasSubmitted)
{
    create();
    std::thread sound;
    recording->appendVideoSample(videoSample(0, true));
    sound = std::thread([this] {
        for (int i = 1; i <= 200; ++i)
            recording->appendAudioSample(audioSample(i));
    });
    for (int i = 1; i <= 200; ++i)
        recording->appendVideoSample(videoSample(i, false));
    sound.join();
    EXPECT_EQ(finish(), url);
    EXPECT_EQ(videoTimes().size(), 201U);
    EXPECT_EQ(audioTimes().size(), 200U);
    const auto video = videoTimes();
    const auto audio = audioTimes();
    EXPECT_TRUE(std::is_sorted(video.begin(), video.end()));
    EXPECT_TRUE(std::is_sorted(audio.begin(), audio.end()));
}

}  // namespace
}  // namespace velmora

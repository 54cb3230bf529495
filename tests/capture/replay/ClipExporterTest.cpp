#include "capture/replay/ClipExporter.h"

#include "capture/replay/ClipExporterError.h"
#include "platform/fake/FakeAssetWriter.h"
#include "platform/fake/FakeFileManager.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Samples.h"
#include "tests/support/TemporaryDirectory.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace velmora {
namespace {

using platform::AssetWriter;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Case = ClipExporterError::Case;

const Error diskIsFull{"POSIX", 28, "No space left on device", nullptr};

/// Pictures, the first of them a key frame, and sound; times in nanoseconds, ascending.
RollingBufferExtraction extraction(const std::vector<std::int64_t>& pictures, const std::vector<std::int64_t>& sound = {})
{
    RollingBufferExtraction clip;
    for (const auto time : pictures)
        clip.videoSamples.push_back(test::videoSample(time, time == pictures.front()));
    for (const auto time : sound)
        clip.audioSamples.push_back(test::audioSample(time));
    if (!pictures.empty()) {
        clip.startPTS = MediaTime::nanoseconds(pictures.front());
        clip.endPTS = MediaTime::nanoseconds(pictures.back());
    }
    return clip;
}

SampleBufferRef withoutFormat(const SampleBufferRef& sample)
{
    auto bare = std::make_shared<SampleBuffer>(*sample);
    bare->format = nullptr;
    return bare;
}

class ClipExporterTest : public testing::Test {
protected:
    Result<std::filesystem::path> exportTo(const std::filesystem::path& target, RollingBufferExtraction clip)
    {
        std::promise<Result<std::filesystem::path>> promise;
        exporter.exportClip(std::move(clip), target, [&promise](auto result) { promise.set_value(std::move(result)); });
        return promise.get_future().get();
    }

    Result<std::filesystem::path> exportClip(RollingBufferExtraction clip) { return exportTo(url, std::move(clip)); }

    /// The error with which the export of `clip` fails.
    ClipExporterError failureOf(RollingBufferExtraction clip)
    {
        const auto result = exportClip(std::move(clip));
        EXPECT_FALSE(result);
        if (result)
            return ClipExporterError::outputFileNotFound();
        const auto error = ClipExporterError::from(result.error());
        EXPECT_TRUE(error) << result.error().domain;
        EXPECT_EQ(result.error().localizedDescription, error->errorDescription());
        return *error;
    }

    [[nodiscard]] fake::FakeAssetWriter& asset() const { return *writers->writers.back(); }

    [[nodiscard]] static std::vector<std::int64_t> times(const std::vector<SampleBufferRef>& samples)
    {
        std::vector<std::int64_t> result;
        for (const auto& sample : samples)
            result.push_back(sample->presentationTimeStamp.value);
        return result;
    }

    /// Samples as "v10" and "a10", in the order in which they were written.
    [[nodiscard]] std::vector<std::string> written() const
    {
        std::vector<std::string> result;
        for (const auto& sample : asset().samples)
            result.push_back((sample->format->video() ? "v" : "a") + std::to_string(sample->presentationTimeStamp.value));
        return result;
    }

    test::TemporaryDirectory folder;
    test::CapturedLog log;
    const std::filesystem::path url = folder.path() / "clip.mp4";
    std::shared_ptr<fake::FakeAssetWriters> writers = std::make_shared<fake::FakeAssetWriters>();
    std::shared_ptr<fake::FakeFileManager> fileManager = std::make_shared<fake::FakeFileManager>();
    std::function<void(std::chrono::nanoseconds)> suspend = [](std::chrono::nanoseconds) { FAIL() << "nothing is to be waited for"; };
    ClipExporter exporter{writers, fileManager, [this](std::chrono::nanoseconds duration) { suspend(duration); }};
};

TEST_F(ClipExporterTest, WritesPicturesAsTheyAreAndSoundAsAacIntoAnMpeg4FileThatBeginsWithTheFirstPicture)
{
    const auto clip = extraction({100, 200, 300}, {110, 210});
    EXPECT_EQ(exportClip(clip), url);
    EXPECT_EQ(writers->fileType, platform::AssetFileType::mpeg4);
    ASSERT_THAT(asset().inputs, SizeIs(2));
    const auto& video = *asset().inputs[0];
    EXPECT_EQ(video.mediaType, MediaType::video);
    EXPECT_FALSE(video.settings);
    EXPECT_EQ(video.sourceFormatHint, clip.videoSamples[0]->format);
    EXPECT_EQ(video.realTime, false);
    EXPECT_EQ(video.samples, clip.videoSamples);
    const auto& audio = *asset().inputs[1];
    EXPECT_EQ(audio.mediaType, MediaType::audio);
    EXPECT_EQ(audio.settings, (platform::AudioOutputSettings{FourCharacterCode{"aac "}, 2, 48000, 192000}));
    EXPECT_EQ(audio.sourceFormatHint, clip.audioSamples[0]->format);
    EXPECT_EQ(audio.realTime, false);
    EXPECT_EQ(audio.samples, clip.audioSamples);
    EXPECT_EQ(asset().sessionTime, MediaTime::nanoseconds(100));
    EXPECT_EQ(asset().startCount, 1);
    EXPECT_EQ(asset().finishCount, 1);
    EXPECT_TRUE(video.finished);
    EXPECT_TRUE(audio.finished);
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(ClipExporterTest, AnExtractionWithoutPicturesIsRefusedBeforeAnythingIsWrittenOrRemoved)
{
    std::ofstream{url} << "something older";
    EXPECT_EQ(failureOf(extraction({}, {1, 2})), ClipExporterError::emptyBuffer());
    EXPECT_THAT(writers->writers, IsEmpty());
    EXPECT_EQ(std::filesystem::file_size(url), 15U);
}

TEST_F(ClipExporterTest, AFirstPictureWithoutAFormatIsRefusedBeforeAnythingIsWrittenOrRemoved)
{
    std::ofstream{url} << "something older";
    auto clip = extraction({1, 2});
    clip.videoSamples[0] = withoutFormat(clip.videoSamples[0]);
    EXPECT_EQ(failureOf(clip), ClipExporterError::emptyBuffer());
    EXPECT_THAT(writers->writers, IsEmpty());
    EXPECT_EQ(std::filesystem::file_size(url), 15U);
}

TEST_F(ClipExporterTest, AnExtractionWithoutSoundMakesAVideoOnlyFileWithoutALogLine)
{
    EXPECT_EQ(exportClip(extraction({1, 2})), url);
    EXPECT_THAT(asset().inputs, SizeIs(1));
    EXPECT_THAT(written(), ElementsAre("v1", "v2"));
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(ClipExporterTest, SoundWhoseFirstBlockHasNoFormatIsLeftOutWithoutALogLine)
{
    auto clip = extraction({1, 2}, {1, 2});
    clip.audioSamples[0] = withoutFormat(clip.audioSamples[0]);
    EXPECT_EQ(exportClip(clip), url);
    EXPECT_THAT(asset().inputs, SizeIs(1));
    EXPECT_THAT(written(), ElementsAre("v1", "v2"));
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(ClipExporterTest, AFileAtTheTargetIsReplaced)
{
    std::ofstream{url} << "something older";
    EXPECT_EQ(exportClip(extraction({1})), url);
    EXPECT_FALSE(writers->foundFileAtCreation);
}

TEST_F(ClipExporterTest, AFolderAtTheTargetIsNotEmptied)
{
    std::filesystem::create_directory(url);
    std::ofstream{url / "inside"} << "kept";
    writers->createError = Error{"POSIX", 17, "File exists", nullptr};
    EXPECT_EQ(failureOf(extraction({1})).errorCase(), Case::writerInitializationFailed);
    EXPECT_TRUE(std::filesystem::exists(url / "inside"));
}

TEST_F(ClipExporterTest, AFileThatCannotBeCreatedIsAFailureToInitialize)
{
    writers->createError = Error{"POSIX", 30, "Read-only file system", nullptr};
    const auto error = failureOf(extraction({1}));
    EXPECT_EQ(error.errorCase(), Case::writerInitializationFailed);
    EXPECT_EQ(error.underlyingError(), writers->createError);
    EXPECT_EQ(error.errorDescription(), "Failed to initialize AVAssetWriter: Read-only file system");
}

TEST_F(ClipExporterTest, ARefusedVideoInputEndsTheExportAndLeavesTheFileWhereItIs)
{
    writers->refused = {MediaType::video};
    EXPECT_EQ(failureOf(extraction({1}, {1})), ClipExporterError::cannotAddVideoInput());
    EXPECT_THAT(asset().inputs, IsEmpty());
    EXPECT_EQ(asset().startCount, 0);
    EXPECT_EQ(asset().cancelCount, 0);
    EXPECT_TRUE(std::filesystem::exists(url));
}

TEST_F(ClipExporterTest, ARefusedAudioInputIsLoggedAndTheFileIsVideoOnly)
{
    writers->refused = {MediaType::audio};
    EXPECT_EQ(exportClip(extraction({1, 3}, {1, 2})), url);
    EXPECT_THAT(asset().inputs, SizeIs(1));
    EXPECT_THAT(written(), ElementsAre("v1", "v3"));
    ASSERT_THAT(log->messages(), ElementsAre("Writer could not add audio input; proceeding with video-only."));
    EXPECT_EQ(log->lines()[0].level, platform::LogLevel::error);
    EXPECT_EQ(log->lines()[0].category, "Exporter");
}

TEST_F(ClipExporterTest, AWriterThatDoesNotStartFailsWithItsOwnError)
{
    writers->onCreate = [](fake::FakeAssetWriter& writer) {
        writer.startFails = true;
        writer.currentError = diskIsFull;
    };
    const auto error = failureOf(extraction({1}));
    EXPECT_EQ(error.errorCase(), Case::writingFailed);
    EXPECT_EQ(error.underlyingError(), diskIsFull);
    EXPECT_THAT(written(), IsEmpty());
    EXPECT_EQ(asset().finishCount, 0);
    EXPECT_TRUE(std::filesystem::exists(url)) << "what has been written so far stays";
}

TEST_F(ClipExporterTest, AWriterThatDoesNotStartAndDoesNotSayWhyFailsWithoutAnUnderlyingError)
{
    writers->onCreate = [](fake::FakeAssetWriter& writer) { writer.startFails = true; };
    const auto error = failureOf(extraction({1}));
    EXPECT_EQ(error.errorCase(), Case::writingFailed);
    EXPECT_FALSE(error.underlyingError());
    EXPECT_EQ(error.errorDescription(), "Failed to export MP4 clip: Unknown writer failure");
}

TEST_F(ClipExporterTest, PicturesAndSoundAreWrittenInOrderOfTime)
{
    EXPECT_TRUE(exportClip(extraction({10, 20, 30}, {12, 15, 21, 29})));
    EXPECT_THAT(written(), ElementsAre("v10", "a12", "a15", "v20", "a21", "a29", "v30"));
}

TEST_F(ClipExporterTest, AtEqualTimesPicturesComeFirst)
{
    EXPECT_TRUE(exportClip(extraction({10, 20, 30}, {10, 20, 30})));
    EXPECT_THAT(written(), ElementsAre("v10", "a10", "v20", "a20", "v30", "a30"));
}

TEST_F(ClipExporterTest, TimesAreEqualAcrossTheirScales)
{
    auto clip = extraction({500'000'000, 1'000'000'000}, {});
    auto sound = std::make_shared<SampleBuffer>(*test::audioSample(0));
    sound->presentationTimeStamp = MediaTime{24'000, 48'000};
    clip.audioSamples.push_back(sound);
    EXPECT_TRUE(exportClip(clip));
    EXPECT_THAT(written(), ElementsAre("v500000000", "a24000", "v1000000000"));
}

TEST_F(ClipExporterTest, SamplesOfEqualTimeKeepTheOrderOfTheirTrackAndPicturesComeFirst)
{
    const auto clip = extraction(std::vector<std::int64_t>(50, 20), std::vector<std::int64_t>(50, 20));
    EXPECT_TRUE(exportClip(clip));
    auto expected = clip.videoSamples;
    expected.insert(expected.end(), clip.audioSamples.begin(), clip.audioSamples.end());
    EXPECT_EQ(asset().samples, expected);
}

TEST_F(ClipExporterTest, SoundThatBeginsBeforeTheFirstPictureIsLeftOutEvenIfItLastsBeyondIt)
{
    // A block lasts 21 ms.
    EXPECT_TRUE(exportClip(extraction({1'000'000'000, 1'050'000'000}, {999'999'999, 1'000'000'000, 1'021'000'000})));
    EXPECT_THAT(written(), ElementsAre("v1000000000", "a1000000000", "a1021000000", "v1050000000"));
}

TEST_F(ClipExporterTest, WithAllSoundTooEarlyTheInputStaysEmpty)
{
    EXPECT_EQ(exportClip(extraction({1000}, {998, 999})), url);
    EXPECT_THAT(asset().inputs, SizeIs(2));
    EXPECT_THAT(written(), ElementsAre("v1000"));
    EXPECT_TRUE(asset().input(MediaType::audio)->finished);
}

TEST_F(ClipExporterTest, TimesOfSamplesAreNotMoved)
{
    constexpr std::int64_t boot = 86'412'345'678'901;
    const auto clip = extraction({boot, boot + 5}, {boot + 1});
    EXPECT_TRUE(exportClip(clip));
    EXPECT_EQ(asset().sessionTime, MediaTime::nanoseconds(boot));
    EXPECT_THAT(asset().samples, ElementsAre(clip.videoSamples[0], clip.audioSamples[0], clip.videoSamples[1]))
        << "the very samples of the extraction";
}

TEST_F(ClipExporterTest, AnInputThatIsNotReadyIsAskedAgainAfterAMillisecondAndNothingIsLost)
{
    // Each input takes a sample every fourth time it is asked.
    writers->onCreate = [](fake::FakeAssetWriter& writer) {
        writer.onAdd = [](fake::FakeAssetWriterInput& input) { input.readiness = [n = 0]() mutable { return ++n % 4 == 0; }; };
    };
    std::vector<std::chrono::nanoseconds> waits;
    suspend = [&waits](std::chrono::nanoseconds duration) { waits.push_back(duration); };
    EXPECT_TRUE(exportClip(extraction({10, 20}, {15})));
    EXPECT_THAT(written(), ElementsAre("v10", "a15", "v20"));
    EXPECT_THAT(waits, AllOf(SizeIs(9), Each(std::chrono::milliseconds{1})));
}

TEST_F(ClipExporterTest, AWriterThatFailsWhileAnInputIsNotReadyEndsTheExport)
{
    writers->onCreate = [](fake::FakeAssetWriter& writer) {
        writer.onAdd = [](fake::FakeAssetWriterInput& input) { input.ready = input.mediaType == MediaType::video; };
    };
    int waits = 0;
    suspend = [this, &waits](std::chrono::nanoseconds) {
        if (++waits < 3)
            return;
        asset().currentStatus = AssetWriter::Status::failed;
        asset().currentError = diskIsFull;
    };
    const auto error = failureOf(extraction({10, 20}, {15}));
    EXPECT_EQ(error.errorCase(), Case::writingFailed);
    EXPECT_EQ(error.underlyingError(), diskIsFull);
    EXPECT_EQ(waits, 3);
    EXPECT_THAT(written(), ElementsAre("v10"));
    EXPECT_EQ(asset().finishCount, 0);
    EXPECT_TRUE(std::filesystem::exists(url));
}

TEST_F(ClipExporterTest, AWriterThatHasFailedEndsTheExportAtTheNextSampleEvenIfTheInputIsReady)
{
    writers->onCreate = [](fake::FakeAssetWriter& writer) {
        writer.onAdd = [&writer](fake::FakeAssetWriterInput& input) {
            input.refuses = [&writer](const SampleBuffer& sample) {
                if (sample.presentationTimeStamp.value == 20)
                    writer.currentStatus = AssetWriter::Status::failed;
                return sample.presentationTimeStamp.value == 20;
            };
        };
    };
    const auto error = failureOf(extraction({10, 20, 30}));
    EXPECT_EQ(error.errorCase(), Case::writingFailed);
    EXPECT_FALSE(error.underlyingError());
    EXPECT_THAT(written(), ElementsAre("v10"));
    EXPECT_THAT(log->messages(), ElementsAre("Failed appending video sample: <private>"));
}

TEST_F(ClipExporterTest, ARefusedSampleIsLoggedAndTheRestIsWritten)
{
    writers->onCreate = [](fake::FakeAssetWriter& writer) {
        writer.currentError = diskIsFull;
        writer.onAdd = [](fake::FakeAssetWriterInput& input) {
            input.refuses = [](const SampleBuffer& sample) { return sample.presentationTimeStamp.value == 20; };
        };
    };
    EXPECT_EQ(exportClip(extraction({10, 20, 30}, {10, 20, 30})), url);
    EXPECT_THAT(written(), ElementsAre("v10", "a10", "v30", "a30"));
    EXPECT_THAT(log->messages(), ElementsAre("Failed appending video sample: <private>", "Failed appending audio sample: <private>"));
    for (const auto& line : log->lines()) {
        EXPECT_EQ(line.level, platform::LogLevel::error);
        EXPECT_EQ(line.category, "Exporter");
    }
}

TEST_F(ClipExporterTest, TheLogNamesTheWritersErrorOrSaysThatItIsUnknown)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";  // in its own process: whether values are shown is read once
    const auto failAtEverything = [this] {
        ::setenv(Log::revealVariable, "1", 1);
        writers->onCreate = [](fake::FakeAssetWriter& writer) {
            writer.onAdd = [&writer](fake::FakeAssetWriterInput& input) {
                input.refuses = [&writer](const SampleBuffer& sample) {
                    if (sample.presentationTimeStamp.value == 20)
                        writer.currentError = diskIsFull;
                    return true;
                };
            };
        };
        static_cast<void>(exportClip(extraction({10, 20}, {10, 20})));
        for (const auto& message : log->messages())
            std::fprintf(stderr, "<%s>", message.c_str());
        std::_Exit(0);
    };
    EXPECT_EXIT(failAtEverything(), testing::ExitedWithCode(0),
        "<Failed appending video sample: unknown error><Failed appending audio sample: unknown error>"
        "<Failed appending video sample: No space left on device><Failed appending audio sample: No space left on device>");
}

TEST_F(ClipExporterTest, AFinishThatDoesNotEndCompletedFailsWithTheWritersError)
{
    writers->onCreate = [](fake::FakeAssetWriter& writer) {
        writer.finishStatus = AssetWriter::Status::failed;
        writer.currentError = diskIsFull;
    };
    const auto error = failureOf(extraction({1}));
    EXPECT_EQ(error.errorCase(), Case::writingFailed);
    EXPECT_EQ(error.underlyingError(), diskIsFull);
    EXPECT_EQ(error.errorDescription(), "Failed to export MP4 clip: No space left on device");
    EXPECT_TRUE(std::filesystem::exists(url));
}

TEST_F(ClipExporterTest, AFinishWithoutAnErrorOfTheWriterSaysUnknownWriterFailure)
{
    for (const auto status : {AssetWriter::Status::failed, AssetWriter::Status::cancelled, AssetWriter::Status::unknown}) {
        writers->onCreate = [status](fake::FakeAssetWriter& writer) { writer.finishStatus = status; };
        const auto error = failureOf(extraction({1}));
        EXPECT_EQ(error.errorCase(), Case::writingFailed);
        EXPECT_FALSE(error.underlyingError());
        EXPECT_EQ(error.errorDescription(), "Failed to export MP4 clip: Unknown writer failure");
    }
}

TEST_F(ClipExporterTest, AFinishThatEndsCompletedWithoutAFileSaysThatItWasNotFound)
{
    writers->onCreate = [](fake::FakeAssetWriter& writer) { writer.removesFileAtFinish = true; };
    EXPECT_EQ(failureOf(extraction({1})), ClipExporterError::outputFileNotFound());
}

TEST_F(ClipExporterTest, AFailedExportHasLetGoOfItsWriterWhenItSaysSo)
{
    writers->onCreate = [](fake::FakeAssetWriter& writer) { writer.startFails = true; };
    std::promise<std::vector<long>> owners;
    exporter.exportClip(extraction({1}, {1}), url, [&](const auto&) {
        owners.set_value({writers->writers.back().use_count(), asset().inputs.at(0).use_count(), asset().inputs.at(1).use_count()});
    });
    EXPECT_THAT(owners.get_future().get(), ElementsAre(1, 1, 1)) << "this test's own";
}

TEST_F(ClipExporterTest, OneExporterWritesAnyNumberOfClips)
{
    for (const auto* name : {"first.mp4", "second.mp4", "first.mp4"})
        EXPECT_EQ(exportTo(folder.path() / name, extraction({1, 2}, {1})), folder.path() / name);
    ASSERT_THAT(writers->writers, SizeIs(3));
    for (const auto& writer : writers->writers)
        EXPECT_THAT(times(writer->samples), ElementsAre(1, 1, 2));
}

TEST_F(ClipExporterTest, ExportsDoNotWaitForEachOther)
{
    // The first cannot go on before the second is done.
    std::promise<void> firstWaits;
    std::promise<void> secondIsDone;
    std::atomic<bool> isReady = false;
    suspend = [&](std::chrono::nanoseconds) {
        firstWaits.set_value();
        secondIsDone.get_future().wait();
        isReady = true;
    };
    writers->onCreate = [&](fake::FakeAssetWriter& writer) {
        if (writer.outputURL == url)
            writer.onAdd = [&isReady](fake::FakeAssetWriterInput& input) { input.readiness = [&isReady] { return isReady.load(); }; };
    };
    std::promise<Result<std::filesystem::path>> first;
    exporter.exportClip(extraction({1}), url, [&first](auto result) { first.set_value(std::move(result)); });
    firstWaits.get_future().wait();
    EXPECT_TRUE(exportTo(folder.path() / "other.mp4", extraction({1})));
    secondIsDone.set_value();
    EXPECT_EQ(first.get_future().get(), url);
}

TEST_F(ClipExporterTest, AnExportOutlivesItsExporterAndReleasesItsSamplesAfterwards)
{
    auto clip = extraction({1, 2});
    const std::weak_ptr<const SampleBuffer> watch = clip.videoSamples[0];
    std::promise<Result<std::filesystem::path>> promise;
    {
        const ClipExporter shortLived{writers, fileManager};
        shortLived.exportClip(std::move(clip), url, [&promise](auto result) { promise.set_value(std::move(result)); });
    }
    EXPECT_EQ(promise.get_future().get(), url);
    writers->writers.clear();
    while (!watch.expired())
        std::this_thread::yield();
}

TEST_F(ClipExporterTest, TheCompletionIsNotCalledByTheCallersThread)
{
    std::promise<std::thread::id> thread;
    exporter.exportClip(extraction({}), url, [&thread](const auto&) { thread.set_value(std::this_thread::get_id()); });
    EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
}

}  // namespace
}  // namespace velmora

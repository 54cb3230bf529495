#include "engine/files/AssetWriter.h"

#include "media/mp4/MovieReader.h"
#include "media/mp4/PosixFile.h"
#include "platform/linux/LinuxFileManager.h"
#include "tests/engine/files/AssetWriting.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/AacEncoder.h"
#include "tests/support/media/MemoryFile.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace velmora::engine {
namespace {

using namespace velmora::test;
using platform::AudioOutputSettings;
using Status = platform::AssetWriter::Status;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(AssetWriter, WritesPicturesAndSoundAtTheirTimes)
{
    const TemporaryDirectory folder;
    const auto path = folder.path() / "clip.mp4";
    auto writing = begin(makeWriter(path));
    EXPECT_EQ(writing.writer->status(), Status::writing);
    const auto sound = clicks(96000, {480, 50'000, 95'000});
    for (std::int64_t block = 0; block * 1024 < 96000; ++block) {
        const auto from = block * 1024;
        const auto to = std::min<std::int64_t>(96000, from + 1024);
        ASSERT_TRUE(appendSound(writing, {sound.begin() + from * 2, sound.begin() + to * 2}, from));
    }
    appendPictures(writing);
    writing.video->markAsFinished();
    writing.audio->markAsFinished();
    finish(*writing.writer);
    EXPECT_EQ(writing.writer->status(), Status::completed);
    EXPECT_FALSE(writing.writer->error());

    const auto decoded = decodeClean(path);
    ASSERT_EQ(decoded.pictures.size(), 60U);
    for (std::size_t i = 0; i < 60; ++i) {
        EXPECT_EQ(decoded.pictures[i].number, static_cast<int>(i));
        EXPECT_NEAR(decoded.pictures[i].time, static_cast<double>(i) / 30, 1.0 / 90000);
    }
    EXPECT_THAT(decoded.peaks(), ElementsAre(480, 50'000, 95'000));
    EXPECT_EQ(decoded.firstFrame, 0);
    EXPECT_EQ(decoded.colour, ColourDescription::bt709());
    EXPECT_EQ(mp4::readMovieSummary(path).value().duration, (MediaTime{2, 1}));
}

TEST(AssetWriter, SoundThatBeginsBeforeTheSessionIsCutToTheFrame)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    EXPECT_TRUE(appendSound(writing, clicks(1024, {10}), -2000));  // all of it before the session
    ASSERT_TRUE(appendSound(writing, clicks(4096, {700, 3000}), -700));
    ASSERT_TRUE(appendSound(writing, clicks(40'000, {30'000}), 4096 - 700));
    appendPictures(writing);
    finish(*writing.writer);
    const auto decoded = decodeClean(folder.path() / "clip.mp4");
    EXPECT_EQ(decoded.firstFrame, 0);
    EXPECT_THAT(decoded.peaks(), ElementsAre(0, 2300, 33'396));
}

TEST(AssetWriter, SoundThatBeginsLateKeepsItsOffset)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    ASSERT_TRUE(appendSound(writing, clicks(48'000, {100, 40'000}), 12'345));
    appendPictures(writing);
    finish(*writing.writer);
    const auto decoded = decodeClean(folder.path() / "clip.mp4");
    EXPECT_EQ(decoded.firstFrame, 12'345);
    EXPECT_THAT(decoded.peaks(), ElementsAre(12'445, 52'345));
}

TEST(AssetWriter, AGapInTheSoundBecomesSilence)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    ASSERT_TRUE(appendSound(writing, clicks(10'000, {5000}), 0));
    ASSERT_TRUE(appendSound(writing, clicks(10'000, {2000}), 30'000));
    ASSERT_TRUE(appendSound(writing, clicks(10'000, {2000}), 40'241));  // 241 frames: more than 5 ms
    appendPictures(writing);
    finish(*writing.writer);
    EXPECT_THAT(decodeClean(folder.path() / "clip.mp4").peaks(), ElementsAre(5000, 32'000, 42'241));
}

TEST(AssetWriter, AnOverlapInTheSoundIsDropped)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    ASSERT_TRUE(appendSound(writing, clicks(20'000, {5000}), 0));
    ASSERT_TRUE(appendSound(writing, clicks(10'000, {500, 8000}), 15'000));
    EXPECT_TRUE(appendSound(writing, clicks(1000, {500}), 3000));  // nothing of it is new
    ASSERT_TRUE(appendSound(writing, clicks(20'000, {10'000}), 25'000));
    appendPictures(writing);
    finish(*writing.writer);
    EXPECT_THAT(decodeClean(folder.path() / "clip.mp4").peaks(), ElementsAre(5000, 23'000, 35'000));
}

TEST(AssetWriter, ShakyTimeStampsOfSoundChangeNothing)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    const std::vector<std::int64_t> shake{0, 200, -150, 240, -240, 33};
    for (std::int64_t block = 0; block < 60; ++block)
        ASSERT_TRUE(appendSound(writing, clicks(1024, block % 20 == 10 ? std::vector<std::int64_t>{512} : std::vector<std::int64_t>{}),
            block * 1024 + shake[static_cast<std::size_t>(block) % shake.size()]));
    appendPictures(writing);
    finish(*writing.writer);
    EXPECT_THAT(decodeClean(folder.path() / "clip.mp4").peaks(), ElementsAre(10'752, 31'232, 51'712));
}

TEST(AssetWriter, TheLastPictureLastsUntilTheSoundEndsButNotLongerThanHalfASecond)
{
    const TemporaryDirectory folder;
    const auto durationWith = [&](std::int64_t soundFrames, const char* name) {
        auto writing = begin(makeWriter(folder.path() / name));
        appendPictures(writing, 0, 30);  // the last one at 29/30 s
        EXPECT_TRUE(appendSound(writing, clicks(soundFrames, {}), 0));
        finish(*writing.writer);
        return mp4::readMovieSummary(folder.path() / name).value().tracks[0].duration.seconds();
    };
    EXPECT_NEAR(durationWith(48'000 + 9600, "short.mp4"), 1.2, 1e-4);
    EXPECT_NEAR(durationWith(48'000 * 3, "long.mp4"), 29.0 / 30 + 0.5, 1e-4);
}

TEST(AssetWriter, AnAudioInputThatGotNoSoundLeavesNoTrack)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    appendPictures(writing);
    finish(*writing.writer);
    EXPECT_EQ(writing.writer->status(), Status::completed);
    const auto decoded = decodeClean(folder.path() / "clip.mp4");
    EXPECT_FALSE(decoded.hasAudio);
    EXPECT_EQ(decoded.pictures.size(), 60U);
}

TEST(AssetWriter, WithoutACodecTheAudioInputCannotBeAddedAndTheFileIsVideoOnly)
{
    const TemporaryDirectory folder;
    const auto writer = makeWriter(folder.path() / "clip.mp4", noEncoders);
    const auto audio = writer->makeInput(MediaType::audio, AudioOutputSettings{}, nullptr);
    EXPECT_FALSE(writer->canAdd(*audio));
    auto writing = begin(writer);
    EXPECT_FALSE(writing.audio->isReadyForMoreMediaData());
    EXPECT_FALSE(appendSound(writing, clicks(1024, {}), 0));
    appendPictures(writing);
    finish(*writer);
    EXPECT_EQ(writer->status(), Status::completed);
    EXPECT_EQ(decodeClean(folder.path() / "clip.mp4").pictures.size(), 60U);
}

TEST(AssetWriter, TakesOneInputOfEachKindBeforeWritingStarts)
{
    const TemporaryDirectory folder;
    const auto writer = makeWriter(folder.path() / "clip.mp4");
    const auto other = makeWriter(folder.path() / "other.mp4");
    const auto video = writer->makeInput(MediaType::video, std::nullopt, clip().format);
    const auto second = writer->makeInput(MediaType::video, std::nullopt, clip().format);
    const auto audio = writer->makeInput(MediaType::audio, AudioOutputSettings{}, nullptr);
    EXPECT_FALSE(other->canAdd(*video));
    EXPECT_TRUE(writer->canAdd(*video));
    EXPECT_TRUE(writer->canAdd(*second));
    writer->add(video);
    EXPECT_FALSE(writer->canAdd(*video));
    EXPECT_FALSE(writer->canAdd(*second));
    EXPECT_TRUE(writer->canAdd(*audio));
    EXPECT_TRUE(writer->startWriting());
    EXPECT_FALSE(writer->canAdd(*audio));
    EXPECT_FALSE(writer->startWriting());
    writer->cancelWriting();
    other->cancelWriting();
}

TEST(AssetWriter, AVideoInputNeedsTheFormatOfCompressedPictures)
{
    const TemporaryDirectory folder;
    const auto writer = makeWriter(folder.path() / "clip.mp4");
    const auto raw = std::make_shared<const FormatDescription>(VideoFormat{"BGRA", 640, 480, {}, {}});
    EXPECT_FALSE(writer->canAdd(*writer->makeInput(MediaType::video, std::nullopt, nullptr)));
    EXPECT_FALSE(writer->canAdd(*writer->makeInput(MediaType::video, std::nullopt, raw)));
    EXPECT_FALSE(writer->canAdd(*writer->makeInput(MediaType::video, AudioOutputSettings{}, clip().format)));
    EXPECT_FALSE(writer->canAdd(*writer->makeInput(MediaType::audio, std::nullopt, nullptr)));
    EXPECT_FALSE(writer->startWriting());
    writer->cancelWriting();
}

TEST(AssetWriter, TakesNothingBeforeTheSessionOrAfterTheEnd)
{
    const TemporaryDirectory folder;
    const auto writer = makeWriter(folder.path() / "clip.mp4");
    const auto video = writer->makeInput(MediaType::video, std::nullopt, clip().format);
    EXPECT_FALSE(video->append(clip().samples[0]));
    writer->add(video);
    EXPECT_FALSE(video->isReadyForMoreMediaData());
    ASSERT_TRUE(writer->startWriting());
    EXPECT_FALSE(video->append(clip().samples[0]));
    writer->startSession(sessionStart);
    EXPECT_TRUE(video->append(clip().samples[0]));
    video->markAsFinished();
    EXPECT_FALSE(video->isReadyForMoreMediaData());
    EXPECT_FALSE(video->append(clip().samples[1]));
    finish(*writer);
    EXPECT_FALSE(video->append(clip().samples[1]));
    EXPECT_EQ(decodeClean(folder.path() / "clip.mp4").pictures.size(), 1U);
}

TEST(AssetWriter, ASampleOfAnotherFormatIsRefused)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    static const auto other = encodeClip(steadyTimes(1, 30, sessionStart), {.width = 160, .height = 120});
    EXPECT_FALSE(writing.video->append(other.samples[0]));
    const auto mono = std::make_shared<const FormatDescription>(AudioFormat{"lpcm", 48000, 1, {}});
    auto block = *soundBlock(clicks(1024, {}), frameTime(0));
    block.format = mono;
    EXPECT_FALSE(writing.audio->append(std::make_shared<const SampleBuffer>(block)));
    EXPECT_EQ(writing.writer->status(), Status::writing);
    appendPictures(writing);
    finish(*writing.writer);
    EXPECT_EQ(writing.writer->status(), Status::completed);
}

TEST(AssetWriter, PicturesWithEqualOrFallingTimesStayInOrder)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    for (std::size_t i = 0; i < 10; ++i) {
        auto sample = *clip().samples[i];
        if (i == 5)
            sample.presentationTimeStamp = clip().samples[4]->presentationTimeStamp;
        if (i == 6)
            sample.presentationTimeStamp = clip().samples[1]->presentationTimeStamp;
        EXPECT_TRUE(writing.video->append(std::make_shared<const SampleBuffer>(sample)));
    }
    finish(*writing.writer);
    const auto decoded = decodeClean(folder.path() / "clip.mp4");
    ASSERT_EQ(decoded.pictures.size(), 10U);
    for (std::size_t i = 0; i < 10; ++i)
        EXPECT_EQ(decoded.pictures[i].number, static_cast<int>(i));
    EXPECT_NEAR(decoded.pictures[9].time, 0.3, 1e-4);
}

TEST(AssetWriter, IsNotMadeWhereAFileIsAlready)
{
    const TemporaryDirectory folder;
    std::ofstream{folder.path() / "clip.mp4"} << "precious";
    AssetWriterFactory factory{aacEncoders};
    const auto writer = factory.makeAssetWriter(folder.path() / "clip.mp4", platform::AssetFileType::mpeg4);
    ASSERT_FALSE(writer);
    EXPECT_EQ(writer.error().code, EEXIST);
    EXPECT_EQ(std::filesystem::file_size(folder.path() / "clip.mp4"), 8U);
    EXPECT_EQ(factory.makeAssetWriter(folder.path() / "missing" / "clip.mp4", platform::AssetFileType::mpeg4).error().code, ENOENT);
}

TEST(AssetWriter, OpensItsFileWhenItIsMade)
{
    const TemporaryDirectory folder;
    const auto writer = makeWriter(folder.path() / "clip.mp4");
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "clip.mp4"));
    EXPECT_EQ(writer->status(), Status::unknown);
    writer->cancelWriting();
    EXPECT_EQ(writer->status(), Status::cancelled);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "clip.mp4"));
}

TEST(AssetWriter, AsksForAKeyFrameFromTheMomentItsFileIsThereUntilTheSessionStarts)
{
    const TemporaryDirectory folder;
    KeyFrameRequests requests;
    AssetWriterFactory factory{aacEncoders, {}, requests};
    bool wasThere = false;
    const auto observation = requests.observe([&] { wasThere = std::filesystem::exists(folder.path() / "clip.mp4"); });
    auto writer = factory.makeAssetWriter(folder.path() / "clip.mp4", platform::AssetFileType::mpeg4).value();
    EXPECT_TRUE(requests.last());
    EXPECT_TRUE(wasThere);
    auto writing = begin(std::move(writer));
    EXPECT_FALSE(requests.last());
    appendPictures(writing);
    finish(*writing.writer);
    EXPECT_EQ(decodeClean(folder.path() / "clip.mp4").pictures.size(), 60U);
}

TEST(AssetWriter, AWriterThatEndsBeforeItsFirstKeyFrameNoLongerAsksForIt)
{
    const TemporaryDirectory folder;
    KeyFrameRequests requests;
    AssetWriterFactory factory{aacEncoders, {}, requests};
    const auto make = [&] {
        auto writer = factory.makeAssetWriter(folder.path() / "clip.mp4", platform::AssetFileType::mpeg4).value();
        EXPECT_TRUE(requests.last());
        return writer;
    };
    const auto cancelled = make();
    cancelled->cancelWriting();
    EXPECT_FALSE(requests.last());
    const auto finished = make();
    finish(*finished);
    EXPECT_FALSE(requests.last());
    auto released = make();
    // Whoever has an input may keep it for longer.
    const auto input = released->makeInput(MediaType::audio, AudioOutputSettings{}, nullptr);
    released.reset();
    EXPECT_FALSE(requests.last());
}

TEST(AssetWriter, AFileThatCannotBeMadeAsksForNothing)
{
    const TemporaryDirectory folder;
    KeyFrameRequests requests;
    int asked = 0;
    const auto observation = requests.observe([&] { ++asked; });
    AssetWriterFactory factory{aacEncoders, {}, requests};
    EXPECT_FALSE(factory.makeAssetWriter(folder.path() / "missing" / "clip.mp4", platform::AssetFileType::mpeg4));
    EXPECT_EQ(asked, 0);
}

TEST(AssetWriter, FinishingWithoutHavingStartedRemovesTheFileAndFailsWithoutAnError)
{
    const TemporaryDirectory folder;
    const auto writer = makeWriter(folder.path() / "clip.mp4");
    finish(*writer);
    EXPECT_EQ(writer->status(), Status::failed);
    EXPECT_FALSE(writer->error());
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "clip.mp4"));
}

TEST(AssetWriter, CancellingRemovesTheFileButNotAnotherOneOfItsName)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    appendPictures(writing);
    writing.writer->cancelWriting();
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "clip.mp4"));
    EXPECT_FALSE(writing.video->append(clip().samples[0]));

    auto second = begin(makeWriter(folder.path() / "clip.mp4"));
    appendPictures(second);
    std::filesystem::remove(folder.path() / "clip.mp4");
    std::filesystem::create_directory(folder.path() / "clip.mp4");
    std::ofstream{folder.path() / "clip.mp4" / "inside"} << "precious";
    second.writer->cancelWriting();
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "clip.mp4" / "inside"));
}

TEST(AssetWriter, AFileThatWasRemovedMeanwhileFails)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    appendPictures(writing);
    std::filesystem::remove(folder.path() / "clip.mp4");
    finish(*writing.writer);
    EXPECT_EQ(writing.writer->status(), Status::failed);
    ASSERT_TRUE(writing.writer->error());
    EXPECT_EQ(writing.writer->error()->code, ENOENT);
    EXPECT_EQ(writing.writer->error()->localizedDescription, "The file was deleted while it was being recorded.");
}

TEST(AssetWriter, AFileThatWasMovedMeanwhileFailsAndNamesThePlaceWhereItLiesWhole)
{
    const TemporaryDirectory folder;
    const TemporaryDirectory elsewhere;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    appendPictures(writing);
    const auto place = elsewhere.path() / "mine \xFF.mp4";
    std::filesystem::rename(folder.path() / "clip.mp4", place);
    std::ofstream{folder.path() / "clip.mp4"} << "another";
    finish(*writing.writer);
    EXPECT_EQ(writing.writer->status(), Status::failed);
    ASSERT_TRUE(writing.writer->error());
    EXPECT_EQ(writing.writer->error()->code, ENOENT);
    EXPECT_EQ(writing.writer->error()->localizedDescription,
        "The file was moved while it was being recorded. The whole clip is at " + place.native() + ".");
    EXPECT_EQ(decodeClean(place).pictures.size(), 60U);
}

TEST(AssetWriter, TheSoundsEncoderIsMadeForTheSettingsThatWereAskedFor)
{
    const TemporaryDirectory folder;
    std::vector<AudioOutputSettings> asked;
    const auto writer = makeWriter(folder.path() / "clip.mp4", [&](const AudioOutputSettings& settings) {
        asked.push_back(settings);
        return aacEncoders(settings);
    });
    const AudioOutputSettings settings{.channelCount = 1, .sampleRate = 44100, .bitRate = 96000};
    EXPECT_TRUE(writer->canAdd(*writer->makeInput(MediaType::audio, settings, nullptr)));
    EXPECT_THAT(asked, ElementsAre(settings));
}

TEST(AssetWriter, SoundThatWasMadeReadyIsEncodedByWhatIsThereAndNothingIsMadeForIt)
{
    const TemporaryDirectory folder;
    std::atomic<int> madeHere = 0;
    AssetWriterFactory factory{[&, caller = std::this_thread::get_id()](const AudioOutputSettings& settings) {
        madeHere += std::this_thread::get_id() == caller ? 1 : 0;
        return aacEncoders(settings);
    }};
    const AudioOutputSettings settings;
    ASSERT_TRUE(factory.soundPreparation());
    factory.soundPreparation()->prepareSound(settings);
    for (const auto* name : {"first.mp4", "second.mp4"}) {
        factory.waitUntilPrepared();
        const auto writer = factory.makeAssetWriter(folder.path() / name, platform::AssetFileType::mpeg4).value();
        const auto input = writer->makeInput(MediaType::audio, settings, nullptr);
        EXPECT_TRUE(writer->canAdd(*input));
    }
    EXPECT_EQ(madeHere, 0);
}

// Two who want the same name at once, again and again: each removes what nobody holds, then creates.
TEST(AssetWriter, OfTwoWritersOfOneNameNoneLosesItsFileToTheOther)
{
    const TemporaryDirectory folder;
    const auto path = folder.path() / "clip.mp4";
    const auto files = linux_backend::makeFileManager();
    AssetWriterFactory factory{noEncoders};
    int made = 0;
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        std::atomic<int> waiting = 2;
        std::array<Result<std::shared_ptr<platform::AssetWriter>>, 2> writers;
        const auto want = [&](std::size_t index) {
            --waiting;
            while (waiting > 0)
                std::this_thread::yield();
            static_cast<void>(files->removeFile(path));
            writers[index] = factory.makeAssetWriter(path, platform::AssetFileType::mpeg4);
        };
        std::thread second{want, 1};
        want(0);
        second.join();
        const auto count = std::count_if(writers.begin(), writers.end(), [](const auto& writer) { return writer.has_value(); });
        ASSERT_LE(count, 1) << "one has lost its file";
        for (auto& writer : writers) {
            if (!writer) {
                EXPECT_EQ(writer.error().code, EEXIST) << writer.error().localizedDescription;
                continue;
            }
            ++made;
            EXPECT_TRUE(std::filesystem::exists(path));
            (*writer)->cancelWriting();
        }
    }
    EXPECT_GT(made, 0);
}

TEST(AssetWriter, DestroyedWithoutFinishingLeavesAFileThatPlays)
{
    const TemporaryDirectory folder;
    const auto path = folder.path() / "clip.mp4";
    {
        auto writing = begin(makeWriter(path));
        ASSERT_TRUE(appendSound(writing, clicks(96'000, {1000, 20'000}), 0));
        appendPictures(writing);
    }
    // The writer's thread lets go of the lock when it has written everything.
    for (;;) {
        const auto file = mp4::PosixFile::openForUpdating(path);
        ASSERT_TRUE(file);
        if (*(*file)->tryLock())
            break;
        std::this_thread::yield();
    }
    const auto decoded = decodeClean(path);
    EXPECT_GE(decoded.pictures.size(), 60U - 25);
    EXPECT_TRUE(mp4::readMovieSummary(path).value().isFragmented);
    EXPECT_THAT(decoded.peaks(), ::testing::Contains(1000));
}

TEST(AssetWriter, MayBeReleasedByItsCompletion)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    appendPictures(writing);
    std::promise<Status> done;
    auto* writer = writing.writer.get();
    writing.audio.reset();
    writing.video.reset();
    writer->finishWriting([owner = std::move(writing.writer), &done]() mutable {
        const auto status = owner->status();
        owner.reset();
        done.set_value(status);
    });
    EXPECT_EQ(done.get_future().get(), Status::completed);
    EXPECT_EQ(decodeClean(folder.path() / "clip.mp4").pictures.size(), 60U);
}

struct OnAFullDisk {
    std::shared_ptr<MemoryFile> file = std::make_shared<MemoryFile>();
    Writing writing;

    OnAFullDisk()
    {
        file->faults.capacity = mp4::reserveOffset + mp4::defaultReserveSize + 60'000;
        auto writer = AssetWriter::create(file, aacEncoders);
        EXPECT_TRUE(writer);
        writing = begin(*writer);
        for (std::size_t i = 0; i < 60; ++i)
            writing.video->append(clip().samples[i]);
        while (writing.writer->status() == Status::writing)
            std::this_thread::yield();
    }
};

TEST(AssetWriter, AFullDiskRefusesOneMoreSampleAndIsSilentThen)
{
    OnAFullDisk disk;
    auto& writing = disk.writing;
    EXPECT_EQ(writing.writer->status(), Status::failed);
    ASSERT_TRUE(writing.writer->error());
    EXPECT_EQ(writing.writer->error()->localizedDescription, "memory: No space left on device");
    EXPECT_FALSE(writing.video->append(clip().samples[0]));
    EXPECT_FALSE(writing.video->isReadyForMoreMediaData());
    EXPECT_FALSE(writing.audio->isReadyForMoreMediaData());
    finish(*writing.writer);
    EXPECT_EQ(writing.writer->status(), Status::failed);
    EXPECT_EQ(writing.writer->error()->code, ENOSPC);
    const TemporaryDirectory folder;
    disk.file->saveTo(folder.path() / "clip.mp4");
    const auto decoded = decodeClean(folder.path() / "clip.mp4");
    EXPECT_GT(decoded.pictures.size(), 10U);
    EXPECT_FALSE(mp4::readMovieSummary(folder.path() / "clip.mp4").value().isFragmented);
}

TEST(AssetWriter, CancellingAfterAFailureRemovesTheFile)
{
    OnAFullDisk disk;
    disk.writing.writer->cancelWriting();
    EXPECT_EQ(disk.writing.writer->status(), Status::cancelled);
    EXPECT_FALSE(disk.file->isInFolder);
}

TEST(AssetWriter, IsNotReadyWhile64MebibytesWaitForTheDisk)
{
    const auto file = std::make_shared<MemoryFile>();
    auto created = AssetWriter::create(file, aacEncoders);
    ASSERT_TRUE(created);
    std::promise<void> gate;
    file->beforeWrite = [opened = gate.get_future().share()] { opened.wait(); };
    auto writing = begin(*created);
    auto sample = *clip().samples[0];
    sample.data = DataBlock::owning(std::vector<std::byte>(std::size_t{8} << 20));
    int taken = 0;
    for (; taken < 20 && writing.video->isReadyForMoreMediaData(); ++taken) {
        sample.presentationTimeStamp = clip().samples[static_cast<std::size_t>(taken)]->presentationTimeStamp;
        ASSERT_TRUE(writing.video->append(std::make_shared<const SampleBuffer>(sample)));
    }
    EXPECT_EQ(taken, 8);
    EXPECT_FALSE(writing.audio->isReadyForMoreMediaData());
    gate.set_value();
    while (!writing.video->isReadyForMoreMediaData())
        std::this_thread::yield();
    writing.writer->cancelWriting();
}

class FailingEncoder final : public AudioEncoder {
public:
    [[nodiscard]] FormatDescriptionRef format() const override { return inner_->format(); }
    [[nodiscard]] std::int64_t primingFrames() const override { return 1024; }
    Result<void> encode(std::span<const float>, std::vector<Packet>&) override { return fail("codec", 5, "The codec broke."); }
    Result<void> flush(std::vector<Packet>&) override { return fail("codec", 5, "The codec broke."); }

private:
    std::unique_ptr<AudioEncoder> inner_ = makeAacEncoder();
};

TEST(AssetWriter, AnEncoderThatFailsEndsTheFileInAPlayableState)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4",
        [](const AudioOutputSettings&) -> Result<std::unique_ptr<AudioEncoder>> { return std::make_unique<FailingEncoder>(); }));
    appendPictures(writing, 0, 40);
    EXPECT_FALSE(appendSound(writing, clicks(1024, {}), 0));
    EXPECT_FALSE(writing.video->isReadyForMoreMediaData());
    EXPECT_EQ(writing.writer->status(), Status::failed);
    finish(*writing.writer);
    EXPECT_EQ(writing.writer->status(), Status::failed);
    EXPECT_EQ(writing.writer->error()->localizedDescription, "The codec broke.");
    EXPECT_EQ(decodeClean(folder.path() / "clip.mp4").pictures.size(), 40U);
}

TEST(AssetWriter, ABlockOfSoundFarInTheFutureIsRefused)
{
    const TemporaryDirectory folder;
    auto writing = begin(makeWriter(folder.path() / "clip.mp4"));
    ASSERT_TRUE(appendSound(writing, clicks(1024, {}), 0));
    EXPECT_FALSE(appendSound(writing, clicks(1024, {}), std::int64_t{48000} * 3600));
    EXPECT_TRUE(appendSound(writing, clicks(1024, {}), 1024));
    appendPictures(writing);
    finish(*writing.writer);
    EXPECT_EQ(writing.writer->status(), Status::completed);
    EXPECT_NEAR(mp4::readMovieSummary(folder.path() / "clip.mp4").value().duration.seconds(), 2.0, 0.01);
}

}  // namespace
}  // namespace velmora::engine

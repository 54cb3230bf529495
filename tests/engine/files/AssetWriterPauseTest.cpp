// A recording that is paused and goes on: what is in its file, and where.

#include "media/mp4/MovieReader.h"
#include "media/mp4/SequenceParameterSet.h"
#include "tests/engine/files/AssetWriting.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>
#include <random>
#include <thread>

namespace velmora::engine {
namespace {

using namespace velmora::test;
using Status = platform::AssetWriter::Status;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t rate = 48000;

MediaTime moment(double seconds)
{
    return frameTime(std::llround(seconds * rate));
}

std::vector<int> numbers(const DecodedFile& file)
{
    std::vector<int> numbers;
    for (const auto& picture : file.pictures)
        numbers.push_back(picture.number);
    return numbers;
}

std::vector<int> counted(int from, int to)
{
    std::vector<int> numbers;
    for (int i = from; i < to; ++i)
        numbers.push_back(i);
    return numbers;
}

std::vector<int> operator+(std::vector<int> one, const std::vector<int>& other)
{
    one.insert(one.end(), other.begin(), other.end());
    return one;
}

std::optional<std::uint32_t> keyFrameNumber(const SampleBuffer& sample)
{
    return mp4::keyFrameNumber(sample.format->video()->decoderConfiguration, sample.data.bytes);
}

/// What a capture delivers, in the order in which it comes: pictures and blocks of sound with clicks in them, each by its time.
class Capture {
public:
    explicit Capture(EncodedClip pictures, std::vector<std::int64_t> clicks = {})
        : pictures_(std::move(pictures))
        , clicks_(std::move(clicks))
    {
    }

    double pictureLatency = 0.02;
    double soundLatency = 0.03;  ///< of a block's end; below zero: the device plays later
    std::int64_t block = 1000;
    std::vector<std::int64_t> jitter{0};  ///< of the blocks' times, in frames
    bool hasSound = true;

    /// Until that moment of the session.
    void run(Writing& writing, double until)
    {
        for (;;) {
            const double picture = nextPicture_ < pictures_.samples.size()
                ? (pictures_.samples[nextPicture_]->presentationTimeStamp - sessionStart).seconds() + pictureLatency
                : 1e9;
            const double sound = hasSound ? static_cast<double>((nextBlock_ + 1) * block) / rate + soundLatency : 1e9;
            if (std::min(picture, sound) > until)
                return;
            if (picture < sound) {
                ASSERT_TRUE(writing.video->isReadyForMoreMediaData());
                ASSERT_TRUE(writing.video->append(pictures_.samples[nextPicture_++]));
            } else {
                appendBlock(writing);
            }
        }
    }

private:
    void appendBlock(Writing& writing)
    {
        const auto from = nextBlock_ * block;
        std::vector<std::int64_t> inBlock;
        for (const auto click : clicks_) {
            if (click >= from && click < from + block)
                inBlock.push_back(click - from);
        }
        const auto shake = jitter[static_cast<std::size_t>(nextBlock_++) % jitter.size()];
        ASSERT_TRUE(appendSound(writing, clicks(block, inBlock), from + shake));
    }

    EncodedClip pictures_;
    std::vector<std::int64_t> clicks_;
    std::size_t nextPicture_ = 0;
    std::int64_t nextBlock_ = 0;
};

class AssetWriterPauseTest : public ::testing::Test {
protected:
    [[nodiscard]] std::filesystem::path path() const { return folder_.path() / "clip.mp4"; }

    void pauseAt(double seconds) { writing_.writer->pause(moment(seconds)); }
    void resumeAt(double seconds) { writing_.writer->resume(moment(seconds)); }

    DecodedFile finished()
    {
        finish(*writing_.writer);
        EXPECT_EQ(writing_.writer->status(), Status::completed);
        return decodeClean(path());
    }

    const TemporaryDirectory folder_;
    KeyFrameRequests requests_;
    AssetWriterFactory factory_{aacEncoders, {}, requests_};
    Writing writing_ = begin(factory_.makeAssetWriter(path(), platform::AssetFileType::mpeg4).value());
};

TEST_F(AssetWriterPauseTest, WhatWasShownAndHeardMeanwhileIsLeftOutAndTheRestClosesUp)
{
    Capture capture{clip(), {20'000, 30'000, 52'800}};
    capture.run(writing_, 0.495);
    pauseAt(0.49);
    capture.run(writing_, 0.99);
    resumeAt(0.99);
    capture.run(writing_, 3);
    const auto decoded = finished();
    EXPECT_EQ(numbers(decoded), counted(0, 15) + counted(30, 60));
    // The picture of 1 s goes on where the pause began.
    EXPECT_NEAR(decoded.pictures[14].time, 14.0 / 30, 1e-4);
    EXPECT_NEAR(decoded.pictures[15].time, 0.49, 1e-4);
    EXPECT_NEAR(decoded.pictures[16].time, 0.49 + 1.0 / 30, 1e-4);
    EXPECT_THAT(decoded.peaks(), ElementsAre(20'000, 52'800 - 48'000 + 23'520));
}

struct Delivery {
    std::string name;
    double soundLatency;
    std::vector<std::int64_t> jitter;
    std::int64_t accepted;  ///< frames that a click may be away from where it belongs
};

void PrintTo(const Delivery& delivery, std::ostream* out)
{
    *out << delivery.name;
}

class FiftyPauses : public AssetWriterPauseTest, public ::testing::WithParamInterface<Delivery> { };

TEST_P(FiftyPauses, LeaveNoPictureAndAddUpToNoOffset)
{
    // A key frame at every third picture, 60 a second; neither pauses nor what is between them fits pictures, blocks or packets.
    constexpr int pictures = 1500;
    const auto encoded = encodeClip(steadyTimes(pictures, 60, sessionStart), {.keyFrameInterval = 3});
    std::vector<std::int64_t> clickFrames;
    for (std::int64_t i = 0; i < 100; ++i)
        clickFrames.push_back(4000 + i * 11'987);
    Capture capture{encoded, clickFrames};
    capture.soundLatency = GetParam().soundLatency;
    capture.jitter = GetParam().jitter;

    struct Part {
        double from;
        double to;
    };
    std::vector<Part> parts;
    std::mt19937 random{1};
    std::uniform_real_distribution<double> length{0.11, 0.33};
    // The next key frame that may follow the last picture before the pause.
    const auto goesOn = [&](double resumed) {
        auto picture = static_cast<std::size_t>(std::ceil(resumed * 20 - 1e-9)) * 3;
        const auto& last = *encoded.samples[static_cast<std::size_t>(std::ceil(parts.back().to * 60 - 1e-9)) - 1];
        if (last.isSync() && keyFrameNumber(last) == keyFrameNumber(*encoded.samples[picture]))
            picture += 3;
        return static_cast<double>(picture) / 60;
    };
    double now = 0;
    for (int i = 0; i < 50; ++i) {
        const double from = parts.empty() ? 0 : goesOn(now);
        now = from + length(random);
        parts.push_back({from, now});
        capture.run(writing_, now);
        pauseAt(now);
        now += length(random) / 2 + 0.05;
        capture.run(writing_, now);
        resumeAt(now);
    }
    const double last = goesOn(now);
    parts.push_back({last, 25});
    capture.run(writing_, 26);
    ASSERT_LT(last, 24.5);

    std::vector<int> expected;
    std::vector<double> times;
    std::vector<std::int64_t> heard;
    double begin = 0;
    for (const auto& part : parts) {
        for (int i = 0; i < pictures; ++i) {
            if (i / 60.0 >= part.from - 1e-9 && i / 60.0 < part.to) {
                expected.push_back(i);
                times.push_back(begin + i / 60.0 - part.from);
            }
        }
        for (const auto click : clickFrames) {
            const double at = static_cast<double>(click) / rate;
            // At the cuts it is blended, and sound that comes early is cut a little later.
            if (at > part.from + 0.01 + std::max(0.0, -GetParam().soundLatency) && at < part.to - 0.01)
                heard.push_back(std::llround((begin + at - part.from) * rate));
        }
        begin += part.to - part.from;
    }
    const auto decoded = finished();
    EXPECT_EQ(numbers(decoded), expected);
    ASSERT_EQ(decoded.pictures.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i)
        ASSERT_NEAR(decoded.pictures[i].time, times[i], 2e-4) << i;
    const auto peaks = decoded.peaks();
    ASSERT_GT(heard.size(), 25U);
    std::int64_t largest = 0;
    for (const auto frame : heard) {
        const auto nearest =
            *std::min_element(peaks.begin(), peaks.end(), [frame](auto a, auto b) { return std::abs(a - frame) < std::abs(b - frame); });
        largest = std::max(largest, std::abs(nearest - frame));
    }
    std::printf("%zu clicks, at most %lld frames away\n", heard.size(), static_cast<long long>(largest));
    EXPECT_LE(largest, GetParam().accepted);
}

INSTANTIATE_TEST_SUITE_P(HoweverTheSoundComes, FiftyPauses,
    ::testing::Values(Delivery{"AtOnce", 0.005, {0}, 2}, Delivery{"LateByMoreThanAPause", 0.6, {0}, 2},
        Delivery{"EarlyBecauseTheDeviceIsSlow", -0.1, {0}, 2}, Delivery{"Shaking", 0.03, {0, 200, -150, 190, -200, 33}, 400}),
    [](const auto& test) { return test.param.name; });

TEST_F(AssetWriterPauseTest, EndingWhileItIsPausedEndsTheClipAtThePause)
{
    Capture capture{clip(), {20'000, 40'000}};
    capture.run(writing_, 0.75);
    pauseAt(0.75);
    capture.run(writing_, 1.9);
    const auto decoded = finished();
    EXPECT_EQ(numbers(decoded), counted(0, 23));
    EXPECT_THAT(decoded.peaks(), ElementsAre(20'000));
    EXPECT_NEAR(mp4::readMovieSummary(path()).value().duration.seconds(), 0.75, 1e-3);
}

TEST_F(AssetWriterPauseTest, EndingBetweenTheResumeAndItsPictureEndsTheClipAtThePause)
{
    Capture capture{clip(), {20'000, 52'000}};
    capture.run(writing_, 0.75);
    pauseAt(0.75);
    capture.run(writing_, 1.05);
    resumeAt(1.04);
    capture.run(writing_, 1.9);
    const auto decoded = finished();
    EXPECT_EQ(numbers(decoded), counted(0, 23));
    EXPECT_THAT(decoded.peaks(), ElementsAre(20'000));
}

TEST_F(AssetWriterPauseTest, SoundThatCameBeforeThePictureItGoesOnWithIsThere)
{
    Capture capture{clip(), {49'000}};
    capture.pictureLatency = 0.4;
    capture.soundLatency = 0;
    capture.run(writing_, 0.5);
    pauseAt(0.5);
    capture.run(writing_, 0.96);
    resumeAt(0.96);
    capture.run(writing_, 3);
    const auto decoded = finished();
    EXPECT_EQ(numbers(decoded), counted(0, 15) + counted(30, 60));
    EXPECT_THAT(decoded.peaks(), ElementsAre(49'000 - 24'000));
}

TEST_F(AssetWriterPauseTest, ARecordingThatIsPausedBeforeItsFirstPictureBeginsWithTheResume)
{
    const TemporaryDirectory folder;
    const auto writer = makeWriter(folder.path() / "late.mp4");
    writer->pause(moment(-1));
    writing_.writer->cancelWriting();
    auto writing = begin(writer);
    Capture capture{clip(), {20'000, 60'000}};
    capture.run(writing, 0.9);
    writer->resume(moment(0.9));
    capture.run(writing, 3);
    finish(*writer);
    EXPECT_EQ(writer->status(), Status::completed);
    const auto decoded = decodeClean(folder.path() / "late.mp4");
    EXPECT_EQ(numbers(decoded), counted(30, 60));
    EXPECT_NEAR(decoded.pictures.front().time, 0, 1e-4);
    EXPECT_THAT(decoded.peaks(), ElementsAre(12'000));
}

TEST_F(AssetWriterPauseTest, ARecordingOfNothingButAPauseLeavesNoFile)
{
    pauseAt(-1);
    Capture capture{clip()};
    capture.run(writing_, 1.9);
    finish(*writing_.writer);
    EXPECT_EQ(writing_.writer->status(), Status::failed);
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(AssetWriterPauseTest, ASecondPauseAndASecondResumeChangeNothing)
{
    resumeAt(0.1);
    Capture capture{clip()};
    capture.run(writing_, 0.5);
    pauseAt(0.49);
    pauseAt(0.6);
    capture.run(writing_, 0.9);
    resumeAt(0.9);
    resumeAt(1.5);
    capture.run(writing_, 3);
    EXPECT_EQ(numbers(finished()), counted(0, 15) + counted(30, 60));
}

TEST_F(AssetWriterPauseTest, PausedAgainBeforeItCouldGoOnIsOnePause)
{
    Capture capture{clip(), {20'000, 33'000, 55'000}};
    capture.run(writing_, 0.5);
    pauseAt(0.49);
    resumeAt(0.6);
    capture.run(writing_, 0.7);
    pauseAt(0.8);
    capture.run(writing_, 0.9);
    resumeAt(0.95);
    capture.run(writing_, 3);
    const auto decoded = finished();
    EXPECT_EQ(numbers(decoded), counted(0, 15) + counted(30, 60));
    EXPECT_THAT(decoded.peaks(), ElementsAre(20'000, 55'000 - 48'000 + 23'520));
}

TEST_F(AssetWriterPauseTest, WithoutSoundPicturesCloseUpAllTheSame)
{
    Capture capture{clip()};
    capture.hasSound = false;
    capture.run(writing_, 0.5);
    pauseAt(0.49);
    capture.run(writing_, 0.9);
    resumeAt(0.9);
    capture.run(writing_, 3);
    const auto decoded = finished();
    EXPECT_EQ(numbers(decoded), counted(0, 15) + counted(30, 60));
    EXPECT_NEAR(decoded.pictures[15].time, 0.49, 1e-4);
}

/// Pictures of a file that is being written, as a crash would leave it, once there are so many.
std::size_t awaitPicturesOnTheDisk(const std::filesystem::path& path, std::size_t count)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{30};
    std::size_t found = 0;
    while (found < count && std::chrono::steady_clock::now() < deadline) {
        const auto copy = path.parent_path() / "copy.mp4";
        std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
        found = decodeFile(copy).pictures.size();
        std::this_thread::yield();
    }
    return found;
}

TEST_F(AssetWriterPauseTest, WhatWasRecordedIsOnTheDiskWhileItIsPaused)
{
    // Too little for a fragment.
    Capture capture{clip()};
    capture.run(writing_, 0.3);
    pauseAt(0.3);
    capture.run(writing_, 0.4);
    EXPECT_EQ(awaitPicturesOnTheDisk(path(), 9), 9U);
    EXPECT_EQ(numbers(finished()), counted(0, 9));
}

TEST_F(AssetWriterPauseTest, SoundThatComesLateIsOnTheDiskToo)
{
    Capture capture{clip()};
    capture.soundLatency = 0.2;
    capture.run(writing_, 0.3);
    pauseAt(0.3);
    capture.run(writing_, 0.57);
    ASSERT_EQ(awaitPicturesOnTheDisk(path(), 9), 9U);
    // All but what the encoder holds.
    EXPECT_GT(static_cast<double>(decodeFile(folder_.path() / "copy.mp4").endFrame()) / rate, 0.2);
}

TEST_F(AssetWriterPauseTest, SoundThatStoppedDoesNotKeepItFromTheDisk)
{
    Capture capture{clip()};
    capture.run(writing_, 0.3);
    pauseAt(0.31);
    capture.hasSound = false;
    capture.run(writing_, 0.9);
    EXPECT_EQ(awaitPicturesOnTheDisk(path(), 10), 10U);
}

TEST_F(AssetWriterPauseTest, PausesMakeNoFragmentLongerThanItMayBe)
{
    const auto encoded = encodeClip(steadyTimes(600, 60, sessionStart), {.keyFrameInterval = 3});
    Capture capture{encoded};
    capture.run(writing_, 0.1);
    std::size_t written = 0;
    for (int i = 0; i < 20; ++i) {
        const double now = 0.1 + i * 0.4;
        pauseAt(now);
        capture.run(writing_, now + 0.1);
        resumeAt(now + 0.1);
        capture.run(writing_, now + 0.4);
        written += 18;
    }
    // At most 0.8 s of pictures are not there yet.
    EXPECT_GE(awaitPicturesOnTheDisk(path(), written - 48), written - 48);
}

TEST_F(AssetWriterPauseTest, AResumeAsksForAKeyFrameUntilItHasCome)
{
    Capture capture{clip()};
    capture.run(writing_, 0.5);
    EXPECT_FALSE(requests_.last());
    pauseAt(0.5);
    EXPECT_FALSE(requests_.last());
    capture.run(writing_, 0.9);
    resumeAt(0.9);
    EXPECT_TRUE(requests_.last());
    capture.run(writing_, 1.01);
    EXPECT_TRUE(requests_.last());
    capture.run(writing_, 1.03);
    EXPECT_FALSE(requests_.last());
}

TEST_F(AssetWriterPauseTest, AKeyFrameFromBeforeTheResumeIsLeftOutAndAnotherAskedFor)
{
    Capture capture{clip()};
    capture.run(writing_, 0.5);
    pauseAt(0.5);
    capture.run(writing_, 1.005);
    resumeAt(1.005);
    const auto first = requests_.last();
    ASSERT_TRUE(first);
    requests_.fulfil(*first);  // by the picture of 1 s, which is still on its way
    capture.run(writing_, 1.03);
    ASSERT_TRUE(requests_.last());
    EXPECT_GT(*requests_.last(), *first);
    capture.run(writing_, 3);
    EXPECT_EQ(numbers(finished()), counted(0, 15));
}

TEST_F(AssetWriterPauseTest, AWriterThatEndsWhileItResumesNoLongerAsks)
{
    Capture capture{clip()};
    capture.run(writing_, 0.5);
    pauseAt(0.5);
    resumeAt(0.6);
    EXPECT_TRUE(requests_.last());
    finish(*writing_.writer);
    EXPECT_FALSE(requests_.last());
}

TEST_F(AssetWriterPauseTest, KeyFramesThatMeetAtAPauseHaveDifferentNumbers)
{
    // Key frames alone, as in a still window, whose numbers alternate: each other one has that of the last before the pause.
    const auto encoded = encodeClip(steadyTimes(30, 30, sessionStart), {.keyFrameInterval = 1});
    ASSERT_TRUE(keyFrameNumber(*encoded.samples[9]));
    ASSERT_EQ(keyFrameNumber(*encoded.samples[9]), keyFrameNumber(*encoded.samples[15]));
    ASSERT_NE(keyFrameNumber(*encoded.samples[9]), keyFrameNumber(*encoded.samples[16]));
    writing_.writer->cancelWriting();
    writing_ = begin(factory_.makeAssetWriter(path(), platform::AssetFileType::mpeg4).value(), encoded.format);
    Capture capture{encoded};
    capture.run(writing_, 0.35);
    pauseAt(0.32);
    capture.run(writing_, 0.49);
    resumeAt(0.49);
    capture.run(writing_, 0.53);
    EXPECT_TRUE(requests_.last());
    capture.run(writing_, 2);
    EXPECT_EQ(numbers(finished()), counted(0, 10) + counted(16, 30));
}

TEST_F(AssetWriterPauseTest, SoundIsBlendedWhereAPauseWas)
{
    constexpr double pitch = 200;
    const auto tone = [](std::int64_t frame) {
        return 0.8F * static_cast<float>(std::sin(2 * std::numbers::pi * pitch * static_cast<double>(frame) / rate));
    };
    const auto append = [&](std::int64_t from) {
        std::vector<float> samples;
        for (std::int64_t i = 0; i < 1000; ++i)
            samples.insert(samples.end(), {tone(from + i), tone(from + i)});
        ASSERT_TRUE(appendSound(writing_, std::move(samples), from));
    };
    // From the top of the tone to its bottom.
    const double from = 100.25 / pitch;
    const double to = 1.0;
    const double resumedAt = from + 0.4975 + 1e-5;
    EXPECT_GT(tone(std::llround(from * rate) - 1) - tone(std::llround(to * rate)), 0.5F);
    pauseAt(from);
    resumeAt(resumedAt);
    for (std::int64_t block = 0; block < 30; ++block)
        append(block * 1000);
    for (std::size_t i = 0; i < 60; ++i)
        ASSERT_TRUE(writing_.video->append(clip().samples[i]));
    for (std::int64_t block = 30; block < 96; ++block)
        append(block * 1000);
    const auto decoded = finished();
    float steepest = 0;
    for (std::size_t i = 4001; i < decoded.sound.size() - 4000; ++i)
        steepest = std::max(steepest, std::abs(decoded.sound[i] - decoded.sound[i - 1]));
    // The tone itself rises by 0.021 from one sample to the next.
    EXPECT_LT(steepest, 0.06F);
}

TEST_F(AssetWriterPauseTest, AnHourOfPauseIsNotAGapInTheSound)
{
    Capture capture{clip(), {20'000}};
    capture.run(writing_, 0.5);
    pauseAt(0.5);
    capture.run(writing_, 0.6);
    constexpr std::int64_t hour = 3600 * rate;
    ASSERT_TRUE(appendSound(writing_, clicks(1000, {}), hour));
    resumeAt(3600.5);
    ASSERT_TRUE(appendSound(writing_, clicks(48'000, {30'000}), hour + 20'000));
    auto picture = *clip().samples[30];
    picture.presentationTimeStamp = moment(3600.75);
    ASSERT_TRUE(writing_.video->append(std::make_shared<const SampleBuffer>(picture)));
    ASSERT_TRUE(appendSound(writing_, clicks(48'000, {}), hour + 68'000));
    const auto decoded = finished();
    EXPECT_EQ(numbers(decoded), counted(0, 15) + std::vector<int>{30});
    EXPECT_THAT(decoded.peaks(), ElementsAre(20'000, 24'000 + 50'000 - 36'000));
}

TEST_F(AssetWriterPauseTest, ARecordingThatIsCancelledWhileItIsPausedIsGone)
{
    Capture capture{clip()};
    capture.run(writing_, 0.5);
    pauseAt(0.5);
    capture.run(writing_, 0.9);
    writing_.writer->cancelWriting();
    EXPECT_EQ(writing_.writer->status(), Status::cancelled);
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(AssetWriterPauseTest, PausesMayComeFromAnotherThread)
{
    const auto encoded = encodeClip(steadyTimes(600, 60, sessionStart), {.keyFrameInterval = 3});
    std::thread pausing{[this] {
        for (int i = 0; i < 200; ++i) {
            pauseAt(i * 0.04);
            resumeAt(i * 0.04 + 0.02);
        }
    }};
    Capture capture{encoded};
    capture.run(writing_, 11);
    pausing.join();
    finish(*writing_.writer);
    const auto decoded = decodeClean(path());
    EXPECT_TRUE(
        std::is_sorted(decoded.pictures.begin(), decoded.pictures.end(), [](const auto& a, const auto& b) { return a.number < b.number; }));
}

}  // namespace
}  // namespace velmora::engine

#include "engine/files/AssetReader.h"

#include "media/mp4/RecordingLayout.h"
#include "platform/linux/CodecModuleServices.h"
#include "tests/media/mp4/Recordings.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/EncodedClip.h"
#include "tests/support/media/ForeignClip.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <random>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmora::engine {
namespace {

using namespace velmora::test;
namespace fs = std::filesystem;

class LinuxAssetReaderTest : public ::testing::Test {
protected:
    Result<MediaTime> duration(const fs::path& file)
    {
        std::promise<Result<MediaTime>> answer;
        reader_->loadDuration(file, [&](Result<MediaTime> result) { answer.set_value(std::move(result)); });
        return answer.get_future().get();
    }

    Result<PixelBufferRef> image(const fs::path& file, MediaTime time, std::int32_t width = 4000, std::int32_t height = 4000)
    {
        std::promise<Result<PixelBufferRef>> answer;
        reader_->generateImage(file, time, width, height, [&](Result<PixelBufferRef> result) { answer.set_value(std::move(result)); });
        return answer.get_future().get();
    }

    fs::path path(const char* name) const { return folder_.path() / name; }

    fs::path write(const char* name, const std::string& content) const
    {
        std::ofstream{path(name), std::ios::binary} << content;
        return path(name);
    }

    /// Recordings of three seconds: 90 numbered pictures, a key frame each second.
    fs::path finished() const
    {
        finishedFile(makeRecording())->saveTo(path("finished.mp4"));
        return path("finished.mp4");
    }
    fs::path unfinished() const
    {
        unfinishedFile(makeRecording())->saveTo(path("unfinished.mp4"));
        return path("unfinished.mp4");
    }

    void expectBothFail(const fs::path& file, std::string_view domain, int code)
    {
        const auto time = duration(file);
        ASSERT_FALSE(time);
        EXPECT_EQ(time.error().domain, domain);
        EXPECT_EQ(time.error().code, code);
        EXPECT_FALSE(time.error().localizedDescription.empty());
        const auto picture = image(file, {0, 1});
        ASSERT_FALSE(picture);
        EXPECT_EQ(picture.error().domain, domain);
        EXPECT_EQ(picture.error().code, code);
        EXPECT_FALSE(picture.error().localizedDescription.empty());
    }

    const TemporaryDirectory folder_;
    std::shared_ptr<platform::AssetReader> reader_ = linux_backend::makeAssetReader();
};

std::array<int, 3> colourAt(const PixelBuffer& picture, std::int32_t x, std::int32_t y)
{
    const auto* pixel = picture.baseAddress + static_cast<std::size_t>(y) * picture.bytesPerRow + static_cast<std::size_t>(x) * 4;
    return {std::to_integer<int>(pixel[2]), std::to_integer<int>(pixel[1]), std::to_integer<int>(pixel[0])};
}

/// The number that the picture carries; -1 where there is none.
int numberIn(const Result<PixelBufferRef>& picture)
{
    if (!picture || !*picture) {
        ADD_FAILURE() << (picture ? "no picture" : picture.error().localizedDescription);
        return -1;
    }
    const auto& pixels = **picture;
    std::vector<std::uint8_t> green;
    for (std::int32_t y = 0; y < pixels.height; ++y) {
        for (std::int32_t x = 0; x < pixels.width; ++x)
            green.push_back(static_cast<std::uint8_t>(colourAt(pixels, x, y)[1]));
    }
    return numberInPicture(green.data(), pixels.width, pixels.width, pixels.height);
}

void expectSize(const Result<PixelBufferRef>& picture, std::int32_t width, std::int32_t height)
{
    ASSERT_TRUE(picture) << picture.error().localizedDescription;
    EXPECT_EQ((*picture)->width, width);
    EXPECT_EQ((*picture)->height, height);
    EXPECT_EQ((*picture)->format, FourCharacterCode{"BGRA"});
    EXPECT_GE((*picture)->bytesPerRow, static_cast<std::size_t>(width) * 4);
}

TEST_F(LinuxAssetReaderTest, AFinishedRecordingHasItsDuration)
{
    EXPECT_EQ(duration(finished()), (MediaTime{3, 1}));
}

TEST_F(LinuxAssetReaderTest, AnUnfinishedRecordingHasTheDurationOfWhatIsWritten)
{
    const auto whole = duration(unfinished());
    ASSERT_TRUE(whole);
    EXPECT_NEAR(whole->seconds(), 3.0, 0.03);

    // Cut inside the fifth fragment, it is as long as the four before it.
    const auto four = std::make_shared<MemoryFile>();
    writeUnfinished(four, makeRecording(), 4);
    const auto five = std::make_shared<MemoryFile>();
    writeUnfinished(five, makeRecording(), 5);
    four->saveTo(path("four.mp4"));
    five->saveTo(path("cut.mp4"));
    fs::resize_file(path("cut.mp4"), (*four->size() + *five->size()) / 2);
    const auto cut = duration(path("cut.mp4"));
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut, duration(path("four.mp4")));
    EXPECT_NEAR(cut->seconds(), 2.0, 0.03);
}

TEST_F(LinuxAssetReaderTest, FilesOfOtherProgramsHaveTheirDuration)
{
    for (const char* options : {"", "movflags=+faststart", "movflags=+frag_keyframe+empty_moov", "movflags=+frag_keyframe+delay_moov"}) {
        writeForeignClip(path("foreign.mp4"), {.muxerOptions = options});
        const auto time = duration(path("foreign.mp4"));
        ASSERT_TRUE(time) << options << time.error().localizedDescription;
        EXPECT_NEAR(time->seconds(), 2.0, 0.07) << options;
    }
}

TEST_F(LinuxAssetReaderTest, DurationsComeInTheOrderAsked)
{
    const auto file = finished();
    std::vector<int> order;
    std::promise<void> done;
    for (int i = 0; i < 20; ++i) {
        reader_->loadDuration(i % 2 == 0 ? file : path("missing"), [&order, &done, i](const Result<MediaTime>& result) {
            EXPECT_EQ(result.has_value(), i % 2 == 0);
            order.push_back(i);
            if (i == 19)
                done.set_value();
        });
    }
    done.get_future().wait();
    EXPECT_EQ(order.size(), 20U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(LinuxAssetReaderTest, WhatIsNoMovieIsAnError)
{
    using mp4::ErrorCode;
    expectBothFail(path("missing"), posixErrorDomain, ENOENT);
    expectBothFail(write("empty.mp4", ""), mp4::errorDomain, static_cast<int>(ErrorCode::notAMovie));
    expectBothFail(write("text.mp4", "This is a text and not a film."), mp4::errorDomain, static_cast<int>(ErrorCode::notAMovie));
    expectBothFail(write("head.mp4",
                       std::string{"\0\0\0\x10"
                                   "ftypisom\0\0\0\0",
                           16}),
        mp4::errorDomain, static_cast<int>(ErrorCode::damaged));
}

TEST_F(LinuxAssetReaderTest, ATruncatedFileIsAnError)
{
    const auto file = finished();
    fs::resize_file(file, fs::file_size(file) - 1000);
    expectBothFail(file, mp4::errorDomain, static_cast<int>(mp4::ErrorCode::damaged));
}

TEST_F(LinuxAssetReaderTest, WhatIsNoRegularFileIsNeverOpened)
{
    fs::create_directory(path("folder.mp4"));
    expectBothFail(path("folder.mp4"), posixErrorDomain, EINVAL);

    // Opening it would wait for a writer.
    ASSERT_EQ(mkfifo(path("fifo.mp4").c_str(), 0600), 0);
    expectBothFail(path("fifo.mp4"), posixErrorDomain, EINVAL);

    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path("socket.mp4").string().size(), sizeof address.sun_path);
    std::copy_n(path("socket.mp4").c_str(), path("socket.mp4").string().size(), address.sun_path);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    expectBothFail(path("socket.mp4"), posixErrorDomain, EINVAL);
    close(listener);

    expectBothFail("/dev/zero", posixErrorDomain, EINVAL);
    fs::create_symlink(path("nowhere"), path("dangling.mp4"));
    expectBothFail(path("dangling.mp4"), posixErrorDomain, ENOENT);
}

TEST_F(LinuxAssetReaderTest, AnUnfinishedRecordingWithoutAFragmentHasNothingInside)
{
    const auto file = std::make_shared<MemoryFile>();
    writeUnfinished(file, makeRecording(), 0);
    file->saveTo(path("begun.mp4"));
    expectBothFail(path("begun.mp4"), assetReaderErrorDomain, static_cast<int>(AssetReaderErrorCode::nothingInside));
}

TEST_F(LinuxAssetReaderTest, ThePictureIsThatOfItsTime)
{
    for (const auto& file : {finished(), unfinished()}) {
        for (const int number : {0, 1, 29, 30, 31, 47, 89}) {
            EXPECT_EQ(numberIn(image(file, {number, 30})), number) << file;
            EXPECT_EQ(numberIn(image(file, MediaTime{number, 30} + MediaTime{1, 40})), number) << file << " just before the next";
        }
        EXPECT_EQ(numberIn(image(file, {-1, 1})), 0);
        EXPECT_EQ(numberIn(image(file, {1000, 1})), 89) << "after the end";
    }
}

TEST_F(LinuxAssetReaderTest, PicturesThatAreCodedOutOfOrderAreFoundToo)
{
    for (const char* options : {"", "movflags=+frag_keyframe+empty_moov", "movflags=+frag_keyframe+delay_moov+negative_cts_offsets"}) {
        writeForeignClip(
            path("foreign.mp4"), {.encoderOptions = "x264-params=b-adapt=0:b-pyramid=normal", .muxerOptions = options, .bFrames = 3});
        // Without an edit list the first picture comes late by as much as the reordering takes.
        const auto late = std::string_view{options}.ends_with("empty_moov") ? MediaTime{2, 30} : MediaTime{0, 30};
        for (int number = 0; number < 60; number += 7)
            EXPECT_EQ(numberIn(image(path("foreign.mp4"), MediaTime{number, 30} + late)), number) << options;
    }
}

TEST_F(LinuxAssetReaderTest, OtherCodecsThanH264AreDecoded)
{
    const std::pair<const char*, const char*> encoders[] = {{"libx265", "preset=ultrafast:x265-params=log-level=none"},
        {"libvpx-vp9", "deadline=realtime:cpu-used=8"}, {"libaom-av1", "usage=realtime:cpu-used=8"}};
    for (const auto& [encoder, options] : encoders) {
        writeForeignClip(path("foreign.mp4"), {.encoder = encoder, .encoderOptions = options, .pictureCount = 20, .bFrames = 0});
        EXPECT_EQ(numberIn(image(path("foreign.mp4"), {13, 30})), 13) << encoder;
    }
}

TEST_F(LinuxAssetReaderTest, ACodecThatIsNotKnownIsAnErrorButHasADuration)
{
    writeForeignClip(path("foreign.mp4"), {.encoder = "mpeg4", .pictureCount = 20, .bFrames = 0});
    const auto time = duration(path("foreign.mp4"));
    ASSERT_TRUE(time);
    EXPECT_NEAR(time->seconds(), 20 / 30.0, 0.04);
    const auto picture = image(path("foreign.mp4"), {0, 1});
    ASSERT_FALSE(picture);
    EXPECT_EQ(picture.error().domain, "libav");
}

TEST_F(LinuxAssetReaderTest, ThePictureIsScaledDownIntoTheBoxAndKeepsItsShape)
{
    const auto file = finished();
    expectSize(image(file, {0, 1}, 320, 240), 320, 240);
    expectSize(image(file, {0, 1}, 319, 240), 319, 239);
    expectSize(image(file, {0, 1}, 160, 160), 160, 120);
    expectSize(image(file, {0, 1}, 4000, 60), 80, 60);
    expectSize(image(file, {0, 1}, 1, 1), 1, 1);
    expectSize(image(file, {0, 1}, 5000, 4000), 320, 240);
    const auto half = image(file, {47, 30}, 160, 120);
    EXPECT_EQ(numberIn(half), 47);
}

TEST_F(LinuxAssetReaderTest, ATimeOrSizeThatIsNoneIsAnError)
{
    const auto file = finished();
    for (const auto& picture : {image(file, MediaTime::invalid()), image(file, {0, 1}, 0, 100), image(file, {0, 1}, 100, -1)}) {
        ASSERT_FALSE(picture);
        EXPECT_EQ(picture.error().code, static_cast<int>(AssetReaderErrorCode::invalidRequest));
    }
}

TEST_F(LinuxAssetReaderTest, APictureThatIsStoredOnItsSideStandsUpright)
{
    // Stored, the bars run from left to right in the upper half; after a quarter turn clockwise they run down the right half.
    writeForeignClip(path("upright.mp4"), {.pictureCount = 8});
    const auto stored = image(path("upright.mp4"), {5, 30});
    ASSERT_EQ(numberIn(stored), 5);
    const auto& source = **stored;
    for (const int turns : {1, 2, 3}) {
        writeForeignClip(path("turned.mp4"), {.pictureCount = 8, .quarterTurns = turns});
        const auto turned = image(path("turned.mp4"), {5, 30});
        expectSize(turned, turns == 2 ? 320 : 240, turns == 2 ? 240 : 320);
        ASSERT_TRUE(turned);
        for (const auto& [x, y] : {std::pair{10, 60}, {50, 30}, {170, 100}, {300, 200}, {5, 235}}) {
            const auto expected = colourAt(source, x, y);
            const auto found = turns == 1 ? colourAt(**turned, 239 - y, x)
                : turns == 2              ? colourAt(**turned, 319 - x, 239 - y)
                                          : colourAt(**turned, y, 319 - x);
            // Each file was encoded separately, and the encoder does not repeat itself to the last bit.
            for (std::size_t channel = 0; channel < expected.size(); ++channel)
                EXPECT_NEAR(found[channel], expected[channel], 12) << turns << " turns, " << x << ' ' << y;
        }
        expectSize(image(path("turned.mp4"), {5, 30}, 120, 120), turns == 2 ? 120 : 90, turns == 2 ? 90 : 120);
    }
}

TEST_F(LinuxAssetReaderTest, PixelsThatAreNotSquareAreMadeSo)
{
    writeForeignClip(path("wide.mp4"), {.pictureCount = 8, .pixelShape = 2});
    // Never more pixels than the box; twice as wide as it is stored.
    expectSize(image(path("wide.mp4"), {0, 1}), 640, 240);
    expectSize(image(path("wide.mp4"), {0, 1}, 320, 240), 320, 120);
}

/// The colour of a white bar (luma 220) with the given weights of red and blue (ITU-R BT.709-6 3.2, BT.601-7 2.5.1).
std::array<double, 3> colourOf(double red, double blue, bool fullRange, double cb, double cr)
{
    const double y = fullRange ? 220 : 255.0 / 219 * (220 - 16);
    const double chromaScale = fullRange ? 1 : 255.0 / 224;
    const double fromCr = 2 * (1 - red) * chromaScale * (cr - 128);
    const double fromCb = 2 * (1 - blue) * chromaScale * (cb - 128);
    return {y + fromCr, y - (red * fromCr + blue * fromCb) / (1 - red - blue), y + fromCb};
}

TEST_F(LinuxAssetReaderTest, TheColoursAreThoseOfTheStandardThatTheFileNames)
{
    constexpr std::array bt601{0.299, 0.114};
    constexpr std::array bt709{0.2126, 0.0722};
    const struct {
        int matrix;
        bool fullRange;
        std::int32_t height;
        std::array<double, 2> weights;
    } cases[] = {{1, false, 240, bt709}, {6, false, 240, bt601}, {2, false, 240, bt601}, {2, false, 720, bt709}, {1, true, 240, bt709}};
    for (const auto& [matrix, fullRange, height, weights] : cases) {
        writeForeignClip(
            path("colour.mp4"), {.height = height, .pictureCount = 2, .matrix = matrix, .fullRange = fullRange, .cb = 150, .cr = 100});
        const auto picture = image(path("colour.mp4"), {1, 30});
        ASSERT_TRUE(picture);
        const auto found = colourAt(**picture, 10, 60);
        const auto expected = colourOf(weights[0], weights[1], fullRange, 150, 100);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(found[i], std::min(expected[i], 255.0), 3) << "matrix " << matrix << ", height " << height << ", channel " << i;
    }
}

TEST_F(LinuxAssetReaderTest, MediaThatCannotBeDecodedIsAnError)
{
    const auto file = finishedFile(makeRecording({.hasSound = false}));
    auto bytes = file->content();
    // All after the index is media.
    for (std::size_t i = bytes.size() * 3 / 4; i < bytes.size(); ++i)
        bytes[i] = std::byte{0xA5};
    MemoryFile damaged{bytes};
    damaged.saveTo(path("damaged.mp4"));
    EXPECT_TRUE(duration(path("damaged.mp4")));
    EXPECT_EQ(numberIn(image(path("damaged.mp4"), {0, 1})), 0);
    EXPECT_FALSE(image(path("damaged.mp4"), {89, 30}));
}

TEST_F(LinuxAssetReaderTest, ADamagedFileGivesAPictureOfItsSizeOrAnError)
{
    const auto original = finishedFile(makeRecording({.hasSound = false}))->content();
    // Index and media lie beyond the reserve, where nobody looks.
    const auto firstByte = mp4::reserveOffset;
    std::mt19937 random{7};
    int readable = 0;
    int refused = 0;
    for (int round = 0; round < 150; ++round) {
        auto bytes = original;
        const bool hitsIndex = round % 2 == 0;
        const auto begin = hitsIndex ? firstByte : mp4::defaultReserveSize + firstByte;
        const auto length = hitsIndex ? 1500 : bytes.size() - begin;
        for (int hit = 0; hit < (hitsIndex ? 3 : 30); ++hit)
            bytes[begin + random() % length] = static_cast<std::byte>(random());
        MemoryFile damaged{bytes};
        damaged.saveTo(path("damaged.mp4"));
        const auto picture = image(path("damaged.mp4"), {static_cast<std::int64_t>(random() % 90), 30}, 100, 100);
        if (picture) {
            ++readable;
            ASSERT_TRUE(*picture);
            EXPECT_GE((*picture)->width, 1);
            EXPECT_LE((*picture)->width, 100);
            EXPECT_GE((*picture)->height, 1);
            EXPECT_LE((*picture)->height, 100);
        } else {
            ++refused;
            EXPECT_FALSE(picture.error().localizedDescription.empty());
        }
    }
    EXPECT_GT(readable, 5);
    EXPECT_GT(refused, 5);
}

TEST_F(LinuxAssetReaderTest, EachReasonHasItsNumber)
{
    const auto number = [](AssetReaderErrorCode code) { return static_cast<int>(code); };
    EXPECT_EQ(number(AssetReaderErrorCode::invalidRequest), 1);
    EXPECT_EQ(number(AssetReaderErrorCode::nothingInside), 2);
    EXPECT_EQ(number(AssetReaderErrorCode::tooLarge), 3);
}

TEST_F(LinuxAssetReaderTest, APictureTooFarFromItsKeyFrameIsAnError)
{
    writeForeignClip(path("endless.mp4"),
        {.encoderOptions = "preset=ultrafast:x264-params=scenecut=0",
            .width = 64,
            .height = 48,
            .pictureCount = 3610,
            .keyFrameInterval = 100000,
            .bFrames = 0});
    EXPECT_TRUE(image(path("endless.mp4"), {3599, 30}));
    const auto tooFar = image(path("endless.mp4"), {3600, 30});
    ASSERT_FALSE(tooFar);
    EXPECT_EQ(tooFar.error().code, static_cast<int>(AssetReaderErrorCode::tooLarge));
}

TEST_F(LinuxAssetReaderTest, AFileOfSoundAloneHasADurationButNoPicture)
{
    auto recording = makeRecording();
    recording.tracks.erase(recording.tracks.begin());
    recording.ends.erase(recording.ends.begin());
    for (auto& fragment : recording.fragments) {
        std::erase_if(fragment, [](const mp4::RecordedRun& run) { return run.track == 0; });
        for (auto& run : fragment)
            run.track = 0;
    }
    finishedFile(recording)->saveTo(path("sound.mp4"));
    EXPECT_EQ(duration(path("sound.mp4")), (MediaTime{3, 1}));
    const auto picture = image(path("sound.mp4"), {0, 1});
    ASSERT_FALSE(picture);
    EXPECT_EQ(picture.error().code, static_cast<int>(AssetReaderErrorCode::nothingInside));
}

TEST_F(LinuxAssetReaderTest, WhatIsQueuedIsAnsweredThoughTheReaderGoes)
{
    const auto file = finished();
    std::promise<Result<MediaTime>> time;
    std::promise<Result<PixelBufferRef>> picture;
    reader_->loadDuration(file, [&](Result<MediaTime> result) { time.set_value(std::move(result)); });
    reader_->generateImage(file, {1, 1}, 100, 100, [&](Result<PixelBufferRef> result) { picture.set_value(std::move(result)); });
    reader_.reset();
    EXPECT_TRUE(time.get_future().get());
    expectSize(picture.get_future().get(), 100, 75);
}

TEST(LinuxAssetReader, WithoutADecoderThereAreDurationsButNoPictures)
{
    const TemporaryDirectory folder;
    const auto file = folder.path() / "clip.mp4";
    finishedFile(makeRecording())->saveTo(file);
    AssetReader reader{[](const VideoFormat&, const PictureRequest&) -> Result<std::unique_ptr<PictureDecoder>> {
        return fail("test", 7, "There is no decoder.");
    }};
    std::promise<Result<MediaTime>> time;
    std::promise<Result<PixelBufferRef>> picture;
    reader.loadDuration(file, [&](Result<MediaTime> result) { time.set_value(std::move(result)); });
    reader.generateImage(file, {1, 1}, 100, 100, [&](Result<PixelBufferRef> result) { picture.set_value(std::move(result)); });
    EXPECT_TRUE(time.get_future().get());
    const auto result = picture.get_future().get();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, 7);
}

}  // namespace
}  // namespace velmora::engine

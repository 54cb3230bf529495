#include "engine/sharing/SmallFile.h"

#include "media/mp4/MovieReader.h"
#include "media/mp4/PosixFile.h"
#include "tests/engine/sharing/CopyToolsFixture.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/EncodedClip.h"
#include "tests/support/media/WrittenClip.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace velmora::engine {
namespace {

using namespace velmora::test;
using platform::TranscodingErrorCode;

/// Encodes nothing: how many bytes a picture has is what the test says.
struct Model {
    /// Bytes of a picture of so many pixels with this quality, in the so-manieth pass over the clip.
    std::function<double(double pixels, double quality, int pass)> bytes = [](double pixels, double quality, int) {
        return 0.02 * pixels * std::exp2((26 - quality) / 6);
    };
    int passes = 0;
    int wholePasses = 0;
    std::vector<PictureEncoding> encodings = {};
};

class FakePictures final : public PictureTranscoder {
public:
    FakePictures(Model& model, VideoFormat format) : model_(model), format_(std::move(format)) { }

    Result<FormatDescriptionRef> transcode(
        CodedSamples& source, const PictureEncoding& encoding, const PictureProgress& progress, const TakePicture& take) override
    {
        const int pass = model_.passes++;
        model_.wholePasses += encoding.begin == 0 && encoding.end > 5 * pictureTimescale ? 1 : 0;
        model_.encodings.push_back(encoding);
        PictureSchedule schedule{encoding.timing};
        const auto size = static_cast<std::size_t>(
            std::max(1.0, model_.bytes(static_cast<double>(encoding.width) * encoding.height, encoding.quality, pass)));
        const std::vector<std::byte> bytes(size);
        std::optional<std::int64_t> held;
        const auto encode = [&](std::int64_t end) -> Result<bool> {
            for (const auto time : schedule.timesOf(std::max<std::int64_t>(*held, 0), end)) {
                auto taken = take({bytes, time - 1500, time, time == 0});
                if (!taken || !*taken)
                    return taken;
            }
            return true;
        };
        for (;;) {
            const auto sample = source.next();
            if (!sample)
                return fail(sample.error());
            if (!*sample)
                break;
            const auto time = (*sample)->time * pictureTimescale / source.timescale();
            if (time < encoding.begin)
                continue;
            if (time >= encoding.end)
                break;
            if (!progress(time))
                return nullptr;
            if (held) {
                const auto goesOn = encode(time - encoding.begin);
                if (!goesOn)
                    return fail(goesOn.error());
                if (!*goesOn)
                    return nullptr;
            }
            held = time - encoding.begin;
        }
        if (held) {
            const auto goesOn = encode(encoding.end - encoding.begin);
            if (!goesOn)
                return fail(goesOn.error());
            if (!*goesOn)
                return nullptr;
        }
        auto format = format_;
        format.width = encoding.width;
        format.height = encoding.height;
        return std::make_shared<const FormatDescription>(std::move(format));
    }

private:
    Model& model_;
    const VideoFormat format_;
};

class FakeSound final : public SoundDecoder {
public:
    explicit FakeSound(std::int32_t channelCount) : channelCount_(channelCount) { }
    Result<void> decode(const CodedSamples::Sample& sample, std::vector<Block>& blocks) override
    {
        blocks.push_back({sample.time, 48000, std::vector<float>(static_cast<std::size_t>(1024 * channelCount_))});
        return {};
    }
    Result<void> finish(std::vector<Block>&) override { return {}; }

private:
    const std::int32_t channelCount_;
};

class FakeAac final : public AudioEncoder {
public:
    explicit FakeAac(const platform::AudioOutputSettings& settings) : settings_(settings)
    {
        AudioFormat format{FourCharacterCode{"mp4a"}, static_cast<std::int32_t>(settings.sampleRate),
            static_cast<std::int32_t>(settings.channelCount), {std::byte{0x11}, std::byte{0x90}}};
        format_ = std::make_shared<const FormatDescription>(std::move(format));
    }
    [[nodiscard]] FormatDescriptionRef format() const override { return format_; }
    [[nodiscard]] std::int64_t primingFrames() const override { return 1024; }
    Result<void> encode(std::span<const float> frames, std::vector<Packet>& packets) override
    {
        pending_ += static_cast<std::int64_t>(frames.size()) / settings_.channelCount;
        for (; pending_ >= 1024; pending_ -= 1024) {
            const auto size = static_cast<std::size_t>(settings_.bitRate * 1024 / settings_.sampleRate / 8);
            packets.push_back({DataBlock::owning(std::vector<std::byte>(size)), 1024});
        }
        return {};
    }
    Result<void> flush(std::vector<Packet>& packets) override
    {
        packets.push_back({DataBlock::owning(std::vector<std::byte>(20)), 1024});
        return {};
    }

private:
    const platform::AudioOutputSettings settings_;
    FormatDescriptionRef format_;
    std::int64_t pending_ = 0;
};

class FakeCodecs final : public ClipCodecs {
public:
    explicit FakeCodecs(Model& model) : model_(model) { }
    Result<std::unique_ptr<PictureTranscoder>> makePictureTranscoder(const VideoFormat& format) override
    {
        return std::make_unique<FakePictures>(model_, format);
    }
    Result<std::unique_ptr<SoundDecoder>> makeSoundDecoder(const AudioFormat&, std::int32_t channelCount) override
    {
        return std::make_unique<FakeSound>(channelCount);
    }
    Result<std::unique_ptr<AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings& settings) override
    {
        return std::make_unique<FakeAac>(settings);
    }

private:
    Model& model_;
};

class SmallFileTest : public CopyToolsFixture {
protected:
    static constexpr int seconds = 30;

    static void SetUpTestSuite()
    {
        shared_ = std::make_unique<TemporaryDirectory>();
        WrittenClip clip;
        clip.pictures = steadyTimes(seconds * 60, 60);
        clip.soundFrames = std::int64_t{seconds} * 48000;
        writeClip(shared_->path() / "clip.mp4", clip);
        // Larger than all limits here, and read as fast: what it has more is a box of nothing.
        constexpr std::uint32_t nothing = 6 << 20;
        std::ofstream file{shared_->path() / "clip.mp4", std::ios::binary | std::ios::app};
        for (const int shift : {24, 16, 8, 0})
            file.put(static_cast<char>(nothing >> shift));
        file << "free" << std::string(nothing - 8, '\0');
    }
    static void TearDownTestSuite() { shared_.reset(); }

    [[nodiscard]] Result<std::optional<platform::TranscodingReport>> make(std::uint64_t limit, bool hasConstantRate = false)
    {
        const auto source = mp4::PosixFile::openForReading(shared_->path() / "clip.mp4");
        FakeCodecs codecs{model};
        return makeSmallFile(**source, {limit, hasConstantRate}, codecs, tools());
    }

    static inline std::unique_ptr<TemporaryDirectory> shared_;
    Model model;
};

TEST_F(SmallFileTest, StaysBelowTheLimitAndUsesNineTenthsOfItHoweverTheEncoderBehaves)
{
    struct Case {
        const char* what;
        std::function<double(double, double, int)> bytes;
    };
    const Case cases[] = {
        {"steep", [](double pixels, double quality, int) { return 0.05 * pixels * std::exp2((26 - quality) / 3); }},
        {"flat", [](double pixels, double quality, int) { return 0.05 * pixels * std::exp2((26 - quality) / 12); }},
        {"sizes that fall faster than pixels and qualities usually make them",
            [](double pixels, double quality, int) { return 2e-6 * std::pow(pixels, 2) * std::exp2((26 - quality) / 2.5); }},
        {"another size in every pass",
            [](double pixels, double quality, int pass) { return (0.05 + 0.002 * (pass % 3)) * pixels * std::exp2((26 - quality) / 6); }},
        {"parts say less than the whole",
            [](double pixels, double quality, int pass) { return (pass < 6 ? 0.03 : 0.06) * pixels * std::exp2((26 - quality) / 6); }},
        {"parts say more than the whole",
            [](double pixels, double quality, int pass) { return (pass < 6 ? 0.09 : 0.045) * pixels * std::exp2((26 - quality) / 6); }},
    };
    for (const auto& one : cases) {
        for (const std::uint64_t limit : {1'000'000U, 2'000'000U}) {
            model = Model{.bytes = one.bytes};
            target = std::make_unique<MemoryFile>();
            lastProgress = 0;
            const auto made = make(limit);
            ASSERT_TRUE(made && *made) << one.what << ": " << (made ? "" : made.error().localizedDescription);
            EXPECT_FALSE((*made)->isCopy);
            EXPECT_LE((*made)->size, limit) << one.what;
            EXPECT_GE(static_cast<double>((*made)->size), 0.9 * static_cast<double>(limit)) << one.what;
            EXPECT_EQ(*target->size(), (*made)->size);
            EXPECT_LE((*made)->rounds, 4) << one.what;
        }
    }
}

TEST_F(SmallFileTest, PicturesThatTakeNextToNothingAreNotEncodedOverAndOver)
{
    model.bytes = [](double, double, int) { return 40.0; };
    const auto made = make(1'000'000);
    ASSERT_TRUE(made && *made);
    EXPECT_LE((*made)->rounds, 2);
    EXPECT_LE((*made)->quality, 10);
}

TEST_F(SmallFileTest, BeforeTheyBecomeCoarsePicturesBecomeSmallerAndFewer)
{
    double widest = std::numeric_limits<double>::max();
    double fastest = widest;
    for (const std::uint64_t limit : {1'500'000U, 800'000U, 500'000U, 400'000U}) {
        model = Model{.bytes = [](double pixels, double quality, int) { return 0.04 * pixels * std::exp2((26 - quality) / 6); }};
        target = std::make_unique<MemoryFile>();
        lastProgress = 0;
        const auto made = make(limit);
        ASSERT_TRUE(made && *made) << limit;
        EXPECT_LE((*made)->size, limit);
        EXPECT_LE((*made)->quality, 33) << limit;
        EXPECT_LE((*made)->width, widest);
        EXPECT_LE((*made)->pictureRate, fastest + 1);
        widest = (*made)->width;
        fastest = (*made)->pictureRate;
    }
    EXPECT_LT(widest, 320);
    EXPECT_LT(fastest, 31);
}

TEST_F(SmallFileTest, ALimitThatNothingFitsIsRefusedWithoutEncodingTheClip)
{
    for (const std::uint64_t limit : {1U, 50'000U}) {
        model = Model{};
        const auto made = make(limit);
        ASSERT_FALSE(made);
        EXPECT_EQ(made.error().domain, platform::transcodingErrorDomain);
        EXPECT_EQ(made.error().code, static_cast<int>(TranscodingErrorCode::limitTooSmall));
        EXPECT_NE(made.error().localizedDescription.find("0:30"), std::string::npos) << made.error().localizedDescription;
        EXPECT_EQ(model.passes, 0);
    }
    // What only an encoder can tell is told by parts of the clip.
    model = Model{.bytes = [](double pixels, double, int) { return pixels; }};
    const auto made = make(600'000);
    ASSERT_FALSE(made);
    EXPECT_EQ(made.error().code, static_cast<int>(TranscodingErrorCode::limitTooSmall));
    EXPECT_EQ(model.wholePasses, 0);
}

TEST_F(SmallFileTest, AClipThatFitsIsCopiedByteByByte)
{
    const auto path = shared_->path() / "clip.mp4";
    const auto size = std::filesystem::file_size(path);
    const auto made = make(size);
    ASSERT_TRUE(made && *made);
    EXPECT_TRUE((*made)->isCopy);
    EXPECT_EQ(model.passes, 0);
    std::ifstream stream{path, std::ios::binary};
    const std::vector<char> bytes{std::istreambuf_iterator<char>{stream}, {}};
    const auto copy = target->content();
    ASSERT_EQ(copy.size(), bytes.size());
    EXPECT_TRUE(std::equal(copy.begin(), copy.end(), bytes.begin(), [](std::byte a, char b) { return a == static_cast<std::byte>(b); }));
}

TEST_F(SmallFileTest, OneByteMoreThanTheLimitIsEncodedAnew)
{
    const auto size = std::filesystem::file_size(shared_->path() / "clip.mp4");
    const auto made = make(size - 1);
    ASSERT_TRUE(made && *made);
    EXPECT_FALSE((*made)->isCopy);
    EXPECT_LE((*made)->size, size - 1);
}

TEST_F(SmallFileTest, CanBeCancelledAtEveryStep)
{
    ASSERT_TRUE(make(1'000'000));
    const int all = progressCalls;
    ASSERT_GT(all, 100);
    for (int at = 0; at < all; at += std::max(1, all / 60)) {
        model = Model{};
        target = std::make_unique<MemoryFile>();
        lastProgress = 0;
        progressCalls = 0;
        cancelAt = at;
        const auto made = make(1'000'000);
        ASSERT_TRUE(made) << made.error().localizedDescription;
        EXPECT_FALSE(*made) << at;
        EXPECT_LE(progressCalls, at + 2) << "it goes on after that";
    }
}

TEST_F(SmallFileTest, AFullDiskEndsItWithTheSystemsWords)
{
    scratchFaults.capacity = 300'000;
    const auto inScratch = make(1'000'000);
    ASSERT_FALSE(inScratch);
    EXPECT_EQ(inScratch.error().code, ENOSPC);
    scratchFaults = {};
    lastProgress = 0;
    target->faults.capacity = 300'000;
    const auto inTarget = make(1'000'000);
    ASSERT_FALSE(inTarget);
    EXPECT_EQ(inTarget.error().code, ENOSPC);
}

TEST_F(SmallFileTest, AConstantRateNeedsNoLimitAndIsNeverACopy)
{
    const auto made = make(0, true);
    ASSERT_TRUE(made && *made);
    EXPECT_FALSE((*made)->isCopy);
    EXPECT_EQ((*made)->rounds, 1);
    EXPECT_NEAR((*made)->pictureRate, 60, 0.1);
    EXPECT_EQ((*made)->soundBitRate, 160000);
    for (const auto& encoding : model.encodings)
        EXPECT_EQ(encoding.timing.constantRate, 60);
}

TEST_F(SmallFileTest, WhatIsWrittenBeginsWithItsIndexAndHasSoundAndPicturesSideBySide)
{
    ASSERT_TRUE(make(1'000'000));
    const auto movie = mp4::readMovie(*target);
    ASSERT_TRUE(movie) << movie.error().localizedDescription;
    ASSERT_EQ(movie->movie.tracks.size(), 2U);
    const auto& pictures = movie->movie.tracks[0];
    const auto& sound = movie->movie.tracks[1];
    EXPECT_TRUE(pictures.isVideo());
    EXPECT_NEAR(mp4::presentationDuration(movie->movie, pictures).seconds(), seconds, 0.001);
    EXPECT_NEAR(mp4::presentationDuration(movie->movie, sound).seconds(), seconds, 0.001);
    // No more than a second of one lies before what is played beside it of the other.
    const auto pictureSamples = pictures.samples.expanded();
    const auto soundSamples = sound.samples.expanded();
    for (const auto& packet : soundSamples) {
        const auto beside =
            std::find_if(pictureSamples.begin(), pictureSamples.end(), [&](const auto& picture) { return picture.offset > packet.offset; });
        if (beside == pictureSamples.end())
            continue;
        EXPECT_NEAR(
            static_cast<double>(packet.decodeTime) / sound.timescale, static_cast<double>(beside->decodeTime) / pictures.timescale, 1);
    }
}

}  // namespace
}  // namespace velmora::engine

// How the limit is sought, with codecs that encode nothing.
#include "engine/sharing/MovieCopy.h"

#include "engine/sharing/MovieLadder.h"
#include "media/mp4/PosixFile.h"
#include "tests/engine/sharing/CopyToolsFixture.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/media/WrittenClip.h"

#include <cerrno>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace velmora::engine {
namespace {

using namespace velmora::test;
using platform::CopyFormat;
using platform::TranscodingErrorCode;

/// Bytes of the encoding of the whole clip, in the so-manieth pass.
using SizeOfMovie = std::function<double(const MovieEncoding&, int pass)>;

double rateOf(const MovieEncoding& encoding)
{
    return encoding.timing.largestRate > 0 ? encoding.timing.largestRate : 60;
}

double usual(const MovieEncoding& encoding, int)
{
    return 0.05 * encoding.width * encoding.height * rateOf(encoding) * std::log2(encoding.colours + 1);
}

class FakeMovies final : public MovieTranscoder {
public:
    FakeMovies(const SizeOfMovie& model, std::vector<MovieEncoding>& encodings, bool tellsEarly)
        : model_(model)
        , encodings_(encodings)
        , tellsEarly_(tellsEarly)
    {
    }

    Result<std::optional<MoviePictures>> transcode(CodedSamples&, const MovieEncoding& encoding, MovieSound*, const WriteMovie& write,
        const std::function<bool(const MovieProgress&)>& progress) override
    {
        constexpr int steps = 50;
        const auto length = static_cast<double>(encoding.end - encoding.begin) / pictureTimescale;
        const auto size = static_cast<std::size_t>(model_(encoding, static_cast<int>(encodings_.size())) * length / wholeSeconds);
        encodings_.push_back(encoding);
        const std::vector<std::byte> bytes(size / steps + 1);
        std::uint64_t at = 0;
        for (int i = 1; i <= steps; ++i) {
            if (tellsEarly_ || i == steps) {
                const auto count = i == steps ? size - at : bytes.size();
                const std::vector<std::byte> rest(tellsEarly_ ? std::min<std::size_t>(count, bytes.size()) : size);
                if (auto written = write(at, rest); !written)
                    return fail(written.error());
                at += rest.size();
            }
            const double done = static_cast<double>(i) / steps;
            if (!progress({done, tellsEarly_ ? done : 0}))
                return std::nullopt;
        }
        return MoviePictures{static_cast<std::size_t>(length * rateOf(encoding))};
    }

    static constexpr double wholeSeconds = 30;

private:
    const SizeOfMovie& model_;
    std::vector<MovieEncoding>& encodings_;
    const bool tellsEarly_;
};

class FakeMovieCodecs final : public MovieCodecs {
public:
    FakeMovieCodecs(const SizeOfMovie& model, std::vector<MovieEncoding>& encodings, bool tellsEarly)
        : model_(model)
        , encodings_(encodings)
        , tellsEarly_(tellsEarly)
    {
    }
    Result<std::unique_ptr<MovieTranscoder>> makeMovieTranscoder(CopyFormat, const VideoFormat&, bool) override
    {
        return std::make_unique<FakeMovies>(model_, encodings_, tellsEarly_);
    }
    Result<std::unique_ptr<PictureTranscoder>> makePictureTranscoder(const VideoFormat&) override { return fail("none", 0, "none"); }
    Result<std::unique_ptr<SoundDecoder>> makeSoundDecoder(const AudioFormat&, std::int32_t) override { return fail("none", 0, "none"); }
    Result<std::unique_ptr<AudioEncoder>> makeAudioEncoder(const platform::AudioOutputSettings&) override
    {
        return fail("none", 0, "none");
    }

private:
    const SizeOfMovie& model_;
    std::vector<MovieEncoding>& encodings_;
    const bool tellsEarly_;
};

class MovieCopyTest : public CopyToolsFixture {
protected:
    static void SetUpTestSuite()
    {
        shared_ = std::make_unique<TemporaryDirectory>();
        WrittenClip clip;
        for (int i = 0; i < 1800; ++i)
            clip.pictures.push_back({i, 60});
        writeClip(shared_->path() / "clip.mp4", clip);
    }
    static void TearDownTestSuite() { shared_.reset(); }

    [[nodiscard]] Result<std::optional<platform::TranscodingReport>> make(std::uint64_t limit, CopyFormat format = CopyFormat::gif)
    {
        encodings.clear();
        lastProgress = 0;
        target = std::make_unique<MemoryFile>();
        const auto source = mp4::PosixFile::openForReading(shared_->path() / "clip.mp4");
        FakeMovieCodecs codecs{model, encodings, tellsEarly};
        return makeMovieCopy(**source, {.limit = limit, .format = format}, codecs, tools());
    }

    static inline std::unique_ptr<TemporaryDirectory> shared_;
    SizeOfMovie model = usual;
    bool tellsEarly = true;
    std::vector<MovieEncoding> encodings;
};

TEST_F(MovieCopyTest, StaysBelowTheLimitAndUsesNineTenthsOfItHoweverTheEncoderBehaves)
{
    const SizeOfMovie models[] = {usual,
        // steep, flat, another size in every pass, parts that say less than the whole, and more
        [](const auto& encoding, int) { return usual(encoding, 0) * encoding.width / 320.0; },
        [](const auto& encoding, int) { return std::pow(usual(encoding, 0), 0.7) * 80; },
        [](const auto& encoding, int pass) { return usual(encoding, 0) * (1 + 0.02 * (pass % 3)); },
        [](const auto& encoding, int) { return usual(encoding, 0) * (encoding.end - encoding.begin < 3 * pictureTimescale ? 0.5 : 1); },
        [](const auto& encoding, int) { return usual(encoding, 0) * (encoding.end - encoding.begin < 3 * pictureTimescale ? 1.9 : 1); }};
    for (const bool early : {true, false}) {
        tellsEarly = early;
        for (std::size_t i = 0; i < std::size(models); ++i) {
            model = models[i];
            for (const std::uint64_t limit : {60'000U, 150'000U, 250'000U}) {
                const auto made = make(limit);
                ASSERT_TRUE(made && *made) << i << ", " << limit << ": " << (made ? "" : made.error().localizedDescription);
                EXPECT_LE((*made)->size, limit) << i;
                EXPECT_GE(static_cast<double>((*made)->size), 0.85 * static_cast<double>(limit)) << i << ", " << limit;
                EXPECT_EQ(*target->size(), (*made)->size);
                EXPECT_LE((*made)->rounds, 6);
            }
        }
    }
}

TEST_F(MovieCopyTest, UsesNineTenthsAlsoWhereEachStepOfColoursIsALargeOne)
{
    for (const double power : {0.3, 0.5, 0.8}) {
        model = [power](const auto& encoding, int) {
            return 0.4 * encoding.width * encoding.height * rateOf(encoding) * std::pow(encoding.colours / 256.0, power);
        };
        for (std::uint64_t limit = 20'000; limit < 500'000; limit += limit / 5) {
            const auto made = make(limit);
            ASSERT_TRUE(made && *made) << power << ", " << limit << ": " << (made ? "" : made.error().localizedDescription);
            EXPECT_LE((*made)->size, limit);
            EXPECT_GE(static_cast<double>((*made)->size), 0.9 * static_cast<double>(limit)) << power << ", " << limit;
            EXPECT_EQ((*made)->colours, encodings.back().colours);
        }
    }
}

TEST_F(MovieCopyTest, WhatFitsAsItBeginsTakesOneRoundAndNoMore)
{
    const auto made = make(50'000'000);
    ASSERT_TRUE(made && *made);
    EXPECT_EQ((*made)->rounds, 1);
    EXPECT_EQ((*made)->colours, 256);
    EXPECT_EQ((*made)->width, 320);
}

TEST_F(MovieCopyTest, WithoutALimitNothingIsTriedOut)
{
    const auto made = make(0);
    ASSERT_TRUE(made && *made);
    EXPECT_EQ(encodings.size(), 1U);
}

TEST_F(MovieCopyTest, ALimitThatNothingFitsIsRefusedWithWhatItWouldTake)
{
    const auto made = make(500);
    ASSERT_FALSE(made);
    EXPECT_EQ(made.error().domain, platform::transcodingErrorDomain);
    EXPECT_EQ(made.error().code, static_cast<int>(TranscodingErrorCode::limitTooSmall));
    EXPECT_NE(made.error().localizedDescription.find("0:30"), std::string::npos) << made.error().localizedDescription;
}

TEST_F(MovieCopyTest, CanBeCancelledAtEveryStep)
{
    ASSERT_TRUE(make(100'000));
    const int all = progressCalls;
    ASSERT_GT(all, 100);
    for (int at = 0; at < all; at += all / 40) {
        progressCalls = 0;
        cancelAt = at;
        const auto made = make(100'000);
        ASSERT_TRUE(made) << made.error().localizedDescription;
        EXPECT_FALSE(*made) << at;
        EXPECT_LE(progressCalls, at + 2) << "it goes on after that";
    }
}

TEST_F(MovieCopyTest, AFullDiskEndsItWithTheSystemsWords)
{
    scratchFaults.capacity = 10'000;
    const auto made = make(0);
    ASSERT_FALSE(made);
    EXPECT_EQ(made.error().code, ENOSPC);
}

TEST(MovieLadder, FirstThereAreFewerPicturesThenSmallerOnesThenFewerColours)
{
    ClipShape clip{1920, 1080, 10 * pictureTimescale, {}};
    for (std::int64_t i = 0; i < 600; ++i)
        clip.times.push_back(i * 1500);
    for (const auto format : {CopyFormat::gif, CopyFormat::webp, CopyFormat::webm}) {
        const MovieLadder ladder{format, clip};
        auto before = ladder.at(0);
        const bool isMovie = format == CopyFormat::webm;
        EXPECT_EQ(before.width, isMovie ? 1920 : 640);
        EXPECT_EQ(before.height, isMovie ? 1080 : 360);
        EXPECT_EQ(before.timing.largestRate, isMovie ? 0 : format == CopyFormat::gif ? 15 : 20);
        for (double place = 0.05; place <= ladder.coarsest(); place += 0.05) {
            const auto next = ladder.at(place);
            EXPECT_LE(next.width, before.width);
            EXPECT_LE(rateOf(next), rateOf(before));
            EXPECT_LE(next.colours, before.colours);
            EXPECT_EQ(next.width % 2 + next.height % 2, 0);
            EXPECT_NEAR(static_cast<double>(next.width) / next.height, 16.0 / 9, 0.06);
            EXPECT_GE(next.colours, 2);
            if (place < 1) {
                EXPECT_EQ(next.width, before.width) << "pictures first";
            }
            if (place < 2) {
                EXPECT_EQ(next.colours, before.colours) << "colours last";
            }
            before = next;
        }
        EXPECT_LT(before.width, 300);
        EXPECT_LT(rateOf(before), 9);
    }
}

TEST(MovieLadder, ASmallSlowClipIsNotMadeLargerOrFaster)
{
    ClipShape clip{160, 90, 10 * pictureTimescale, {}};
    for (std::int64_t i = 0; i < 100; ++i)
        clip.times.push_back(i * 9000);
    for (const auto format : {CopyFormat::gif, CopyFormat::webp, CopyFormat::webm}) {
        const auto finest = MovieLadder{format, clip}.at(0);
        EXPECT_EQ(finest.width, 160);
        EXPECT_EQ(finest.height, 90);
        EXPECT_EQ(finest.timing.largestRate, 0);
        EXPECT_EQ(finest.end, clip.length);
    }
}

}  // namespace
}  // namespace velmora::engine

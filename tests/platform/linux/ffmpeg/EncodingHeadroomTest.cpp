#include "platform/linux/ffmpeg/EncodingHeadroom.h"

#include "platform/linux/ffmpeg/VideoEncoderSelection.h"
#include "tests/platform/linux/ffmpeg/TrialEncoders.h"

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace velmora::linux_backend {
namespace {

using namespace std::chrono_literals;
using linux_backend::testing::settingsFor;
using linux_backend::testing::softwareEncoder;

/// Takes this long for each picture, by a clock of the test's.
class TimedEncoder final : public VideoEncoder {
public:
    TimedEncoder(MonotonicTime& time, std::vector<std::chrono::nanoseconds> costs) : time_(time), costs_(std::move(costs)) { }

    [[nodiscard]] engine::Yuv420View::Layout layout() const override { return engine::Yuv420View::Layout::i420; }
    [[nodiscard]] FormatDescriptionRef format() const override { return nullptr; }
    int drain(std::vector<Packet>&) override { return 0; }

    int encode(AVFrame&, std::int64_t, bool, std::vector<Packet>&) override
    {
        time_ += costs_[std::min(encoded, costs_.size() - 1)];
        ++encoded;
        return failure;
    }

    std::size_t encoded = 0;
    int failure = 0;

private:
    MonotonicTime& time_;
    const std::vector<std::chrono::nanoseconds> costs_;
};

class EncodingHeadroomTest : public ::testing::Test {
protected:
    std::chrono::nanoseconds measure(std::vector<std::chrono::nanoseconds> costs)
    {
        TimedEncoder encoder{time_, std::move(costs)};
        const auto measured = measurePictureTime(encoder, settingsFor(64, 64), [this] { return time_; });
        EXPECT_TRUE(measured);
        encoded_ = encoder.encoded;
        return measured.value_or(0ns);
    }

    /// What a selection with this one candidate chooses when its pictures cost this much.
    EncodingEffort choose(const VideoEncoderCandidate& candidate, std::chrono::nanoseconds cost)
    {
        const std::vector<VideoEncoderCandidate> candidates{candidate};
        bool hasStoodTrial = false;
        VideoEncoderSelection selection{candidates, "", {},
            [&](const VideoEncoderCandidate& opened,
                const VideoEncoderSettings& settings) -> tl::expected<std::unique_ptr<VideoEncoder>, AvError> {
                if (!std::exchange(hasStoodTrial, true))
                    return openVideoEncoder(opened, settings);
                return std::make_unique<TimedEncoder>(time_, std::vector{cost});
            }};
        return selection.effortFor(settingsFor(64, 64), [this] { return time_; });
    }

    MonotonicTime time_;
    std::size_t encoded_ = 0;
};

TEST_F(EncodingHeadroomTest, IsTheMiddleOfWhatPicturesTakeOnceTheEncoderIsWarm)
{
    EXPECT_EQ(measure({50ms, 30ms, 4ms, 5ms, 6ms, 7ms, 8ms}), 6ms);
}

TEST_F(EncodingHeadroomTest, OnePictureThatSomethingElseHeldUpCountsForNothing)
{
    EXPECT_EQ(measure({6ms, 6ms, 6ms, 6ms, 60ms, 6ms, 6ms}), 6ms);
}

TEST_F(EncodingHeadroomTest, AnEncoderThatIsFarTooSlowIsNotWaitedFor)
{
    EXPECT_EQ(measure({200ms}), 200ms);
    EXPECT_EQ(encoded_, 1U);
    EXPECT_EQ(measure({50ms}), 50ms);
    EXPECT_EQ(encoded_, 3U);
}

TEST_F(EncodingHeadroomTest, AnEncoderThatFailsTellsItsError)
{
    TimedEncoder encoder{time_, {1ms}};
    encoder.failure = AVERROR(EIO);
    const auto measured = measurePictureTime(encoder, settingsFor(64, 64), [this] { return time_; });
    ASSERT_FALSE(measured);
    EXPECT_EQ(measured.error(), AVERROR(EIO));
}

TEST_F(EncodingHeadroomTest, ARealEncoderTakesSomeTime)
{
    auto encoder = openVideoEncoder(softwareEncoder(), settingsFor(320, 240));
    ASSERT_TRUE(encoder);
    const auto measured = measurePictureTime(**encoder, settingsFor(320, 240));
    ASSERT_TRUE(measured);
    EXPECT_GT(*measured, 0ns);
}

TEST_F(EncodingHeadroomTest, EffortIsNormalUpToSixMillisecondsAPictureAndLowBeyond)
{
    EXPECT_EQ(choose(softwareEncoder(), 6ms), EncodingEffort::normal);
    EXPECT_EQ(choose(softwareEncoder(), 6ms + 1ns), EncodingEffort::low);
}

TEST_F(EncodingHeadroomTest, AnEncoderInHardwareIsNotMeasured)
{
    auto candidate = softwareEncoder();
    candidate.isSoftware = false;
    EXPECT_EQ(choose(candidate, 1s), EncodingEffort::normal);
    EXPECT_EQ(time_.time_since_epoch(), 0ns);
}

}  // namespace
}  // namespace velmora::linux_backend

#include "platform/linux/ffmpeg/VideoEncoderTrial.h"

#include "tests/platform/linux/ffmpeg/TrialEncoders.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <utility>
#include <vector>

namespace velmora::linux_backend {
namespace {

using linux_backend::testing::AlteringEncoder;
using linux_backend::testing::brokenEncoder;
using linux_backend::testing::settingsFor;
using linux_backend::testing::softwareEncoder;

TEST(VideoEncoderTrial, TheSoftwareEncoderStandsItAtAnySize)
{
    for (const auto& [width, height] : std::vector<std::pair<int, int>>{{2, 2}, {64, 2}, {100, 100}, {642, 480}, {1280, 720}, {1920, 1080}})
        EXPECT_EQ(tryVideoEncoder(softwareEncoder(), settingsFor(width, height)), 0) << width << 'x' << height;
}

TEST(VideoEncoderTrial, AnEncoderThatIsNotThereFails)
{
    VideoEncoderCandidate candidate = softwareEncoder();
    candidate.name = "h264_imaginary";
    EXPECT_EQ(tryVideoEncoder(candidate, settingsFor(64, 64)), AVERROR_ENCODER_NOT_FOUND);
}

TEST(VideoEncoderTrial, AnEncoderThatIsNotHighProfileFails)
{
    EXPECT_EQ(tryVideoEncoder(brokenEncoder({{"profile", "baseline"}, {"x264-params", "cabac=0:8x8dct=0:annexb=0"}}), settingsFor(64, 64)),
        AVERROR(ENOTSUP));
}

int outcomeOf(AlteringEncoder::Alterations alterations)
{
    const auto settings = settingsFor(320, 240);
    AlteringEncoder encoder{settings, std::move(alterations)};
    return tryVideoEncoder(encoder, settings);
}

TEST(VideoEncoderTrial, AnEncoderThatShowsSomethingElseFails)
{
    EXPECT_EQ(outcomeOf({}), 0);
    EXPECT_EQ(outcomeOf({.picture = [](AVFrame& picture) { std::swap(picture.data[1], picture.data[2]); }}), AVERROR_INVALIDDATA);
    EXPECT_EQ(
        outcomeOf(
            {.picture = [](AVFrame& picture) { std::memset(picture.data[0], 126, static_cast<std::size_t>(picture.linesize[0]) * 240); }}),
        AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, ALittleLossIsNoReasonToFailAndALargeOneIs)
{
    const auto brighter = [](int difference) {
        return [difference](AVFrame& picture) {
            for (int i = 0; i < picture.linesize[0] * 240; ++i)
                picture.data[0][i] = static_cast<std::uint8_t>(picture.data[0][i] + difference);
        };
    };
    EXPECT_EQ(outcomeOf({.picture = brighter(8)}), 0);
    EXPECT_EQ(outcomeOf({.picture = brighter(16)}), AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, AnEncoderThatShowsTheFirstPictureOnlyFails)
{
    AvFrame first;
    EXPECT_EQ(outcomeOf({.picture =
                             [&first](AVFrame& picture) {
                                 if (!first)
                                     first.reset(av_frame_clone(&picture));
                                 av_frame_copy(&picture, first.get());
                             }}),
        AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, AnEncoderThatPutsOutGarbageFails)
{
    std::mt19937 random{7};
    const auto garbage = [&random](std::size_t from) {
        return [&random, from](std::vector<VideoEncoder::Packet>& packets) {
            if (packets.size() <= from)
                return;
            std::vector<std::byte> noise(packets[from].data.bytes.size());
            for (auto& byte : noise)
                byte = static_cast<std::byte>(random() & 0xFF);
            packets[from].data = DataBlock::owning(std::move(noise));
        };
    };
    for (std::size_t packet = 0; packet < 4; ++packet)
        EXPECT_EQ(outcomeOf({.packets = garbage(packet)}), AVERROR_INVALIDDATA) << packet;
}

TEST(VideoEncoderTrial, AnEncoderThatCutsItsPacketsShortFails)
{
    EXPECT_EQ(outcomeOf({.packets =
                             [](auto& packets) {
                                 const auto bytes = packets.back().data.bytes;
                                 packets.back().data =
                                     DataBlock::owning({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2)});
                             }}),
        AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, AnEncoderThatPutsPicturesInAnotherOrderFails)
{
    EXPECT_EQ(outcomeOf({.packets =
                             [](auto& packets) {
                                 if (packets.size() == 4)
                                     std::swap(packets[1], packets[2]);
                             }}),
        AVERROR_INVALIDDATA);
    // With the right times on the wrong pictures.
    EXPECT_EQ(outcomeOf({.packets =
                             [](auto& packets) {
                                 if (packets.size() == 4)
                                     std::swap(packets[2].data, packets[0].data);
                             }}),
        AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, AnEncoderThatTellsOtherTimesFails)
{
    EXPECT_EQ(outcomeOf({.packets = [](auto& packets) { packets.back().presentationTime += 1; }}), AVERROR_INVALIDDATA);
    EXPECT_EQ(outcomeOf({.packets =
                             [](auto& packets) {
                                 for (std::size_t i = 0; i < packets.size(); ++i)
                                     packets[i].presentationTime = static_cast<std::int64_t>(i) * 16'667;
                             }}),
        AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, AnEncoderThatPutsOutNothingFails)
{
    EXPECT_EQ(outcomeOf({.packets = [](auto& packets) { packets.clear(); }}), AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, AnEncoderThatLosesOrDoublesAPictureFails)
{
    EXPECT_EQ(outcomeOf({.packets =
                             [](auto& packets) {
                                 if (packets.size() == 2)
                                     packets.pop_back();
                             }}),
        AVERROR_INVALIDDATA);
    EXPECT_EQ(outcomeOf({.packets =
                             [](auto& packets) {
                                 if (packets.size() == 4)
                                     packets.push_back(packets.back());
                             }}),
        AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, AnEncoderThatMakesNoKeyFrameWhenAskedFails)
{
    bool isFirst = true;
    EXPECT_EQ(outcomeOf({.asKeyFrame = [&](bool wanted) { return std::exchange(isFirst, false) && wanted; }}), AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, AnEncoderThatOnlyCallsAPictureAKeyFrameFails)
{
    bool isFirst = true;
    EXPECT_EQ(outcomeOf({.packets = [](auto& packets) { packets.back().isKeyFrame = true; },
                  .asKeyFrame = [&](bool wanted) { return std::exchange(isFirst, false) && wanted; }}),
        AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, AnEncoderThatShowsAnotherSizeFails)
{
    EXPECT_EQ(tryVideoEncoder(brokenEncoder({{"x264-params", "8x8dct=1:cabac=1:annexb=0:crop-rect=0,0,32,0"}}), settingsFor(320, 240)),
        AVERROR_INVALIDDATA);
}

TEST(VideoEncoderTrial, AnEncoderWithStartCodesIsBroughtIntoForm)
{
    EXPECT_EQ(tryVideoEncoder(brokenEncoder({{"x264-params", "8x8dct=1:cabac=1:annexb=1"}}), settingsFor(320, 240)), 0);
    EXPECT_EQ(
        tryVideoEncoder(brokenEncoder({{"x264-params", "8x8dct=1:cabac=1:annexb=1:repeat-headers=1:aud=1"}}), settingsFor(320, 240)), 0);
}

TEST(VideoEncoderTrial, AnEncoderThatHoldsItsFirstFrameBackStandsIt)
{
    EXPECT_EQ(tryVideoEncoder(brokenEncoder({{"x264-params", "8x8dct=1:cabac=1:annexb=0:force-cfr=0"}}), settingsFor(320, 240)), 0);
}

}  // namespace
}  // namespace velmora::linux_backend

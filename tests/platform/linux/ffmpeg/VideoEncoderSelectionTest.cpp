#include "platform/linux/ffmpeg/VideoEncoderSelection.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/opt.h>
}

namespace velmora::linux_backend {
namespace {

VideoEncoderSettings settingsFor(std::int32_t width, std::int32_t height)
{
    VideoEncoderSettings settings;
    settings.width = width;
    settings.height = height;
    return settings;
}

const VideoEncoderCandidate& softwareEncoder()
{
    return videoEncoderCandidates().back();
}

/// The software encoder under a name or with options that make it useless in one way.
VideoEncoderCandidate brokenEncoder(std::vector<VideoEncoderCandidate::Option> more)
{
    VideoEncoderCandidate candidate = softwareEncoder();
    candidate.headerOption.reset();
    candidate.options.insert(candidate.options.end(), more.begin(), more.end());
    return candidate;
}

TEST(VideoEncoderCandidates, AreHardwareFirstAndSoftwareLast)
{
    std::vector<std::string> names;
    for (const auto& candidate : videoEncoderCandidates())
        names.emplace_back(candidate.name);
    EXPECT_EQ(names, (std::vector<std::string>{"h264_nvenc", "h264_vaapi", "h264_vaapi", "h264_qsv", "h264_v4l2m2m", "libx264"}));
    EXPECT_TRUE(softwareEncoder().isSoftware);
}

TEST(VideoEncoderCandidates, EveryOptionIsOneThatItsEncoderTakes)
{
    for (const auto& candidate : videoEncoderCandidates()) {
        const AVCodec* codec = avcodec_find_encoder_by_name(candidate.name);
        ASSERT_TRUE(codec) << candidate.name << " is missing in this libavcodec";
        const AvCodecContext context{avcodec_alloc_context3(codec)};
        for (const auto& option : candidate.options)
            EXPECT_EQ(av_opt_set(context->priv_data, option.name, option.value, 0), 0) << candidate.name << ' ' << option.name;
    }
}

TEST(VideoEncoderCandidates, EveryEncoderTakesTheMemoryAndTheLayoutThatItIsGiven)
{
    for (const auto& candidate : videoEncoderCandidates()) {
        const AVCodec* codec = avcodec_find_encoder_by_name(candidate.name);
        ASSERT_TRUE(codec);
        if (!codec->pix_fmts)
            continue;  // decided by the driver
        const AVPixelFormat wanted = candidate.device == AV_HWDEVICE_TYPE_VAAPI ? AV_PIX_FMT_VAAPI
            : candidate.layout == Yuv420View::Layout::i420                      ? AV_PIX_FMT_YUV420P
                                                                                : AV_PIX_FMT_NV12;
        bool found = false;
        for (const AVPixelFormat* format = codec->pix_fmts; *format != AV_PIX_FMT_NONE; ++format)
            found = found || *format == wanted;
        EXPECT_TRUE(found) << candidate.name;
    }
}

TEST(VideoEncoderTrial, TheSoftwareEncoderStandsItAtAnySize)
{
    for (const auto& [width, height] : std::vector<std::pair<int, int>>{{2, 2}, {64, 2}, {100, 100}, {642, 480}, {1280, 720}})
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

/// The software encoder behind something that changes the picture on its way in.
class DistortingEncoder final : public VideoEncoder {
public:
    using Distortion = void (*)(AVFrame& picture);

    DistortingEncoder(const VideoEncoderSettings& settings, Distortion distortion)
        : encoder_(std::move(*openVideoEncoder(softwareEncoder(), settings)))
        , distortion_(distortion)
    {
    }

    [[nodiscard]] Yuv420View::Layout layout() const override { return encoder_->layout(); }
    [[nodiscard]] FormatDescriptionRef format() const override { return encoder_->format(); }
    int drain(std::vector<Packet>& packets) override { return encoder_->drain(packets); }

    int encode(AVFrame& picture, std::int64_t time, bool asKeyFrame, std::vector<Packet>& packets) override
    {
        distortion_(picture);
        return encoder_->encode(picture, time, asKeyFrame, packets);
    }

private:
    std::unique_ptr<VideoEncoder> encoder_;
    Distortion distortion_;
};

TEST(VideoEncoderTrial, AnEncoderThatShowsSomethingElseFails)
{
    const auto settings = settingsFor(320, 240);
    const auto outcome = [&](DistortingEncoder::Distortion distortion) {
        DistortingEncoder encoder{settings, distortion};
        return tryVideoEncoder(encoder, settings);
    };
    EXPECT_EQ(outcome([](AVFrame&) {}), 0);
    EXPECT_EQ(outcome([](AVFrame& picture) { std::swap(picture.data[1], picture.data[2]); }), AVERROR_INVALIDDATA);
    EXPECT_EQ(outcome([](AVFrame& picture) { std::memset(picture.data[0], 126, static_cast<std::size_t>(picture.linesize[0]) * 240); }),
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

TEST(VideoEncoderSelection, TakesTheFirstThatStandsItsTrial)
{
    std::vector<VideoEncoderCandidate> candidates{softwareEncoder(), softwareEncoder(), softwareEncoder()};
    candidates[0].name = "h264_imaginary";
    candidates[1].layout = Yuv420View::Layout::nv12;
    VideoEncoderSelection selection{candidates, ""};
    EXPECT_EQ(selection.check(settingsFor(64, 64)), 0);
    const auto encoder = selection.open(settingsFor(64, 64));
    ASSERT_TRUE(encoder);
    EXPECT_EQ((*encoder)->layout(), Yuv420View::Layout::nv12);
}

TEST(VideoEncoderSelection, ConsidersOnlyTheOneThatIsNamed)
{
    VideoEncoderSelection software{videoEncoderCandidates(), "libx264"};
    EXPECT_EQ(software.check(settingsFor(64, 64)), 0);
    VideoEncoderSelection imaginary{videoEncoderCandidates(), "h264_imaginary"};
    EXPECT_EQ(imaginary.check(settingsFor(64, 64)), AVERROR_ENCODER_NOT_FOUND);
    EXPECT_EQ(imaginary.open(settingsFor(64, 64)).error(), AVERROR_ENCODER_NOT_FOUND);
}

TEST(VideoEncoderSelection, WithoutAnyThatWorksTellsWhyTheLastOneDoesNot)
{
    const std::vector<VideoEncoderCandidate> candidates{
        brokenEncoder({{"profile", "baseline"}, {"x264-params", "cabac=0:8x8dct=0:annexb=0"}})};
    VideoEncoderSelection selection{candidates, ""};
    EXPECT_EQ(selection.check(settingsFor(64, 64)), AVERROR(ENOTSUP));
}

TEST(VideoEncoderEffort, IsLowerAboveWhatTheCoresCanDo)
{
    EXPECT_EQ(effortFor(1280, 720, 1), EncodingEffort::normal);
    EXPECT_EQ(effortFor(1282, 720, 1), EncodingEffort::low);
    EXPECT_EQ(effortFor(1920, 1080, 2), EncodingEffort::normal);
    EXPECT_EQ(effortFor(2560, 1440, 2), EncodingEffort::low);
    EXPECT_EQ(effortFor(2560, 1440, 4), EncodingEffort::normal);
    EXPECT_EQ(effortFor(3840, 2160, 16), EncodingEffort::low);
    EXPECT_EQ(effortFor(1280, 720, 0), EncodingEffort::normal);
}

}  // namespace
}  // namespace velmora::linux_backend

#include "platform/linux/ffmpeg/LibavCompressionSession.h"
#include "platform/linux/ffmpeg/LibavDifferences.h"
#include "platform/linux/ffmpeg/VideoEncoderSelection.h"
#include "tests/platform/linux/ffmpeg/Decoding.h"
#include "tests/platform/linux/ffmpeg/TrialEncoders.h"
#include "tests/support/CompressionOutput.h"
#include "tests/support/media/TestPictures.h"

#include <atomic>
#include <climits>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

namespace velmora::linux_backend {
namespace {

using platform::CompressionProperty;
using platform::CompressionSession;
using test::Canvas;
using test::Colour;
using test::CompressionOutput;
using test::second;
using ::testing::AllOf;
using testing::decodeVideo;
using ::testing::ElementsAre;
using ::testing::Gt;
using testing::isKeyFrame;
using ::testing::Le;
using testing::softwareEncoder;

MediaTime at(std::int64_t nanoseconds)
{
    return MediaTime::nanoseconds(nanoseconds);
}

/// The real software encoder, which fails or holds packets back as told.
class FaultyEncoder final : public VideoEncoder {
public:
    struct Faults {
        int failingCall = -1;
        int callThatBreaksTheFirst = INT_MAX;  ///< from then on the encoder that was opened first fails
        std::size_t delay = 0;  ///< packets held back
        std::size_t swallowedPacket = SIZE_MAX;
        bool keepsPictures = false;
        std::vector<AvFrame> kept;
        int openCount = 0;
        std::vector<bool> keyFrameRequests;
    };

    FaultyEncoder(std::unique_ptr<VideoEncoder> encoder, std::shared_ptr<Faults> faults)
        : encoder_(std::move(encoder))
        , faults_(std::move(faults))
        , isFirst_(faults_->openCount == 1)
    {
    }

    [[nodiscard]] engine::Yuv420View::Layout layout() const override { return encoder_->layout(); }
    [[nodiscard]] FormatDescriptionRef format() const override { return encoder_->format(); }

    int encode(AVFrame& picture, std::int64_t time, bool asKeyFrame, std::vector<Packet>& packets) override
    {
        faults_->keyFrameRequests.push_back(asKeyFrame);
        if (calls_++ == faults_->failingCall || (isFirst_ && calls_ > faults_->callThatBreaksTheFirst))
            return AVERROR_EXTERNAL;
        if (faults_->keepsPictures)
            faults_->kept.emplace_back(av_frame_clone(&picture));
        const int status = encoder_->encode(picture, time, asKeyFrame, held_);
        if (packetCount_++ == faults_->swallowedPacket)
            held_.pop_back();
        release(faults_->delay, packets);
        return status;
    }

    int drain(std::vector<Packet>& packets) override
    {
        release(0, packets);
        return encoder_->drain(packets);
    }

private:
    void release(std::size_t remaining, std::vector<Packet>& packets)
    {
        while (held_.size() > remaining) {
            packets.push_back(std::move(held_.front()));
            held_.erase(held_.begin());
        }
    }

    std::unique_ptr<VideoEncoder> encoder_;
    std::shared_ptr<Faults> faults_;
    const bool isFirst_;
    std::vector<Packet> held_;
    int calls_ = 0;
    std::size_t packetCount_ = 0;
};

class CompressionSessionTest : public ::testing::Test {
protected:
    std::shared_ptr<CompressionSession> makeSession(std::int32_t width, std::int32_t height)
    {
        LibavCompressionSessionFactory factory;
        auto session = factory.makeSession(width, height, FourCharacterCode{"avc1"}, CompressionOutput::callback(output_));
        if (!session) {
            ADD_FAILURE() << "no session: " << session.error();
            return nullptr;
        }
        setProperties(**session);
        return *session;
    }

    /// Two from the factory may differ: it measures what the machine has left for each.
    std::shared_ptr<CompressionSession> makeSessionOfNormalEffort(std::int32_t width, std::int32_t height)
    {
        return makeFaultySession(width, height, std::make_shared<FaultyEncoder::Faults>());
    }

    std::shared_ptr<CompressionSession> makeFaultySession(
        std::int32_t width, std::int32_t height, std::shared_ptr<FaultyEncoder::Faults> faults)
    {
        auto session = std::make_shared<LibavCompressionSession>(
            width, height, EncodingEffort::normal, CompressionOutput::callback(output_),
            [faults](const VideoEncoderSettings& settings) -> tl::expected<std::unique_ptr<VideoEncoder>, AvError> {
                ++faults->openCount;
                auto encoder = openVideoEncoder(softwareEncoder(), settings);
                if (!encoder)
                    return encoder;
                return std::make_unique<FaultyEncoder>(std::move(*encoder), faults);
            },
            requests_);
        setProperties(*session);
        return session;
    }

    static void setProperties(CompressionSession& session)
    {
        EXPECT_EQ(session.setProperty(CompressionProperty::realTime, true), 0);
        EXPECT_EQ(session.setProperty(CompressionProperty::profileLevel, platform::ProfileLevel::h264HighAutoLevel), 0);
        EXPECT_EQ(session.setProperty(CompressionProperty::maxKeyFrameInterval, std::int64_t{30}), 0);
        EXPECT_EQ(session.setProperty(CompressionProperty::averageBitRate, std::int64_t{8'000'000}), 0);
        EXPECT_EQ(session.setProperty(CompressionProperty::allowFrameReordering, false), 0);
    }

    /// Frames at 60 a second, in which so little moves that the encoder sees no other scene.
    void encodeMotion(CompressionSession& session, int frames)
    {
        for (int i = 0; i < frames; ++i, ++motion_) {
            canvas_.fill({40, 60, 80});
            canvas_.fill({motion_ % 60, 30, 4, 4}, {200, 220, 240});
            EXPECT_EQ(session.encodeFrame(canvas_.picture(), at(motion_ * second / 60), at(second / 60)), 0);
            EXPECT_EQ(session.completeFrames(), 0);
        }
    }

    /// Which of the samples so far are key frames.
    std::vector<std::size_t> keyFrames()
    {
        const auto samples = output_->samples();
        std::vector<std::size_t> indices;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            if (isKeyFrame(*samples[i]))
                indices.push_back(i);
        }
        return indices;
    }

    std::shared_ptr<CompressionOutput> output_ = std::make_shared<CompressionOutput>();
    engine::KeyFrameRequests requests_;

private:
    Canvas canvas_{64, 64};
    int motion_ = 0;
};

TEST_F(CompressionSessionTest, PureColoursComeBackAsTheyWere)
{
    const Colour colours[] = {{255, 255, 255}, {0, 0, 0}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 0}, {30, 60, 90}};
    const auto session = makeSession(160, 120);
    Canvas canvas{160, 120};
    std::int64_t time = 0;
    for (const Colour colour : colours) {
        canvas.fill(colour);
        ASSERT_EQ(session->encodeFrame(canvas.picture(), at(time += second / 2), at(second / 2)), 0);
        ASSERT_EQ(session->completeFrames(), 0);
    }
    const auto frames = decodeVideo(output_->samples());
    ASSERT_EQ(frames.size(), std::size(colours));
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const AVFrame& frame = *frames[i];
        const auto rgb = test::exactRgb(frame.data[0][60 * frame.linesize[0] + 80], frame.data[1][30 * frame.linesize[1] + 40],
            frame.data[2][30 * frame.linesize[2] + 40]);
        EXPECT_NEAR(rgb[0], colours[i].r, 4) << i;
        EXPECT_NEAR(rgb[1], colours[i].g, 4) << i;
        EXPECT_NEAR(rgb[2], colours[i].b, 4) << i;
    }
}

TEST_F(CompressionSessionTest, TheStreamAndItsFormatSayBt709WithLimitedRange)
{
    const auto session = makeSession(160, 120);
    session->encodeFrame(Canvas{160, 120}.picture(), at(0), at(second));
    session->completeFrames();
    const auto samples = output_->samples();
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0]->format->video()->codec, FourCharacterCode{"avc1"});
    EXPECT_EQ(samples[0]->format->video()->colour, ColourDescription::bt709());
    const auto frames = decodeVideo(samples);
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0]->color_range, AVCOL_RANGE_MPEG);
    EXPECT_EQ(frames[0]->color_primaries, AVCOL_PRI_BT709);
    EXPECT_EQ(frames[0]->color_trc, AVCOL_TRC_BT709);
    EXPECT_EQ(frames[0]->colorspace, AVCOL_SPC_BT709);
    EXPECT_EQ(frames[0]->chroma_location, AVCHROMA_LOC_CENTER);
}

TEST_F(CompressionSessionTest, TheStreamIsHighProfileWithoutReorderingAndAKeyFrameEvery30Frames)
{
    const auto session = makeSession(320, 180);
    Canvas canvas{320, 180};
    for (int frame = 0; frame < 100; ++frame) {
        test::paintMovingScene(canvas, frame);
        // 240 frames a second: 30 frames have passed before half a second has.
        ASSERT_EQ(session->encodeFrame(canvas.picture(), at(frame * second / 240), at(second / 240)), 0);
        ASSERT_EQ(session->completeFrames(), 0);
    }
    const auto samples = output_->samples();
    ASSERT_EQ(samples.size(), 100U);
    const auto& configuration = samples[0]->format->video()->decoderConfiguration;
    EXPECT_EQ(std::to_integer<int>(configuration[1]), 100);
    int sinceKeyFrame = 0;
    for (const auto& sample : samples) {
        EXPECT_EQ(sample->format, samples[0]->format);
        EXPECT_EQ(sample->sampleCount, 1);
        sinceKeyFrame = isKeyFrame(*sample) ? 1 : sinceKeyFrame + 1;
        EXPECT_LE(sinceKeyFrame, 30);
    }
    EXPECT_TRUE(isKeyFrame(*samples[0]));
    EXPECT_FALSE(isKeyFrame(*samples[1]));

    const auto frames = decodeVideo(samples);
    ASSERT_EQ(frames.size(), 100U);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(frames[i]->pts, samples[i]->presentationTimeStamp.value);
        EXPECT_NE(frames[i]->pict_type, AV_PICTURE_TYPE_B);
        EXPECT_EQ(linux_backend::isKeyFrame(*frames[i]), isKeyFrame(*samples[i]));
    }
}

TEST_F(CompressionSessionTest, TheStreamDoesNotClaimAFixedFrameRate)
{
    const auto session = makeSession(64, 64);
    session->encodeFrame(Canvas{64, 64}.picture(), at(0), at(second));
    session->completeFrames();
    const auto& configuration = output_->samples().at(0)->format->video()->decoderConfiguration;
    const std::string headers = testing::traceH264Headers(configuration);
    EXPECT_THAT(headers, ::testing::ContainsRegex("timing_info_present_flag +1 = 1"));
    EXPECT_THAT(headers, ::testing::ContainsRegex("fixed_frame_rate_flag +0 = 0"));
}

TEST_F(CompressionSessionTest, ASampleComesOutWithoutWaitingForTheNextPicture)
{
    const auto session = makeSession(64, 64);
    for (std::size_t frame = 0; frame < 4; ++frame) {
        session->encodeFrame(Canvas{64, 64}.picture(), at(static_cast<std::int64_t>(frame) * second / 60), at(second / 60));
        output_->waitForCalls(frame + 1);
    }
    EXPECT_EQ(output_->samples().size(), 4U);
}

TEST_F(CompressionSessionTest, TimesComeOutExactlyAsTheyWentIn)
{
    // Uneven to the nanosecond, two within one microsecond, far from zero, and in another time scale.
    const MediaTime start = at(987'654'321'012'345);
    const std::vector<MediaTime> times{start, start + at(1), start + at(16'666'667), start + at(500'000'123), start + at(500'000'124),
        start + at(7 * second + 7), MediaTime{987'664'000, 1000}};
    const auto session = makeSession(64, 64);
    for (const MediaTime& time : times) {
        ASSERT_EQ(session->encodeFrame(Canvas{64, 64}.picture(), time, MediaTime{time.value % 997 + 1, 90000}), 0);
        ASSERT_EQ(session->completeFrames(), 0);
    }
    const auto samples = output_->samples();
    ASSERT_EQ(samples.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_EQ(samples[i]->presentationTimeStamp.value, times[i].value);
        EXPECT_EQ(samples[i]->presentationTimeStamp.timescale, times[i].timescale);
        EXPECT_EQ(samples[i]->duration.value, times[i].value % 997 + 1);
        EXPECT_EQ(samples[i]->duration.timescale, 90000);
    }
}

TEST_F(CompressionSessionTest, AtTwoFramesASecondEveryFrameIsAKeyFrame)
{
    const auto session = makeSession(64, 64);
    for (int frame = 0; frame < 6; ++frame) {
        session->encodeFrame(Canvas{64, 64}.picture(), at(frame * second / 2), at(second / 2));
        session->completeFrames();
    }
    const auto samples = output_->samples();
    ASSERT_EQ(samples.size(), 6U);
    for (const auto& sample : samples)
        EXPECT_TRUE(isKeyFrame(*sample));
}

TEST_F(CompressionSessionTest, TheFirstFrameHalfASecondAfterAKeyFrameIsOne)
{
    const auto session = makeSession(64, 64);
    const std::vector<std::int64_t> milliseconds{0, 100, 499, 500, 700, 999, 1200, 1600, 1700};
    for (const auto time : milliseconds) {
        session->encodeFrame(Canvas{64, 64}.picture(), at(time * 1'000'000), MediaTime::invalid());
        session->completeFrames();
    }
    std::vector<std::int64_t> keyFrames;
    for (const auto& sample : output_->samples()) {
        if (isKeyFrame(*sample))
            keyFrames.push_back(sample->presentationTimeStamp.value / 1'000'000);
    }
    EXPECT_EQ(keyFrames, (std::vector<std::int64_t>{0, 500, 1200, 1700}));
}

TEST_F(CompressionSessionTest, TheNextFrameAfterAKeyFrameWasAskedForIsOneAndNoOther)
{
    const auto session = makeSessionOfNormalEffort(64, 64);
    encodeMotion(*session, 7);
    const auto request = requests_.ask();
    encodeMotion(*session, 20);
    EXPECT_THAT(keyFrames(), ElementsAre(0, 7));
    EXPECT_EQ(decodeVideo(output_->samples()).size(), 27U);
}

TEST_F(CompressionSessionTest, TheHalfSecondToTheNextKeyFrameBeginsWithTheOneThatWasAskedFor)
{
    const auto session = makeSessionOfNormalEffort(64, 64);
    encodeMotion(*session, 20);
    const auto request = requests_.ask();
    encodeMotion(*session, 32);
    EXPECT_THAT(keyFrames(), ElementsAre(0, 20, AllOf(Gt(30), Le(50))));
}

TEST_F(CompressionSessionTest, TwoWhoAskTogetherShareAKeyFrameAndOneWhoAsksLaterHasAnother)
{
    const auto session = makeSessionOfNormalEffort(64, 64);
    encodeMotion(*session, 5);
    const auto one = requests_.ask();
    const auto other = requests_.ask();
    encodeMotion(*session, 3);
    const auto later = requests_.ask();
    encodeMotion(*session, 3);
    EXPECT_THAT(keyFrames(), ElementsAre(0, 5, 8));
}

TEST_F(CompressionSessionTest, AKeyFrameThatIsNoLongerWantedIsNotMade)
{
    const auto session = makeSessionOfNormalEffort(64, 64);
    encodeMotion(*session, 5);
    auto request = requests_.ask();
    request.end();
    encodeMotion(*session, 5);
    EXPECT_THAT(keyFrames(), ElementsAre(0));
}

TEST_F(CompressionSessionTest, AFirstFrameFulfilsWhatWasAskedForBeforeIt)
{
    const auto request = requests_.ask();
    const auto session = makeSessionOfNormalEffort(64, 64);
    encodeMotion(*session, 5);
    EXPECT_THAT(keyFrames(), ElementsAre(0));
    EXPECT_FALSE(requests_.last());
}

TEST_F(CompressionSessionTest, AKeyFrameThatWasAskedForAndFailedIsMadeOfTheNextFrame)
{
    const auto faults = std::make_shared<FaultyEncoder::Faults>();
    faults->failingCall = 5;
    const auto session = makeFaultySession(64, 64, faults);
    encodeMotion(*session, 5);
    const auto request = requests_.ask();
    encodeMotion(*session, 3);
    EXPECT_EQ(faults->keyFrameRequests, (std::vector<bool>{true, false, false, false, false, true, true, false}));
    EXPECT_FALSE(requests_.last());
}

TEST_F(CompressionSessionTest, AKeyFrameIsAskedForOnceOfAnEncoderThatIsSlowToGiveIt)
{
    const auto faults = std::make_shared<FaultyEncoder::Faults>();
    const auto session = makeFaultySession(64, 64, faults);
    faults->delay = 1;
    Canvas canvas{64, 64};
    for (int frame = 0; frame < 8; ++frame) {
        std::optional<engine::KeyFrameRequests::Registration> request;
        canvas.fill({8 * frame, 0, 8, 8}, {200, 220, 240});
        if (frame == 4)
            request = requests_.ask();
        session->encodeFrame(canvas.picture(), at(frame * second / 60), at(second / 60));
        // A frame is called back when the next has been encoded.
        output_->waitForCalls(static_cast<std::size_t>(frame));
    }
    ASSERT_EQ(session->completeFrames(), 0);
    EXPECT_THAT(keyFrames(), ElementsAre(0, 4));
}

TEST_F(CompressionSessionTest, WhatAnEndedSessionWasAskedForIsTheFirstFrameOfTheNext)
{
    const auto session = makeSessionOfNormalEffort(64, 64);
    encodeMotion(*session, 3);
    const auto request = requests_.ask();
    session->invalidate();
    const auto next = makeSessionOfNormalEffort(64, 64);
    encodeMotion(*next, 3);
    EXPECT_THAT(keyFrames(), ElementsAre(0, 3));
    EXPECT_FALSE(requests_.last());
}

TEST_F(CompressionSessionTest, KeyFramesThatAreAskedForWhileOthersEncodeAndEndAreMadeWithoutARace)
{
    const auto session = makeSessionOfNormalEffort(64, 64);
    std::atomic<bool> isOver = false;
    std::thread impatient{[&] {
        while (!isOver) {
            static_cast<void>(requests_.ask());
            std::this_thread::yield();
        }
    }};
    encodeMotion(*session, 60);
    const auto request = requests_.ask();
    encodeMotion(*session, 1);
    isOver = true;
    impatient.join();
    EXPECT_EQ(keyFrames().back(), 60U);
    EXPECT_EQ(decodeVideo(output_->samples()).size(), 61U);
}

TEST_F(CompressionSessionTest, AnOddSizeIsShownPaddedToEven)
{
    const auto session = makeSession(641, 479);
    Canvas canvas{641, 479};
    canvas.fill({200, 30, 30});
    canvas.fill({640, 0, 1, 479}, {30, 200, 30});
    ASSERT_EQ(session->encodeFrame(canvas.picture(), at(0), at(second)), 0);
    ASSERT_EQ(session->completeFrames(), 0);
    const auto samples = output_->samples();
    ASSERT_EQ(samples.size(), 1U);
    EXPECT_EQ(samples[0]->format->video()->width, 642);
    EXPECT_EQ(samples[0]->format->video()->height, 480);
    const auto frames = decodeVideo(samples);
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0]->width, 642);
    EXPECT_EQ(frames[0]->height, 480);
    const double green = test::exactYuv(30, 200, 30)[0];
    EXPECT_NEAR(frames[0]->data[0][100 * frames[0]->linesize[0] + 640], green, 12);
    EXPECT_NEAR(frames[0]->data[0][479 * frames[0]->linesize[0] + 641], green, 12);
}

TEST_F(CompressionSessionTest, APictureOfOnePixelCanBeEncoded)
{
    const auto session = makeSession(1, 1);
    ASSERT_EQ(session->encodeFrame(Canvas{1, 1}.picture(), at(0), at(second)), 0);
    ASSERT_EQ(session->completeFrames(), 0);
    const auto frames = decodeVideo(output_->samples());
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0]->width, 2);
}

TEST_F(CompressionSessionTest, OnlyChangedPartsAreConvertedAndTheResultIsThatOfTheWhole)
{
    // The same pictures, once with their changes given and once without: the streams must be the same.
    std::vector<std::vector<std::byte>> streams[2];
    for (int run = 0; run < 2; ++run) {
        output_ = std::make_shared<CompressionOutput>();
        const auto session = makeSessionOfNormalEffort(321, 181);
        Canvas canvas{321, 181};
        canvas.fill({90, 90, 90});
        std::mt19937 random(11);
        for (std::uint64_t frame = 0; frame < 40; ++frame) {
            const auto upTo = [&](std::uint32_t limit) { return static_cast<std::int32_t>(random() % limit); };
            const PixelRect dirty{upTo(321), upTo(181), 1 + upTo(60), 1 + upTo(60)};
            canvas.fill(
                dirty, {static_cast<std::uint8_t>(upTo(256)), static_cast<std::uint8_t>(upTo(256)), static_cast<std::uint8_t>(upTo(256))});
            PictureChange change;
            if (run == 0)
                change = {5, frame, {dirty}};
            session->encodeFrame(canvas.picture(change), at(static_cast<std::int64_t>(frame) * second / 60), at(second / 60));
            session->completeFrames();
        }
        for (const auto& sample : output_->samples())
            streams[run].emplace_back(sample->data.bytes.begin(), sample->data.bytes.end());
    }
    EXPECT_EQ(streams[0].size(), 40U);
    EXPECT_EQ(streams[0], streams[1]);
}

TEST_F(CompressionSessionTest, WhatIsNotToldToHaveChangedIsNotLookedAt)
{
    // The second picture is completely different, but says that it equals the first: what comes out shows what was converted.
    const auto session = makeSession(64, 64);
    Canvas canvas{64, 64};
    canvas.fill({200, 200, 200});
    session->encodeFrame(canvas.picture({1, 1, {}}), at(0), at(second));
    session->completeFrames();
    canvas.fill({20, 20, 20});
    session->encodeFrame(canvas.picture({1, 2, {{0, 0, 32, 64}}}), at(second), at(second));
    session->completeFrames();
    const auto frames = decodeVideo(output_->samples());
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_NEAR(frames[1]->data[0][32 * frames[1]->linesize[0] + 10], test::exactYuv(20, 20, 20)[0], 3);
    EXPECT_NEAR(frames[1]->data[0][32 * frames[1]->linesize[0] + 50], test::exactYuv(200, 200, 200)[0], 3);
}

TEST_F(CompressionSessionTest, AnOverflowDropsTheYoungestThatWaitsAndCallsItBackInOrder)
{
    const auto session = makeSession(64, 64);
    output_->hold();
    Canvas canvas{64, 64};
    std::uint64_t sequence = 0;
    const auto submit = [&] {
        // Each picture adds a column of its own, so that the last one shows what the dropped ones changed.
        const auto column = static_cast<std::int32_t>(sequence);
        const PixelRect dirty{8 * column, 0, 8, 64};
        if (sequence == 0)
            canvas.fill({20, 20, 20});
        canvas.fill(dirty, {220, 220, 220});
        ++sequence;
        return session->encodeFrame(
            canvas.picture({3, sequence, {dirty}}), at(static_cast<std::int64_t>(sequence) * second / 60), at(second / 60));
    };
    ASSERT_EQ(submit(), 0);
    output_->waitForCalls(1);
    for (int i = 0; i < 7; ++i)
        ASSERT_EQ(submit(), 0);
    output_->release();
    ASSERT_EQ(session->completeFrames(), 0);

    const auto calls = output_->calls();
    ASSERT_EQ(calls.size(), 8U);
    std::vector<bool> hasSample;
    for (const auto& call : calls) {
        EXPECT_EQ(call.status, 0);
        hasSample.push_back(call.sample != nullptr);
    }
    EXPECT_EQ(hasSample, (std::vector<bool>{true, true, true, false, false, false, false, true}));
    EXPECT_EQ(calls[7].sample->presentationTimeStamp.value, 8 * second / 60);

    const auto frames = decodeVideo(output_->samples());
    ASSERT_EQ(frames.size(), 4U);
    for (int column = 0; column < 8; ++column)
        EXPECT_NEAR(frames[3]->data[0][32 * frames[3]->linesize[0] + 8 * column + 4], test::exactYuv(220, 220, 220)[0], 5) << column;
}

TEST_F(CompressionSessionTest, APictureOfAnotherSizeOrFormatOrTimeIsRefused)
{
    const auto session = makeSession(64, 64);
    EXPECT_NE(session->encodeFrame(Canvas{64, 66}.picture(), at(0), at(1)), 0);
    EXPECT_NE(session->encodeFrame(Canvas{62, 64}.picture(), at(0), at(1)), 0);
    EXPECT_NE(session->encodeFrame(nullptr, at(0), at(1)), 0);
    EXPECT_NE(session->encodeFrame(Canvas{64, 64}.picture(), MediaTime::invalid(), at(1)), 0);
    auto other = std::make_shared<PixelBuffer>(*Canvas{64, 64}.picture());
    other->format = FourCharacterCode{"NV12"};
    EXPECT_NE(session->encodeFrame(other, at(0), at(1)), 0);
    EXPECT_EQ(session->encodeFrame(Canvas{64, 64}.picture(), at(10), at(1)), 0);
    EXPECT_NE(session->encodeFrame(Canvas{64, 64}.picture(), at(10), at(1)), 0);
    EXPECT_EQ(session->completeFrames(), 0);
    EXPECT_EQ(output_->calls().size(), 1U);
}

TEST_F(CompressionSessionTest, ASessionForAnotherCodecOrAnImpossibleSizeIsRefused)
{
    LibavCompressionSessionFactory factory;
    const auto make = [&](std::int32_t width, std::int32_t height, const char(&codec)[5]) {
        return factory.makeSession(width, height, FourCharacterCode{codec}, CompressionOutput::callback(output_));
    };
    EXPECT_FALSE(make(64, 64, "hvc1"));
    EXPECT_FALSE(make(0, 64, "avc1"));
    EXPECT_FALSE(make(64, -1, "avc1"));
    EXPECT_FALSE(make(100'000, 64, "avc1"));
    EXPECT_NE(make(100'000, 64, "avc1").error(), 0);
}

TEST_F(CompressionSessionTest, PropertiesOfTheWrongKindOrAfterThePreparationAreRefused)
{
    const auto session = makeSession(64, 64);
    EXPECT_NE(session->setProperty(CompressionProperty::averageBitRate, true), 0);
    EXPECT_NE(session->setProperty(CompressionProperty::averageBitRate, std::int64_t{0}), 0);
    EXPECT_NE(session->setProperty(CompressionProperty::maxKeyFrameInterval, std::int64_t{-1}), 0);
    EXPECT_NE(session->setProperty(CompressionProperty::realTime, std::int64_t{1}), 0);
    EXPECT_NE(session->setProperty(CompressionProperty::profileLevel, false), 0);
    EXPECT_EQ(session->prepareToEncodeFrames(), 0);
    EXPECT_NE(session->setProperty(CompressionProperty::averageBitRate, std::int64_t{1'000'000}), 0);
    EXPECT_EQ(session->prepareToEncodeFrames(), 0);
}

TEST_F(CompressionSessionTest, AFrameThatTheEncoderFailsOnIsCalledBackWithItsStatusAndTheNextGoesOn)
{
    auto faults = std::make_shared<FaultyEncoder::Faults>();
    faults->failingCall = 2;
    const auto session = makeFaultySession(64, 64, faults);
    for (int frame = 0; frame < 5; ++frame) {
        ASSERT_EQ(session->encodeFrame(Canvas{64, 64}.picture(), at(frame * second / 60), at(second / 60)), 0);
        session->completeFrames();
    }
    const auto calls = output_->calls();
    ASSERT_EQ(calls.size(), 5U);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].status, i == 2 ? AVERROR_EXTERNAL : 0) << i;
        EXPECT_EQ(calls[i].sample != nullptr, i != 2) << i;
    }
    EXPECT_EQ(decodeVideo(output_->samples()).size(), 4U);
}

TEST_F(CompressionSessionTest, AKeyFrameThatFailedIsAskedForAgain)
{
    auto faults = std::make_shared<FaultyEncoder::Faults>();
    faults->failingCall = 0;
    const auto session = makeFaultySession(64, 64, faults);
    for (int frame = 0; frame < 3; ++frame) {
        session->encodeFrame(Canvas{64, 64}.picture(), at(frame * second / 60), at(second / 60));
        session->completeFrames();
    }
    EXPECT_EQ(faults->keyFrameRequests, (std::vector<bool>{true, true, false}));
}

TEST_F(CompressionSessionTest, AnEncoderThatFailsTenTimesInARowIsOpenedAnew)
{
    const auto faults = std::make_shared<FaultyEncoder::Faults>();
    faults->callThatBreaksTheFirst = 3;
    const auto session = makeFaultySession(64, 64, faults);
    Canvas canvas{64, 64};
    for (int frame = 0; frame < 20; ++frame) {
        test::paintMovingScene(canvas, frame);
        session->encodeFrame(canvas.picture(), at(frame * second / 60), at(second / 60));
        session->completeFrames();
    }
    EXPECT_EQ(faults->openCount, 2);
    const auto calls = output_->calls();
    ASSERT_EQ(calls.size(), 20U);
    for (std::size_t i = 0; i < calls.size(); ++i)
        EXPECT_EQ(calls[i].status == 0, i < 3 || i >= 13) << i;
    const auto samples = output_->samples();
    ASSERT_EQ(samples.size(), 10U);
    EXPECT_TRUE(isKeyFrame(*samples[3]));
    EXPECT_EQ(samples[3]->format, samples[0]->format);
    EXPECT_EQ(decodeVideo(samples).size(), 10U);
}

TEST_F(CompressionSessionTest, AnEncoderThatCannotBeOpenedFailsEveryFrameButNotTheSession)
{
    LibavCompressionSession session{64, 64, EncodingEffort::normal, CompressionOutput::callback(output_),
        [count = 0](const VideoEncoderSettings& settings) mutable -> tl::expected<std::unique_ptr<VideoEncoder>, AvError> {
            if (count++ < 3)
                return tl::unexpected(AVERROR(EBUSY));
            return openVideoEncoder(softwareEncoder(), settings);
        }};
    EXPECT_EQ(session.prepareToEncodeFrames(), AVERROR(EBUSY));
    for (int frame = 0; frame < 3; ++frame) {
        EXPECT_EQ(session.encodeFrame(Canvas{64, 64}.picture(), at(frame), at(1)), 0);
        session.completeFrames();
    }
    const auto calls = output_->calls();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(calls[0].status, AVERROR(EBUSY));
    EXPECT_EQ(calls[1].status, AVERROR(EBUSY));
    EXPECT_EQ(calls[2].status, 0);
    EXPECT_TRUE(calls[2].sample);
}

TEST_F(CompressionSessionTest, AnEncoderThatHoldsFramesBackIsEmptiedByCompleteFramesAndGoesOnWithTheSameFormat)
{
    auto faults = std::make_shared<FaultyEncoder::Faults>();
    faults->delay = 2;
    const auto session = makeFaultySession(64, 64, faults);
    for (int frame = 0; frame < 6; ++frame) {
        ASSERT_EQ(session->encodeFrame(Canvas{64, 64}.picture(), at((frame + 1) * second / 60), at(second / 60)), 0);
        if (frame % 3 == 2) {
            ASSERT_EQ(session->completeFrames(), 0);
            ASSERT_EQ(output_->calls().size(), static_cast<std::size_t>(frame) + 1);
        }
    }
    const auto samples = output_->samples();
    ASSERT_EQ(samples.size(), 6U);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        EXPECT_EQ(samples[i]->presentationTimeStamp.value, static_cast<std::int64_t>(i + 1) * second / 60);
        EXPECT_EQ(samples[i]->format, samples[0]->format);
    }
    EXPECT_TRUE(isKeyFrame(*samples[3]));
    EXPECT_EQ(faults->openCount, 2);
    EXPECT_EQ(decodeVideo(samples).size(), 6U);
}

TEST_F(CompressionSessionTest, AnEncoderWithoutDelayIsOpenedOnce)
{
    auto faults = std::make_shared<FaultyEncoder::Faults>();
    const auto session = makeFaultySession(64, 64, faults);
    for (int frame = 0; frame < 5; ++frame) {
        session->encodeFrame(Canvas{64, 64}.picture(), at(frame * second / 60), at(second / 60));
        session->completeFrames();
    }
    EXPECT_EQ(faults->openCount, 1);
}

TEST_F(CompressionSessionTest, AFrameThatTheEncoderDropsIsCalledBackWithoutASample)
{
    auto faults = std::make_shared<FaultyEncoder::Faults>();
    faults->swallowedPacket = 1;
    const auto session = makeFaultySession(64, 64, faults);
    for (int frame = 0; frame < 3; ++frame) {
        session->encodeFrame(Canvas{64, 64}.picture(), at(frame * second / 60), at(second / 60));
        if (frame != 1)
            session->completeFrames();
    }
    const auto calls = output_->calls();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_TRUE(calls[0].sample);
    EXPECT_FALSE(calls[1].sample);
    EXPECT_EQ(calls[1].status, 0);
    EXPECT_TRUE(calls[2].sample);
}

TEST_F(CompressionSessionTest, APictureThatTheEncoderStillHoldsIsNotWrittenInto)
{
    auto faults = std::make_shared<FaultyEncoder::Faults>();
    faults->keepsPictures = true;
    const auto session = makeFaultySession(64, 64, faults);
    Canvas canvas{64, 64};
    for (std::uint64_t frame = 0; frame < 4; ++frame) {
        const auto grey = static_cast<std::uint8_t>(50 * frame);
        canvas.fill({grey, grey, grey});
        session->encodeFrame(canvas.picture({1, frame, {{0, 0, 8, 8}}}), at(static_cast<std::int64_t>(frame)), at(1));
        session->completeFrames();
    }
    ASSERT_EQ(faults->kept.size(), 4U);
    for (int frame = 0; frame < 4; ++frame) {
        const double luma = test::exactYuv(50 * frame, 50 * frame, 50 * frame)[0];
        EXPECT_NEAR(faults->kept[static_cast<std::size_t>(frame)]->data[0][0], luma, 0.51);
        EXPECT_NEAR(faults->kept[static_cast<std::size_t>(frame)]->data[0][40], luma, 0.51);
    }
}

TEST_F(CompressionSessionTest, SamplesKeepTheirBytesAfterTheSessionIsGone)
{
    auto session = makeSession(64, 64);
    session->encodeFrame(Canvas{64, 64}.picture(), at(0), at(1));
    session->completeFrames();
    session.reset();
    EXPECT_EQ(decodeVideo(output_->samples()).size(), 1U);
}

TEST_F(CompressionSessionTest, ThePictureIsReleasedBeforeItsSampleIsCalledBack)
{
    std::weak_ptr<const PixelBuffer> watched;
    std::promise<void> submitted;
    bool wasReleased = false;
    LibavCompressionSessionFactory factory;
    const auto session = factory.makeSession(64, 64, FourCharacterCode{"avc1"}, [&](platform::CompressionStatus, const SampleBufferRef&) {
        submitted.get_future().wait();
        wasReleased = watched.expired();
    });
    ASSERT_TRUE(session);
    auto picture = Canvas{64, 64}.picture();
    watched = picture;
    (*session)->encodeFrame(picture, at(0), at(1));
    picture.reset();
    submitted.set_value();
    (*session)->completeFrames();
    EXPECT_TRUE(wasReleased);
}

TEST_F(CompressionSessionTest, AfterInvalidateEveryCallFails)
{
    const auto session = makeSession(64, 64);
    session->encodeFrame(Canvas{64, 64}.picture(), at(0), at(1));
    session->completeFrames();
    session->invalidate();
    EXPECT_NE(session->encodeFrame(Canvas{64, 64}.picture(), at(10), at(1)), 0);
    EXPECT_NE(session->completeFrames(), 0);
    EXPECT_NE(session->prepareToEncodeFrames(), 0);
    EXPECT_NE(session->setProperty(CompressionProperty::realTime, true), 0);
    session->invalidate();
    EXPECT_EQ(output_->calls().size(), 1U);
}

TEST_F(CompressionSessionTest, ASessionThatWasNeverUsedCanBeInvalidatedAndDestroyed)
{
    const auto session = makeSession(64, 64);
    session->invalidate();
    EXPECT_NE(session->encodeFrame(Canvas{64, 64}.picture(), at(0), at(1)), 0);
    makeSession(64, 64).reset();
    EXPECT_TRUE(output_->calls().empty());
}

TEST_F(CompressionSessionTest, NoCallbackRunsAfterInvalidateReturned)
{
    for (int round = 0; round < 20; ++round) {
        const auto ended = std::make_shared<std::atomic<bool>>(false);
        const auto lateCalls = std::make_shared<std::atomic<int>>(0);
        LibavCompressionSessionFactory factory;
        const auto made = factory.makeSession(64, 64, FourCharacterCode{"avc1"}, [=](platform::CompressionStatus, const SampleBufferRef&) {
            if (ended->load())
                ++*lateCalls;
        });
        ASSERT_TRUE(made);
        const auto session = *made;
        std::atomic<bool> started = false;
        std::thread submitter([&] {
            for (std::int64_t frame = 0; session->encodeFrame(Canvas{64, 64}.picture(), at(frame), at(1)) == 0; ++frame)
                started = frame > round;
        });
        std::thread completer([&] {
            while (session->completeFrames() == 0) { }
        });
        while (!started)
            std::this_thread::yield();
        std::thread other([&] { session->invalidate(); });
        session->invalidate();
        ended->store(true);
        submitter.join();
        completer.join();
        other.join();
        EXPECT_EQ(lateCalls->load(), 0);
    }
}

TEST_F(CompressionSessionTest, DestroyingASessionDiscardsWhatIsPendingAndReleasesItsCallback)
{
    std::weak_ptr<CompressionOutput> watched;
    {
        auto output = std::make_shared<CompressionOutput>();
        watched = output;
        LibavCompressionSessionFactory factory;
        const auto session = factory.makeSession(64, 64, FourCharacterCode{"avc1"}, CompressionOutput::callback(std::move(output)));
        ASSERT_TRUE(session);
        for (std::int64_t frame = 0; frame < 10; ++frame)
            (*session)->encodeFrame(Canvas{64, 64}.picture(), at(frame), at(1));
    }
    EXPECT_TRUE(watched.expired());
}

TEST_F(CompressionSessionTest, TheCallbackMayEndTheSessionAndLetGoOfItLast)
{
    struct Released {
        std::promise<void> promise;
        ~Released() { promise.set_value(); }
    };
    auto released = std::make_shared<Released>();
    auto whenReleased = released->promise.get_future();
    const auto owner = std::make_shared<std::shared_ptr<CompressionSession>>();
    std::promise<void> submitted;
    std::promise<platform::CompressionStatus> completed;

    LibavCompressionSessionFactory factory;
    auto made = factory.makeSession(
        64, 64, FourCharacterCode{"avc1"}, [&submitted, &completed, owner, released](platform::CompressionStatus, const SampleBufferRef&) {
            submitted.get_future().wait();
            completed.set_value((*owner)->completeFrames());
            (*owner)->invalidate();
            owner->reset();
        });
    ASSERT_TRUE(made);
    *owner = std::move(*made);
    released.reset();
    EXPECT_EQ((*owner)->encodeFrame(Canvas{64, 64}.picture(), at(0), at(1)), 0);
    submitted.set_value();
    EXPECT_EQ(completed.get_future().get(), AVERROR(EDEADLK));
    whenReleased.wait();
}

}  // namespace
}  // namespace velmora::linux_backend

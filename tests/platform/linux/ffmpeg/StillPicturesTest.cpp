// What comes out for a window that stands still, and after it moves again.
#include "platform/linux/ffmpeg/EncodingPipeline.h"
#include "tests/platform/linux/ffmpeg/Decoding.h"
#include "tests/platform/linux/ffmpeg/TrialEncoders.h"
#include "tests/support/media/TestPictures.h"

#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

namespace velmora::linux_backend {
namespace {

using test::Canvas;
using test::second;
using ::testing::ElementsAre;
using testing::isKeyFrame;
using testing::softwareEncoder;

constexpr std::int32_t stillWidth = 320;
constexpr std::int32_t stillHeight = 240;

TEST(StillKeyFrames, NoneIsRepeatedBeforeTheEncoderHasMadeTwo)
{
    engine::StillKeyFrames still;
    EXPECT_FALSE(still.repeat());
    still.encoded(DataBlock::owning(std::vector<std::byte>(100)));
    EXPECT_FALSE(still.repeat());
    EXPECT_FALSE(still.isEncoderAside());
}

TEST(StillKeyFrames, TwoTakeTurnsTheOlderFirst)
{
    engine::StillKeyFrames still;
    const auto older = DataBlock::owning(std::vector<std::byte>(100));
    const auto newer = DataBlock::owning(std::vector<std::byte>(100));
    still.encoded(older);
    still.encoded(newer);
    EXPECT_EQ(still.repeat()->bytes.data(), older.bytes.data());
    EXPECT_TRUE(still.isEncoderAside());
    EXPECT_TRUE(still.isNumberTaken());
    EXPECT_EQ(still.repeat()->bytes.data(), newer.bytes.data());
    EXPECT_FALSE(still.isEncoderAside());
    EXPECT_FALSE(still.isNumberTaken());
    EXPECT_EQ(still.repeat()->bytes.data(), older.bytes.data());
}

TEST(StillKeyFrames, AfterAFrameOfAnotherKindTheNewerDoesNotBringTheEncoderBack)
{
    engine::StillKeyFrames still;
    still.encoded(DataBlock::owning(std::vector<std::byte>(100)));
    still.encoded(DataBlock::owning(std::vector<std::byte>(100)));
    still.encodedOther();
    static_cast<void>(still.repeat());
    static_cast<void>(still.repeat());
    EXPECT_TRUE(still.isEncoderAside());
    EXPECT_FALSE(still.isNumberTaken());
}

TEST(StillKeyFrames, TheyAreMadeAnewUntilTwoAreAlike)
{
    engine::StillKeyFrames still;
    for (const std::size_t size : {1000U, 2000U, 1500U}) {
        still.encoded(DataBlock::owning(std::vector<std::byte>(size)));
        EXPECT_FALSE(still.repeat());
    }
    still.encoded(DataBlock::owning(std::vector<std::byte>(1550)));
    EXPECT_TRUE(still.repeat());
}

TEST(StillKeyFrames, AnotherPictureHasItsOwn)
{
    engine::StillKeyFrames still;
    still.encoded(DataBlock::owning(std::vector<std::byte>(100)));
    still.encoded(DataBlock::owning(std::vector<std::byte>(100)));
    EXPECT_TRUE(still.repeat());
    still.pictureChanged();
    EXPECT_FALSE(still.repeat());
    EXPECT_TRUE(still.isEncoderAside());
}

/// Counts what gets into the software encoder, and fails on one picture when told.
class CountingEncoder final : public VideoEncoder {
public:
    struct Log {
        int encoded = 0;
        int failingCall = -1;
        bool alternates = true;
    };

    CountingEncoder(const VideoEncoderSettings& settings, Log& log)
        : encoder_(std::move(*openVideoEncoder(softwareEncoder(), settings)))
        , log_(log)
    {
    }

    [[nodiscard]] engine::Yuv420View::Layout layout() const override { return encoder_->layout(); }
    [[nodiscard]] bool alternatesKeyFrames() const override { return log_.alternates && encoder_->alternatesKeyFrames(); }
    [[nodiscard]] FormatDescriptionRef format() const override { return encoder_->format(); }
    int drain(std::vector<Packet>& packets) override { return encoder_->drain(packets); }

    int encode(AVFrame& picture, std::int64_t time, bool asKeyFrame, std::vector<Packet>& packets) override
    {
        if (log_.encoded++ == log_.failingCall)
            return AVERROR_EXTERNAL;
        return encoder_->encode(picture, time, asKeyFrame, packets);
    }

private:
    std::unique_ptr<VideoEncoder> encoder_;
    Log& log_;
};

/// The idr_pic_id of an access unit's first slice; none when it is not a key frame.
std::optional<int> numberOfKeyFrame(const SampleBuffer& sample)
{
    const std::string fields = testing::traceH264Headers(sample.format->video()->decoderConfiguration, sample.data.bytes);
    const auto field = fields.find("idr_pic_id");
    if (field == std::string::npos)
        return std::nullopt;
    return std::atoi(fields.c_str() + fields.find('=', field) + 1);
}

class StillPicturesTest : public ::testing::Test {
protected:
    StillPicturesTest()
    {
        settings_.width = stillWidth;
        settings_.height = stillHeight;
    }

    /// A picture unlike all before it.
    void move()
    {
        test::paintMovingScene(canvas_, ++scene_);
        encode({1, ++sequence_, {{0, 0, stillWidth, stillHeight}}}, second / 60);
    }

    /// The previous picture again, half a second later.
    void rest(std::int64_t after = second / 2) { encode({1, ++sequence_, {}}, after); }

    void restTimes(int count)
    {
        for (int i = 0; i < count; ++i)
            rest();
    }

    void encode(PictureChange change, std::int64_t after)
    {
        time_ += after;
        queue_.push(canvas_.picture(std::move(change)), MediaTime::nanoseconds(time_), MediaTime::invalid());
        pipeline_.encode(std::move(*queue_.pop()), settings_);
        auto outcome = pipeline_.nextOutcome();
        ASSERT_TRUE(outcome);
        if (outcome->sample) {
            samples_.push_back(outcome->sample);
            shown_.push_back(canvas_);
        }
    }

    /// Every sample decodes to the picture that it was made from.
    void expectEachShowsItsPicture()
    {
        const auto frames = testing::decodeVideo(samples_);
        ASSERT_EQ(frames.size(), samples_.size());
        for (std::size_t index = 0; index < frames.size(); ++index) {
            const AVFrame& frame = *frames[index];
            EXPECT_EQ(frame.pts, samples_[index]->presentationTimeStamp.value);
            double difference = 0;
            for (std::int32_t y = 0; y < stillHeight; ++y) {
                for (std::int32_t x = 0; x < stillWidth; ++x) {
                    const auto colour = shown_[index].at(x, y);
                    difference += std::abs(test::exactYuv(colour.r, colour.g, colour.b)[0] - frame.data[0][y * frame.linesize[0] + x]);
                }
            }
            EXPECT_LT(difference / (stillWidth * stillHeight), 4) << "picture " << index;
        }
    }

    /// ITU-T H.264 7.4.3: no key frame has the number of the one right before it.
    void expectNeighboursHaveOtherNumbers()
    {
        std::optional<int> before;
        for (const auto& sample : samples_) {
            const auto number = numberOfKeyFrame(*sample);
            EXPECT_EQ(number.has_value(), isKeyFrame(*sample));
            if (number && before) {
                EXPECT_NE(*number, *before);
            }
            before = number;
        }
    }

    /// What is not a key frame follows what the encoder made last, and nothing that was put out again meanwhile.
    void expectFramesReferToWhatCameBefore()
    {
        std::set<const std::byte*> made;
        const std::byte* before = nullptr;
        const std::byte* newest = nullptr;
        for (const auto& sample : samples_) {
            const auto* data = sample->data.bytes.data();
            if (!isKeyFrame(*sample)) {
                EXPECT_EQ(before, newest);
            }
            if (made.insert(data).second)
                newest = data;
            before = data;
        }
        EXPECT_LT(made.size(), samples_.size()) << "nothing was repeated";
    }

    VideoEncoderSettings settings_;
    CountingEncoder::Log log_;
    Canvas canvas_{stillWidth, stillHeight};
    int scene_ = 0;
    std::uint64_t sequence_ = 0;
    std::int64_t time_ = 0;
    engine::PictureQueue queue_;
    engine::KeyFrameRequests requests_;
    EncodingPipeline pipeline_{stillWidth, stillHeight,
        [this](const VideoEncoderSettings& settings) -> tl::expected<std::unique_ptr<VideoEncoder>, AvError> {
            return std::make_unique<CountingEncoder>(settings, log_);
        },
        requests_};
    std::vector<SampleBufferRef> samples_;
    std::vector<Canvas> shown_;
};

TEST_F(StillPicturesTest, AWindowThatStandsStillIsEncodedAFewTimesOnly)
{
    move();
    restTimes(20);
    EXPECT_EQ(samples_.size(), 21U);
    EXPECT_LE(log_.encoded, 6);
    for (const auto& sample : samples_)
        EXPECT_TRUE(isKeyFrame(*sample));
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
}

TEST_F(StillPicturesTest, MotionAfterAnyNumberOfStillPicturesShowsWhatMoves)
{
    for (int rests = 0; rests < 12; ++rests) {
        for (int moves = 0; moves < 3; ++moves)
            move();
        restTimes(rests);
    }
    move();
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
    expectFramesReferToWhatCameBefore();
}

TEST_F(StillPicturesTest, ARepeatBeforeHalfASecondIsOverShowsThePictureToo)
{
    move();
    for (int i = 0; i < 12; ++i) {
        rest();
        rest(second / 10);
    }
    move();
    move();
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
    expectFramesReferToWhatCameBefore();
}

TEST_F(StillPicturesTest, AKeyFrameThatIsAskedForInAStillWindowIsOneThatIsThereAlready)
{
    move();
    restTimes(6);
    const int encoded = log_.encoded;
    for (int i = 0; i < 5; ++i) {
        const auto request = requests_.ask();
        rest(second / 50);
        EXPECT_TRUE(isKeyFrame(*samples_.back()));
        EXPECT_FALSE(requests_.last());
    }
    EXPECT_EQ(log_.encoded, encoded);
    move();
    move();
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
    expectFramesReferToWhatCameBefore();
}

TEST_F(StillPicturesTest, AKeyFrameThatIsAskedForAtAnyMomentOfMotionAndStillnessShowsItsPicture)
{
    for (int moment = 0; moment < 12; ++moment) {
        for (int i = 0; i < 12; ++i) {
            std::optional<engine::KeyFrameRequests::Registration> request;
            if (i == moment)
                request = requests_.ask();
            if (i < 4)
                move();
            else
                rest(i % 2 ? second / 2 : second / 10);
            if (i == moment) {
                EXPECT_TRUE(isKeyFrame(*samples_.back()));
            }
        }
    }
    expectEachShowsItsPicture();
    expectNeighboursHaveOtherNumbers();
    expectFramesReferToWhatCameBefore();
}

TEST_F(StillPicturesTest, AFailureAsThePictureMovesAgainIsMadeUpForByAKeyFrame)
{
    for (int rests = 6; rests < 8; ++rests) {
        move();
        restTimes(rests);
        // One of them after the black picture that brings the encoder back, one without it.
        log_.failingCall = log_.encoded + 1;
        move();
        move();
        log_.failingCall = -1;
        move();
        move();
    }
    EXPECT_EQ(samples_.size(), 2U * (1 + 4) + 6 + 7 - 2);
    expectEachShowsItsPicture();
}

TEST_F(StillPicturesTest, AnEncoderWhoseKeyFramesAreNumberedOtherwiseMakesEveryPicture)
{
    log_.alternates = false;
    move();
    restTimes(10);
    EXPECT_EQ(log_.encoded, 11);
    expectEachShowsItsPicture();
}

}  // namespace
}  // namespace velmora::linux_backend

// Pictures of a window that moves and stands still, encoded one after another, and what has to hold of all that comes out.
#pragma once

#include "engine/codecs/KeyFrameRequests.h"
#include "engine/codecs/PictureQueue.h"
#include "platform/fake/ManualExecutor.h"
#include "platform/linux/ffmpeg/EncodingPipeline.h"
#include "tests/platform/linux/ffmpeg/Decoding.h"
#include "tests/platform/linux/ffmpeg/TrialEncoders.h"
#include "tests/support/media/TestPictures.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace velmora::linux_backend::testing {

using test::Canvas;
using test::second;

constexpr std::int32_t pictureWidth = 320;
constexpr std::int32_t pictureHeight = 240;

/// Counts what gets into the software encoder, and fails on one picture when told.
class CountingEncoder final : public VideoEncoder {
public:
    struct Log {
        int encoded = 0;
        int failingCall = -1;
        bool alternates = true;
        std::vector<EncodingEffort> opened;
        std::vector<EncodingEffort> used;  ///< for each picture that anybody sees
        int failingTakeOver = -1;  ///< counted from the first
        int takenOver = 0;
        int open = 0;  ///< encoders at the moment
        std::chrono::nanoseconds cost{0};  ///< of a picture, by the clock
        MonotonicTime clock{std::chrono::hours{1}};
        AvError openError = 0;
    };

    CountingEncoder(const VideoEncoderSettings& settings, Log& log)
        : encoder_(std::move(*openVideoEncoder(softwareEncoder(), settings)))
        , effort_(settings.effort)
        , log_(log)
    {
        log_.opened.push_back(settings.effort);
        ++log_.open;
    }
    ~CountingEncoder() override { --log_.open; }
    CountingEncoder(const CountingEncoder&) = delete;
    CountingEncoder& operator=(const CountingEncoder&) = delete;

    [[nodiscard]] engine::Yuv420View::Layout layout() const override { return encoder_->layout(); }
    [[nodiscard]] bool alternatesKeyFrames() const override { return log_.alternates && encoder_->alternatesKeyFrames(); }
    [[nodiscard]] FormatDescriptionRef format() const override { return encoder_->format(); }
    int drain(std::vector<Packet>& packets) override { return encoder_->drain(packets); }

    [[nodiscard]] std::int64_t unspentBits(std::int64_t time) const override { return encoder_->unspentBits(time); }

    int takeOver(AVFrame& picture, std::int64_t time, std::int64_t unspentBits) override
    {
        if (log_.takenOver++ == log_.failingTakeOver)
            return AVERROR_EXTERNAL;
        return encoder_->takeOver(picture, time, unspentBits);
    }

    int encode(AVFrame& picture, std::int64_t time, bool asKeyFrame, std::vector<Packet>& packets) override
    {
        log_.clock += log_.cost;
        if (log_.encoded++ == log_.failingCall)
            return AVERROR_EXTERNAL;
        log_.used.push_back(effort_);
        return encoder_->encode(picture, time, asKeyFrame, packets);
    }

private:
    std::unique_ptr<VideoEncoder> encoder_;
    const EncodingEffort effort_;
    Log& log_;
};

/// The idr_pic_id of an access unit's first slice; none when it is not a key frame.
inline std::optional<int> numberOfKeyFrame(const SampleBuffer& sample)
{
    const std::string fields = traceH264Headers(sample.format->video()->decoderConfiguration, sample.data.bytes);
    const auto field = fields.find("idr_pic_id");
    if (field == std::string::npos)
        return std::nullopt;
    return std::atoi(fields.c_str() + fields.find('=', field) + 1);
}

class EncodedPicturesTest : public ::testing::Test {
protected:
    EncodedPicturesTest()
    {
        settings_.width = pictureWidth;
        settings_.height = pictureHeight;
    }

    /// A picture unlike all before it.
    void move()
    {
        test::paintMovingScene(canvas_, ++scene_);
        encode({1, ++sequence_, {{0, 0, pictureWidth, pictureHeight}}}, second / 60);
    }

    /// So many pictures come at once, as after a moment in which the encoder was held up, and only the queue's three are encoded.
    void burst(int count)
    {
        std::vector<Canvas> shown;
        for (int i = 0; i < count; ++i) {
            test::paintMovingScene(canvas_, ++scene_);
            push({1, ++sequence_, {{0, 0, pictureWidth, pictureHeight}}}, second / 60);
            if (shown.size() == engine::PictureQueue::capacity)
                shown.pop_back();
            shown.push_back(canvas_);
        }
        for (const auto& canvas : shown)
            encodeNext(canvas);
    }

    void moveTimes(int count)
    {
        for (int i = 0; i < count; ++i)
            move();
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
        push(std::move(change), after);
        encodeNext(canvas_);
    }

    void push(PictureChange change, std::int64_t after)
    {
        time_ += after;
        log_.clock += std::chrono::nanoseconds{after};
        queue_.push(canvas_.picture(std::move(change)), MediaTime::nanoseconds(time_), MediaTime::invalid());
    }

    void encodeNext(const Canvas& shown)
    {
        pipeline_.encode(std::move(*queue_.pop()), settings_);
        std::size_t outcomes = 0;
        while (auto outcome = pipeline_.nextOutcome()) {
            ++outcomes;
            if (!outcome->sample)
                continue;
            samples_.push_back(outcome->sample);
            shown_.push_back(shown);
        }
        EXPECT_GE(outcomes, 1U);
    }

    /// Every sample decodes to the picture that it was made from.
    void expectEachShowsItsPicture()
    {
        const auto frames = decodeVideo(samples_);
        ASSERT_EQ(frames.size(), samples_.size());
        for (std::size_t index = 0; index < frames.size(); ++index) {
            const AVFrame& frame = *frames[index];
            EXPECT_EQ(frame.pts, samples_[index]->presentationTimeStamp.value);
            EXPECT_TRUE(index == 0 || frame.pts > frames[index - 1]->pts);
            double difference = 0;
            for (std::int32_t y = 0; y < pictureHeight; ++y) {
                for (std::int32_t x = 0; x < pictureWidth; ++x) {
                    const auto colour = shown_[index].at(x, y);
                    difference += std::abs(test::exactYuv(colour.r, colour.g, colour.b)[0] - frame.data[0][y * frame.linesize[0] + x]);
                }
            }
            EXPECT_LT(difference / (pictureWidth * pictureHeight), 4) << "picture " << index;
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
    Canvas canvas_{pictureWidth, pictureHeight};
    int scene_ = 0;
    std::uint64_t sequence_ = 0;
    std::int64_t time_ = 0;
    engine::PictureQueue queue_;
    engine::KeyFrameRequests requests_;
    const std::shared_ptr<fake::ManualExecutor> opening_ = std::make_shared<fake::ManualExecutor>();
    EncodingPipeline pipeline_{pictureWidth, pictureHeight,
        [this](const VideoEncoderSettings& settings) -> tl::expected<std::unique_ptr<VideoEncoder>, AvError> {
            if (log_.openError)
                return tl::unexpected(log_.openError);
            return std::make_unique<CountingEncoder>(settings, log_);
        },
        requests_, {.now = [this] { return log_.clock; }, .opening = opening_}};
    std::vector<SampleBufferRef> samples_;
    std::vector<Canvas> shown_;
};

}  // namespace velmora::linux_backend::testing

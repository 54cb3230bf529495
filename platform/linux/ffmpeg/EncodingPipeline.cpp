#include "platform/linux/ffmpeg/EncodingPipeline.h"

#include "platform/linux/ffmpeg/Yuv420Frame.h"

#include <algorithm>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr MediaTime longestWaitForKeyFrame{1, 2};

/// If the encoder fails on this many pictures in a row, it is more than a moment's trouble: a graphics card that was reset, say.
constexpr int failuresOfABrokenEncoder = 10;

}  // namespace

EncodingPipeline::EncodingPipeline(std::int32_t width, std::int32_t height, OpenEncoder open, engine::KeyFrameRequests keyFrameRequests)
    : width_(width)
    , height_(height)
    , open_(std::move(open))
    , keyFrameRequests_(std::move(keyFrameRequests))
{
}

int EncodingPipeline::prepare(const VideoEncoderSettings& settings)
{
    if (encoder_)
        return 0;
    auto encoder = open_(settings);
    if (!encoder)
        return encoder.error();
    encoder_ = std::move(*encoder);
    converter_.emplace(width_, height_, encoder_->layout());
    stillKeyFrames_ = {};
    lastKeyFrameTime_ = MediaTime::invalid();
    return 0;
}

void EncodingPipeline::encode(engine::PendingPicture picture, const VideoEncoderSettings& settings)
{
    for (; picture.droppedBefore > 0; --picture.droppedBefore)
        order_.push({-1, MediaTime::invalid(), MediaTime::invalid(), Outcome{}});

    const MediaTime time = picture.presentationTimeStamp;
    const std::int64_t encoderTime = encoderTimeOf(time);
    order_.push({encoderTime, time, picture.duration, std::nullopt});

    if (!picture.changed.isEmpty())
        stillKeyFrames_.pictureChanged();
    asked_ = keyFrameRequests_.last();
    int status = prepare(settings);
    if (status == 0 && !repeatKeyFrame(picture, encoderTime))
        status = encodeAnew(std::move(picture), encoderTime);
    for (auto& packet : packets_) {
        if (packet.isKeyFrame)
            stillKeyFrames_.encoded(packet.data);
        else
            stillKeyFrames_.encodedOther();
        finish(std::move(packet));
    }
    packets_.clear();
    if (status != 0) {
        if (auto* entry = order_.find(encoderTime))
            entry->outcome = Outcome{status, nullptr};
    }
    failuresInARow_ = status != 0 ? failuresInARow_ + 1 : 0;
    if (failuresInARow_ == failuresOfABrokenEncoder)
        giveEncoderUp(status);
}

/// The next picture gets a newly opened one.
void EncodingPipeline::giveEncoderUp(int status)
{
    order_.finishAll({status, nullptr});
    encoder_.reset();
    failuresInARow_ = 0;
}

/// False when the picture has to be encoded.
bool EncodingPipeline::repeatKeyFrame(const engine::PendingPicture& picture, std::int64_t encoderTime)
{
    const bool isWanted = needsKeyFrame(picture.presentationTimeStamp) || stillKeyFrames_.isEncoderAside();
    if (!isWanted || !encoder_->alternatesKeyFrames())
        return false;
    auto keyFrame = stillKeyFrames_.repeat();
    if (!keyFrame)
        return false;
    keyFrameWasMade(picture.presentationTimeStamp);
    finish({encoderTime, true, std::move(*keyFrame)});
    return true;
}

int EncodingPipeline::encodeAnew(engine::PendingPicture picture, std::int64_t encoderTime)
{
    const MediaTime time = picture.presentationTimeStamp;
    AVFrame* frame = converter_->convert(*picture.picture, picture.changed);
    // Its pixels go back to where pictures are made before the long work begins.
    picture.picture.reset();
    if (!frame)
        return AVERROR(ENOMEM);
    if (stillKeyFrames_.isEncoderAside()) {
        if (const int status = bringEncoderBack(encoderTime - 1))
            return status;
    }
    const bool asKeyFrame = needsKeyFrame(time);
    const int status = encoder_->encode(*frame, encoderTime, asKeyFrame, packets_);
    if (status == 0 && asKeyFrame)
        keyFrameWasMade(time);
    return status;
}

void EncodingPipeline::keyFrameWasMade(MediaTime presentationTimeStamp)
{
    lastKeyFrameTime_ = presentationTimeStamp;
    if (asked_)
        keyFrameRequests_.fulfil(*asked_);
}

/// Has the encoder go on with a key frame. Where that would have the number of the one that was put out last, the encoder first makes one
/// that nobody sees: a black one takes neither time nor many of the bits that the rate control has.
int EncodingPipeline::bringEncoderBack(std::int64_t encoderTime)
{
    if (stillKeyFrames_.isNumberTaken()) {
        const AvFrame black = makeBlackFrame(encoder_->layout(), engine::paddedToEven(width_), engine::paddedToEven(height_));
        if (!black)
            return AVERROR(ENOMEM);
        const int status = encoder_->encode(*black, encoderTime, true, packets_);
        packets_.clear();
        if (status != 0)
            return status;
    }
    stillKeyFrames_.encoderIsBack();
    lastKeyFrameTime_ = MediaTime::invalid();
    return 0;
}

void EncodingPipeline::drain()
{
    if (order_.isEmpty() || !encoder_)
        return;
    const int status = encoder_->drain(packets_);
    for (auto& packet : packets_)
        finish(std::move(packet));
    packets_.clear();
    giveEncoderUp(status);
}

std::int64_t EncodingPipeline::encoderTimeOf(MediaTime presentationTimeStamp)
{
    if (!firstTime_.isValid())
        firstTime_ = presentationTimeStamp;
    // Two pictures within one tick: the encoder needs increasing times, the samples carry the true ones.
    const std::int64_t time = (presentationTimeStamp - firstTime_).converted(VideoEncoder::timescale).value;
    lastEncoderTime_ = std::max(time, lastEncoderTime_ + 1);
    return lastEncoderTime_;
}

bool EncodingPipeline::needsKeyFrame(MediaTime presentationTimeStamp) const
{
    return asked_ || !lastKeyFrameTime_.isValid() || presentationTimeStamp - lastKeyFrameTime_ >= longestWaitForKeyFrame;
}

void EncodingPipeline::finish(VideoEncoder::Packet packet)
{
    auto* entry = order_.finishUpTo(packet.presentationTime, Outcome{});
    if (!entry)
        return;
    if (packet.isKeyFrame && !(entry->presentationTimeStamp < lastKeyFrameTime_))
        lastKeyFrameTime_ = entry->presentationTimeStamp;

    // A newly opened encoder describes the same stream again: the samples keep sharing one description.
    const FormatDescriptionRef format = encoder_->format();
    if (format_ != format && !(format_ && *format_ == *format))
        format_ = format;

    auto sample = std::make_shared<SampleBuffer>();
    sample->format = format_;
    sample->presentationTimeStamp = entry->presentationTimeStamp;
    sample->duration = entry->duration;
    sample->data = std::move(packet.data);
    sample->attachments = packet.isKeyFrame ? SampleBuffer::syncAttachments() : SampleBuffer::notSyncAttachments();
    entry->outcome = Outcome{0, std::move(sample)};
}

}  // namespace velmora::linux_backend

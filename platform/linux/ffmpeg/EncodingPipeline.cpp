#include "platform/linux/ffmpeg/EncodingPipeline.h"

#include <algorithm>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr MediaTime longestWaitForKeyFrame{1, 2};

}  // namespace

EncodingPipeline::EncodingPipeline(std::int32_t width, std::int32_t height, OpenEncoder open)
    : width_(width)
    , height_(height)
    , open_(std::move(open))
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
    lastKeyFrameTime_ = MediaTime::invalid();
    return 0;
}

void EncodingPipeline::encode(PendingPicture picture, const VideoEncoderSettings& settings)
{
    for (; picture.droppedBefore > 0; --picture.droppedBefore)
        order_.push({-1, MediaTime::invalid(), MediaTime::invalid(), Outcome{}});

    const MediaTime time = picture.presentationTimeStamp;
    const std::int64_t encoderTime = encoderTimeOf(time);
    order_.push({encoderTime, time, picture.duration, std::nullopt});

    int status = prepare(settings);
    if (status == 0) {
        AVFrame* frame = converter_->convert(*picture.picture, picture.changed);
        // Its pixels go back to where pictures are made before the long work begins.
        picture.picture.reset();
        const bool asKeyFrame = needsKeyFrame(time);
        status = frame ? encoder_->encode(*frame, encoderTime, asKeyFrame, packets_) : AVERROR(ENOMEM);
        if (status == 0 && asKeyFrame)
            lastKeyFrameTime_ = time;
    }
    for (auto& packet : packets_)
        finish(std::move(packet));
    packets_.clear();
    if (status != 0) {
        if (auto* entry = order_.find(encoderTime))
            entry->outcome = Outcome{status, nullptr};
    }
}

void EncodingPipeline::drain()
{
    if (order_.isEmpty() || !encoder_)
        return;
    const int status = encoder_->drain(packets_);
    for (auto& packet : packets_)
        finish(std::move(packet));
    packets_.clear();
    order_.finishAll({status, nullptr});
    encoder_.reset();
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
    return !lastKeyFrameTime_.isValid() || presentationTimeStamp - lastKeyFrameTime_ >= longestWaitForKeyFrame;
}

void EncodingPipeline::finish(VideoEncoder::Packet packet)
{
    auto* entry = order_.finishUpTo(packet.presentationTime, Outcome{});
    if (!entry)
        return;
    if (packet.isKeyFrame && !(entry->presentationTimeStamp < lastKeyFrameTime_))
        lastKeyFrameTime_ = entry->presentationTimeStamp;

    // An encoder that was opened anew describes the same stream again: the samples keep sharing one description.
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

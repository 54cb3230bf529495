#include "platform/linux/ffmpeg/EncodingPipeline.h"

#include "platform/linux/ffmpeg/Yuv420Frame.h"

#include <algorithm>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr MediaTime longestWaitForKeyFrame{1, 2};

/// Where one is so near, it may as well be the one with which the encoder changes; a few pictures before the encoder would make it.
constexpr MediaTime keyFrameIsNear{9, 20};

/// If the encoder fails on this many pictures in a row, it is more than a moment's trouble: a graphics card that was reset, say.
constexpr int failuresOfABrokenEncoder = 10;

VideoEncoderSettings withEffort(VideoEncoderSettings settings, EncodingEffort effort)
{
    settings.effort = effort;
    return settings;
}

}  // namespace

EncodingPipeline::EncodingPipeline(
    std::int32_t width, std::int32_t height, OpenEncoder open, engine::KeyFrameRequests keyFrameRequests, Environment environment)
    : width_(width)
    , height_(height)
    , now_(std::move(environment.now))
    , keyFrameRequests_(std::move(keyFrameRequests))
    , second_(std::move(open), std::move(environment.opening))
{
}

int EncodingPipeline::prepare(const VideoEncoderSettings& settings)
{
    if (encoder_)
        return 0;
    if (!policy_)
        policy_.emplace(settings.effort);
    second_.letGo();
    auto encoder = second_.openNow(withEffort(settings, policy_->effort()));
    if (!encoder)
        return encoder.error();
    encoder_ = std::move(*encoder);
    // All encoders begin with the same number, which the key frame that was put out last may have.
    isFirstNumberTaken_ = format_ && encoder_->alternatesKeyFrames() && (stillKeyFrames_.isNumberTaken() ? !nextNumber_ : nextNumber_);
    nextNumber_ = false;
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
    const auto begin = now_();
    if (policy_ && std::exchange(droppedInAll_, picture.droppedInAll) != picture.droppedInAll)
        policy_->dropped(begin);
    if (status == 0)
        followEffort(settings);
    if (status == 0 && !repeatKeyFrame(picture, encoderTime)) {
        status = encodeAnew(std::move(picture), encoderTime);
        policy_->encoded(begin, now_());
    }
    for (auto& packet : packets_) {
        if (packet.isKeyFrame) {
            nextNumber_ = !nextNumber_;
            stillKeyFrames_.encoded(packet.data);
        } else {
            stillKeyFrames_.encodedOther();
        }
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
    if (!changeEncoder(time, encoderTime - 1) && stillKeyFrames_.isEncoderAside()) {
        if (const int status = bringEncoderBack(encoderTime - 1))
            return status;
    }
    if (isFirstNumberTaken_) {
        if (const int status = makeUnseenKeyFrame(encoderTime - 1))
            return status;
        isFirstNumberTaken_ = false;
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
        if (const int status = makeUnseenKeyFrame(encoderTime))
            return status;
    }
    stillKeyFrames_.encoderIsBack();
    lastKeyFrameTime_ = MediaTime::invalid();
    return 0;
}

int EncodingPipeline::makeUnseenKeyFrame(std::int64_t encoderTime)
{
    const AvFrame black = makeBlackFrame(encoder_->layout(), engine::paddedToEven(width_), engine::paddedToEven(height_));
    if (!black)
        return AVERROR(ENOMEM);
    const int status = encoder_->encode(*black, encoderTime, true, packets_);
    packets_.clear();
    if (status == 0)
        nextNumber_ = !nextNumber_;
    return status;
}

/// Has an encoder opened that tries as hard as is wanted.
void EncodingPipeline::followEffort(const VideoEncoderSettings& settings)
{
    secondIsThere_ = false;
    if (!encoder_->alternatesKeyFrames())
        return;
    const auto wanted = policy_->wanted();
    if (wanted == policy_->effort()) {
        second_.letGo();
        return;
    }
    if (second_.effort() != wanted) {
        auto other = withEffort(settings, wanted);
        other.takesOver = true;
        second_.begin(other);
    }
    const auto now = now_();
    const auto state = second_.look(now);
    secondIsThere_ = state == SecondEncoder::State::isThere;
    if (state == SecondEncoder::State::failed)
        policy_->changeFailed(now);
}

/// Goes on with the second encoder if it is there: at once where pictures are being lost, else where a key frame is due anyway. False: nothing
/// has changed.
bool EncodingPipeline::changeEncoder(MediaTime presentationTimeStamp, std::int64_t encoderTime)
{
    const bool isUrgent = policy_->wanted() < policy_->effort();
    const bool isKeyFrameDue = needsKeyFrame(presentationTimeStamp) || presentationTimeStamp - lastKeyFrameTime_ >= keyFrameIsNear;
    if (!secondIsThere_ || (!isUrgent && !isKeyFrameDue))
        return false;
    auto next = second_.take();
    if (!makeReady(*next, encoderTime)) {
        second_.close(std::move(next));
        policy_->changeFailed(now_());
        return false;
    }
    policy_->changed();
    second_.close(std::exchange(encoder_, std::move(next)));
    // Those of the encoder before it may follow its key frames no more.
    stillKeyFrames_ = {};
    lastKeyFrameTime_ = MediaTime::invalid();
    return true;
}

/// Brings an encoder so far that its first key frame may follow what was put out last, with the bits that are left. It has begun with key
/// frames that nobody sees, black as in bringEncoderBack().
bool EncodingPipeline::makeReady(VideoEncoder& next, std::int64_t encoderTime)
{
    const auto format = next.format();
    if (!next.alternatesKeyFrames() || next.layout() != encoder_->layout() || !format || !format_ || *format != *format_)
        return false;
    const AvFrame black = makeBlackFrame(next.layout(), engine::paddedToEven(width_), engine::paddedToEven(height_));
    if (!black)
        return false;
    // The numbers of all encoders begin alike, so that after one key frame the next has the second of them.
    const bool isSecondTaken = stillKeyFrames_.isNumberTaken() ? nextNumber_ : !nextNumber_;
    const std::int64_t bits = encoder_->unspentBits(encoderTime);
    if (next.takeOver(*black, encoderTime - (isSecondTaken ? 1 : 0), bits) != 0)
        return false;
    if (isSecondTaken && next.takeOver(*black, encoderTime, bits) != 0)
        return false;
    nextNumber_ = !isSecondTaken;
    return true;
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

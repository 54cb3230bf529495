#include "capture/VideoHardwareEncoder.h"

#include "system/Log.h"

namespace velmora {

using platform::CompressionProperty;
using platform::CompressionStatus;

VideoHardwareEncoder::VideoHardwareEncoder(std::shared_ptr<platform::CompressionSessionFactory> sessions)
    : sessions_(std::move(sessions))
    , output_(std::make_shared<Output>())
{
}

VideoHardwareEncoder::~VideoHardwareEncoder()
{
    invalidate();
}

void VideoHardwareEncoder::setOnEncodedSample(EncodedSampleCallback callback)
{
    output_->onEncodedSample.store(callback ? std::make_shared<const EncodedSampleCallback>(std::move(callback)) : nullptr);
}

void VideoHardwareEncoder::encode(const PixelBufferRef& pixelBuffer, MediaTime presentationTimeStamp, MediaTime duration)
{
    const auto width = pixelBuffer->width;
    const auto height = pixelBuffer->height;
    if (width < 1 || height < 1)
        return;

    auto session = session_.load();
    if (!session || width != currentWidth_ || height != currentHeight_) {
        setUpSession(width, height);
        session = session_.load();
    }
    if (!session)
        return;

    const CompressionStatus status = session->compression->encodeFrame(pixelBuffer, presentationTimeStamp, duration);
    if (status != 0)
        Log::capture().error(log_line::encodeFrameFailed, status);
}

void VideoHardwareEncoder::setUpSession(std::int32_t width, std::int32_t height)
{
    invalidate();
    // Two encoders at once would be measured as one that is slow.
    endingQueue_.drain();
    currentWidth_ = width;
    currentHeight_ = height;

    const auto isAbandoned = std::make_shared<std::atomic<bool>>(false);
    auto deliver = [context = std::weak_ptr(output_), isAbandoned](CompressionStatus status, SampleBufferRef sample) {
        auto output = context.lock();
        if (status != 0 || !sample || !output || *isAbandoned)
            return;
        auto& queue = output->queue;
        queue.async([output = std::move(output), isAbandoned, sample = std::move(sample)] {
            if (const auto callback = output->onEncodedSample.load(); callback && !*isAbandoned)
                (*callback)(sample);
        });
    };
    auto session = sessions_->makeSession(width, height, FourCharacterCode{"avc1"}, std::move(deliver));
    if (!session || !*session) {
        Log::capture().error(log_line::sessionCreateFailed, session ? 0 : session.error());
        return;
    }

    // The results do not matter: a session that does not accept a setting still encodes.
    auto& created = **session;
    created.setProperty(CompressionProperty::realTime, true);
    created.setProperty(CompressionProperty::profileLevel, platform::ProfileLevel::h264HighAutoLevel);
    created.setProperty(CompressionProperty::maxKeyFrameInterval, maxKeyFrameInterval);
    created.setProperty(CompressionProperty::averageBitRate, averageBitRate);
    created.setProperty(CompressionProperty::allowFrameReordering, false);
    created.prepareToEncodeFrames();
    session_.store(std::make_shared<const Session>(Session{std::move(*session), isAbandoned}));
    Log::capture().info(log_line::initializedEncoder, width, height);
}

void VideoHardwareEncoder::checkSize(std::int32_t width, std::int32_t height, UniqueFunction<void(bool isPossible)> completion)
{
    endingQueue_.async([sessions = sessions_, width, height, completion = std::move(completion)]() mutable {
        completion(sessions->checkSize(width, height) == 0);
    });
}

void VideoHardwareEncoder::invalidate()
{
    if (const auto session = session_.exchange(nullptr))
        session->end();
    currentWidth_ = 0;
    currentHeight_ = 0;
}

void VideoHardwareEncoder::abandon()
{
    if (auto session = session_.exchange(nullptr)) {
        *session->isAbandoned = true;
        endingQueue_.async([session = std::move(session)] { session->end(); });
    }
    currentWidth_ = 0;
    currentHeight_ = 0;
}

void VideoHardwareEncoder::Session::end() const
{
    compression->completeFrames();
    compression->invalidate();
}

bool VideoHardwareEncoder::isKeyFrame(const SampleBuffer& sample)
{
    return sample.isSync();
}

}  // namespace velmora

// An encoder that a test steps by hand.
#pragma once

#include "base/Mutex.h"
#include "platform/CompressionSession.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace velmora::fake {

/// What a test sees of the sessions, shared because the encoder under test owns them. To be looked at while no queue is working on them.
struct CompressionSessionRecord {
    struct Frame {
        PixelBufferRef pixelBuffer;
        MediaTime presentationTimeStamp;
        MediaTime duration;
    };

    std::int32_t width = 0;
    std::int32_t height = 0;
    FourCharacterCode codec;
    std::vector<std::pair<platform::CompressionProperty, platform::CompressionPropertyValue>> properties;
    bool prepared = false;
    std::size_t propertiesAtPrepare = 0;  ///< how many had been set when the session was made ready
    std::vector<Frame> frames;
    bool completed = false;
    bool invalidated = false;
    platform::CompressionStatus encodeStatus = 0;
    bool encodesAtOnce = true;  ///< else frames wait until completeFrames
    std::function<void()> onComplete;  ///< called first of all by completeFrames; a test may wait in it
};

class FakeCompressionSession final : public platform::CompressionSession {
public:
    FakeCompressionSession(std::shared_ptr<CompressionSessionRecord> record, OutputCallback output)
        : record_(std::move(record))
        , output_(std::move(output))
    {
    }

    platform::CompressionStatus setProperty(platform::CompressionProperty property, platform::CompressionPropertyValue value) override
    {
        record_->properties.emplace_back(property, value);
        return -1;  // callers must not mind
    }

    platform::CompressionStatus prepareToEncodeFrames() override
    {
        record_->prepared = true;
        record_->propertiesAtPrepare = record_->properties.size();
        return -1;
    }

    platform::CompressionStatus encodeFrame(const PixelBufferRef& pixelBuffer, MediaTime presentationTimeStamp, MediaTime duration) override
    {
        MutexLock lock(mutex_);
        if (record_->invalidated)
            return -1;
        if (record_->encodeStatus != 0)
            return record_->encodeStatus;
        record_->frames.push_back({pixelBuffer, presentationTimeStamp, duration});
        if (record_->encodesAtOnce)
            deliverNext();
        return 0;
    }

    platform::CompressionStatus completeFrames() override
    {
        if (record_->onComplete)
            record_->onComplete();
        MutexLock lock(mutex_);
        if (record_->invalidated)
            return -1;
        record_->completed = true;
        while (delivered_ < record_->frames.size())
            deliverNext();
        return 0;
    }

    void invalidate() override
    {
        MutexLock lock(mutex_);
        record_->invalidated = true;
    }

    /// Calls the encoder's callback with anything a test likes.
    void emitOutput(platform::CompressionStatus status, SampleBufferRef sample) { output_(status, std::move(sample)); }

private:
    static SampleBufferRef encoded(const CompressionSessionRecord::Frame& frame, bool keyFrame)
    {
        const auto& picture = *frame.pixelBuffer;
        auto sample = std::make_shared<SampleBuffer>();
        sample->format =
            std::make_shared<const FormatDescription>(VideoFormat{FourCharacterCode{"avc1"}, picture.width, picture.height, {}, {}});
        sample->presentationTimeStamp = frame.presentationTimeStamp;
        sample->duration = frame.duration;
        sample->data = DataBlock::owning(std::vector<std::byte>(16));
        sample->attachments = keyFrame ? SampleBuffer::syncAttachments() : SampleBuffer::notSyncAttachments();
        return sample;
    }

    void deliverNext() REQUIRES(mutex_)
    {
        output_(0, encoded(record_->frames[delivered_], delivered_ == 0));
        ++delivered_;
    }

    std::shared_ptr<CompressionSessionRecord> record_;
    OutputCallback output_;
    Mutex mutex_;
    std::size_t delivered_ GUARDED_BY(mutex_) = 0;
};

class FakeCompressionSessions final : public platform::CompressionSessionFactory {
public:
    tl::expected<std::shared_ptr<platform::CompressionSession>, platform::CompressionStatus> makeSession(
        std::int32_t width, std::int32_t height, FourCharacterCode codec, platform::CompressionSession::OutputCallback output) override
    {
        ++attempts;
        if (onMake)
            onMake();
        if (createStatus != 0)
            return tl::unexpected(createStatus);
        auto record = std::make_shared<CompressionSessionRecord>();
        record->width = width;
        record->height = height;
        record->codec = codec;
        record->encodesAtOnce = encodesAtOnce;
        auto session = std::make_shared<FakeCompressionSession>(record, std::move(output));
        MutexLock lock(mutex_);
        records.push_back(record);
        sessions.push_back(session);
        return session;
    }

    platform::CompressionStatus checkSize(std::int32_t width, std::int32_t height) override
    {
        if (onCheck)
            onCheck();
        return width > largestSide || height > largestSide ? -1 : 0;
    }

    /// Null before the first. Any thread.
    [[nodiscard]] std::shared_ptr<FakeCompressionSession> newest() const
    {
        MutexLock lock(mutex_);
        return sessions.empty() ? nullptr : sessions.back();
    }

    platform::CompressionStatus createStatus = 0;
    bool encodesAtOnce = true;
    std::function<void()> onMake;  ///< called first of all; a test may wait in it
    std::function<void()> onCheck;  ///< called first of all by checkSize; a test may wait in it
    std::int32_t largestSide = 4096;
    int attempts = 0;
    std::vector<std::shared_ptr<CompressionSessionRecord>> records;
    std::vector<std::shared_ptr<FakeCompressionSession>> sessions;

private:
    mutable Mutex mutex_;
};

}  // namespace velmora::fake

#include "platform/mac/MacCompressionSession.h"

#include "base/Mutex.h"
#include "base/SerialQueue.h"
#include "engine/codecs/OutputOrder.h"
#include "platform/mac/MediaConversion.h"

#include <VideoToolbox/VideoToolbox.h>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace velmora::mac_backend {

namespace {

using platform::CompressionProperty;
using platform::CompressionPropertyValue;
using platform::CompressionSession;
using platform::CompressionStatus;

constexpr MediaTime longestWithoutKeyFrame{1, 2};

struct Outcome {
    CompressionStatus status = noErr;
    SampleBufferRef sample;
};

/// What becomes of the frames of one session. Any thread.
class Frames : public std::enable_shared_from_this<Frames> {
public:
    using ID = std::int64_t;

    Frames(CompressionSession::OutputCallback output, engine::KeyFrameRequests requests)
        : requests_(std::move(requests))
        , output_(std::move(output))
    {
    }

    struct Submission {
        ID id;
        bool asKeyFrame;
    };

    /// A frame is about to be given to the encoder: until submitted() no outcome is handed out. None when its time is not after the last.
    std::optional<Submission> submit(MediaTime time, MediaTime duration)
    {
        MutexLock lock(mutex_);
        if (!time.isValid() || (lastTime_.isValid() && time <= lastTime_))
            return std::nullopt;
        lastTime_ = time;
        const ID id = ++lastID_;
        order_.push({id, time, duration, std::nullopt});
        isSubmitting_ = true;
        const auto request = requests_.last();
        const bool isNewRequest = request && (!asked_ || asked_->request != request);
        const bool isDue = !asked_ && (!lastKeyFrame_.isValid() || time - lastKeyFrame_ >= longestWithoutKeyFrame);
        if (isNewRequest || isDue)
            asked_ = Asked{id, request};
        return Submission{id, isNewRequest || isDue};
    }

    /// A refused frame is forgotten, whatever the encoder says of it.
    void submitted(ID id, OSStatus status, VTEncodeInfoFlags flags)
    {
        MutexLock lock(mutex_);
        isSubmitting_ = false;
        if (status != noErr) {
            order_.withdrawNewest();
            if (asked_ && asked_->id == id)
                asked_.reset();
        } else if ((flags & kVTEncodeInfo_FrameDropped) != 0) {
            // The page of the encoder's function does not say whether the callback comes for such a frame.
            if (auto* const frame = order_.find(id))
                finish(*frame, {});
        }
        handOut();
    }

    void encoded(ID id, OSStatus status, CMSampleBufferRef sample)
    {
        MutexLock lock(mutex_);
        auto* const frame = order_.finishUpTo(id, Outcome{});
        if (!frame)
            return;
        finish(*frame, {status, status == noErr && sample ? compressed_.frameOf(sample) : nullptr});
        handOut();
    }

    /// What the encoder still owes does not come any more.
    void finishAll()
    {
        MutexLock lock(mutex_);
        order_.finishAll(Outcome{});
        asked_.reset();
        handOut();
    }

    /// Returns when every outcome that was known has been called back. Not from the callback.
    void drain() const { queue_.drain(); }

    [[nodiscard]] bool isCallingBack() const { return queue_.isCurrent(); }

    /// Returns when no callback runs, unless the caller is the one that does; none will.
    void end()
    {
        {
            MutexLock lock(mutex_);
            hasEnded_ = true;
            order_ = {};
            ready_.clear();
        }
        if (!queue_.isCurrent())
            queue_.drain();
    }

private:
    struct Asked {
        ID id;
        std::optional<engine::KeyFrameRequests::Number> request;
    };

    void finish(engine::OutputOrder<Outcome>::Entry& frame, Outcome outcome) REQUIRES(mutex_)
    {
        const bool isKeyFrame = outcome.sample && outcome.sample->isSync();
        if (isKeyFrame)
            lastKeyFrame_ = frame.presentationTimeStamp;
        // A later frame that was dropped says nothing of the one that was asked for; one that has come out has overtaken it.
        if (asked_ && (frame.encoderTime == asked_->id || (frame.encoderTime > asked_->id && outcome.sample))) {
            if (isKeyFrame && asked_->request)
                requests_.fulfil(*asked_->request);
            asked_.reset();
        }
        frame.outcome = std::move(outcome);
    }

    void handOut() REQUIRES(mutex_)
    {
        if (hasEnded_ || isSubmitting_)
            return;
        const bool isOnItsWay = !ready_.empty();
        while (auto outcome = order_.pop())
            ready_.push_back(std::move(*outcome));
        if (!isOnItsWay && !ready_.empty())
            queue_.async([self = shared_from_this()] { self->callBack(); });
    }

    void callBack()
    {
        std::vector<Outcome> outcomes;
        {
            MutexLock lock(mutex_);
            outcomes.swap(ready_);
        }
        for (auto& outcome : outcomes) {
            {
                MutexLock lock(mutex_);
                if (hasEnded_)
                    return;
            }
            output_(outcome.status, std::move(outcome.sample));
        }
    }

    engine::KeyFrameRequests requests_;
    Mutex mutex_;
    engine::OutputOrder<Outcome> order_ GUARDED_BY(mutex_);
    CompressedFrames compressed_ GUARDED_BY(mutex_);
    std::vector<Outcome> ready_ GUARDED_BY(mutex_);
    ID lastID_ GUARDED_BY(mutex_) = 0;
    MediaTime lastTime_ GUARDED_BY(mutex_);
    MediaTime lastKeyFrame_ GUARDED_BY(mutex_);
    std::optional<Asked> asked_ GUARDED_BY(mutex_);  // a key frame that may still come of it
    bool isSubmitting_ GUARDED_BY(mutex_) = false;
    bool hasEnded_ GUARDED_BY(mutex_) = false;
    CompressionSession::OutputCallback output_;  // the queue's alone

    SerialQueue queue_{"com.velmora.mac.compression", SerialQueue::QualityOfService::userInteractive};
};

/// The sessions that may still be called back, by number. No page says that nothing is called after VTCompressionSessionInvalidate(), so
/// the encoder is given numbers, which mean nothing once their session has gone, and no addresses.
class Sessions {
public:
    static Sessions& all()
    {
        static auto& sessions = *new Sessions;  // a callback may come while the program ends
        return sessions;
    }

    std::uintptr_t add(std::weak_ptr<Frames> frames)
    {
        MutexLock lock(mutex_);
        frames_.emplace(++last_, std::move(frames));
        return last_;
    }
    void remove(std::uintptr_t number)
    {
        MutexLock lock(mutex_);
        frames_.erase(number);
    }
    std::shared_ptr<Frames> find(std::uintptr_t number)
    {
        MutexLock lock(mutex_);
        const auto found = frames_.find(number);
        return found == frames_.end() ? nullptr : found->second.lock();
    }

private:
    Mutex mutex_;
    std::map<std::uintptr_t, std::weak_ptr<Frames>> frames_ GUARDED_BY(mutex_);
    std::uintptr_t last_ GUARDED_BY(mutex_) = 0;
};

void didEncode(void* session, void* frame, OSStatus status, VTEncodeInfoFlags flags, CMSampleBufferRef sample)
{
    if (const auto frames = Sessions::all().find(reinterpret_cast<std::uintptr_t>(session)))
        frames->encoded(reinterpret_cast<Frames::ID>(frame), status, (flags & kVTEncodeInfo_FrameDropped) == 0 ? sample : nullptr);
}

CFStringRef nameOf(CompressionProperty property)
{
    switch (property) {
    case CompressionProperty::realTime:
        return kVTCompressionPropertyKey_RealTime;
    case CompressionProperty::profileLevel:
        return kVTCompressionPropertyKey_ProfileLevel;
    case CompressionProperty::maxKeyFrameInterval:
        return kVTCompressionPropertyKey_MaxKeyFrameInterval;
    case CompressionProperty::averageBitRate:
        return kVTCompressionPropertyKey_AverageBitRate;
    case CompressionProperty::allowFrameReordering:
        return kVTCompressionPropertyKey_AllowFrameReordering;
    }
    return nullptr;
}

OSStatus set(VTCompressionSessionRef session, CompressionProperty property, const CompressionPropertyValue& value)
{
    if (const auto* const boolean = std::get_if<bool>(&value))
        return VTSessionSetProperty(session, nameOf(property), *boolean ? kCFBooleanTrue : kCFBooleanFalse);
    if (const auto* const number = std::get_if<std::int64_t>(&value)) {
        const CfHandle<CFNumberRef> object{CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, number)};
        return object ? VTSessionSetProperty(session, nameOf(property), object.get()) : kVTParameterErr;
    }
    return VTSessionSetProperty(session, nameOf(property), kVTProfileLevel_H264_High_AutoLevel);
}

CfHandle<CFDictionaryRef> keyFrameProperties()
{
    const void* key = kVTEncodeFrameOptionKey_ForceKeyFrame;
    const void* value = kCFBooleanTrue;
    return CfHandle<CFDictionaryRef>{
        CFDictionaryCreate(kCFAllocatorDefault, &key, &value, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks)};
}

tl::expected<CfHandle<VTCompressionSessionRef>, CompressionStatus> create(std::int32_t width, std::int32_t height, std::uintptr_t number)
{
    VTCompressionSessionRef session = nullptr;
    const OSStatus status = VTCompressionSessionCreate(kCFAllocatorDefault, width, height, kCMVideoCodecType_H264, nullptr, nullptr,
        nullptr, &didEncode, reinterpret_cast<void*>(number), &session);
    if (status != noErr || !session)
        return tl::unexpected(status != noErr ? status : OSStatus{kVTCouldNotFindVideoEncoderErr});
    return CfHandle<VTCompressionSessionRef>{session};
}

class MacCompressionSession final : public CompressionSession {
public:
    MacCompressionSession(std::int32_t width, std::int32_t height, std::uintptr_t number, std::shared_ptr<Frames> frames,
        CfHandle<VTCompressionSessionRef> session)
        : width_(width)
        , height_(height)
        , number_(number)
        , frames_(std::move(frames))
        , keyFrameProperties_(keyFrameProperties())
        , session_(std::move(session))
    {
    }
    MacCompressionSession(const MacCompressionSession&) = delete;
    MacCompressionSession& operator=(const MacCompressionSession&) = delete;
    ~MacCompressionSession() override { MacCompressionSession::invalidate(); }

    CompressionStatus setProperty(CompressionProperty property, CompressionPropertyValue value) override
    {
        MutexLock lock(mutex_);
        return session_ ? set(session_.get(), property, value) : kVTInvalidSessionErr;
    }

    CompressionStatus prepareToEncodeFrames() override
    {
        MutexLock lock(mutex_);
        return session_ ? VTCompressionSessionPrepareToEncodeFrames(session_.get()) : kVTInvalidSessionErr;
    }

    CompressionStatus encodeFrame(const PixelBufferRef& pixelBuffer, MediaTime presentationTimeStamp, MediaTime duration) override
    {
        if (!pixelBuffer || pixelBuffer->format != FourCharacterCode{"BGRA"} || pixelBuffer->width != width_
            || pixelBuffer->height != height_ || !pixelBuffer->baseAddress)
            return kVTParameterErr;
        const auto pixels = pixelBufferOf(pixelBuffer);
        MutexLock lock(mutex_);
        if (!session_)
            return kVTInvalidSessionErr;
        const auto frame = pixels ? frames_->submit(presentationTimeStamp, duration) : std::nullopt;
        if (!frame)
            return kVTParameterErr;
        VTEncodeInfoFlags flags = 0;
        const OSStatus status = VTCompressionSessionEncodeFrame(session_.get(), pixels.get(), toCMTime(presentationTimeStamp),
            toCMTime(duration), frame->asKeyFrame ? keyFrameProperties_.get() : nullptr, reinterpret_cast<void*>(frame->id), &flags);
        frames_->submitted(frame->id, status, flags);
        return status;
    }

    CompressionStatus completeFrames() override
    {
        if (frames_->isCallingBack())
            return kVTParameterErr;
        OSStatus status = kVTInvalidSessionErr;
        {
            MutexLock lock(mutex_);
            if (!session_)
                return status;
            status = VTCompressionSessionCompleteFrames(session_.get(), kCMTimeInvalid);
            frames_->finishAll();
        }
        frames_->drain();
        return status;
    }

    void invalidate() override
    {
        {
            MutexLock lock(mutex_);
            if (session_)
                VTCompressionSessionInvalidate(session_.get());
            session_.reset();
        }
        Sessions::all().remove(number_);
        frames_->end();
    }

private:
    const std::int32_t width_;
    const std::int32_t height_;
    const std::uintptr_t number_;
    const std::shared_ptr<Frames> frames_;
    const CfHandle<CFDictionaryRef> keyFrameProperties_;

    // Held while the encoder works on a call of ours, since no page says that these may come from several threads. The encoder's callbacks
    // never wait for it.
    Mutex mutex_;
    CfHandle<VTCompressionSessionRef> session_ GUARDED_BY(mutex_);
};

class MacCompressionSessions final : public platform::CompressionSessionFactory {
public:
    explicit MacCompressionSessions(engine::KeyFrameRequests keyFrameRequests) : keyFrameRequests_(std::move(keyFrameRequests)) { }

    tl::expected<std::shared_ptr<CompressionSession>, CompressionStatus> makeSession(
        std::int32_t width, std::int32_t height, FourCharacterCode codec, CompressionSession::OutputCallback output) override
    {
        if (codec.value != kCMVideoCodecType_H264 || width < 1 || height < 1)
            return tl::unexpected(CompressionStatus{kVTParameterErr});
        auto frames = std::make_shared<Frames>(std::move(output), keyFrameRequests_);
        const auto number = Sessions::all().add(frames);
        auto session = create(width, height, number);
        if (!session) {
            Sessions::all().remove(number);
            return tl::unexpected(session.error());
        }
        return std::make_shared<MacCompressionSession>(width, height, number, std::move(frames), std::move(*session));
    }

    CompressionStatus checkSize(std::int32_t width, std::int32_t height) override
    {
        const auto session = makeSession(width, height, FourCharacterCode{kCMVideoCodecType_H264}, [](CompressionStatus, const auto&) {});
        return session ? noErr : session.error();
    }

    [[nodiscard]] std::string description(CompressionStatus status) const override
    {
        switch (status) {
        case kVTCouldNotFindVideoEncoderErr:
            return "This Mac has no encoder for pictures of this size.";
        case kVTVideoEncoderNotAvailableNowErr:
            return "The encoder is not available now; another program may be using it.";
        default:
            return {};
        }
    }

private:
    const engine::KeyFrameRequests keyFrameRequests_;
};

}  // namespace

std::shared_ptr<platform::CompressionSessionFactory> makeCompressionSessions(engine::KeyFrameRequests keyFrameRequests)
{
    return std::make_shared<MacCompressionSessions>(std::move(keyFrameRequests));
}

}  // namespace velmora::mac_backend

#include "tests/platform/mac/standins/VideoToolboxStandIn.h"

#include "base/Mutex.h"
#include "tests/platform/mac/standins/CoreFoundationStandIn.h"
#include "tests/platform/mac/standins/CoreMediaStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <deque>
#include <optional>
#include <thread>

CONSTANT_STRING(kVTCompressionPropertyKey_RealTime);
CONSTANT_STRING(kVTCompressionPropertyKey_ProfileLevel);
CONSTANT_STRING(kVTCompressionPropertyKey_MaxKeyFrameInterval);
CONSTANT_STRING(kVTCompressionPropertyKey_AverageBitRate);
CONSTANT_STRING(kVTCompressionPropertyKey_AllowFrameReordering);
CONSTANT_STRING(kVTProfileLevel_H264_High_AutoLevel);
CONSTANT_STRING(kVTEncodeFrameOptionKey_ForceKeyFrame);

namespace velmora::standin {
namespace {

struct Pending {
    void* frame = nullptr;
    int number = 0;  ///< from 1
    CMTime time{};
    CMTime duration{};
    bool asKeyFrame = false;
    CVImageBufferRef image = nullptr;
};

bool isNth(int number, int every)
{
    return every > 0 && number % every == 0;
}

struct Session : Object {
    static constexpr Kind ownKind = Kind::compressionSession;
    Session() : Object(ownKind) { }
    void end() override
    {
        if (!isInvalid)
            refuse("a session was released without being invalidated");
    }

    void work()
    {
        MutexLock lock(mutex);
        for (;;) {
            while (pending.empty() ? !isOver : isHeld && !isOver)
                changed.wait(mutex);
            if (pending.empty())
                return;
            const Pending next = pending.front();
            pending.pop_front();
            isBusy = true;
            mutex.unlock();
            if (videoToolbox().callsBackOnManyThreads)
                std::thread([&] { encode(next); }).join();
            else
                encode(next);
            mutex.lock();
            isBusy = false;
            changed.notifyAll();
        }
    }

    /// With the mutex released.
    void encode(const Pending& next)
    {
        const auto& switches = videoToolbox();
        if (isNth(next.number, switches.losesEvery)) {
            CFRelease(next.image);
            return;
        }
        if (isNth(next.number, switches.failsEvery)) {
            callback(value, next.frame, kVTVideoEncoderMalfunctionErr, 0, nullptr);
        } else if (isNth(next.number, switches.dropsEvery)) {
            callback(value, next.frame, noErr, kVTEncodeInfo_FrameDropped, nullptr);
        } else {
            FrameParts parts;
            parts.width = width;
            parts.height = height;
            parts.time = next.time;
            parts.duration = next.duration;
            parts.lengthSize = switches.lengthSize;
            const auto mark = static_cast<std::uint8_t>(next.number);
            const bool isKey = next.number == 1 || (next.asKeyFrame && !switches.refusesKeyFrames);
            parts.pieces = {{0, 0, 0, 2, static_cast<std::uint8_t>(isKey ? 0x65 : 0x41), mark}};
            if (next.number % 2 == 0)
                parts.pieces = {{0, 0, 0, 2}, {static_cast<std::uint8_t>(isKey ? 0x65 : 0x41), mark}};
            if (!isKey)
                parts.attachments = {next.number % 3 == 0 ? kCMSampleAttachmentKey_DependsOnOthers : kCMSampleAttachmentKey_NotSync};
            const auto* const format = makeFormat(parts);
            auto* const sample = makeFrame(parts, format);
            callback(value, next.frame, noErr, kVTEncodeInfo_Asynchronous, sample);
            CFRelease(sample);
            CFRelease(format);
        }
        CFRelease(next.image);
    }

    void complete()
    {
        MutexLock lock(mutex);
        const bool wasHeld = std::exchange(isHeld, false);
        changed.notifyAll();
        while (!pending.empty() || isBusy)
            changed.wait(mutex);
        isHeld = wasHeld;
    }

    std::int32_t width = 0;
    std::int32_t height = 0;
    VTCompressionOutputCallback callback = nullptr;
    void* value = nullptr;
    std::atomic<bool> isInvalid = false;
    int count = 0;

    Mutex mutex;
    ConditionVariable changed;
    std::deque<Pending> pending GUARDED_BY(mutex);
    bool isHeld GUARDED_BY(mutex) = false;
    bool isBusy GUARDED_BY(mutex) = false;
    bool isOver GUARDED_BY(mutex) = false;  // for the thread: nothing new comes
    std::thread thread;
};

struct Sessions {
    Mutex mutex;
    std::vector<Session*> all GUARDED_BY(mutex);
};
Sessions& sessions()
{
    static auto& made = *new Sessions;
    return made;
}

Session& live(VTCompressionSessionRef reference)
{
    return as<Session>(reference);
}

/// The value of a property, if it has the type that its page says.
std::optional<std::string> valueOf(CFStringRef key, CFTypeRef value)
{
    if (key == kVTCompressionPropertyKey_RealTime || key == kVTCompressionPropertyKey_AllowFrameReordering) {
        if (objectOf(value).kind != Kind::boolean)
            return std::nullopt;
        return value == kCFBooleanTrue ? "true" : "false";
    }
    if (key == kVTCompressionPropertyKey_ProfileLevel)
        return value == kVTProfileLevel_H264_High_AutoLevel ? std::optional{as<String>(value).text} : std::nullopt;
    if (key == kVTCompressionPropertyKey_MaxKeyFrameInterval || key == kVTCompressionPropertyKey_AverageBitRate)
        return objectOf(value).kind == Kind::number ? std::optional{std::to_string(numberOf(value))} : std::nullopt;
    return std::nullopt;
}

}  // namespace

VideoToolbox& videoToolbox()
{
    static VideoToolbox switches;
    return switches;
}

VideoToolboxRecord& videoToolboxRecord()
{
    static VideoToolboxRecord record;
    return record;
}

void releaseFrames()
{
    auto& made = sessions();
    MutexLock lock(made.mutex);
    for (auto* const session : made.all)
        session->complete();
}

void resetVideoToolbox()
{
    auto& made = sessions();
    MutexLock lock(made.mutex);
    for (auto* const session : made.all) {
        if (session->references > 0)
            refuse("a session was left behind");
        {
            MutexLock sessionLock(session->mutex);
            session->isOver = true;
            session->changed.notifyAll();
        }
        session->thread.join();
    }
    made.all.clear();
    videoToolbox() = {};
    videoToolboxRecord() = {};
}

}  // namespace velmora::standin

using namespace velmora::standin;

extern "C" {

OSStatus VTCompressionSessionCreate(CFAllocatorRef, int32_t width, int32_t height, CMVideoCodecType codec, CFDictionaryRef encoder,
    CFDictionaryRef sourceAttributes, CFAllocatorRef, VTCompressionOutputCallback callback, void* value, VTCompressionSessionRef* created)
{
    if (videoToolbox().createStatus != noErr)
        return videoToolbox().createStatus;
    if (codec != kCMVideoCodecType_H264 || encoder || sourceAttributes)
        refuse("a session of another kind");
    auto& session = make<Session>();
    session.width = width;
    session.height = height;
    session.callback = callback;
    session.value = value;
    {
        velmora::MutexLock lock(session.mutex);
        session.isHeld = videoToolbox().holdsFrames;
    }
    session.thread = std::thread([&session] { session.work(); });
    {
        auto& made = sessions();
        velmora::MutexLock lock(made.mutex);
        made.all.push_back(&session);
    }
    ++videoToolboxRecord().created;
    *created = referenceTo<VTCompressionSessionRef>(session);
    return noErr;
}

void VTCompressionSessionInvalidate(VTCompressionSessionRef reference)
{
    auto& session = live(reference);
    session.isInvalid = true;
    ++videoToolboxRecord().invalidated;
    if (videoToolbox().callsBackDuringInvalidate) {
        session.complete();
    } else if (!videoToolbox().callsBackAfterInvalidate) {
        velmora::MutexLock lock(session.mutex);
        for (const auto& each : std::exchange(session.pending, {}))
            CFRelease(each.image);
    }
}

OSStatus VTCompressionSessionPrepareToEncodeFrames(VTCompressionSessionRef reference)
{
    live(reference);
    ++videoToolboxRecord().prepared;
    return videoToolbox().prepareStatus;
}

OSStatus VTCompressionSessionEncodeFrame(VTCompressionSessionRef reference, CVImageBufferRef image, CMTime time, CMTime duration,
    CFDictionaryRef properties, void* frame, VTEncodeInfoFlags* flags)
{
    auto& session = live(reference);
    const auto& switches = videoToolbox();
    if (session.isInvalid)
        return kVTInvalidSessionErr;
    if (CVPixelBufferGetWidth(image) != static_cast<std::size_t>(session.width) || (time.flags & kCMTimeFlags_Valid) == 0)
        refuse("a frame of another width or without a time");
    const bool asKeyFrame = properties && CFDictionaryGetValue(properties, kVTEncodeFrameOptionKey_ForceKeyFrame) == kCFBooleanTrue;
    CVPixelBufferLockBaseAddress(image, kCVPixelBufferLock_ReadOnly);
    videoToolboxRecord().frames.push_back({CVPixelBufferGetBaseAddress(image), asKeyFrame});
    CVPixelBufferUnlockBaseAddress(image, kCVPixelBufferLock_ReadOnly);
    if (switches.encodeStatus != noErr) {
        if (switches.callsBackForRefusedFrames)
            session.callback(session.value, frame, switches.encodeStatus, 0, nullptr);
        return switches.encodeStatus;
    }
    const int number = ++session.count;
    if (isNth(number, switches.dropsAtOnceEvery)) {
        *flags = kVTEncodeInfo_FrameDropped;
        return noErr;
    }
    *flags = kVTEncodeInfo_Asynchronous;
    CFRetain(image);
    const Pending pending{frame, number, time, duration, asKeyFrame, image};
    if (switches.callsBackWithinTheCall) {
        session.encode(pending);
        return noErr;
    }
    velmora::MutexLock lock(session.mutex);
    session.pending.push_back(pending);
    session.changed.notifyAll();
    return noErr;
}

OSStatus VTCompressionSessionCompleteFrames(VTCompressionSessionRef reference, CMTime until)
{
    auto& session = live(reference);
    if ((until.flags & kCMTimeFlags_Valid) != 0)
        refuse("a part of the frames was asked for");
    if (session.isInvalid)
        return kVTInvalidSessionErr;
    session.complete();
    return noErr;
}

OSStatus VTSessionSetProperty(VTSessionRef reference, CFStringRef key, CFTypeRef value)
{
    as<Session>(reference);
    if (videoToolbox().propertyStatus != noErr)
        return videoToolbox().propertyStatus;
    const auto text = valueOf(key, value);
    if (!text)
        return kVTParameterErr;
    videoToolboxRecord().properties.emplace_back(as<String>(key).text, *text);
    return noErr;
}

}  // extern "C"

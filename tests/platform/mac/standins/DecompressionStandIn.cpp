#include "tests/platform/mac/standins/DecompressionStandIn.h"

#include "tests/platform/mac/standins/CoreFoundationStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

namespace velmora::standin {

Decompression& decompression()
{
    static Decompression all;
    return all;
}

namespace {

struct Session : Object {
    static constexpr Kind ownKind = Kind::decompressionSession;
    Session() : Object(ownKind) { }
    void end() override
    {
        if (!isInvalid)
            refuse("a decompression session was released that was not invalidated");
    }
    VTDecompressionOutputCallbackRecord callback{};
    bool isInvalid = false;
};

}  // namespace

}  // namespace velmora::standin

using namespace velmora::standin;

extern "C" {

OSStatus VTDecompressionSessionCreate(CFAllocatorRef, CMVideoFormatDescriptionRef format, CFDictionaryRef, CFDictionaryRef attributes,
    const VTDecompressionOutputCallbackRecord* callback, VTDecompressionSessionRef* created)
{
    auto& record = decompression();
    if (record.createStatus != noErr)
        return record.createStatus;
    const auto number = [attributes](CFStringRef key) { return velmora::standin::numberOf(CFDictionaryGetValue(attributes, key)); };
    record.format = describedFormat(format);
    record.width = number(kCVPixelBufferWidthKey);
    record.height = number(kCVPixelBufferHeightKey);
    record.pixelFormat = number(kCVPixelBufferPixelFormatTypeKey);
    auto& session = make<Session>();
    session.callback = *callback;
    ++record.sessions;
    *created = referenceTo<VTDecompressionSessionRef>(session);
    return noErr;
}

OSStatus VTDecompressionSessionDecodeFrame(
    VTDecompressionSessionRef reference, CMSampleBufferRef sample, VTDecodeFrameFlags flags, void* frame, VTDecodeInfoFlags*)
{
    auto& session = as<Session>(reference);
    if (session.isInvalid)
        return kVTInvalidSessionErr;
    auto& record = decompression();
    record.samples.push_back(sampleBytes(sample));
    if (record.decodeStatus != noErr)
        return record.decodeStatus;
    const CMTime time = CMSampleBufferGetPresentationTimeStamp(sample);
    const bool isPutOut = (flags & kVTDecodeFrame_DoNotOutputFrame) == 0;
    if (isPutOut)
        record.putOut.push_back(time.value);
    // A frame that is not put out is called back all the same, without a picture.
    const bool hasPicture = isPutOut && record.outputStatus == noErr && !record.losesPictures;
    CVPixelBufferRef picture = nullptr;
    if (hasPicture)
        picture = makePixelBuffer(
            static_cast<std::size_t>(record.width), static_cast<std::size_t>(record.height), static_cast<OSType>(record.pixelFormat));
    session.callback.decompressionOutputCallback(
        session.callback.decompressionOutputRefCon, frame, record.outputStatus, 0, picture, time, kCMTimeInvalid);
    if (picture)
        CFRelease(picture);
    return noErr;
}

void VTDecompressionSessionInvalidate(VTDecompressionSessionRef reference)
{
    auto& session = as<Session>(reference);
    if (session.isInvalid)
        refuse("a decompression session was invalidated twice");
    session.isInvalid = true;
    --decompression().sessions;
}

}  // extern "C"

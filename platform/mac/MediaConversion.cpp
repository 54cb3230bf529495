#include "platform/mac/MediaConversion.h"

#include "engine/codecs/AvcFormat.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace velmora::mac_backend {

namespace {

struct UnlockAndRelease {
    void operator()(const void* pixels) const
    {
        auto* const buffer = static_cast<CVPixelBufferRef>(const_cast<void*>(pixels));
        CVPixelBufferUnlockBaseAddress(buffer, kCVPixelBufferLock_ReadOnly);
        CFRelease(buffer);
    }
};

void giveBack(void* picture, const void*)
{
    delete static_cast<PixelBufferRef*>(picture);
}

template <typename Ref>
CfHandle<Ref> retained(Ref object)
{
    CFRetain(object);
    return CfHandle<Ref>{object};
}

/// All parameter sets, each behind four bytes of length. None when the frames' own lengths are others.
std::optional<std::vector<std::byte>> parameterSets(CMFormatDescriptionRef description)
{
    std::vector<std::byte> sets;
    std::size_t count = 1;
    for (std::size_t index = 0; index < count; ++index) {
        const std::uint8_t* set = nullptr;
        std::size_t size = 0;
        int lengthSize = 0;
        if (CMVideoFormatDescriptionGetH264ParameterSetAtIndex(description, index, &set, &size, &count, &lengthSize) != noErr
            || lengthSize != 4)
            return std::nullopt;
        for (int shift = 24; shift >= 0; shift -= 8)
            sets.push_back(static_cast<std::byte>(size >> shift & 0xFF));
        const auto* const bytes = reinterpret_cast<const std::byte*>(set);
        sets.insert(sets.end(), bytes, bytes + size);
    }
    return sets;
}

/// ISO 23091-2's number of BT.709 if the description says so, else that of what is unspecified.
std::uint16_t colourNumber(CMFormatDescriptionRef description, CFStringRef key, CFStringRef bt709)
{
    const CFTypeRef value = CMFormatDescriptionGetExtension(description, key);
    return value && CFEqual(value, bt709) ? 1 : 2;
}

ColourDescription colourOf(CMFormatDescriptionRef description)
{
    return {colourNumber(description, kCMFormatDescriptionExtension_ColorPrimaries, kCMFormatDescriptionColorPrimaries_ITU_R_709_2),
        colourNumber(description, kCMFormatDescriptionExtension_TransferFunction, kCMFormatDescriptionTransferFunction_ITU_R_709_2),
        colourNumber(description, kCMFormatDescriptionExtension_YCbCrMatrix, kCMFormatDescriptionYCbCrMatrix_ITU_R_709_2), false};
}

/// A Boolean of the first sample's attachments; absent, or something else, counts as false.
bool hasAttachment(CMSampleBufferRef sample, CFStringRef key)
{
    const CFArrayRef all = CMSampleBufferGetSampleAttachmentsArray(sample, false);
    if (!all || CFArrayGetCount(all) < 1)
        return false;
    const void* const first = CFArrayGetValueAtIndex(all, 0);
    if (CFGetTypeID(first) != CFDictionaryGetTypeID())
        return false;
    const void* const value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(first), key);
    return value && CFGetTypeID(value) == CFBooleanGetTypeID() && CFBooleanGetValue(static_cast<CFBooleanRef>(value));
}

/// Without a copy where the bytes lie in one piece.
DataBlock bytesOf(CMBlockBufferRef block)
{
    std::size_t contiguous = 0;
    std::size_t total = 0;
    char* address = nullptr;
    if (CMBlockBufferGetDataPointer(block, 0, &contiguous, &total, &address) != noErr || total == 0)
        return {};
    if (contiguous == total)
        return {{reinterpret_cast<const std::byte*>(address), total}, std::shared_ptr<const void>{retained(block)}};
    std::vector<std::byte> copy(total);
    if (CMBlockBufferCopyDataBytes(block, 0, total, copy.data()) != noErr)
        return {};
    return DataBlock::owning(std::move(copy));
}

}  // namespace

MediaTime fromCMTime(CMTime time)
{
    // The other flags but that of rounding say that the value means nothing: infinite, indefinite.
    return (time.flags & ~CMTimeFlags{kCMTimeFlags_HasBeenRounded}) == kCMTimeFlags_Valid ? MediaTime{time.value, time.timescale}
                                                                                          : MediaTime::invalid();
}

CMTime toCMTime(MediaTime time)
{
    return time.isValid() ? CMTimeMake(time.value, time.timescale) : kCMTimeInvalid;
}

PixelBufferRef pictureOf(CVPixelBufferRef pixels)
{
    if (CVPixelBufferGetPixelFormatType(pixels) != kCVPixelFormatType_32BGRA
        || CVPixelBufferLockBaseAddress(pixels, kCVPixelBufferLock_ReadOnly) != kCVReturnSuccess)
        return nullptr;
    auto picture = std::make_shared<PixelBuffer>();
    picture->owner = std::shared_ptr<const void>{CFRetain(pixels), UnlockAndRelease{}};
    picture->width = static_cast<std::int32_t>(CVPixelBufferGetWidth(pixels));
    picture->height = static_cast<std::int32_t>(CVPixelBufferGetHeight(pixels));
    picture->bytesPerRow = CVPixelBufferGetBytesPerRow(pixels);
    picture->baseAddress = static_cast<const std::byte*>(CVPixelBufferGetBaseAddress(pixels));
    return picture;
}

CfHandle<CVPixelBufferRef> pixelBufferOf(const PixelBufferRef& picture)
{
    if (std::get_deleter<UnlockAndRelease>(picture->owner))
        return retained(static_cast<CVPixelBufferRef>(const_cast<void*>(picture->owner.get())));
    auto keeper = std::make_unique<PixelBufferRef>(picture);
    CVPixelBufferRef around = nullptr;
    // Its memory is read only, though the parameter does not say so.
    if (CVPixelBufferCreateWithBytes(kCFAllocatorDefault, static_cast<std::size_t>(picture->width),
            static_cast<std::size_t>(picture->height), kCVPixelFormatType_32BGRA, const_cast<std::byte*>(picture->baseAddress),
            picture->bytesPerRow, &giveBack, keeper.get(), nullptr, &around)
        != kCVReturnSuccess)
        return nullptr;
    static_cast<void>(keeper.release());
    return CfHandle<CVPixelBufferRef>{around};
}

std::optional<CapturedSound> soundOf(CMSampleBufferRef sample)
{
    const CMFormatDescriptionRef description = CMSampleBufferGetFormatDescription(sample);
    const auto* const format = description ? CMAudioFormatDescriptionGetStreamBasicDescription(description) : nullptr;
    if (!format || format->mFormatID != kAudioFormatLinearPCM || (format->mFormatFlags & kAudioFormatFlagIsFloat) == 0
        || format->mBitsPerChannel != 32 || format->mChannelsPerFrame == 0)
        return std::nullopt;
    const std::size_t channels = format->mChannelsPerFrame;
    const bool isPlanar = (format->mFormatFlags & kAudioFormatFlagIsNonInterleaved) != 0;
    const std::size_t bufferCount = isPlanar ? channels : 1;

    const std::size_t listSize = sizeof(AudioBufferList) + (bufferCount - 1) * sizeof(AudioBuffer);
    std::vector<std::max_align_t> storage(listSize / sizeof(std::max_align_t) + 1);
    auto* const list = reinterpret_cast<AudioBufferList*>(storage.data());
    CMBlockBufferRef block = nullptr;
    if (CMSampleBufferGetAudioBufferListWithRetainedBlockBuffer(sample, nullptr, list, listSize, nullptr, nullptr, 0, &block) != noErr)
        return std::nullopt;
    const CfHandle<CMBlockBufferRef> memory{block};

    const auto frames = static_cast<std::size_t>(std::max<CMItemCount>(0, CMSampleBufferGetNumSamples(sample)));
    const std::size_t samplesPerBuffer = isPlanar ? frames : frames * channels;
    CapturedSound sound{fromCMTime(CMSampleBufferGetPresentationTimeStamp(sample)), static_cast<std::int32_t>(format->mSampleRate),
        static_cast<std::int32_t>(channels), std::vector<float>(frames * channels)};
    if (list->mNumberBuffers != bufferCount)
        return std::nullopt;
    const std::span buffers{&list->mBuffers[0], bufferCount};
    for (std::size_t index = 0; index < bufferCount; ++index) {
        if (buffers[index].mDataByteSize < samplesPerBuffer * sizeof(float))
            return std::nullopt;
        const auto* const samples = static_cast<const float*>(buffers[index].mData);
        for (std::size_t at = 0; at < samplesPerBuffer; ++at)
            sound.samples[isPlanar ? at * channels + index : at] = samples[at];
    }
    return sound;
}

SampleBufferRef CompressedFrames::frameOf(CMSampleBufferRef sample)
{
    const CMBlockBufferRef block = CMSampleBufferGetDataBuffer(sample);
    const CMFormatDescriptionRef description = CMSampleBufferGetFormatDescription(sample);
    if (!block || !description)
        return nullptr;
    auto frame = std::make_shared<SampleBuffer>();
    frame->format = formatOf(description);
    frame->data = bytesOf(block);
    if (!frame->format || frame->data.bytes.empty())
        return nullptr;
    frame->presentationTimeStamp = fromCMTime(CMSampleBufferGetPresentationTimeStamp(sample));
    frame->duration = fromCMTime(CMSampleBufferGetDuration(sample));
    const bool needsOthers =
        hasAttachment(sample, kCMSampleAttachmentKey_NotSync) || hasAttachment(sample, kCMSampleAttachmentKey_DependsOnOthers);
    frame->attachments = needsOthers ? SampleBuffer::notSyncAttachments() : SampleBuffer::syncAttachments();
    return frame;
}

FormatDescriptionRef CompressedFrames::formatOf(CMFormatDescriptionRef description)
{
    if (description == lastDescription_.get())
        return lastFormat_;
    const auto sets = parameterSets(description);
    auto configuration = sets ? engine::avcDecoderConfiguration(*sets) : std::nullopt;
    if (!configuration)
        return nullptr;
    const CMVideoDimensions size = CMVideoFormatDescriptionGetDimensions(description);
    FormatDescription format{VideoFormat{"avc1", size.width, size.height, colourOf(description), std::move(*configuration)}};
    if (!lastFormat_ || *lastFormat_ != format)
        lastFormat_ = std::make_shared<const FormatDescription>(std::move(format));
    lastDescription_ = retained(description);
    return lastFormat_;
}

}  // namespace velmora::mac_backend

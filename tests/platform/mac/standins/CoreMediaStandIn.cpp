#include "tests/platform/mac/standins/CoreMediaStandIn.h"

#include "tests/platform/mac/standins/CoreFoundationStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <algorithm>
#include <numeric>
#include <span>

CONSTANT_STRING(kCMSampleAttachmentKey_NotSync);
CONSTANT_STRING(kCMSampleAttachmentKey_DependsOnOthers);
CONSTANT_STRING(kCMFormatDescriptionExtension_SampleDescriptionExtensionAtoms);
CONSTANT_STRING(kCVPixelBufferPixelFormatTypeKey);
CONSTANT_STRING(kCVPixelBufferWidthKey);
CONSTANT_STRING(kCVPixelBufferHeightKey);
CONSTANT_STRING(kCMFormatDescriptionExtension_ColorPrimaries);
CONSTANT_STRING(kCMFormatDescriptionExtension_TransferFunction);
CONSTANT_STRING(kCMFormatDescriptionExtension_YCbCrMatrix);
CONSTANT_STRING(kCMFormatDescriptionColorPrimaries_ITU_R_709_2);
CONSTANT_STRING(kCMFormatDescriptionTransferFunction_ITU_R_709_2);
CONSTANT_STRING(kCMFormatDescriptionYCbCrMatrix_ITU_R_709_2);

namespace velmora::standin {
namespace {

struct PixelBuffer : Object {
    static constexpr Kind ownKind = Kind::pixelBuffer;
    PixelBuffer() : Object(ownKind) { }
    void end() override
    {
        if (locks != 0)
            refuse("a locked pixel buffer was released for the last time");
        if (release)
            release(releaseValue, base);
        memory = {};
        base = nullptr;
    }

    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
    OSType format = 0;
    void* base = nullptr;
    std::vector<std::uint8_t> memory;
    std::atomic<int> locks = 0;
    CVPixelBufferReleaseBytesCallback release = nullptr;
    void* releaseValue = nullptr;
};

struct BlockBuffer : Object {
    static constexpr Kind ownKind = Kind::blockBuffer;
    explicit BlockBuffer(std::vector<std::vector<std::uint8_t>> parts) : Object(ownKind), pieces(std::move(parts)) { }
    void end() override { pieces = {}; }
    std::vector<std::vector<std::uint8_t>> pieces;
    std::span<const std::uint8_t> foreign;  // memory that was not copied
};

struct Format : Object {
    static constexpr Kind ownKind = Kind::formatDescription;
    explicit Format(FrameParts of) : Object(ownKind), parts(std::move(of)) { }
    explicit Format(const AudioStreamBasicDescription& of) : Object(ownKind), sound(of) { }
    Format(CMVideoCodecType ofCodec, std::int32_t width, std::int32_t height, std::string ofBox, std::vector<std::uint8_t> ofConfiguration)
        : Object(ownKind)
        , parts{.width = width, .height = height}
        , codec(ofCodec)
        , box(std::move(ofBox))
        , configuration(std::move(ofConfiguration))
    {
    }
    const FrameParts parts;
    const AudioStreamBasicDescription sound{};
    const CMVideoCodecType codec = kCMVideoCodecType_H264;
    const std::string box;
    const std::vector<std::uint8_t> configuration;
};

struct Sample : Object {
    static constexpr Kind ownKind = Kind::sampleBuffer;
    Sample() : Object(ownKind) { }
    void end() override
    {
        for (const auto* part : {CFTypeRef{data}, CFTypeRef{format}, CFTypeRef{attachments}, CFTypeRef{image}}) {
            if (part)
                CFRelease(part);
        }
    }
    CMTime time = kCMTimeInvalid;
    CMTime duration = kCMTimeInvalid;
    CMBlockBufferRef data = nullptr;
    CMFormatDescriptionRef format = nullptr;
    CFArrayRef attachments = nullptr;
    CVImageBufferRef image = nullptr;
    std::vector<std::vector<float>> buffers;  // of sound
    CMItemCount count = 1;
};

CFArrayRef attachmentsOf(const FrameParts& parts)
{
    std::vector<const void*> keys{parts.attachments.begin(), parts.attachments.end()};
    std::vector<const void*> values(keys.size(), kCFBooleanTrue);
    const auto* const dictionary = CFDictionaryCreate(nullptr, keys.data(), values.data(), static_cast<CFIndex>(keys.size()),
        &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    const auto* const array = makeArray({dictionary});
    CFRelease(dictionary);
    return array;
}

}  // namespace

CVPixelBufferRef makePixelBuffer(std::size_t width, std::size_t height, OSType format)
{
    auto& pixels = make<PixelBuffer>();
    pixels.width = width;
    pixels.height = height;
    pixels.bytesPerRow = width * 4 + 64;
    pixels.format = format;
    pixels.memory.resize(pixels.bytesPerRow * height);
    pixels.base = pixels.memory.data();
    return referenceTo<CVPixelBufferRef>(pixels);
}

bool isLocked(CVPixelBufferRef pixels)
{
    return as<PixelBuffer>(pixels).locks != 0;
}

CMFormatDescriptionRef makeFormat(const FrameParts& parts)
{
    return referenceTo<CMFormatDescriptionRef>(make<Format>(parts));
}

CMSampleBufferRef makeFrame(const FrameParts& parts, CMFormatDescriptionRef format)
{
    auto& sample = make<Sample>();
    sample.time = parts.time;
    sample.duration = parts.duration;
    sample.data = referenceTo<CMBlockBufferRef>(make<BlockBuffer>(parts.pieces));
    sample.format = static_cast<CMFormatDescriptionRef>(CFRetain(format));
    sample.attachments = parts.hasAttachments ? attachmentsOf(parts) : nullptr;
    return referenceTo<CMSampleBufferRef>(sample);
}

CMSampleBufferRef makeSound(const SoundParts& parts)
{
    AudioStreamBasicDescription format{};
    format.mSampleRate = parts.sampleRate;
    format.mFormatID = kAudioFormatLinearPCM;
    format.mFormatFlags =
        static_cast<UInt32>((parts.isFloat ? kAudioFormatFlagIsFloat : 0) | (parts.isPlanar ? kAudioFormatFlagIsNonInterleaved : 0));
    format.mChannelsPerFrame = static_cast<UInt32>(parts.channels.size());
    format.mBitsPerChannel = 32;

    auto& sample = make<Sample>();
    sample.time = parts.time;
    sample.count = static_cast<CMItemCount>(parts.channels.front().size());
    sample.format = referenceTo<CMFormatDescriptionRef>(make<Format>(format));
    sample.buffers = parts.channels;
    if (!parts.isPlanar) {
        std::vector<float> interleaved;
        for (std::size_t frame = 0; frame < parts.channels.front().size(); ++frame) {
            for (const auto& channel : parts.channels)
                interleaved.push_back(channel[frame]);
        }
        sample.buffers = {interleaved};
    }
    return referenceTo<CMSampleBufferRef>(sample);
}

CMSampleBufferRef makePicture(CVPixelBufferRef pixels, CMTime time, CFArrayRef attachments)
{
    auto& sample = make<Sample>();
    sample.time = time;
    if (pixels)
        sample.image = static_cast<CVImageBufferRef>(const_cast<void*>(CFRetain(pixels)));
    if (attachments)
        sample.attachments = static_cast<CFArrayRef>(CFRetain(attachments));
    return referenceTo<CMSampleBufferRef>(sample);
}

DescribedFormat describedFormat(CMFormatDescriptionRef format)
{
    const auto& of = as<Format>(format);
    return {of.codec, of.parts.width, of.parts.height, of.box, of.configuration};
}

std::vector<std::uint8_t> sampleBytes(CMSampleBufferRef sample)
{
    const auto& block = as<BlockBuffer>(as<Sample>(sample).data);
    return {block.foreign.begin(), block.foreign.end()};
}

}  // namespace velmora::standin

using namespace velmora::standin;

extern "C" {

const CMTime kCMTimeInvalid{};
const CMTime kCMTimeZero{0, 1, kCMTimeFlags_Valid, 0};

int32_t CMTimeCompare(CMTime one, CMTime other)
{
    const auto left = static_cast<long double>(one.value) * other.timescale;
    const auto right = static_cast<long double>(other.value) * one.timescale;
    return left < right ? -1 : left > right ? 1 : 0;
}

OSStatus CMBlockBufferCreateWithMemoryBlock(CFAllocatorRef, void* memory, size_t length, CFAllocatorRef freedBy,
    const CMBlockBufferCustomBlockSource* source, size_t offset, size_t used, uint32_t, CMBlockBufferRef* created)
{
    // Any other allocator would free the memory.
    if (freedBy != kCFAllocatorNull || source || offset != 0 || used != length)
        refuse("memory of the caller's that would be freed");
    auto& block = make<BlockBuffer>(std::vector<std::vector<std::uint8_t>>{});
    block.foreign = {static_cast<const std::uint8_t*>(memory), length};
    *created = referenceTo<CMBlockBufferRef>(block);
    return noErr;
}

OSStatus CMSampleBufferCreateReady(CFAllocatorRef, CMBlockBufferRef block, CMFormatDescriptionRef format, CMItemCount samples,
    CMItemCount timings, const CMSampleTimingInfo* timing, CMItemCount sizes, const size_t* size, CMSampleBufferRef* created)
{
    if (samples != 1 || timings != 1 || sizes != 1 || *size != as<BlockBuffer>(block).foreign.size())
        return -12731;
    auto& sample = make<Sample>();
    sample.time = timing->presentationTimeStamp;
    sample.duration = timing->duration;
    sample.data = reinterpret_cast<CMBlockBufferRef>(const_cast<void*>(CFRetain(block)));
    sample.format = static_cast<CMFormatDescriptionRef>(CFRetain(format));
    *created = referenceTo<CMSampleBufferRef>(sample);
    return noErr;
}

OSStatus CMVideoFormatDescriptionCreate(
    CFAllocatorRef, CMVideoCodecType codec, int32_t width, int32_t height, CFDictionaryRef extensions, CMVideoFormatDescriptionRef* created)
{
    const auto* const atoms = CFDictionaryGetValue(extensions, kCMFormatDescriptionExtension_SampleDescriptionExtensionAtoms);
    if (!atoms)
        return -12718;
    for (const char* box : {"avcC", "hvcC", "av1C"}) {
        const auto* const name = CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(box), 4, kCFStringEncodingUTF8, false);
        const auto* const value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(atoms), name);
        CFRelease(name);
        if (value) {
            *created = referenceTo<CMVideoFormatDescriptionRef>(make<Format>(codec, width, height, std::string{box}, bytesOf(value)));
            return noErr;
        }
    }
    return -12718;
}

CMTime CMTimeMake(int64_t value, int32_t timescale)
{
    return {value, timescale, kCMTimeFlags_Valid, 0};
}

Boolean CMSampleBufferIsValid(CMSampleBufferRef sample)
{
    as<Sample>(sample);
    return true;
}

CMItemCount CMSampleBufferGetNumSamples(CMSampleBufferRef sample)
{
    return as<Sample>(sample).count;
}

CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef sample)
{
    return as<Sample>(sample).image;
}

const AudioStreamBasicDescription* CMAudioFormatDescriptionGetStreamBasicDescription(CMAudioFormatDescriptionRef format)
{
    return &as<Format>(format).sound;
}

OSStatus CMSampleBufferGetAudioBufferListWithRetainedBlockBuffer(CMSampleBufferRef reference, size_t*, AudioBufferList* list, size_t size,
    CFAllocatorRef, CFAllocatorRef, uint32_t, CMBlockBufferRef* block)
{
    auto& buffers = as<Sample>(reference).buffers;
    // kCMSampleBufferError_ArrayTooSmall
    if (size < sizeof(AudioBufferList) + (buffers.size() - 1) * sizeof(AudioBuffer))
        return -12737;
    list->mNumberBuffers = static_cast<UInt32>(buffers.size());
    auto* each = &list->mBuffers[0];
    for (auto& buffer : buffers)
        *each++ = {1, static_cast<UInt32>(buffer.size() * sizeof(float)), buffer.data()};
    *block = referenceTo<CMBlockBufferRef>(make<BlockBuffer>(std::vector<std::vector<std::uint8_t>>{}));
    return noErr;
}

CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef sample)
{
    return as<Sample>(sample).time;
}

CMTime CMSampleBufferGetDuration(CMSampleBufferRef sample)
{
    return as<Sample>(sample).duration;
}

CMBlockBufferRef CMSampleBufferGetDataBuffer(CMSampleBufferRef sample)
{
    return as<Sample>(sample).data;
}

CMFormatDescriptionRef CMSampleBufferGetFormatDescription(CMSampleBufferRef sample)
{
    return as<Sample>(sample).format;
}

CFArrayRef CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef sample, Boolean createIfNecessary)
{
    if (createIfNecessary)
        refuse("attachments were added to a sample that is only to be read");
    return as<Sample>(sample).attachments;
}

OSStatus CMBlockBufferGetDataPointer(CMBlockBufferRef block, size_t offset, size_t* contiguous, size_t* total, char** address)
{
    auto& pieces = as<BlockBuffer>(block).pieces;
    if (offset != 0 || pieces.empty())
        return -12703;
    *contiguous = pieces.front().size();
    *total = std::accumulate(
        pieces.begin(), pieces.end(), std::size_t{0}, [](std::size_t sum, const auto& piece) { return sum + piece.size(); });
    *address = reinterpret_cast<char*>(pieces.front().data());
    return noErr;
}

OSStatus CMBlockBufferCopyDataBytes(CMBlockBufferRef block, size_t offset, size_t length, void* destination)
{
    std::vector<std::uint8_t> all;
    for (const auto& piece : as<BlockBuffer>(block).pieces)
        all.insert(all.end(), piece.begin(), piece.end());
    if (length == 0 || offset + length > all.size())
        return -12704;
    std::copy_n(all.begin() + static_cast<std::ptrdiff_t>(offset), length, static_cast<std::uint8_t*>(destination));
    return noErr;
}

CMVideoDimensions CMVideoFormatDescriptionGetDimensions(CMVideoFormatDescriptionRef format)
{
    const auto& parts = as<Format>(format).parts;
    return {parts.width, parts.height};
}

OSStatus CMVideoFormatDescriptionGetH264ParameterSetAtIndex(
    CMFormatDescriptionRef format, size_t index, const uint8_t** set, size_t* size, size_t* count, int* lengthSize)
{
    const auto& parts = as<Format>(format).parts;
    if (index >= parts.parameterSets.size())
        return -12712;
    *set = parts.parameterSets[index].data();
    *size = parts.parameterSets[index].size();
    *count = parts.parameterSets.size();
    *lengthSize = parts.lengthSize;
    return noErr;
}

CFTypeRef CMFormatDescriptionGetExtension(CMFormatDescriptionRef format, CFStringRef key)
{
    if (!as<Format>(format).parts.saysBt709)
        return nullptr;
    if (key == kCMFormatDescriptionExtension_ColorPrimaries)
        return kCMFormatDescriptionColorPrimaries_ITU_R_709_2;
    if (key == kCMFormatDescriptionExtension_TransferFunction)
        return kCMFormatDescriptionTransferFunction_ITU_R_709_2;
    return key == kCMFormatDescriptionExtension_YCbCrMatrix ? kCMFormatDescriptionYCbCrMatrix_ITU_R_709_2 : nullptr;
}

CVReturn CVPixelBufferCreateWithBytes(CFAllocatorRef, size_t width, size_t height, OSType format, void* base, size_t bytesPerRow,
    CVPixelBufferReleaseBytesCallback release, void* value, CFDictionaryRef, CVPixelBufferRef* created)
{
    if (!base || bytesPerRow < width * 4)
        return -6661;
    auto& pixels = make<PixelBuffer>();
    pixels.width = width;
    pixels.height = height;
    pixels.bytesPerRow = bytesPerRow;
    pixels.format = format;
    pixels.base = base;
    pixels.release = release;
    pixels.releaseValue = value;
    *created = referenceTo<CVPixelBufferRef>(pixels);
    return kCVReturnSuccess;
}

CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef pixels, CVPixelBufferLockFlags flags)
{
    if (flags != kCVPixelBufferLock_ReadOnly)
        refuse("a pixel buffer was locked for writing");
    ++as<PixelBuffer>(pixels).locks;
    return kCVReturnSuccess;
}

CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef pixels, CVPixelBufferLockFlags flags)
{
    if (flags != kCVPixelBufferLock_ReadOnly || --as<PixelBuffer>(pixels).locks < 0)
        refuse("a pixel buffer was unlocked as it was not locked");
    return kCVReturnSuccess;
}

void* CVPixelBufferGetBaseAddress(CVPixelBufferRef pixels)
{
    const auto& buffer = as<PixelBuffer>(pixels);
    // Outside of a lock the address says nothing: https://developer.apple.com/documentation/corevideo/cvpixelbufferlockbaseaddress(_:_:)
    return buffer.locks > 0 ? buffer.base : nullptr;
}

size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef pixels)
{
    return as<PixelBuffer>(pixels).bytesPerRow;
}

size_t CVPixelBufferGetWidth(CVPixelBufferRef pixels)
{
    return as<PixelBuffer>(pixels).width;
}

size_t CVPixelBufferGetHeight(CVPixelBufferRef pixels)
{
    return as<PixelBuffer>(pixels).height;
}

OSType CVPixelBufferGetPixelFormatType(CVPixelBufferRef pixels)
{
    return as<PixelBuffer>(pixels).format;
}

}  // extern "C"

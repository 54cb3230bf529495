#include "platform/mac/MacPictureDecoder.h"

#include "engine/pictures/FitRectangle.h"
#include "platform/mac/CfHandle.h"
#include "platform/mac/MediaConversion.h"

#include <VideoToolbox/VideoToolbox.h>
#include <array>
#include <string_view>
#include <utility>

namespace velmora::mac_backend {

namespace {

constexpr const char* notDecoded = "The picture could not be decoded";

/// No picture is worth decoding more than two minutes of 1080p at 30 pictures a second.
constexpr std::int64_t mostDecodedPixels = std::int64_t{1920} * 1080 * 30 * 120;

tl::unexpected<Error> failure(OSStatus status)
{
    return fail("VideoToolbox", status, notDecoded);
}

struct InvalidateAndRelease {
    void operator()(VTDecompressionSessionRef session) const
    {
        VTDecompressionSessionInvalidate(session);
        CFRelease(session);
    }
};
using Session = std::unique_ptr<std::remove_pointer_t<VTDecompressionSessionRef>, InvalidateAndRelease>;

CfHandle<CFStringRef> textFor(std::string_view text)
{
    return CfHandle<CFStringRef>{CFStringCreateWithBytes(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()), static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false)};
}

CfHandle<CFDictionaryRef> dictionaryOf(std::initializer_list<std::pair<CFStringRef, CFTypeRef>> pairs)
{
    std::vector<const void*> keys;
    std::vector<const void*> values;
    for (const auto& [key, value] : pairs) {
        keys.push_back(key);
        values.push_back(value);
    }
    return CfHandle<CFDictionaryRef>{CFDictionaryCreate(kCFAllocatorDefault, keys.data(), values.data(), static_cast<CFIndex>(keys.size()),
        &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks)};
}

CfHandle<CFNumberRef> numberOf(std::int64_t value)
{
    return CfHandle<CFNumberRef>{CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value)};
}

/// The box in which a file has the configuration of this codec's decoder; empty where nothing here decodes it.
std::string_view configurationBox(FourCharacterCode codec)
{
    if (codec == FourCharacterCode{"avc1"})
        return "avcC";
    if (codec == FourCharacterCode{"hvc1"} || codec == FourCharacterCode{"hev1"})
        return "hvcC";
    return codec == FourCharacterCode{"av01"} ? "av1C" : "";
}

CfHandle<CMFormatDescriptionRef> descriptionOf(const VideoFormat& format, std::string_view box)
{
    const auto name = textFor(box);
    const CfHandle<CFDataRef> configuration{CFDataCreate(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(format.decoderConfiguration.data()), static_cast<CFIndex>(format.decoderConfiguration.size()))};
    if (!name || !configuration)
        return nullptr;
    const auto atoms = dictionaryOf({{name.get(), configuration.get()}});
    if (!atoms)
        return nullptr;
    const auto extensions = dictionaryOf({{kCMFormatDescriptionExtension_SampleDescriptionExtensionAtoms, atoms.get()}});
    CMVideoFormatDescriptionRef made = nullptr;
    if (!extensions
        || CMVideoFormatDescriptionCreate(kCFAllocatorDefault, format.codec.value, format.width, format.height, extensions.get(), &made)
            != noErr)
        return nullptr;
    return CfHandle<CMFormatDescriptionRef>{made};
}

/// Never larger than the picture.
PixelRect fittedSize(const VideoFormat& format, const engine::PictureRequest& request)
{
    if (format.width <= request.maximumWidth && format.height <= request.maximumHeight)
        return {0, 0, format.width, format.height};
    return engine::fitRectangle(format.width, format.height, request.maximumWidth, request.maximumHeight);
}

class MacPictureDecoder final : public engine::PictureDecoder {
public:
    MacPictureDecoder(CfHandle<CMFormatDescriptionRef> description, const VideoFormat& format, const engine::PictureRequest& request)
        : description_(std::move(description))
        , pixels_(std::int64_t{format.width} * format.height)
        , time_(request.time)
    {
    }
    MacPictureDecoder(const MacPictureDecoder&) = delete;
    MacPictureDecoder& operator=(const MacPictureDecoder&) = delete;

    OSStatus open(const PixelRect& size)
    {
        const auto format = numberOf(kCVPixelFormatType_32BGRA);
        const auto width = numberOf(size.width);
        const auto height = numberOf(size.height);
        if (!format || !width || !height)
            return kVTParameterErr;
        const auto attributes = dictionaryOf({{kCVPixelBufferPixelFormatTypeKey, format.get()}, {kCVPixelBufferWidthKey, width.get()},
            {kCVPixelBufferHeightKey, height.get()}});
        const VTDecompressionOutputCallbackRecord called{wasDecoded, this};
        VTDecompressionSessionRef made = nullptr;
        const OSStatus status =
            VTDecompressionSessionCreate(kCFAllocatorDefault, description_.get(), nullptr, attributes.get(), &called, &made);
        session_.reset(made);
        return status == noErr && !made ? kVTParameterErr : status;
    }

    Result<PixelBufferRef> decode(std::span<const std::byte> sample, std::int64_t time) override
    {
        decodedPixels_ += pixels_;
        if (sample.empty() || decodedPixels_ > mostDecodedPixels)
            return failure(kVTParameterErr);
        const auto buffer = bufferOf(sample, time);
        if (!buffer)
            return failure(kVTParameterErr);
        // Nothing here is asynchronous, so the callback has been called when this returns, and the sample's memory is read no more.
        const OSStatus status = VTDecompressionSessionDecodeFrame(
            session_.get(), buffer.get(), time == time_ ? 0 : VTDecodeFrameFlags{kVTDecodeFrame_DoNotOutputFrame}, nullptr, nullptr);
        if (status != noErr)
            return failure(status);
        if (time != time_)
            return PixelBufferRef{};
        if (status_ != noErr)
            return failure(status_);
        if (!picture_)
            return failure(kVTParameterErr);
        return std::exchange(picture_, nullptr);
    }

    Result<PixelBufferRef> finish() override { return failure(kVTParameterErr); }

private:
    static void wasDecoded(void* value, void*, OSStatus status, VTDecodeInfoFlags, CVImageBufferRef image, CMTime, CMTime)
    {
        auto& self = *static_cast<MacPictureDecoder*>(value);
        self.status_ = status;
        if (status == noErr && image)
            self.picture_ = pictureOf(image);
    }

    [[nodiscard]] CfHandle<CMSampleBufferRef> bufferOf(std::span<const std::byte> sample, std::int64_t time) const
    {
        CMBlockBufferRef made = nullptr;
        // Without a copy, and without being freed.
        if (CMBlockBufferCreateWithMemoryBlock(kCFAllocatorDefault, const_cast<std::byte*>(sample.data()), sample.size(), kCFAllocatorNull,
                nullptr, 0, sample.size(), 0, &made)
            != noErr)
            return nullptr;
        const CfHandle<CMBlockBufferRef> block{made};
        // Whatever the track counts in: the decoder only hands it back.
        const CMSampleTimingInfo timing{kCMTimeInvalid, CMTimeMake(time, 1), kCMTimeInvalid};
        const std::size_t size = sample.size();
        CMSampleBufferRef buffer = nullptr;
        if (CMSampleBufferCreateReady(kCFAllocatorDefault, block.get(), description_.get(), 1, 1, &timing, 1, &size, &buffer) != noErr)
            return nullptr;
        return CfHandle<CMSampleBufferRef>{buffer};
    }

    const CfHandle<CMFormatDescriptionRef> description_;
    const std::int64_t pixels_;
    const std::int64_t time_;
    std::int64_t decodedPixels_ = 0;
    OSStatus status_ = noErr;
    PixelBufferRef picture_;
    Session session_;  // the first to go: what it calls back is above
};

}  // namespace

Result<std::unique_ptr<engine::PictureDecoder>> makePictureDecoder(const VideoFormat& format, const engine::PictureRequest& request)
{
    const auto box = configurationBox(format.codec);
    if (box.empty() || format.width < 1 || format.height < 1 || request.maximumWidth < 1 || request.maximumHeight < 1)
        return failure(kVTParameterErr);
    auto description = descriptionOf(format, box);
    if (!description)
        return failure(kVTParameterErr);
    auto decoder = std::make_unique<MacPictureDecoder>(std::move(description), format, request);
    if (const OSStatus status = decoder->open(fittedSize(format, request)); status != noErr)
        return failure(status);
    return decoder;
}

}  // namespace velmora::mac_backend

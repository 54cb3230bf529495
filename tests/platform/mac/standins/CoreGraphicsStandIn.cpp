#include "tests/platform/mac/standins/CoreGraphicsStandIn.h"

#include "tests/platform/mac/standins/StandInObject.h"

#include <CoreGraphics/CoreGraphics.h>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

namespace velmora::standin {

ScreenAccess& screenAccess()
{
    static ScreenAccess access;
    return access;
}

namespace {

std::optional<std::uint8_t> blue;

struct Picture : Object {
    static constexpr Kind ownKind = Kind::image;
    Picture() : Object(ownKind) { }
    void end() override
    {
        if (release)
            release(value, bytes, size);
        if (holds)
            CFRelease(holds);
    }
    CGDataProviderReleaseDataCallback release = nullptr;
    void* value = nullptr;
    const void* bytes = nullptr;
    std::size_t size = 0;
    const void* holds = nullptr;
    ImageFacts facts;
};

}  // namespace

std::optional<std::uint8_t> takeFirstBlueOfImage()
{
    return std::exchange(blue, std::nullopt);
}

ImageFacts imageFacts(const void* image)
{
    return as<Picture>(image).facts;
}

}  // namespace velmora::standin

using velmora::standin::screenAccess;

using namespace velmora::standin;

extern "C" {

CGColorSpaceRef CGColorSpaceCreateDeviceRGB()
{
    return referenceTo<CGColorSpaceRef>(make<Picture>());
}

CGDataProviderRef CGDataProviderCreateWithData(void* value, const void* bytes, size_t size, CGDataProviderReleaseDataCallback release)
{
    auto& made = make<Picture>();
    made.release = release;
    made.value = value;
    made.bytes = bytes;
    made.size = size;
    return referenceTo<CGDataProviderRef>(made);
}

CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerChannel, size_t bitsPerPixel, size_t bytesPerRow,
    CGColorSpaceRef colours, CGBitmapInfo format, CGDataProviderRef provider, const CGFloat*, bool, CGColorRenderingIntent)
{
    auto& data = as<Picture>(provider);
    as<Picture>(colours);
    if (bitsPerChannel != 8 || bitsPerPixel != 32 || bytesPerRow < width * 4 || data.size < bytesPerRow * height)
        return nullptr;
    // Blue is the first byte of a pixel only with this format.
    if (format == (static_cast<CGBitmapInfo>(kCGImageAlphaNoneSkipFirst) | static_cast<CGBitmapInfo>(kCGBitmapByteOrder32Little)))
        blue = *static_cast<const std::uint8_t*>(data.bytes);
    auto& made = make<Picture>();
    made.holds = CFRetain(provider);
    made.facts.width = width;
    made.facts.height = height;
    std::memcpy(made.facts.firstPixel.data(), data.bytes, made.facts.firstPixel.size());
    made.facts.hasAlphaLast = format == kCGImageAlphaLast;
    return referenceTo<CGImageRef>(made);
}

CGContextRef CGBitmapContextCreate(
    void* memory, size_t width, size_t height, size_t bitsPerChannel, size_t bytesPerRow, CGColorSpaceRef colours, uint32_t format)
{
    as<Picture>(colours);
    // Of the formats that it takes, the one that has an alpha at the end.
    if (!memory || bitsPerChannel != 8 || bytesPerRow < width * 4 || format != kCGImageAlphaPremultipliedLast)
        return nullptr;
    auto& made = make<Picture>();
    made.value = memory;
    made.size = bytesPerRow * height;
    made.facts.width = width;
    made.facts.height = height;
    return referenceTo<CGContextRef>(made);
}

void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image)
{
    auto& target = as<Picture>(context);
    const auto& drawn = as<Picture>(image).facts;
    if (rect.origin.x != 0 || rect.origin.y != 0 || rect.size.width != static_cast<CGFloat>(target.facts.width)
        || rect.size.height != static_cast<CGFloat>(target.facts.height))
        refuse("an image was drawn into a part of a bitmap");
    auto* const bytes = static_cast<std::uint8_t*>(target.value);
    const unsigned alpha = drawn.hasAlphaLast ? drawn.firstPixel[3] : 255;
    for (std::size_t index = 0; index < target.size; ++index)
        bytes[index] = static_cast<std::uint8_t>(index % 4 == 3 ? alpha : (drawn.firstPixel[index % 4] * alpha + 127) / 255);
}

bool CGPreflightScreenCaptureAccess()
{
    return screenAccess().isAllowed;
}

bool CGRequestScreenCaptureAccess()
{
    ++screenAccess().questions;
    screenAccess().isAllowed = screenAccess().isAllowed || screenAccess().isAllowedWhenAsked;
    return screenAccess().isAllowed;
}

}  // extern "C"

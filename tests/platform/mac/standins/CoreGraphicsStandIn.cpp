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

#include "platform/mac/Images.h"

#include "platform/mac/CfHandle.h"

#include <cstddef>
#include <cstdint>

namespace velmora::mac_backend {

namespace {

using Bytes = std::vector<std::uint8_t>;

void giveBack(void* bytes, const void*, std::size_t)
{
    delete static_cast<Bytes*>(bytes);
}

CfHandle<CGImageRef> systemImage(const platform::ApplicationIcon& picture)
{
    constexpr std::size_t bitsPerChannel = 8;
    constexpr std::size_t bytesPerPixel = 4;
    const auto side = picture.side > 0 ? static_cast<std::size_t>(picture.side) : 0;
    if (side == 0 || picture.rgba.size() != side * side * bytesPerPixel)
        return nullptr;
    // The system keeps them for as long as it likes.
    auto* const kept = new Bytes(picture.rgba);
    const CfHandle<CGDataProviderRef> bytes{CGDataProviderCreateWithData(kept, kept->data(), kept->size(), giveBack)};
    const CfHandle<CGColorSpaceRef> colours{CGColorSpaceCreateDeviceRGB()};
    if (!bytes || !colours)
        return nullptr;
    return CfHandle<CGImageRef>{CGImageCreate(side, side, bitsPerChannel, bytesPerPixel * bitsPerChannel, side * bytesPerPixel,
        colours.get(), static_cast<CGBitmapInfo>(kCGImageAlphaLast), bytes.get(), nullptr, false, kCGRenderingIntentDefault)};
}

}  // namespace

NSImage* imageOf(const std::vector<platform::ApplicationIcon>& pictures, double side)
{
    NSImage* image = nil;
    for (const auto& each : pictures) {
        const auto made = systemImage(each);
        if (!made)
            continue;
        if (!image)
            image = [[NSImage alloc] initWithSize:NSSize{side, side}];
        NSBitmapImageRep* const representation = [[NSBitmapImageRep alloc] initWithCGImage:made.get()];
        // Else it would be as large in points as it is in pixels.
        representation.size = NSSize{side, side};
        [image addRepresentation:representation];
    }
    return image;
}

}  // namespace velmora::mac_backend

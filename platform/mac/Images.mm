#include "platform/mac/Images.h"

#include "platform/mac/CfHandle.h"

#include <algorithm>
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

/// A bitmap's colours have been multiplied by its alpha.
void divideByAlpha(Bytes& rgba)
{
    constexpr std::size_t pixelSize = 4;
    constexpr unsigned opaque = 255;
    for (std::size_t pixel = 0; pixel < rgba.size(); pixel += pixelSize) {
        const unsigned alpha = rgba[pixel + 3];
        for (std::size_t colour = pixel; alpha > 0 && colour < pixel + 3; ++colour)
            rgba[colour] = static_cast<std::uint8_t>(std::min(opaque, (rgba[colour] * opaque + alpha / 2) / alpha));
    }
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

std::optional<platform::ApplicationIcon> pictureOf(NSImage* image, int side)
{
    constexpr std::size_t bitsPerChannel = 8;
    constexpr std::size_t bytesPerPixel = 4;
    if (!image || side <= 0)
        return std::nullopt;
    const CGRect whole{{0, 0}, {static_cast<CGFloat>(side), static_cast<CGFloat>(side)}};
    NSRect proposed = whole;
    CGImageRef const drawn = [image CGImageForProposedRect:&proposed context:nil hints:nil];
    if (!drawn)
        return std::nullopt;
    const auto pixels = static_cast<std::size_t>(side);
    platform::ApplicationIcon icon{side, Bytes(pixels * pixels * bytesPerPixel)};
    const CfHandle<CGColorSpaceRef> colours{CGColorSpaceCreateDeviceRGB()};
    const CfHandle<CGContextRef> context{CGBitmapContextCreate(
        icon.rgba.data(), pixels, pixels, bitsPerChannel, pixels * bytesPerPixel, colours.get(), kCGImageAlphaPremultipliedLast)};
    if (!context)
        return std::nullopt;
    CGContextDrawImage(context.get(), whole, drawn);
    divideByAlpha(icon.rgba);
    return icon;
}

}  // namespace velmora::mac_backend

#include "platform/mac/MacFileDrags.h"

#include "platform/mac/CfHandle.h"
#include "platform/mac/ObjectiveC.h"
#include "platform/mac/SystemExceptions.h"

#import <AppKit/AppKit.h>

/// What every receiver may do with the files: copy them.
@interface VelmoraDraggingSource : NSObject <NSDraggingSource>
@end

@implementation VelmoraDraggingSource

- (NSDragOperation)draggingSession:(NSDraggingSession*)session sourceOperationMaskForDraggingContext:(NSDraggingContext)context
{
    return NSDragOperationCopy;
}

@end

namespace velmora::mac_backend {

namespace {

void giveBack(void* picture, const void*, std::size_t)
{
    delete static_cast<PixelBufferRef*>(picture);
}

/// nil where the system makes none. The picture's memory lives as long as it.
NSImage* imageOf(const PixelBufferRef& picture)
{
    if (!picture)
        return nil;
    const auto width = static_cast<std::size_t>(picture->width);
    const auto height = static_cast<std::size_t>(picture->height);
    const CfHandle<CGDataProviderRef> bytes{
        CGDataProviderCreateWithData(new PixelBufferRef(picture), picture->baseAddress, picture->bytesPerRow * height, giveBack)};
    const CfHandle<CGColorSpaceRef> colours{CGColorSpaceCreateDeviceRGB()};
    if (!bytes || !colours)
        return nil;
    constexpr std::size_t bitsPerChannel = 8;
    constexpr std::size_t bitsPerPixel = 32;
    const CfHandle<CGImageRef> image{CGImageCreate(width, height, bitsPerChannel, bitsPerPixel, picture->bytesPerRow, colours.get(),
        static_cast<CGBitmapInfo>(kCGImageAlphaNoneSkipFirst) | static_cast<CGBitmapInfo>(kCGBitmapByteOrder32Little), bytes.get(), nullptr,
        false, kCGRenderingIntentDefault)};
    if (!image)
        return nil;
    return [[NSImage alloc] initWithCGImage:image.get() size:NSSize{static_cast<CGFloat>(width), static_cast<CGFloat>(height)}];
}

class MacFileDrags final : public platform::FileDrags {
public:
    void begin(std::vector<std::filesystem::path> files, PixelBufferRef picture) override
    {
        @autoreleasepool {
            NSEvent* const event = NSApplication.sharedApplication.currentEvent;
            NSView* const view = event.window.contentView;
            if (!view || (NSEvent.pressedMouseButtons & 1) == 0)
                return;
            NSMutableArray<NSDraggingItem*>* const items = [[NSMutableArray alloc] init];
            for (const auto& file : files) {
                NSURL* const url = urlOf(file);
                if (!url)
                    continue;
                NSDraggingItem* const item = [[NSDraggingItem alloc] initWithPasteboardWriter:url];
                NSImage* image = imageOf(picture);
                if (!image)
                    image = [NSWorkspace.sharedWorkspace iconForFile:textFrom(file.native())];
                const NSSize size = image.size;
                const CGPoint pointer = event.locationInWindow;
                [item setDraggingFrame:NSRect{{pointer.x - size.width / 2, pointer.y - size.height / 2}, size} contents:image];
                [items addObject:item];
            }
            // A session without items is an exception.
            if (items.count == 0)
                return;
            thrownBy([&] { [view beginDraggingSessionWithItems:items event:event source:[[VelmoraDraggingSource alloc] init]]; });
        }
    }
};

}  // namespace

std::shared_ptr<platform::FileDrags> makeFileDrags()
{
    return std::make_shared<MacFileDrags>();
}

}  // namespace velmora::mac_backend

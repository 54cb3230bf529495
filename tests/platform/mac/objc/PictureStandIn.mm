#include "tests/platform/mac/objc/AppKitObjects.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

@implementation NSImageRep {
@public
    NSSize _size;
    CGImageRef _image;
}
- (void)dealloc
{
    if (_image)
        CFRelease(_image);
    [super dealloc];
}
@end

@implementation NSBitmapImageRep
- (instancetype)initWithCGImage:(CGImageRef)image
{
    _image = reinterpret_cast<CGImageRef>(const_cast<void*>(CFRetain(image)));
    const auto facts = velmora::standin::imageFacts(image);
    _size = {static_cast<CGFloat>(facts.width), static_cast<CGFloat>(facts.height)};
    return self;
}
@end

@implementation NSImage {
@public
    NSSize _size;
    CGImageRef _image;
    bool _isTemplate;
    NSString* _accessibilityDescription;
    std::vector<NSImageRep*> _representations;
}
- (instancetype)initWithCGImage:(CGImageRef)image size:(NSSize)size
{
    _image = reinterpret_cast<CGImageRef>(const_cast<void*>(CFRetain(image)));
    _size = size;
    return self;
}
- (instancetype)initWithSize:(NSSize)size
{
    _size = size;
    return self;
}
- (void)addRepresentation:(NSImageRep*)representation
{
    if (!representation)
        velmora::standin::raise(velmora::standin::invalidArgument, "nil as a representation");
    _representations.push_back(objc_retain(representation));
}
- (CGImageRef)CGImageForProposedRect:(NSRect*)proposed context:(NSGraphicsContext*)context hints:(NSDictionary*)hints
{
    if (context || hints)
        velmora::standin::refuse("a context or a hint that nobody has");
    // "may have been altered": an image has whole pixels.
    *proposed = {{1, 1}, {proposed->size.width - 2, proposed->size.height - 2}};
    return _image;
}
- (void)setTemplate:(BOOL)isTemplate
{
    _isTemplate = isTemplate;
}
- (void)dealloc
{
    if (_image)
        CFRelease(_image);
    for (NSImageRep* each : _representations)
        objc_release(each);
    objc_release(_accessibilityDescription);
    [super dealloc];
}
@end

namespace velmora::standin {

ShownPicture pictureOf(NSImage* image)
{
    ShownPicture picture{image->_size.width, image->_isTemplate, textOfObject(image->_accessibilityDescription), {}, {}};
    for (const NSImageRep* each : image->_representations) {
        picture.representations.push_back(imageFacts(each->_image));
        picture.representationSides.push_back(each->_size.width);
    }
    return picture;
}

NSImage* makeImage(const std::array<std::uint8_t, 4>& pixel)
{
    auto* const kept = new std::array<std::uint8_t, 4>(pixel);
    const auto giveBack = [](void* bytes, const void*, std::size_t) { delete static_cast<std::array<std::uint8_t, 4>*>(bytes); };
    CGDataProviderRef const bytes = CGDataProviderCreateWithData(kept, kept->data(), kept->size(), giveBack);
    CGColorSpaceRef const colours = CGColorSpaceCreateDeviceRGB();
    CGImageRef const made = CGImageCreate(
        1, 1, 8, 32, 4, colours, static_cast<CGBitmapInfo>(kCGImageAlphaLast), bytes, nullptr, false, kCGRenderingIntentDefault);
    NSImage* const image = [[NSImage alloc] initWithCGImage:made size:NSSize{32, 32}];
    for (const void* each : {static_cast<const void*>(made), static_cast<const void*>(colours), static_cast<const void*>(bytes)})
        CFRelease(each);
    return image;
}

}  // namespace velmora::standin

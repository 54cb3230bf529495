#include "tests/platform/mac/objc/AppKitObjects.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"

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

}  // namespace velmora::standin

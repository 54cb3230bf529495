#include "tests/platform/mac/objc/AppKitObjects.h"

#include "tests/platform/mac/objc/FoundationStandIn.h"

using velmora::standin::makeText;

extern "C" {
NSAttributedStringKey const NSFontAttributeName = makeText("font");
NSAttributedStringKey const NSForegroundColorAttributeName = makeText("colour");
}

@implementation NSColor {
@public
    std::string _name;
}
+ (NSColor*)clearColor
{
    NSColor* const made = [NSColor new];
    made->_name = "clear";
    return objc_autorelease(made);
}
+ (NSColor*)labelColor
{
    NSColor* const made = [NSColor new];
    made->_name = "label";
    return objc_autorelease(made);
}
@end

@implementation NSFont {
@public
    std::string _name;
}
+ (NSFont*)boldSystemFontOfSize:(CGFloat)size
{
    NSFont* const made = [NSFont new];
    made->_name = std::to_string(static_cast<int>(size)) + " bold";
    return objc_autorelease(made);
}
@end

@implementation NSAttributedString {
@public
    std::string _text;
    std::string _look;
}
- (instancetype)initWithString:(NSString*)string attributes:(NSDictionary*)attributes
{
    _text = velmora::standin::menuText(string);
    NSFont* const font = [attributes objectForKey:NSFontAttributeName];
    NSColor* const color = [attributes objectForKey:NSForegroundColorAttributeName];
    _look = (font ? font->_name : "") + ", " + (color ? color->_name : "");
    return self;
}
@end

namespace velmora::standin {

std::string colorName(NSColor* color)
{
    return color->_name;
}

std::string lookOf(NSAttributedString* text)
{
    return text->_text + ": " + text->_look;
}

}  // namespace velmora::standin

#include "tests/platform/mac/objc/ShellStandIn.h"

#include "tests/platform/mac/objc/AppKitStandIn.h"
#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <Block.h>
#include <utility>

using velmora::standin::makeText;
using velmora::standin::textOfObject;

extern "C" {
id objc_msgSend(id receiver, SEL selector, ...);
NSAttributedStringKey const NSFontAttributeName = makeText("font");
NSAttributedStringKey const NSForegroundColorAttributeName = makeText("colour");
}

namespace {

std::string checkedText(NSString* text)
{
    if (!text)
        velmora::standin::raise(velmora::standin::invalidArgument, "nil as a text of a menu");
    return text.UTF8String;
}

struct Shell {
    std::vector<NSStatusItem*> items;
    int clicks = 0;
    NSMenu* open = nil;  ///< held
    std::vector<std::optional<double>> durations;  ///< of the groups that are being made
    std::vector<void*> completions;
};
Shell& shell()
{
    static Shell all;
    return all;
}

}  // namespace

@implementation NSImageRep {
@public
    NSSize _size;
    CGImageRef _image;
}
- (NSSize)size
{
    return _size;
}
- (void)setSize:(NSSize)size
{
    _size = size;
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
    std::string _description;
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
- (NSString*)accessibilityDescription
{
    return objc_autorelease(makeText(_description));
}
- (void)setAccessibilityDescription:(NSString*)text
{
    _description = text ? text.UTF8String : "";
}
- (NSSize)size
{
    return _size;
}
- (void)setSize:(NSSize)size
{
    _size = size;
}
- (void)dealloc
{
    if (_image)
        CFRelease(_image);
    for (NSImageRep* each : _representations)
        objc_release(each);
    [super dealloc];
}
@end

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
    _text = checkedText(string);
    NSFont* const font = [attributes objectForKey:NSFontAttributeName];
    NSColor* const color = [attributes objectForKey:NSForegroundColorAttributeName];
    _look = (font ? font->_name : "") + ", " + (color ? color->_name : "");
    return self;
}
@end

@implementation NSButton {
@public
    NSImage* _image;
}
- (NSImage*)image
{
    return _image;
}
- (void)setImage:(NSImage*)image
{
    NSImage* const before = _image;
    _image = objc_retain(image);
    objc_release(before);
}
- (void)performClick:(id)sender
{
    static_cast<void>(sender);
    ++shell().clicks;
    velmora::standin::openMenu();
}
- (void)dealloc
{
    objc_release(_image);
    [super dealloc];
}
@end

@implementation NSStatusBarButton
@end

@implementation NSMenuItem {
@public
    velmora::standin::ShownItem _shown;
    SEL _action;
    id _target;  // not held
    NSInteger _tag;
    bool _enabled;
    std::string _key;
    NSEventModifierFlags _modifiers;
    NSMenu* _submenu;
    NSMenu* _menu;  // that it is in; not held
    NSImage* _image;
    NSAttributedString* _attributed;
}
+ (NSMenuItem*)separatorItem
{
    NSMenuItem* const made = [NSMenuItem new];
    made->_shown.isSeparator = true;
    return objc_autorelease(made);
}
- (instancetype)initWithTitle:(NSString*)title action:(SEL)action keyEquivalent:(NSString*)key
{
    _shown.title = checkedText(title);
    _key = checkedText(key);
    _action = action;
    _enabled = true;
    _modifiers = NSEventModifierFlagCommand;
    return self;
}
- (NSAttributedString*)attributedTitle
{
    return _attributed;
}
- (void)setAttributedTitle:(NSAttributedString*)title
{
    objc_release(_attributed);
    _attributed = objc_retain(title);
}
- (NSImage*)image
{
    return _image;
}
- (void)setImage:(NSImage*)image
{
    objc_release(_image);
    _image = objc_retain(image);
}
- (BOOL)isEnabled
{
    return _enabled;
}
- (void)setEnabled:(BOOL)enabled
{
    _enabled = enabled;
}
- (NSEventModifierFlags)keyEquivalentModifierMask
{
    return _modifiers;
}
- (void)setKeyEquivalentModifierMask:(NSEventModifierFlags)modifiers
{
    _modifiers = modifiers;
}
- (id)target
{
    return _target;
}
- (void)setTarget:(id)target
{
    _target = target;
}
- (NSInteger)tag
{
    return _tag;
}
- (void)setTag:(NSInteger)tag
{
    _tag = tag;
}
- (NSMenu*)submenu
{
    return _submenu;
}
- (void)setSubmenu:(NSMenu*)menu
{
    objc_release(_submenu);
    _submenu = objc_retain(menu);
}
- (void)dealloc
{
    objc_release(_submenu);
    objc_release(_image);
    objc_release(_attributed);
    [super dealloc];
}
@end

@implementation NSMenu {
@public
    std::string _title;
    bool _enablesByItself;
    id<NSMenuDelegate> _delegate;  // not held
    std::vector<NSMenuItem*> _items;
}
- (instancetype)initWithTitle:(NSString*)title
{
    _title = checkedText(title);
    _enablesByItself = true;
    return self;
}
- (BOOL)autoenablesItems
{
    return _enablesByItself;
}
- (void)setAutoenablesItems:(BOOL)enables
{
    _enablesByItself = enables;
}
- (id<NSMenuDelegate>)delegate
{
    return _delegate;
}
- (void)setDelegate:(id<NSMenuDelegate>)delegate
{
    _delegate = delegate;
}
- (void)addItem:(NSMenuItem*)item
{
    if (!item)
        velmora::standin::raise(velmora::standin::invalidArgument, "nil in a menu");
    if (item->_menu)
        velmora::standin::raise(velmora::standin::inconsistency, "an item in two menus");
    item->_menu = self;
    _items.push_back(objc_retain(item));
}
- (void)removeAllItems
{
    for (NSMenuItem* each : std::exchange(_items, {})) {
        each->_menu = nil;
        objc_release(each);
    }
}
- (void)dealloc
{
    [self removeAllItems];
    [super dealloc];
}
@end

@implementation NSStatusItem {
@public
    NSStatusBarButton* _button;
    NSMenu* _menu;
    double _length;
}
- (NSStatusBarButton*)button
{
    return _button;
}
- (NSMenu*)menu
{
    return _menu;
}
- (void)setMenu:(NSMenu*)menu
{
    NSMenu* const before = _menu;
    _menu = objc_retain(menu);
    objc_release(before);
}
- (void)dealloc
{
    // "The object is removed from the status bar when it is deallocated."
    std::erase(shell().items, self);
    objc_release(_button);
    objc_release(_menu);
    [super dealloc];
}
@end

@implementation NSStatusBar
+ (NSStatusBar*)systemStatusBar
{
    return objc_autorelease([NSStatusBar new]);
}
- (NSStatusItem*)statusItemWithLength:(CGFloat)length
{
    NSStatusItem* const made = [NSStatusItem new];
    made->_button = [NSStatusBarButton new];
    made->_length = length;
    // Not held, as its page says.
    shell().items.push_back(made);
    return objc_autorelease(made);
}
- (void)removeStatusItem:(NSStatusItem*)item
{
    if (std::erase(shell().items, item) != 1)
        velmora::standin::refuse("an item was removed that is not in the bar");
}
@end

@implementation NSPanel {
    bool _isFloating;
}
- (BOOL)isPanel
{
    return YES;
}
- (BOOL)isFloatingPanel
{
    return _isFloating;
}
- (void)setFloatingPanel:(BOOL)isFloating
{
    _isFloating = isFloating;
    // A floating panel is on its own level, another on that of windows.
    self.level = isFloating ? NSFloatingWindowLevel : 0;
}
@end

@implementation NSAnimationContext {
@public
    double _duration;
}
- (NSTimeInterval)duration
{
    return _duration;
}
- (void)setDuration:(NSTimeInterval)duration
{
    _duration = duration;
    shell().durations.back() = duration;
}
+ (void)runAnimationGroup:(void (^)(NSAnimationContext* context))changes completionHandler:(void (^)(void))completionHandler
{
    shell().durations.emplace_back();
    NSAnimationContext* const context = [NSAnimationContext new];
    changes(context);
    objc_release(context);
    shell().durations.pop_back();
    shell().completions.push_back(_Block_copy(completionHandler));
}
@end

namespace velmora::standin {

namespace {

bool isEnabled(const NSMenuItem* item)
{
    if (item->_shown.isSeparator)
        return false;
    // Where the menu decides, by whether somebody would hear of it.
    if (item->_menu->_enablesByItself)
        return item->_submenu || (item->_action && item->_target);
    return item->_enabled;
}

std::string keysOf(const NSMenuItem* item)
{
    if (item->_key.empty())
        return {};
    std::string keys;
    if ((item->_modifiers & NSEventModifierFlagOption) != 0)
        keys += "⌥";
    if ((item->_modifiers & NSEventModifierFlagCommand) != 0)
        keys += "⌘";
    return keys + static_cast<char>(std::toupper(static_cast<unsigned char>(item->_key[0])));
}

std::vector<ShownItem> shownIn(const NSMenu* menu)
{
    std::vector<ShownItem> all;
    for (const NSMenuItem* each : menu->_items) {
        auto shown = each->_shown;
        shown.isEnabled = isEnabled(each);
        shown.keys = keysOf(each);
        shown.hasPicture = each->_image != nil;
        if (each->_attributed)
            shown.boldTitle = each->_attributed->_text + ": " + each->_attributed->_look;
        if (each->_submenu) {
            shown.submenu = shownIn(each->_submenu);
            shown.submenuTitle = each->_submenu->_title;
        }
        all.push_back(std::move(shown));
    }
    return all;
}

void fillMenu(NSMenu* menu)
{
    runInPool([&] { [menu->_delegate menuNeedsUpdate:menu]; });
}

void act(NSMenuItem* item)
{
    if (!isEnabled(item) || !item->_action || item->_submenu)
        return;
    objc_retain(item);
    runInPool([&] { reinterpret_cast<void (*)(id, SEL, id)>(reinterpret_cast<void*>(&objc_msgSend))(item->_target, item->_action, item); });
    objc_release(item);
}

void close()
{
    objc_release(std::exchange(shell().open, nil));
}

NSMenuItem* itemWithKeys(const NSMenu* menu, const std::string& keys)
{
    for (NSMenuItem* each : menu->_items) {
        if (keysOf(each) == keys)
            return each;
    }
    return nil;
}

}  // namespace

std::string colorName(NSColor* color)
{
    return color->_name;
}

std::optional<double> animationSeconds()
{
    return shell().durations.empty() ? std::nullopt : shell().durations.back();
}

std::vector<BarItem> barItems()
{
    std::vector<BarItem> all;
    for (const NSStatusItem* each : shell().items) {
        BarItem item{each->_length, {}};
        if (const NSImage* const image = each->_button->_image) {
            item.picture = ShownPicture{image->_size.width, image->_isTemplate, image->_description, {}, {}};
            for (const NSImageRep* one : image->_representations) {
                item.picture->representations.push_back(imageFacts(one->_image));
                item.picture->representationSides.push_back(one->_size.width);
            }
        }
        all.push_back(std::move(item));
    }
    return all;
}

std::vector<ShownItem> openMenu()
{
    close();
    shell().open = objc_retain(shell().items.back()->_menu);
    fillMenu(shell().open);
    return shownIn(shell().open);
}

void choose(const std::vector<std::size_t>& place)
{
    NSMenu* const menu = shell().open;
    NSMenuItem* item = menu->_items.at(place.at(0));
    if (place.size() > 1)
        item = item->_submenu->_items.at(place[1]);
    act(item);
    close();
}

void pressMenuKey(const std::string& keys)
{
    // "If the menu is updated because the user pressed a command key"
    NSMenu* const menu = objc_retain(shell().items.back()->_menu);
    fillMenu(menu);
    if (NSMenuItem* const item = itemWithKeys(menu, keys))
        act(item);
    objc_release(menu);
}

int clickCount()
{
    return shell().clicks;
}

std::size_t finishAnimations()
{
    moveAlpha();
    const auto all = std::exchange(shell().completions, {});
    for (void* each : all) {
        runInPool([&] { ((void (^)(void))each)(); });
        _Block_release(each);
    }
    return all.size();
}

void resetShell()
{
    close();
    if (!shell().items.empty())
        refuse("an item was left in the bar");
    for (void* each : std::exchange(shell().completions, {}))
        _Block_release(each);
    shell() = {};
}

}  // namespace velmora::standin

#include "tests/platform/mac/objc/AppKitObjects.h"

#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/FoundationStandIn.h"

#include <utility>

using velmora::standin::menuText;

extern "C" id objc_msgSend(id receiver, SEL selector, ...);

@implementation NSMenuItem {
@public
    velmora::standin::ShownItem _shown;
    SEL _action;
    id _target;  // not held
    std::string _key;
    BOOL _enabled;
    NSEventModifierFlags _keyEquivalentModifierMask;
    NSMenu* _submenu;
    NSMenu* _menu;  // that it is in; not held
    NSImage* _image;
    NSAttributedString* _attributedTitle;
}
+ (NSMenuItem*)separatorItem
{
    NSMenuItem* const made = [NSMenuItem new];
    made->_shown.isSeparator = true;
    return objc_autorelease(made);
}
- (instancetype)initWithTitle:(NSString*)title action:(SEL)action keyEquivalent:(NSString*)key
{
    _shown.title = menuText(title);
    _key = menuText(key);
    _action = action;
    _enabled = YES;
    _keyEquivalentModifierMask = NSEventModifierFlagCommand;
    return self;
}
- (id)target
{
    return _target;
}
- (void)setTarget:(id)target
{
    _target = target;
}
- (void)dealloc
{
    objc_release(_submenu);
    objc_release(_image);
    objc_release(_attributedTitle);
    [super dealloc];
}
@end

@implementation NSMenu {
@public
    std::string _title;
    BOOL _autoenablesItems;
    id<NSMenuDelegate> _delegate;  // not held
    std::vector<NSMenuItem*> _items;
}
- (instancetype)initWithTitle:(NSString*)title
{
    _title = menuText(title);
    _autoenablesItems = YES;
    return self;
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

namespace velmora::standin {

namespace {

bool isEnabled(const NSMenuItem* item)
{
    if (item->_shown.isSeparator)
        return false;
    // Where the menu decides, by whether somebody would hear of it.
    if (item->_menu->_autoenablesItems)
        return item->_submenu || (item->_action && item->_target);
    return item->_enabled;
}

std::string keysOf(const NSMenuItem* item)
{
    if (item->_key.empty())
        return {};
    std::string keys;
    if ((item->_keyEquivalentModifierMask & NSEventModifierFlagOption) != 0)
        keys += "⌥";
    if ((item->_keyEquivalentModifierMask & NSEventModifierFlagCommand) != 0)
        keys += "⌘";
    return keys + static_cast<char>(std::toupper(static_cast<unsigned char>(item->_key[0])));
}

void act(NSMenuItem* item)
{
    if (!isEnabled(item) || !item->_action || item->_submenu)
        return;
    objc_retain(item);
    runInPool([&] { reinterpret_cast<void (*)(id, SEL, id)>(reinterpret_cast<void*>(&objc_msgSend))(item->_target, item->_action, item); });
    objc_release(item);
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

std::string menuText(NSString* text)
{
    if (!text)
        raise(invalidArgument, "nil as a text of a menu");
    return text.UTF8String;
}

void fillMenu(NSMenu* menu)
{
    runInPool([&] { [menu->_delegate menuNeedsUpdate:menu]; });
}

std::vector<ShownItem> shownIn(NSMenu* menu)
{
    std::vector<ShownItem> all;
    for (const NSMenuItem* each : menu->_items) {
        auto shown = each->_shown;
        shown.isEnabled = isEnabled(each);
        shown.keys = keysOf(each);
        shown.hasPicture = each->_image != nil;
        if (each->_attributedTitle)
            shown.boldTitle = lookOf(each->_attributedTitle);
        if (each->_submenu) {
            shown.submenu = shownIn(each->_submenu);
            shown.submenuTitle = each->_submenu->_title;
        }
        all.push_back(std::move(shown));
    }
    return all;
}

void chooseIn(NSMenu* menu, const std::vector<std::size_t>& place)
{
    NSMenuItem* item = menu->_items.at(place.at(0));
    if (place.size() > 1)
        item = item->_submenu->_items.at(place[1]);
    act(item);
}

void pressKeyIn(NSMenu* menu, const std::string& keys)
{
    if (NSMenuItem* const item = itemWithKeys(menu, keys))
        act(item);
}

}  // namespace velmora::standin

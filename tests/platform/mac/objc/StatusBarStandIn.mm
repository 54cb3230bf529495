#include "tests/platform/mac/objc/AppKitObjects.h"

#include "tests/platform/mac/objc/FoundationStandIn.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <utility>

namespace {

struct Bar {
    std::vector<NSStatusItem*> items;
    int clicks = 0;
    NSMenu* open = nil;  ///< held
};
Bar& bar()
{
    static Bar all;
    return all;
}

}  // namespace

@implementation NSButton {
@public
    NSImage* _image;
}
- (void)performClick:(id)sender
{
    static_cast<void>(sender);
    ++bar().clicks;
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

@implementation NSStatusItem {
@public
    NSStatusBarButton* _button;
    NSMenu* _menu;
    double _length;
}
- (void)dealloc
{
    // "The object is removed from the status bar when it is deallocated."
    std::erase(bar().items, self);
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
    bar().items.push_back(made);
    return objc_autorelease(made);
}
- (void)removeStatusItem:(NSStatusItem*)item
{
    if (std::erase(bar().items, item) != 1)
        velmora::standin::refuse("an item was removed that is not in the bar");
}
@end

namespace velmora::standin {

namespace {

void close()
{
    objc_release(std::exchange(bar().open, nil));
}

}  // namespace

std::vector<BarItem> barItems()
{
    std::vector<BarItem> all;
    for (const NSStatusItem* each : bar().items) {
        BarItem item{each->_length, {}};
        if (each->_button->_image)
            item.picture = pictureOf(each->_button->_image);
        all.push_back(std::move(item));
    }
    return all;
}

std::vector<ShownItem> openMenu()
{
    close();
    bar().open = objc_retain(bar().items.back()->_menu);
    fillMenu(bar().open);
    return shownIn(bar().open);
}

void choose(const std::vector<std::size_t>& place)
{
    chooseIn(bar().open, place);
    close();
}

void pressMenuKey(const std::string& keys)
{
    // "If the menu is updated because the user pressed a command key"
    NSMenu* const menu = objc_retain(bar().items.back()->_menu);
    fillMenu(menu);
    pressKeyIn(menu, keys);
    objc_release(menu);
}

int clickCount()
{
    return bar().clicks;
}

void resetShell()
{
    close();
    if (!bar().items.empty())
        refuse("an item was left in the bar");
    resetAnimations();
    bar() = {};
}

}  // namespace velmora::standin

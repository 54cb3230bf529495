// The item in a Mac's menu bar. Compiled and tested against stand-ins; never run on a Mac.
#include "app/native/MenuText.h"
#include "app/native/StatusBarItem.h"
#include "platform/mac/Images.h"
#include "platform/mac/ObjectiveC.h"

#include <utility>

namespace velmora {

namespace {

/// What the item and the object that the system calls share.
struct StatusMenu {
    StatusBarItem::MenuDelegate delegate;
    NSImage* mark = nil;
    std::vector<MenuItem> items;  ///< those that can be chosen, by their tags
};

}  // namespace

}  // namespace velmora

/// Fills the menu when it opens, and hears what is chosen in it.
@interface VelmoraMenuController : NSObject <NSMenuDelegate> {
    std::shared_ptr<velmora::StatusMenu> _menu;
}
- (void)setStatusMenu:(std::shared_ptr<velmora::StatusMenu>)menu;
- (void)menuItemChosen:(NSMenuItem*)sender;
@end

namespace velmora {

namespace {

using mac_backend::textFrom;

constexpr CGFloat headerFontSize = 13;
constexpr double headerMarkSide = 16;

NSEventModifierFlags modifiersOf(const KeyEquivalent& keyEquivalent)
{
    return (keyEquivalent.withCommand ? NSEventModifierFlags{NSEventModifierFlagCommand} : 0)
        | (keyEquivalent.withOption ? NSEventModifierFlags{NSEventModifierFlagOption} : 0);
}

NSAttributedString* headerText(const std::string& text)
{
    NSMutableDictionary<NSAttributedStringKey, id>* const attributes = [[NSMutableDictionary alloc] init];
    [attributes setObject:[NSFont boldSystemFontOfSize:headerFontSize] forKey:NSFontAttributeName];
    [attributes setObject:NSColor.labelColor forKey:NSForegroundColorAttributeName];
    return [[NSAttributedString alloc] initWithString:textFrom(text) attributes:attributes];
}

void fill(NSMenu* menu, const std::vector<MenuItem>& items, StatusMenu& state, VelmoraMenuController* target)
{
    // The rows say themselves whether they can be chosen; the system would go by their targets.
    menu.autoenablesItems = NO;
    for (const auto& each : items) {
        if (each.kind == MenuItem::Kind::separator) {
            [menu addItem:[NSMenuItem separatorItem]];
            continue;
        }
        const bool isChosen = each.action != MenuAction::none && each.submenu.empty();
        const std::string key = each.keyEquivalent ? std::string{each.keyEquivalent->key} : std::string{};
        NSMenuItem* const row = [[NSMenuItem alloc] initWithTitle:textFrom(menuText(each))
                                                           action:isChosen ? @selector(menuItemChosen:) : nullptr
                                                    keyEquivalent:textFrom(key)];
        row.enabled = each.isEnabled;
        if (each.keyEquivalent)
            row.keyEquivalentModifierMask = modifiersOf(*each.keyEquivalent);
        if (isChosen) {
            row.target = target;
            row.tag = static_cast<NSInteger>(state.items.size());
            state.items.push_back(each);
        }
        if (each.kind == MenuItem::Kind::header) {
            row.attributedTitle = headerText(menuText(each));
            row.image = state.mark;
        }
        if (!each.submenu.empty()) {
            NSMenu* const submenu = [[NSMenu alloc] initWithTitle:textFrom(each.submenuTitle)];
            fill(submenu, each.submenu, state, target);
            row.submenu = submenu;
        }
        [menu addItem:row];
    }
}

class MacStatusBarItem final : public StatusBarItem {
public:
    explicit MacStatusBarItem(const BarPicture& mark)
    {
        @autoreleasepool {
            state_->mark = mac_backend::imageOf(mark.representations, headerMarkSide);
            controller_ = [[VelmoraMenuController alloc] init];
            [controller_ setStatusMenu:state_];
            menu_ = [[NSMenu alloc] initWithTitle:textFrom("Velmora")];
            menu_.delegate = controller_;
            item_ = [NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength];
            item_.menu = menu_;
        }
    }
    MacStatusBarItem(const MacStatusBarItem&) = delete;
    MacStatusBarItem& operator=(const MacStatusBarItem&) = delete;
    ~MacStatusBarItem() override
    {
        @autoreleasepool {
            // A menu that is open outlives its item.
            state_->delegate = {};
            [controller_ setStatusMenu:nullptr];
            [menu_ removeAllItems];
            menu_.delegate = nil;
            item_.menu = nil;
            [NSStatusBar.systemStatusBar removeStatusItem:item_];
            item_ = nil;
            menu_ = nil;
            controller_ = nil;
            state_->mark = nil;
        }
    }

    void setToolTip(const std::string& text) override
    {
        @autoreleasepool {
            item_.button.toolTip = textFrom(text);
        }
    }

    void setMenuDelegate(MenuDelegate delegate) override { state_->delegate = std::move(delegate); }

    void setPicture(const BarPicture& picture) override
    {
        @autoreleasepool {
            NSImage* const image = mac_backend::imageOf(picture.representations, picture.side);
            [image setTemplate:picture.isTemplate];
            image.accessibilityDescription = textFrom(picture.accessibleDescription);
            item_.button.image = image;
        }
    }

    void popUpMenu() override
    {
        @autoreleasepool {
            [item_.button performClick:nil];
        }
    }

private:
    const std::shared_ptr<StatusMenu> state_ = std::make_shared<StatusMenu>();
    VelmoraMenuController* controller_ = nil;
    NSMenu* menu_ = nil;
    NSStatusItem* item_ = nil;
};

}  // namespace

std::unique_ptr<StatusBarItem> makeStatusBarItem(const BarPicture& mark)
{
    return std::make_unique<MacStatusBarItem>(mark);
}

bool becomeMenuBarProgram()
{
    @autoreleasepool {
        return [NSApplication.sharedApplication setActivationPolicy:NSApplicationActivationPolicyAccessory] != NO;
    }
}

}  // namespace velmora

@implementation VelmoraMenuController

- (void)setStatusMenu:(std::shared_ptr<velmora::StatusMenu>)menu
{
    _menu = std::move(menu);
}

- (void)menuNeedsUpdate:(NSMenu*)menu
{
    @autoreleasepool {
        const auto state = _menu;
        if (!state || !state->delegate.menuNeedsUpdate)
            return;
        const auto items = state->delegate.menuNeedsUpdate();
        [menu removeAllItems];
        state->items.clear();
        velmora::fill(menu, items, *state, self);
    }
}

- (void)menuItemChosen:(NSMenuItem*)sender
{
    @autoreleasepool {
        const auto state = _menu;
        const auto index = static_cast<std::size_t>(sender.tag);
        if (!state || index >= state->items.size() || !state->delegate.menuItemTriggered)
            return;
        // It may end the item, or fill the menu anew.
        const auto item = state->items[index];
        const auto triggered = state->delegate.menuItemTriggered;
        triggered(item);
    }
}

@end

// A place in the system's own bar with a menu that the system draws: what the program's item is on a Mac. It knows no toolkit; pictures come
// as pixels.
#pragma once

#include "app/native/MenuItem.h"
#include "platform/ApplicationIcon.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

/// One picture at several sizes in pixels, of which the system takes the one that fits the screen.
struct BarPicture {
    double side = 0;  ///< in points
    std::vector<platform::ApplicationIcon> representations;  ///< at least one
    bool isTemplate = false;  ///< only the shape counts, and the system gives it the colour of the bar
    std::string accessibleDescription;
};

/// Main thread only. It is in the bar from its construction until it is destroyed.
class StatusBarItem {
public:
    struct MenuDelegate {
        /// The menu is about to open: what is in it.
        std::function<std::vector<MenuItem>()> menuNeedsUpdate;
        /// May destroy the item.
        std::function<void(const MenuItem&)> menuItemTriggered;
    };

    virtual ~StatusBarItem() = default;

    virtual void setToolTip(const std::string& text) = 0;
    virtual void setMenuDelegate(MenuDelegate delegate) = 0;
    virtual void setPicture(const BarPicture& picture) = 0;

    /// Opens the menu at the item.
    virtual void popUpMenu() = 0;
};

/// `mark` is shown before the menu's header.
[[nodiscard]] std::unique_ptr<StatusBarItem> makeStatusBarItem(const BarPicture& mark);

/// The program is in the menu bar alone: it has no icon among the running programs and no menu of its own. False where the system refuses.
bool becomeMenuBarProgram();

}  // namespace velmora

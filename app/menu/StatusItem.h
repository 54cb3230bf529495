// The program's item in the menu bar, as its controller sees it.
#pragma once

#include "app/menu/MenuDescription.h"
#include "brand/BrandAssets.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

/// Main thread only. The item exists from its construction on, whether or not the desktop has a place for it.
class StatusItem {
public:
    struct MenuDelegate {
        /// The menu is about to open: what is in it.
        std::function<std::vector<MenuItem>()> menuNeedsUpdate;
        std::function<void(const MenuItem&)> menuItemTriggered;
    };

    virtual ~StatusItem() = default;

    virtual void setToolTip(const std::string& text) = 0;
    virtual void setMenuDelegate(MenuDelegate delegate) = 0;
    virtual void setImage(const MenuBarImage& image) = 0;

    /// What is said beneath the menu's titles has changed: a menu of ours that is open follows.
    virtual void captionsChanged() = 0;

    /// Opens the menu where the pointer is.
    virtual void popUpMenu() = 0;
};

}  // namespace velmora

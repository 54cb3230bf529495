// How a test looks at the stand-ins for the menu bar, menus, pictures and panels, and uses them as a user does. What their pages leave open
// they do in every way that these allow. Main thread only. Without ARC only.
#pragma once

#include "tests/platform/mac/standins/CoreGraphicsStandIn.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmora::standin {

struct ShownPicture {
    double side = 0;
    bool isTemplate = false;
    std::string description;
    std::vector<ImageFacts> representations;
    std::vector<double> representationSides;  ///< in points
};

/// As it is on the screen.
struct ShownItem {
    std::string title;
    std::string boldTitle;  ///< of an item with attributes: "13 bold, label"
    bool isSeparator = false;
    bool isEnabled = false;  ///< as the system has decided
    std::string keys;  ///< "⌥⌘C", as the system writes it
    bool hasPicture = false;
    std::vector<ShownItem> submenu;
    std::string submenuTitle;
};

struct BarItem {
    double length = 0;
    std::optional<ShownPicture> picture;
};

/// Those that are in the bar.
std::vector<BarItem> barItems();

/// Clicks the last item: its menu is filled and stays open until something is chosen or it is closed.
std::vector<ShownItem> openMenu();

/// The row at this place, of the menu that is open; of a submenu where `place` has two numbers. A row that is not enabled does nothing.
void choose(const std::vector<std::size_t>& place);

/// Presses of the key that a row has, while no menu is open.
void pressMenuKey(const std::string& keys);

/// Clicks that the program made itself.
int clickCount();

/// The completions of animation groups, in order, each once. A cancelled one is completed too.
std::size_t finishAnimations();

/// Ends the test program if something is left in the bar.
void resetShell();

}  // namespace velmora::standin

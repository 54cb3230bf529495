// How a test steers the stand-ins for AppKit, and what they say of their use. What their pages
// leave open they do in every way that these allow. Main thread only, except where stated. Without ARC only.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmora::standin {

struct ScreenRect {
    double x = 0;
    double y = 0;  ///< of the lower edge, from the lower edge of the first screen
    double width = 0;
    double height = 0;
};
struct Screen {
    ScreenRect frame;
    ScreenRect visibleFrame;
    double scale = 1;
};

struct Drag {
    std::vector<std::string> files;
    std::vector<ScreenRect> frames;
    unsigned long operations = 0;  ///< what its source allows
};

/// A dialog that was opened and not ended.
struct FolderDialog {
    std::string message;
    std::string prompt;
    std::string directory;
    bool choosesFolderAlone = false;
    bool makesFolders = false;
};

struct AppKit {
    std::vector<Screen> screens;
    std::size_t mainScreen = 0;  ///< of these; there is none beyond them
    bool reducesMotion = false;
    bool increasesContrast = false;
    std::set<std::string> missingServices;  ///< of sharing, by the system's names
    bool refusesItems = false;
    bool hasEvent = true;  ///< that is being handled, in the window of makeView()
    unsigned long pressedButtons = 1;
    bool makesNoImages = false;

    std::vector<std::string> opened;
    std::vector<std::vector<std::string>> revealed;
    std::vector<std::string> pasteboardFiles;
    std::string pasteboardText;
    int pasteboardClears = 0;
    std::vector<std::pair<std::string, std::string>> shared;  ///< service and file
    std::vector<Drag> drags;
    int activations = 0;
    long activationPolicy = 0;
    bool refusesPolicies = false;
    std::string toolTip;  ///< the last that was set
    std::vector<std::uint64_t> windows;  ///< that were made by themselves, not with makeView()
};
AppKit& appKit();

/// A view in a window of its own, by its address. Gone with freeViews().
std::uint64_t makeView();
std::uint64_t makeViewWithoutWindow();
void freeViews();

struct WindowState {
    long level = 0;
    unsigned long behavior = 0;
    bool ignoresMouse = false;
    int madeKey = 0;
    int orderedFront = 0;

    ScreenRect frame;
    unsigned long style = 0;
    bool isBuffered = false;  ///< at once
    bool isTitleHidden = false;
    bool isTitlebarTransparent = false;
    bool isMovableByBackground = false;
    bool isOpaque = true;
    bool hasShadow = false;
    bool hidesOnDeactivate = false;
    bool isReleasedWhenClosed = false;
    bool isFloatingPanel = false;
    std::string background;
    double alpha = 1;
    double alphaWhenOrderedIn = 1;
    std::optional<double> animatedAlpha;  ///< on its way there
    std::optional<double> animationSeconds;  ///< none: as long as the system likes
    bool isAnimatorAsked = false;
    bool isOrderedIn = false;
    bool isVisible = false;
    bool canBecomeKey = true;
    std::uint64_t content = 0;
};
/// Of the last window that was made by itself.
WindowState lastWindow();
/// All animations arrive.
void moveAlpha();
WindowState windowState(std::uint64_t view);
void setWindowBehavior(std::uint64_t view, unsigned long behavior);

std::vector<FolderDialog> folderDialogs();
/// Of the oldest dialog; as a file or as a URL of another kind.
void chooseInDialog(const std::string& url, bool isFile = true);
void cancelDialog();

/// An application that is running, for those who ask by its process. Set before anybody asks; read on any thread.
struct RunningProgram {
    std::optional<std::array<std::uint8_t, 4>> icon;  ///< of one colour: red, green, blue and alpha, not premultiplied
    bool isIconEmpty = false;  ///< an image that nothing can be drawn of
    bool throws = false;  ///< when it is asked for its icon
};
std::map<std::int32_t, RunningProgram>& runningPrograms();

void changeScreens();
void changeAccessibilityOptions();

/// Back to how a program finds it. Ends the test program if a dialog was left open.
void resetAppKit();

}  // namespace velmora::standin

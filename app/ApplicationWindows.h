// The windows and alerts that the program can show, as the delegate sees them.
#pragma once

#include "base/UniqueFunction.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora {

enum class WindowContent { onboarding, windowPicker, clipPreview, settings, clips };

struct WindowDescription {
    WindowContent content = WindowContent::onboarding;
    int width = 0;  ///< of the content, in points
    int height = 0;
    bool isMiniaturizable = false;
    bool isResizable = false;
    std::string title;  ///< plain text
    std::filesystem::path clip;  ///< clipPreview: the file
    bool playsAtOnce = false;  ///< clipPreview: without being told to

    friend bool operator==(const WindowDescription&, const WindowDescription&) = default;
};

/// A window that stays when it is closed and can be shown again.
class ApplicationWindow {
public:
    virtual ~ApplicationWindow() = default;

    /// Shows the window, gives it the focus and brings it to the front, on the current workspace, even above other programs' windows.
    virtual void makeKeyAndOrderFront() = 0;
};

class ApplicationWindowFactory {
public:
    virtual ~ApplicationWindowFactory() = default;

    /// Hidden, in the middle of the main screen; where the given size does not fit, it has that of the work area and its contents scroll.
    virtual std::shared_ptr<ApplicationWindow> makeWindow(const WindowDescription& description) = 0;
};

struct Alert {
    enum class Style { warning, informational };

    Style style = Style::warning;
    std::string messageText;  ///< plain text, like the rest
    std::string informativeText;
    std::vector<std::string> buttons;  ///< the first is the one that Return presses; Escape presses the last

    friend bool operator==(const Alert&, const Alert&) = default;
};

/// Shows alerts one after another, above everything, blocking only our own windows.
class AlertPresenter {
public:
    virtual ~AlertPresenter() = default;

    /// `completion` is called once with the index of the button that was pressed.
    virtual void present(Alert alert, UniqueFunction<void(std::size_t)> completion) = 0;
};

}  // namespace velmora

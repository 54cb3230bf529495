// The screen, the pointer and the keys of the desktop that the tests run in.
#pragma once

#include "tests/support/recording/Velmora.h"

#include <QColor>
#include <QImage>
#include <QPoint>
#include <QRect>

#include <string>
#include <vector>

namespace velmora::test {

/// Presses and releases each, with its modifiers, named as in xdotool.
void pressKeys(const std::vector<std::string>& keys);
void typeText(const std::string& text);

/// Moves the pointer there and gives what lies there the time to notice.
void hover(const QPoint& position);
/// Presses and releases the button (1 left, 3 right) where the pointer is, or there.
void click(int button = 1);
void click(const QPoint& position, int button = 1);
void movePointer(const QPoint& position);

/// Presses the left button at `start` and moves the pointer from there to `end` in small steps; it is held until drop().
void dragTo(const QPoint& start, const QPoint& end);
void drop();

/// What the screen shows there.
[[nodiscard]] QImage screenPicture(const QRect& rectangle);

/// How many pixels of a picture have a colour, give or take `tolerance` a channel.
[[nodiscard]] int countPixels(const QImage& picture, const QColor& color, int tolerance = 24);

/// The windows on the screen whose titles match a regular expression.
[[nodiscard]] std::vector<QRect> visibleWindows(const std::string& title);

/// Whether there is such a window; waits for it. Whether there is none; waits until it is gone.
[[nodiscard]] bool isShown(const std::string& title);
[[nodiscard]] bool isHidden(const std::string& title);

/// Where the content of the window with that title is, without the frame.
[[nodiscard]] QRect contentPlace(const std::string& title);

/// Clicks the button at the right end of the title bar of the window with that title.
void closeByTitleBar(const std::string& title);

/// Whether the window with the keyboard focus has a title that begins like this; waits for it.
[[nodiscard]] bool hasFocus(const std::string& title);

}  // namespace velmora::test

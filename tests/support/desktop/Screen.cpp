#include "tests/support/desktop/Screen.h"

#include <QByteArray>

#include <cstdlib>
#include <gtest/gtest.h>
#include <sstream>

namespace velmora::test {

namespace {

// A toolkit looks at what is under the pointer when the pointer arrives, not when the button goes down.
constexpr const char* settling = "0.15";

void xdotool(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "xdotool");
    const auto outcome = runProgram(std::move(arguments));
    EXPECT_EQ(outcome.status, 0) << outcome.messages;
}

}  // namespace

void pressKeys(const std::vector<std::string>& keys)
{
    for (const auto& key : keys)
        xdotool({"key", key});
}

void typeText(const std::string& text)
{
    xdotool({"type", text});
}

void hover(const QPoint& position)
{
    xdotool({"mousemove", std::to_string(position.x()), std::to_string(position.y()), "sleep", settling});
}

void click(int button)
{
    xdotool({"click", std::to_string(button)});
}

void click(const QPoint& position, int button)
{
    hover(position);
    click(button);
}

void movePointer(const QPoint& position)
{
    xdotool({"mousemove", std::to_string(position.x()), std::to_string(position.y())});
}

void dragTo(const QPoint& start, const QPoint& end)
{
    constexpr int steps = 12;
    hover(start);
    xdotool({"mousedown", "1"});
    for (int step = 1; step <= steps; ++step)
        movePointer(start + (end - start) * step / steps);
}

void drop()
{
    xdotool({"mouseup", "1"});
}

QImage screenPicture(const QRect& rectangle)
{
    const auto crop = std::to_string(rectangle.width()) + "x" + std::to_string(rectangle.height()) + "+" + std::to_string(rectangle.x())
        + "+" + std::to_string(rectangle.y());
    const TemporaryDirectory directory;
    const auto file = directory.path() / "screen.png";
    const auto outcome = runProgram({"import", "-silent", "-window", "root", "-crop", crop, "+repage", file.string()});
    EXPECT_EQ(outcome.status, 0) << outcome.messages;
    return QImage{QString::fromStdString(file.string())}.convertToFormat(QImage::Format_RGB32);
}

int countPixels(const QImage& picture, const QColor& color, int tolerance)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor pixel = picture.pixelColor(x, y);
            if (std::abs(pixel.red() - color.red()) <= tolerance && std::abs(pixel.green() - color.green()) <= tolerance
                && std::abs(pixel.blue() - color.blue()) <= tolerance)
                ++count;
        }
    }
    return count;
}

std::vector<QRect> visibleWindows(const std::string& title)
{
    std::vector<QRect> windows;
    std::istringstream identifiers{runProgram({"xdotool", "search", "--onlyvisible", "--name", title}).output};
    for (std::string identifier; std::getline(identifiers, identifier);) {
        std::istringstream geometry{runProgram({"xdotool", "getwindowgeometry", "--shell", identifier}).output};
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        for (std::string line; std::getline(geometry, line);) {
            if (line.starts_with("X="))
                x = std::atoi(line.c_str() + 2);
            else if (line.starts_with("Y="))
                y = std::atoi(line.c_str() + 2);
            else if (line.starts_with("WIDTH="))
                width = std::atoi(line.c_str() + 6);
            else if (line.starts_with("HEIGHT="))
                height = std::atoi(line.c_str() + 7);
        }
        // A window that has vanished in between has no size.
        if (width > 0 && height > 0)
            windows.emplace_back(x, y, width, height);
    }
    return windows;
}

bool isShown(const std::string& title)
{
    return waitUntil([&] { return !visibleWindows(title).empty(); });
}

bool isHidden(const std::string& title)
{
    return waitUntil([&] { return visibleWindows(title).empty(); });
}

QRect contentPlace(const std::string& title)
{
    std::string window;
    std::istringstream{runProgram({"xdotool", "search", "--onlyvisible", "--name", title}).output} >> window;
    const auto geometry = runProgram({"xwininfo", "-id", window}).output;
    const auto number = [&](const std::string& name) {
        const auto found = geometry.find(name);
        EXPECT_NE(found, std::string::npos) << name;
        return found == std::string::npos ? 0 : std::atoi(geometry.c_str() + found + name.size());
    };
    return {number("Absolute upper-left X:"), number("Absolute upper-left Y:"), number("Width:"), number("Height:")};
}

void closeByTitleBar(const std::string& title)
{
    // The title bar lies above what the program draws; its buttons are squares, the last of them in the corner.
    constexpr int middle = 10;
    click(contentPlace(title).topRight() + QPoint{-middle, -middle});
}

bool hasFocus(const std::string& title)
{
    return waitUntil([&] { return runProgram({"xdotool", "getactivewindow", "getwindowname"}).output.starts_with(title); });
}

}  // namespace velmora::test

#include "tests/wayland/SharedWindow.h"

#include <stdexcept>

namespace velmora::test {

namespace {

std::vector<std::string> commandLine(WindowKind kind, const std::vector<std::string>& options)
{
    std::vector<std::string> arguments{kind == WindowKind::x11 ? VELMORA_NUMBERED_WINDOW : VELMORA_WAYLAND_WINDOW};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
}

}  // namespace

SharedWindow::SharedWindow(WindowKind kind, const std::vector<std::string>& options) : process_(commandLine(kind, options))
{
    if (!process_.readLine(patience).value_or("").starts_with("ready"))
        throw std::runtime_error("no window to share");
}

std::string SharedWindow::command(const std::string& line)
{
    process_.send(line);
    return process_.readLine(patience).value_or("");
}

}  // namespace velmora::test

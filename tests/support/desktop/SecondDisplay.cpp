#include "tests/support/desktop/SecondDisplay.h"

#include <cstdlib>
#include <stdexcept>

namespace velmora::test {

namespace {

std::string environmentVariable(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

/// The desktop's authority file holds for every display.
std::vector<std::string> serverArguments(std::vector<std::string> options)
{
    std::vector<std::string> arguments{"Xvfb", "-screen", "0", "1280x1024x24", "-dpi", "96", "-noreset", "-nolisten", "tcp", "-auth",
        environmentVariable("XAUTHORITY"), "-displayfd", "1"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
}

}  // namespace

SecondDisplay::SecondDisplay(std::vector<std::string> options, WindowManager windowManager)
    : before_(environmentVariable("DISPLAY"))
    , server_(serverArguments(std::move(options)))
{
    const auto number = server_.readLine(patience);
    if (!number)
        throw std::runtime_error("the second X server did not start");
    ::setenv("DISPLAY", (":" + *number).c_str(), 1);
    if (windowManager == WindowManager::none)
        return;
    windowManager_.emplace(
        std::vector<std::string>{"openbox", "--sm-disable", "--config-file", environmentVariable("VELMORA_DESKTOP") + "/openbox.xml"});
    const auto managesWindows = [] {
        return runProgram({"xprop", "-root", "_NET_CLIENT_LIST"}).output.find("_NET_CLIENT_LIST(WINDOW)") != std::string::npos;
    };
    if (!waitUntil(managesWindows)) {
        ::setenv("DISPLAY", before_.c_str(), 1);
        throw std::runtime_error("the second X server has no window manager");
    }
}

void SecondDisplay::killServer()
{
    server_.kill();
    ::setenv("DISPLAY", before_.c_str(), 1);
}

SecondDisplay::~SecondDisplay()
{
    ::setenv("DISPLAY", before_.c_str(), 1);
}

}  // namespace velmora::test

#include "tests/support/desktop/DesktopServices.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace velmora::test {

namespace {

const char* const panelSettings = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="32"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty"><property name="plugin-1" type="string" value="systray"/></property>
</channel>
)";

Environment panelEnvironment(const std::filesystem::path& home, Environment environment)
{
    const auto folder = home / "xfce4" / "xfconf" / "xfce-perchannel-xml";
    std::filesystem::create_directories(folder);
    std::ofstream{folder / "xfce4-panel.xml"} << panelSettings;
    environment.insert({{"XDG_CONFIG_HOME", home.string()}, {"XDG_CACHE_HOME", home.string()}});
    return environment;
}

/// Debian keeps these among the libraries of the machine's architecture.
std::string xfceService(const std::string& folder, const std::string& name)
{
    for (const auto& entry : std::filesystem::directory_iterator{"/usr/lib"}) {
        const auto program = entry.path() / "xfce4" / folder / name;
        if (std::filesystem::exists(program))
            return program.string();
    }
    throw std::runtime_error(name + " is not installed");
}

bool takesItems()
{
    const auto outcome =
        runProgram({"dbus-send", "--session", "--print-reply=literal", "--dest=org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
            "org.freedesktop.DBus.Properties.Get", "string:org.kde.StatusNotifierWatcher", "string:IsStatusNotifierHostRegistered"});
    return outcome.output.find("true") != std::string::npos;
}

void awaitService(const std::string& name)
{
    if (!waitUntil([&] { return isOnTheBus(name); }))
        throw std::runtime_error(name + " did not appear");
}

std::vector<std::string> notifierArguments(const std::filesystem::path& home, const std::string& origin)
{
    // Its own menu program: it prints the line that the test asked for.
    const auto menu = home / "menu";
    std::ofstream{menu} << "#!/bin/sh\ngrep -F \"$(cat " << (home / "choice").string() << ")\" | head -n 1\n";
    std::filesystem::permissions(menu, std::filesystem::perms::owner_all);
    const auto configuration = home / "dunstrc";
    std::ofstream{configuration} << "[global]\ndmenu = " << menu.string() << "\norigin = " << origin << "\nfollow = none\nmonitor = 0\n"
                                 << "[urgency_normal]\ntimeout = 0\n";
    return {"dunst", "-conf", configuration.string()};
}

}  // namespace

bool isOnTheBus(const std::string& name)
{
    return runProgram({"dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                          "org.freedesktop.DBus.NameHasOwner", "string:" + name})
               .output.find("true")
        != std::string::npos;
}

Panel::Panel(const Environment& environment)
    : environment_(panelEnvironment(home_.path(), environment))
    , settings_({xfceService("xfconf", "xfconfd")}, environment_)
    , panel_((awaitService("org.xfce.Xfconf"), std::vector<std::string>{"xfce4-panel", "--disable-wm-check"}), environment_)
{
    if (!waitUntil(takesItems))
        throw std::runtime_error("the panel accepts no items");
}

void Panel::kill()
{
    panel_.signal(SIGKILL);
    waitUntil([this] { return !panel_.isRunning(); });
    // What it started for its plug-in ends along with it.
    waitUntil([] { return !takesItems(); });
}

Notifier::Notifier(const std::string& origin) : dunst_(notifierArguments(home_.path(), origin))
{
    awaitService("org.freedesktop.Notifications");
}

bool Notifier::choose(const std::string& label)
{
    std::ofstream{home_.path() / "choice"} << label;
    return runProgram({"dunstctl", "context"}).status == 0;
}

bool Notifier::clickNotification()
{
    return runProgram({"dunstctl", "action", "0"}).status == 0;
}

int Notifier::displayedCount() const
{
    return std::atoi(runProgram({"dunstctl", "count", "displayed"}).output.c_str());
}

std::string Notifier::closeAndTell() const
{
    runProgram({"dunstctl", "close-all"});
    return runProgram({"dunstctl", "history"}).output;
}

XfceNotifier::XfceNotifier() : notifier_({xfceService("notifyd", "xfce4-notifyd")})
{
    awaitService("org.freedesktop.Notifications");
}

void Notifier::kill()
{
    dunst_.signal(SIGKILL);
    waitUntil([] { return !isOnTheBus("org.freedesktop.Notifications"); });
}

}  // namespace velmora::test

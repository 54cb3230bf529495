#include "benchmarks/TrayDesktop.h"

#include "app/control/InstanceBus.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace velmora::benchmarks {

Home::Home(Walkthrough walkthrough)
{
    if (walkthrough == Walkthrough::ahead)
        return;
    const auto settings = path() / "config" / "velmora";
    std::filesystem::create_directories(settings);
    std::ofstream{settings / "velmora.conf"} << "[General]\nhasCompletedWalkthrough=true\n";
}

test::Environment Home::environment() const
{
    return {{"HOME", path().string()}, {"XDG_CONFIG_HOME", (path() / "config").string()}};
}

void Home::enter() const
{
    for (const auto& [name, value] : environment())
        ::setenv(name.c_str(), value.c_str(), 1);
}

void Home::fillWithClips(const std::filesystem::path& clip, int count)
{
    std::filesystem::create_directories(clips());
    for (; clipCount_ < count; ++clipCount_)
        std::filesystem::copy_file(clip, clips() / ("clip " + std::to_string(clipCount_) + ".mp4"));
}

Tray::Tray()
{
    if (!test::waitUntil([] { return test::runProgram({"xdotool", "search", "--onlyvisible", "--name", "^panel$"}).status == 0; }))
        throw std::runtime_error("there is no tray");
}

namespace {

/// What was heard before the start does not count.
test::Program startUnheard(DesktopWatch& watch, const std::vector<std::string>& command, const test::Environment& environment)
{
    watch.forget();
    return test::Program{command, environment};
}

}  // namespace

TrayItem::TrayItem(DesktopWatch& watch, const std::vector<std::string>& command, const test::Environment& environment)
    : program_(startUnheard(watch, command, environment))
    , icon_(watch.awaitDocking())
{
}

TrayItem::TrayItem(DesktopWatch& watch, const test::Environment& environment) : TrayItem(watch, test::velmora({}), environment) { }

TrayItem::~TrayItem()
{
    if (!hasEnded_)
        end();
}

test::ProgramOutcome TrayItem::end()
{
    hasEnded_ = true;
    program_.signal(SIGTERM);
    return program_.finish();
}

void callProgram(const char* interface, const QString& method, const QVariantList& arguments)
{
    auto call = QDBusMessage::createMethodCall(
        QLatin1String{instance_bus::serviceName}, QLatin1String{instance_bus::objectPath}, QLatin1String{interface}, method);
    call.setArguments(arguments);
    if (!QDBusConnection::sessionBus().send(call))
        throw std::runtime_error("there is no session bus");
}

}  // namespace velmora::benchmarks

#include "tests/support/desktop/Controls.h"

#include "tests/support/desktop/DesktopServices.h"
#include "tests/support/desktop/Screen.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace velmora::test {

namespace {

/// A line of accessible_controls.
Control parsed(const std::string& line)
{
    std::vector<std::string> fields;
    std::istringstream columns{line};
    for (std::string field; std::getline(columns, field, '\t');)
        fields.push_back(field);
    fields.resize(5);
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    std::istringstream{fields[2]} >> x >> y >> width >> height;
    return {fields[0], fields[1], {x, y, width, height}, fields[3], fields[4]};
}

AssistiveTechnology* running = nullptr;  // whose bus programs are on

}  // namespace

AssistiveTechnology::AssistiveTechnology() : bus_({"/usr/libexec/at-spi-bus-launcher", "--launch-immediately"})
{
    if (!waitUntil([] { return isOnTheBus("org.a11y.Bus"); }))
        throw std::runtime_error("there is no bus for assistive technology");
    running = this;
}

AssistiveTechnology::~AssistiveTechnology()
{
    running = nullptr;
}

std::vector<Control> AssistiveTechnology::controls(const std::string& program)
{
    // A desktop may have started the bus itself.
    static std::optional<ChildProcess> readerOfTheDesktop;
    auto& reader = running ? running->reader_ : readerOfTheDesktop;
    if (!reader || reader->endsWithin(std::chrono::seconds{0}))
        reader.emplace(std::vector<std::string>{VELMORA_ACCESSIBLE_CONTROLS, "--serve"});
    reader->send(program);
    std::vector<Control> controls;
    while (true) {
        const auto line = reader->readLine(patience);
        if (!line)
            reader.reset();
        if (!line || line->empty())
            return controls;
        controls.push_back(parsed(*line));
    }
}

std::optional<Control> AssistiveTechnology::find(const std::string& role, const std::string& name, const std::string& program)
{
    std::optional<Control> found;
    waitUntil([&] {
        for (auto& control : controls(program)) {
            if (control.role == role && control.name.starts_with(name)) {
                found = std::move(control);
                return true;
            }
        }
        return false;
    });
    return found;
}

bool AssistiveTechnology::isAbsent(const std::string& role, const std::string& name, const std::string& program)
{
    return waitUntil([&] {
        const auto shown = controls(program);
        return !shown.empty() && std::none_of(shown.begin(), shown.end(), [&](const Control& control) {
            return control.role == role && control.name.starts_with(name);
        });
    });
}

bool AssistiveTechnology::clickOn(const std::string& role, const std::string& name, const std::string& program)
{
    // A control that slides in is clicked where it is still to be found when the pointer has come to rest on it: two looks in a row may
    // both fall between two frames of a slow machine.
    auto control = find(role, name, program);
    const bool rests = waitUntil([&] {
        if (!control)
            return true;
        hover(control->place.center());
        const auto before = std::exchange(control, find(role, name, program));
        return control && control->place == before->place;
    });
    if (!rests || !control)
        return false;
    click();
    return true;
}

NextMenu::NextMenu(const std::string& program) : listener_({VELMORA_ACCESSIBLE_CONTROLS, program, "--next-menu"})
{
    if (!listener_.readLine(patience))
        throw std::runtime_error("nothing is listening for menus");
}

std::vector<Control> NextMenu::controls()
{
    std::vector<Control> controls;
    while (const auto line = listener_.readLine(patience))
        controls.push_back(parsed(*line));
    return controls;
}

}  // namespace velmora::test

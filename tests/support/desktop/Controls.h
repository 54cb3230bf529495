// What programs show, as they describe it to assistive technology.
#pragma once

#include "tests/support/recording/Velmora.h"

#include <QRect>

#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

struct Control {
    std::string role;  ///< as AT-SPI names it: "push button", "list item", "menu item"
    std::string states;  ///< those of "focused", "checked", "disabled" that apply
    QRect place;  ///< on the screen
    std::string name;
    std::string value;

    [[nodiscard]] bool has(const std::string& state) const { return states.find(state) != std::string::npos; }
};

/// The bus of assistive technology, running. A program says what it shows if it is started while there is one, with `environment()`.
class AssistiveTechnology {
public:
    AssistiveTechnology();
    ~AssistiveTechnology();
    AssistiveTechnology(const AssistiveTechnology&) = delete;
    AssistiveTechnology& operator=(const AssistiveTechnology&) = delete;

    [[nodiscard]] static Environment environment() { return {{"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"}}; }

    /// Everything that a program has on the screen.
    [[nodiscard]] static std::vector<Control> controls(const std::string& program = "Velmora");

    /// The control with that role whose name begins like this; waits for it.
    [[nodiscard]] static std::optional<Control> find(
        const std::string& role, const std::string& name, const std::string& program = "Velmora");

    /// Whether there is none; waits until it is gone.
    [[nodiscard]] static bool isAbsent(const std::string& role, const std::string& name, const std::string& program = "Velmora");

    /// Clicks its middle once it is at rest; false when it never appears.
    [[nodiscard]] static bool clickOn(const std::string& role, const std::string& name, const std::string& program = "Velmora");

private:
    Program bus_;
    std::optional<ChildProcess> reader_;  ///< from the first question on
};

/// Notices the next menu that a program opens: an open menu belongs to no window. Listens from its construction on.
class NextMenu {
public:
    explicit NextMenu(const std::string& program = "Velmora");

    /// What the menu holds; waits for it.
    [[nodiscard]] std::vector<Control> controls();

private:
    ChildProcess listener_;
};

}  // namespace velmora::test

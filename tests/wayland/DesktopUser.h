// Whoever sits at a Wayland desktop: real keys, and a look at the screen.
#pragma once

#include <QImage>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmora::test {

/// Codes from linux/input-event-codes.h.
enum class Key : std::uint32_t {
    escape = 1,
    tab = 15,
    enter = 28,
    leftShift = 42,
    c = 46,
    leftAlt = 56,
    space = 57,
    down = 108,
    leftSuper = 125,
};

/// Throws where the desktop gives it no way.
class DesktopUser {
public:
    /// That of the desktop that VELMORA_WAYLAND_DESKTOP names, "GNOME" or "KDE".
    [[nodiscard]] static std::unique_ptr<DesktopUser> create();

    virtual ~DesktopUser() = default;
    DesktopUser(const DesktopUser&) = delete;
    DesktopUser& operator=(const DesktopUser&) = delete;

    /// Presses the keys one after another and releases them in the opposite order, as the desktop's own keyboard.
    virtual void press(const std::vector<Key>& keys) = 0;

    /// What is on the monitor.
    [[nodiscard]] virtual QImage look() = 0;

    /// Waits until the desktop's dialog for choosing a window takes keys; throws when it never does.
    virtual void awaitChooser() = 0;

    /// Whether programs may ask for keys here.
    [[nodiscard]] virtual bool desktopHasShortcuts() const = 0;

    /// Where they may: lets the program have the keys that it asks for, if the desktop asks its user, and waits until `hasThem`; throws when
    /// it never does, or when the desktop proposes others than Alt+Super+C.
    virtual void allowShortcut(const std::function<bool()>& hasThem) = 0;

    /// Chooses the first window in the desktop's dialog, which is open, that is not the program's own; lets the program remember it.
    virtual void chooseFirstWindow() = 0;

protected:
    DesktopUser() = default;
};

[[nodiscard]] std::unique_ptr<DesktopUser> makeGnomeUser();
[[nodiscard]] std::unique_ptr<DesktopUser> makeKdeUser();

}  // namespace velmora::test

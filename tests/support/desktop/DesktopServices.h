// Services of a desktop that a person deals with: the panel, the notification service.
#pragma once

#include "tests/support/recording/Velmora.h"

#include <filesystem>
#include <string>
#include <vector>

namespace velmora::test {

/// Whether anybody owns that name on the session bus.
[[nodiscard]] bool isOnTheBus(const std::string& name);

/// xfce4-panel with a system tray at the top of the screen: a host of StatusNotifierItem, and of XEmbed.
class Panel {
public:
    static constexpr int height = 32;

    /// Waits until it accepts items.
    explicit Panel(const Environment& environment = {});

    /// As if it had crashed: nobody is told.
    void kill();

private:
    TemporaryDirectory home_;
    Environment environment_;
    Program settings_;
    Program panel_;
};

/// dunst.
class Notifier {
public:
    /// `origin`: the corner of the screen in which it shows notifications, by the name it uses.
    explicit Notifier(const std::string& origin = "bottom-right");

    /// Shows its menu and chooses the newest notification's action with that label.
    [[nodiscard]] bool choose(const std::string& label);

    /// Does what a click on the newest notification does.
    [[nodiscard]] bool clickNotification();

    [[nodiscard]] int displayedCount() const;

    /// Closes what is shown; returns all notifications so far, as JSON.
    [[nodiscard]] std::string closeAndTell() const;

    void kill();

private:
    TemporaryDirectory home_;
    Program dunst_;
};

/// xfce4-notifyd, which shows notifications in the top right corner. Needs the settings service of a Panel.
class XfceNotifier {
public:
    XfceNotifier();

private:
    Program notifier_;
};

}  // namespace velmora::test

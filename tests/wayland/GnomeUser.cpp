// GNOME's user: keys through the compositor's own remote control, pictures from the shell's screenshots.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/wayland/DesktopUser.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>

#include <algorithm>
#include <iostream>
#include <stdexcept>

namespace velmora::test {

namespace {

using namespace std::chrono_literals;

const QString remoteDesktop = QStringLiteral("org.gnome.Mutter.RemoteDesktop");

QDBusMessage call(
    const QString& service, const QString& path, const QString& interface, const QString& method, const QVariantList& arguments = {})
{
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    auto answer = QDBusConnection::sessionBus().call(message);
    if (answer.type() != QDBusMessage::ReplyMessage)
        throw std::runtime_error((method + ": " + answer.errorMessage()).toStdString());
    return answer;
}

/// A keyboard for as long as it exists. The shell shows that somebody has control meanwhile.
class RemoteKeyboard {
public:
    RemoteKeyboard()
    {
        path_ = call(remoteDesktop, QStringLiteral("/org/gnome/Mutter/RemoteDesktop"), remoteDesktop, QStringLiteral("CreateSession"))
                    .arguments()
                    .value(0)
                    .value<QDBusObjectPath>()
                    .path();
        session(QStringLiteral("Start"));
        // The first key only makes the keyboard known.
        press(Key::leftShift, true);
        press(Key::leftShift, false);
        record(300ms);
    }
    ~RemoteKeyboard()
    {
        record(300ms);
        QDBusConnection::sessionBus().call(
            QDBusMessage::createMethodCall(remoteDesktop, path_, remoteDesktop + QStringLiteral(".Session"), QStringLiteral("Stop")));
    }
    RemoteKeyboard(const RemoteKeyboard&) = delete;
    RemoteKeyboard& operator=(const RemoteKeyboard&) = delete;

    void press(Key key, bool isDown) { session(QStringLiteral("NotifyKeyboardKeycode"), {static_cast<std::uint32_t>(key), isDown}); }

    void press(const std::vector<Key>& keys)
    {
        for (const auto key : keys)
            press(key, true);
        std::for_each(keys.rbegin(), keys.rend(), [this](Key key) { press(key, false); });
        record(300ms);
    }

private:
    void session(const QString& method, const QVariantList& arguments = {})
    {
        call(remoteDesktop, path_, remoteDesktop + QStringLiteral(".Session"), method, arguments);
    }

    QString path_;
};

constexpr const char* portal = "xdg-desktop-portal-gnome";

class GnomeUser final : public DesktopUser {
public:
    GnomeUser()
    {
        // The shell gives screenshots to only a few programs; it knows them by their names.
        if (!QDBusConnection::sessionBus().registerService(QStringLiteral("org.gnome.Screenshot")))
            throw std::runtime_error("no name on the session bus");
    }

    void press(const std::vector<Key>& keys) override { RemoteKeyboard{}.press(keys); }

    QImage look() override
    {
        TemporaryDirectory directory;
        const auto file = QString::fromStdString((directory.path() / "screen.png").string());
        const auto shell = QStringLiteral("org.gnome.Shell.Screenshot");
        call(shell, QStringLiteral("/org/gnome/Shell/Screenshot"), shell, QStringLiteral("Screenshot"), {true, false, file});
        return QImage{file};
    }

    [[nodiscard]] bool desktopHasShortcuts() const override
    {
        constexpr int firstWithShortcuts = 48;
        const QDBusInterface shell{
            QStringLiteral("org.gnome.Shell"), QStringLiteral("/org/gnome/Shell"), QStringLiteral("org.gnome.Shell")};
        const auto version = shell.property("ShellVersion").toString().section(QLatin1Char{'.'}, 0, 0).toInt();
        if (version == 0)
            throw std::runtime_error("the desktop does not say its version");
        return version >= firstWithShortcuts;
    }

    /// The desktop asks once; what was allowed then holds as long as the session's settings.
    void allowShortcut(const std::function<bool()>& hasThem) override
    {
        constexpr const char* settings = "gnome-control-center-global-shortcuts-provider";
        const auto shows = [](const char* role, const char* name) {
            const auto controls = AssistiveTechnology::controls(settings);
            return std::any_of(
                controls.begin(), controls.end(), [&](const Control& control) { return control.role == role && control.name == name; });
        };
        bool isAsked = false;
        const bool isDecided = waitUntil([&] {
            isAsked = shows("frame", "Add Keyboard Shortcuts") && shows("push button", "Add");
            return isAsked || hasThem();
        });
        if (!isDecided)
            throw std::runtime_error("the desktop neither gives the shortcut nor asks for it");
        if (!isAsked)
            return;
        if (!shows("label", "Alt+Super+C"))
            throw std::runtime_error("the desktop does not propose Alt+Super+C");
        // From the list, which has the keys at first, back to "Add".
        RemoteKeyboard keyboard;
        keyboard.press({Key::leftShift, Key::tab});
        keyboard.press({Key::space});
        if (!waitUntil(hasThem))
            throw std::runtime_error("the program has no shortcut after it was added");
        std::cout << "  added in the desktop's dialog\n";
    }

    void awaitChooser() override
    {
        const auto isThere = [] {
            const auto controls = AssistiveTechnology::controls(portal);
            // The latter is GNOME 48's.
            return std::any_of(controls.begin(), controls.end(), [](const Control& control) {
                return control.role == "frame" && (control.name == "Screen Share" || control.name == "Share Screen");
            });
        };
        if (!waitUntil(isThere))
            throw std::runtime_error("the desktop shows no dialog");
    }

    /// From the box "Remember this selection", which is checked, down to the list and back to "Share".
    void chooseFirstWindow() override
    {
        // GNOME 48 lists the program's own windows too, which may come first; GNOME 43 gives its list no names.
        int rows = 1;
        for (const auto& control : AssistiveTechnology::controls(portal)) {
            if (control.role != "list item")
                continue;
            if (control.name != "Velmora" && control.name != "Select Video Window")
                break;
            ++rows;
        }
        RemoteKeyboard keyboard;
        for (int row = 0; row < rows; ++row)
            keyboard.press({Key::tab});
        keyboard.press({Key::space});
        for (int row = 0; row < rows + 1; ++row)
            keyboard.press({Key::leftShift, Key::tab});
        keyboard.press({Key::space});
    }
};

}  // namespace

std::unique_ptr<DesktopUser> makeGnomeUser()
{
    return std::make_unique<GnomeUser>();
}

}  // namespace velmora::test

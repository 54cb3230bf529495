// KDE's user: keys through the compositor's fake input, pictures from its screenshots.

#include "tests/support/desktop/Controls.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/wayland/DesktopUser.h"
#include "tests/wayland/Handles.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <future>
#include <stdexcept>
#include <string_view>
#include <unistd.h>

namespace velmora::test {

namespace {

using namespace std::chrono_literals;

class KdeUser final : public DesktopUser {
public:
    KdeUser() : display_(wl_display_connect(nullptr))
    {
        if (!display_)
            throw std::runtime_error("no compositor");
        registry_.reset(wl_display_get_registry(display_.get()));
        static constexpr wl_registry_listener listener{
            .global =
                [](void* self, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t version) {
                    constexpr std::uint32_t versionWithKeys = 4;
                    if (std::string_view{interface} == org_kde_kwin_fake_input_interface.name && version >= versionWithKeys)
                        static_cast<KdeUser*>(self)->input_.reset(static_cast<org_kde_kwin_fake_input*>(
                            wl_registry_bind(registry, name, &org_kde_kwin_fake_input_interface, versionWithKeys)));
                },
            .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
        wl_registry_add_listener(registry_.get(), &listener, this);
        wl_display_roundtrip(display_.get());
        if (!input_)
            throw std::runtime_error("the compositor takes no input from programs");
        org_kde_kwin_fake_input_authenticate(input_.get(), "Velmora's tests", "a person at the keyboard");
        wl_display_roundtrip(display_.get());
    }

    void press(const std::vector<Key>& keys) override
    {
        for (const auto key : keys)
            press(key, WL_KEYBOARD_KEY_STATE_PRESSED);
        std::for_each(keys.rbegin(), keys.rend(), [this](Key key) { press(key, WL_KEYBOARD_KEY_STATE_RELEASED); });
        record(300ms);
    }

    QImage look() override
    {
        std::array<int, 2> pipe{};
        if (::pipe2(pipe.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        auto pixels = std::async(std::launch::async, [file = pipe[0]] {
            QByteArray bytes;
            std::array<char, 65536> part{};
            for (ssize_t count = 0; (count = ::read(file, part.data(), part.size())) > 0;)
                bytes.append(part.data(), count);
            ::close(file);
            return bytes;
        });
        auto message = QDBusMessage::createMethodCall(QStringLiteral("org.kde.KWin"), QStringLiteral("/org/kde/KWin/ScreenShot2"),
            QStringLiteral("org.kde.KWin.ScreenShot2"), QStringLiteral("CaptureWorkspace"));
        message.setArguments({QVariantMap{}, QVariant::fromValue(QDBusUnixFileDescriptor{pipe[1]})});
        ::close(pipe[1]);
        const auto answer = QDBusConnection::sessionBus().call(message);
        message.setArguments({});  // It held the pipe's other end.
        const auto bytes = pixels.get();
        const auto results = qdbus_cast<QVariantMap>(answer.arguments().value(0));
        if (answer.type() != QDBusMessage::ReplyMessage || bytes.isEmpty())
            throw std::runtime_error("no screenshot: " + answer.errorMessage().toStdString());
        const auto number = [&](const char* name) { return results.value(QLatin1String{name}).toInt(); };
        return QImage{reinterpret_cast<const uchar*>(bytes.constData()), number("width"), number("height"), number("stride"),
            static_cast<QImage::Format>(number("format"))}
            .copy();
    }

    [[nodiscard]] bool desktopHasShortcuts() const override { return true; }
    /// The desktop does not ask.
    void allowShortcut(const std::function<bool()>& hasThem) override
    {
        if (!waitUntil(hasThem))
            throw std::runtime_error("the program has no shortcut");
    }
    /// Its controls are known before it is on the screen.
    void awaitChooser() override
    {
        if (!AssistiveTechnology::find("push button", "Share", portal) || !waitUntil([] { return !dialogFrame().isEmpty(); }))
            throw std::runtime_error("the desktop shows no dialog");
    }

    /// With the pointer: the list of windows takes no keys.
    void chooseFirstWindow() override
    {
        clickOn("list item");
        clickOn("push button");
    }

private:
    static constexpr const char* portal = "xdg-desktop-portal-kde";

    static QDBusMessage ask(const char* path, const char* interface, const char* method, const QVariantList& arguments)
    {
        auto message = QDBusMessage::createMethodCall(
            QStringLiteral("org.kde.KWin"), QLatin1String{path}, QLatin1String{interface}, QLatin1String{method});
        message.setArguments(arguments);
        return QDBusConnection::sessionBus().call(message);
    }

    /// Where the dialog is on the screen, with its title bar; empty while it is not.
    static QRect dialogFrame()
    {
        const auto matches = ask("/WindowsRunner", "org.kde.krunner1", "Match", {QStringLiteral("Screen Sharing")});
        const auto list = matches.arguments().value(0).value<QDBusArgument>();
        if (list.currentType() != QDBusArgument::ArrayType)
            return {};
        list.beginArray();
        if (list.atEnd())
            return {};
        list.beginStructure();
        QString id;
        list >> id;
        // "0_" and the window's own.
        const auto window = ask("/KWin", "org.kde.KWin", "getWindowInfo", {id.mid(id.indexOf(QLatin1Char{'{'}))});
        const auto information = qdbus_cast<QVariantMap>(window.arguments().value(0));
        const auto number = [&](const char* name) { return information.value(QLatin1String{name}).toInt(); };
        return {number("x"), number("y"), number("width"), number("height")};
    }

    /// The first control with that role. What assistive technology is told counts from the window's inside, which has a title bar above it.
    void clickOn(const std::string& role)
    {
        const auto frame = dialogFrame();
        const auto inside = AssistiveTechnology::find("frame", "Screen Sharing", portal);
        const auto control = AssistiveTechnology::find(role, "", portal);
        if (frame.isEmpty() || !inside || !control)
            throw std::runtime_error("no " + role + " in the desktop's dialog");
        const QPoint corner{frame.x() + (frame.width() - inside->place.width()) / 2, frame.y() + frame.height() - inside->place.height()};
        const auto middle = corner + control->place.center();
        org_kde_kwin_fake_input_pointer_motion_absolute(input_.get(), wl_fixed_from_int(middle.x()), wl_fixed_from_int(middle.y()));
        for (const std::uint32_t state : {WL_POINTER_BUTTON_STATE_PRESSED, WL_POINTER_BUTTON_STATE_RELEASED}) {
            constexpr std::uint32_t left = 0x110;  // BTN_LEFT of linux/input-event-codes.h
            org_kde_kwin_fake_input_button(input_.get(), left, state);
        }
        wl_display_roundtrip(display_.get());
        record(500ms);
    }

    void press(Key key, std::uint32_t state)
    {
        org_kde_kwin_fake_input_keyboard_key(input_.get(), static_cast<std::uint32_t>(key), state);
        wl_display_roundtrip(display_.get());
    }

    WaylandDisplay display_;
    WaylandRegistry registry_;
    WaylandFakeInput input_;
};

}  // namespace

std::unique_ptr<DesktopUser> makeKdeUser()
{
    return std::make_unique<KdeUser>();
}

}  // namespace velmora::test

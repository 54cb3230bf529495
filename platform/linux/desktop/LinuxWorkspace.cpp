#include "platform/linux/desktop/LinuxWorkspace.h"

#include "base/SelfReference.h"
#include "platform/linux/desktop/FileHandler.h"
#include "platform/linux/desktop/FileUri.h"
#include "platform/linux/desktop/PortalDisplayOptions.h"
#include "platform/linux/desktop/bus/BusConnection.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QProcess>
#include <QStandardPaths>
#include <QThreadPool>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr std::string_view screenRecordingSettings = "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";
constexpr const char* logindService = "org.freedesktop.login1";
constexpr const char* logindPath = "/org/freedesktop/login1";
constexpr const char* logindManager = "org.freedesktop.login1.Manager";

void startDetached(const std::string& program, const std::vector<std::string>& arguments)
{
    QStringList list;
    for (const auto& argument : arguments)
        list.append(QString::fromStdString(argument));
    QProcess::startDetached(QString::fromStdString(program), list);
}

/// A desktop's page of the keys that are bound to commands.
struct KeyPage {
    const char* desktop;  ///< in XDG_CURRENT_DESKTOP, in capitals
    const char* place;
    std::vector<std::string> command;
};

const std::vector<KeyPage>& keyPages()
{
    static const std::vector<KeyPage> pages{
        {"GNOME", "Settings, Keyboard, View and Customize Shortcuts, Custom Shortcuts", {"gnome-control-center", "keyboard"}},
        {"KDE", "System Settings, Shortcuts, Add Command", {"systemsettings", "kcm_keys"}},
        {"XFCE", "Settings, Keyboard, Application Shortcuts", {"xfce4-keyboard-settings"}},
    };
    return pages;
}

QString currentDesktop()
{
    const char* value = std::getenv("XDG_CURRENT_DESKTOP");
    return QString::fromLocal8Bit(value ? value : "").toUpper();
}

const KeyPage* keyPage()
{
    const auto desktop = currentDesktop();
    const auto page = std::find_if(
        keyPages().begin(), keyPages().end(), [&](const KeyPage& candidate) { return desktop.contains(QLatin1String{candidate.desktop}); });
    return page == keyPages().end() ? nullptr : &*page;
}

bool hasProgram(const std::string& name)
{
    return !QStandardPaths::findExecutable(QString::fromStdString(name)).isEmpty();
}

/// The program that shows this desktop's own page of privacy settings.
std::vector<std::string> privacySettings()
{
    const auto desktop = currentDesktop();
    if (desktop.contains(QLatin1String("GNOME")))
        return {"gnome-control-center", "privacy"};
    if (desktop.contains(QLatin1String("KDE")))
        return {"systemsettings"};
    if (desktop.contains(QLatin1String("XFCE")))
        return {"xfce4-settings-manager"};
    return {};
}

/// What the machine waits for before it sleeps: gone when its last owner is.
using Inhibitor = std::shared_ptr<QDBusUnixFileDescriptor>;

class LinuxWorkspace final : public QObject, public platform::Workspace {
    Q_OBJECT

public:
    explicit LinuxWorkspace(LinuxWorkspaceOptions options)
        : options_(std::move(options))
        , session_(busAt(options_.sessionBusAddress, QStringLiteral("velmora-workspace-session")))
    {
        if (!options_.startDetached)
            options_.startDetached = startDetached;
        if (!options_.hasProgram)
            options_.hasProgram = hasProgram;
    }

    void addObserver(platform::WorkspaceObserver observer) override
    {
        observers_.push_back(std::move(observer));
        if (observers_.size() > 1)
            return;
        auto system = busAt(options_.systemBusAddress, QStringLiteral("velmora-workspace-system"), QDBusConnection::SystemBus);
        if (system.isConnected()) {
            system_ = std::move(system);
            system_->connect(QLatin1String{logindService}, QLatin1String{logindPath}, QLatin1String{logindManager},
                QStringLiteral("PrepareForSleep"), this, SLOT(prepareForSleep(bool)));
            delaySleep();
        }
        if (options_.observeDisplays) {
            options_.observeDisplays([weak = self_.weak()] {
                if (const auto self = weak.lock())
                    self->tell(&platform::WorkspaceObserver::screenParametersDidChange);
            });
        }
        if (session_.isConnected())
            display_.emplace(
                options_.sessionBusAddress, [this] { tell(&platform::WorkspaceObserver::accessibilityDisplayOptionsDidChange); });
        lookForFileBrowser();
    }

    [[nodiscard]] platform::DisplayOptions accessibilityDisplayOptions() const override
    {
        return display_ ? display_->options() : platform::DisplayOptions{};
    }

    [[nodiscard]] std::string fileBrowserName() const override { return fileBrowserName_; }

    void open(const std::filesystem::path& path) override
    {
        const bool isText = QString::fromStdString(path.native()).toStdString() == path.native();
        options_.startDetached("xdg-open", {isText ? path.native() : fileUri(path)});
    }

    void openURL(std::string_view url) override
    {
        if (url != screenRecordingSettings)
            return options_.startDetached("xdg-open", {std::string{url}});
        start(privacySettings());
    }

    [[nodiscard]] std::optional<platform::KeySettings> keySettings() const override
    {
        const auto* page = keyPage();
        if (!page)
            return std::nullopt;
        return platform::KeySettings{page->place, options_.hasProgram(page->command.front())};
    }

    void openKeySettings() override
    {
        if (const auto* page = keyPage(); page && options_.hasProgram(page->command.front()))
            start(page->command);
    }

    void activateFileViewerSelecting(const std::vector<std::filesystem::path>& files) override
    {
        if (files.empty())
            return;
        QStringList uris;
        for (const auto& file : files)
            uris.append(QString::fromStdString(fileUri(file)));
        auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.FileManager1"),
            QStringLiteral("/org/freedesktop/FileManager1"), QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
        call.setArguments({uris, QString{}});
        // Not every desktop has a file browser with this interface; a folder can be opened anywhere.
        auto* watcher = new QDBusPendingCallWatcher{session_.asyncCall(call), this};
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, folder = files.front().parent_path()] {
            if (watcher->isError())
                open(folder);
            watcher->deleteLater();
        });
    }

private slots:
    void prepareForSleep(bool begins)
    {
        if (!begins) {
            delaySleep();
            return tell(&platform::WorkspaceObserver::didWake);
        }
        const auto inhibitor = std::exchange(inhibitor_, nullptr);
        for (const auto& observer : observers_) {
            if (observer.willSleep)
                observer.willSleep([held = inhibitor]() mutable { held.reset(); });
        }
    }

private:
    /// A program with its arguments; nothing where there is none.
    void start(std::vector<std::string> command) const
    {
        if (command.empty())
            return;
        const auto program = command.front();
        command.erase(command.begin());
        options_.startDetached(program, command);
    }

    /// Files are read, of which a slow disk may hold any up.
    void lookForFileBrowser()
    {
        QThreadPool::globalInstance()->start([weak = self_.weak(), places = FileHandlerPlaces::fromEnvironment()] {
            auto name = fileHandlerName(places, "inode/directory");
            QMetaObject::invokeMethod(QCoreApplication::instance(), [weak, name = std::move(name)]() mutable {
                const auto self = weak.lock();
                if (!self || name == self->fileBrowserName_)
                    return;
                self->fileBrowserName_ = std::move(name);
                self->tell(&platform::WorkspaceObserver::fileBrowserDidChange);
            });
        });
    }

    void delaySleep()
    {
        auto call = QDBusMessage::createMethodCall(
            QLatin1String{logindService}, QLatin1String{logindPath}, QLatin1String{logindManager}, QStringLiteral("Inhibit"));
        call.setArguments(
            {QStringLiteral("sleep"), QStringLiteral("Velmora"), QStringLiteral("Stopping a capture safely"), QStringLiteral("delay")});
        auto* watcher = new QDBusPendingCallWatcher{system_->asyncCall(call), this};
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
            const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
            if (reply.isValid())
                inhibitor_ = std::make_shared<QDBusUnixFileDescriptor>(reply.value());
            watcher->deleteLater();
        });
    }

    void tell(std::function<void()> platform::WorkspaceObserver::*event) const
    {
        for (const auto& observer : observers_) {
            if (const auto& call = observer.*event)
                call();
        }
    }

    LinuxWorkspaceOptions options_;
    QDBusConnection session_;
    std::optional<QDBusConnection> system_;
    std::vector<platform::WorkspaceObserver> observers_;
    Inhibitor inhibitor_;
    std::optional<PortalDisplayOptions> display_;
    std::string fileBrowserName_;
    const SelfReference<LinuxWorkspace> self_{*this};
};

}  // namespace

std::shared_ptr<platform::Workspace> makeWorkspace(LinuxWorkspaceOptions options)
{
    return std::make_shared<LinuxWorkspace>(std::move(options));
}

}  // namespace velmora::linux_backend

#include "LinuxWorkspace.moc"

#include "platform/linux/desktop/PortalFolderChooser.h"

#include "platform/linux/desktop/DesktopPortal.h"
#include "platform/linux/desktop/bus/BusInput.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr const char* fileChooser = "org.freedesktop.portal.FileChooser";
constexpr const char* request = "org.freedesktop.portal.Request";
constexpr uint folderVersion = 3;

QDBusMessage methodCall(const QString& object, const char* interface, const char* method)
{
    return QDBusMessage::createMethodCall(QLatin1String{desktop_portal::service}, object, QLatin1String{interface}, QLatin1String{method});
}

/// One dialog, from the question whether there is a portal to the answer. Deletes itself.
class FolderRequest final : public QObject {
    Q_OBJECT

public:
    FolderRequest(QDBusConnection bus, platform::FolderPanel panel, platform::FolderChooser::Completion completion, QObject* parent)
        : QObject(parent)
        , bus_(std::move(bus))
        , panel_(std::move(panel))
        , completion_(std::move(completion))
        , watcher_(QLatin1String{desktop_portal::service}, bus_, QDBusServiceWatcher::WatchForUnregistration)
    {
        connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, [this] { finish(folderDialogError("the portal has ended.")); });
    }

    /// A dialog that nobody waits for is closed.
    ~FolderRequest() override
    {
        if (completion_ && !handle_.isEmpty())
            bus_.send(methodCall(handle_, request, "Close"));
    }

    void begin(std::chrono::milliseconds patience)
    {
        auto call = methodCall(QLatin1String{desktop_portal::path}, "org.freedesktop.DBus.Properties", "Get");
        call.setArguments({QLatin1String{fileChooser}, QStringLiteral("version")});
        auto* asked = new QDBusPendingCallWatcher{bus_.asyncCall(call, static_cast<int>(patience.count())), this};
        connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked] {
            const QDBusPendingReply<QDBusVariant> reply = *asked;
            asked->deleteLater();
            if (!reply.isValid())
                finish(folderDialogError("there is no portal."));
            else if (reply.value().variant().toUInt() < folderVersion)
                finish(folderDialogError("the portal is too old."));
            else
                open();
        });
    }

private slots:
    void respond(uint response, const QVariantMap& results) { finish(folderAnswer(response, results)); }

private:
    void open()
    {
        static unsigned count = 0;
        const auto token = QStringLiteral("velmora_%1").arg(++count);
        const auto sender = bus_.baseService().mid(1).replace(u'.', u'_');
        // The answer may come before the call returns, so it is listened for first.
        listen(QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token));
        auto call = methodCall(QLatin1String{desktop_portal::path}, fileChooser, "OpenFile");
        const auto parent = panel_.parentWindow == 0 ? QString{} : QStringLiteral("x11:%1").arg(panel_.parentWindow, 0, 16);
        QByteArray directory = QByteArray::fromStdString(panel_.directory.native());
        directory.append('\0');
        call.setArguments({parent, QString::fromStdString(panel_.title),
            QVariantMap{
                {QStringLiteral("handle_token"), token},
                {QStringLiteral("accept_label"), QString::fromStdString(panel_.prompt)},
                {QStringLiteral("modal"), true},
                {QStringLiteral("multiple"), false},
                {QStringLiteral("directory"), true},
                {QStringLiteral("current_folder"), directory},
            }});
        auto* asked = new QDBusPendingCallWatcher{bus_.asyncCall(call), this};
        connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked] {
            const QDBusPendingReply<QDBusObjectPath> reply = *asked;
            asked->deleteLater();
            if (!reply.isValid())
                finish(folderDialogError("the portal refuses to show it."));
            else if (reply.value().path() != handle_)  // portals before 0.9 make up a name of their own
                listen(reply.value().path());
        });
    }

    void listen(const QString& handle)
    {
        handle_ = handle;
        bus_.connect(QLatin1String{desktop_portal::service}, handle_, QLatin1String{request}, QStringLiteral("Response"), this,
            SLOT(respond(uint, QVariantMap)));
    }

    void finish(Result<std::optional<std::filesystem::path>> folder)
    {
        if (!completion_)
            return;
        deleteLater();
        auto completion = std::exchange(completion_, nullptr);
        completion(std::move(folder));
    }

    QDBusConnection bus_;
    const platform::FolderPanel panel_;
    platform::FolderChooser::Completion completion_;
    QDBusServiceWatcher watcher_;
    QString handle_;
};

class PortalFolderChooser final : public platform::FolderChooser {
public:
    explicit PortalFolderChooser(PortalFolderChooserOptions options) : options_(std::move(options)) { }

    void chooseFolder(const platform::FolderPanel& panel, Completion completion) override
    {
        const auto bus = options_.busAddress.empty()
            ? QDBusConnection::sessionBus()
            : QDBusConnection::connectToBus(QString::fromStdString(options_.busAddress), QStringLiteral("velmora-folder-chooser"));
        if (!bus.isConnected())
            return completion(folderDialogError("there is no session bus."));
        (new FolderRequest{bus, panel, std::move(completion), &requests_})->begin(options_.patience);
    }

private:
    const PortalFolderChooserOptions options_;
    QObject requests_;  // the owner of those that wait
};

}  // namespace

std::shared_ptr<platform::FolderChooser> makePortalFolderChooser(PortalFolderChooserOptions options)
{
    return std::make_shared<PortalFolderChooser>(std::move(options));
}

}  // namespace velmora::linux_backend

#include "PortalFolderChooser.moc"

#include "platform/linux/desktop/PortalFolderChooser.h"

#include "platform/linux/desktop/bus/BusInput.h"
#include "platform/linux/portal_access/PortalRequest.h"

#include <QByteArray>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QObject>
#include <QVariantMap>

#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr const char* fileChooser = "org.freedesktop.portal.FileChooser";
constexpr uint folderVersion = 3;

/// One dialog, from the question whether there is a portal to the answer. Deletes itself.
class FolderDialog final : public QObject {
public:
    FolderDialog(PortalConnection& portal, platform::FolderPanel panel, platform::FolderChooser::Completion completion, QObject* parent)
        : QObject(parent)
        , portal_(portal)
        , panel_(std::move(panel))
        , completion_(std::move(completion))
    {
    }

    void begin(std::chrono::milliseconds patience)
    {
        const auto call =
            portal::methodCall("org.freedesktop.DBus.Properties", "Get", {QLatin1String{fileChooser}, QStringLiteral("version")});
        auto* asked = new QDBusPendingCallWatcher{portal_.call(call, static_cast<int>(patience.count())), this};
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

private:
    void open()
    {
        const auto parent = panel_.parentWindow == 0 ? QString{} : QStringLiteral("x11:%1").arg(panel_.parentWindow, 0, 16);
        QByteArray directory = QByteArray::fromStdString(panel_.directory.native());
        directory.append('\0');
        const QVariantMap options{
            {QStringLiteral("accept_label"), QString::fromStdString(panel_.prompt)},
            {QStringLiteral("modal"), true},
            {QStringLiteral("multiple"), false},
            {QStringLiteral("directory"), true},
            {QStringLiteral("current_folder"), directory},
        };
        PortalRequest::send(portal_, this, fileChooser, "OpenFile", {parent, QString::fromStdString(panel_.title)}, options,
            [this](const Result<PortalResponse>& response) {
                if (response)
                    finish(folderAnswer(response->code, response->results));
                else if (response.error().code == PortalRequest::portalEnded)
                    finish(folderDialogError("the portal has ended."));
                else
                    finish(folderDialogError("the portal refuses to show it."));
            });
    }

    void finish(Result<std::optional<std::filesystem::path>> folder)
    {
        deleteLater();
        completion_(std::move(folder));
    }

    PortalConnection& portal_;
    const platform::FolderPanel panel_;
    platform::FolderChooser::Completion completion_;
};

class PortalFolderChooser final : public platform::FolderChooser {
public:
    explicit PortalFolderChooser(PortalFolderChooserOptions options) : options_(std::move(options)) { }

    void chooseFolder(const platform::FolderPanel& panel, Completion completion) override
    {
        auto& portal = PortalConnection::of(options_.busAddress);
        if (!portal.isConnected())
            return completion(folderDialogError("there is no session bus."));
        (new FolderDialog{portal, panel, std::move(completion), &dialogs_})->begin(options_.patience);
    }

private:
    const PortalFolderChooserOptions options_;
    QObject dialogs_;  // the owner of those that wait
};

}  // namespace

std::shared_ptr<platform::FolderChooser> makePortalFolderChooser(PortalFolderChooserOptions options)
{
    return std::make_shared<PortalFolderChooser>(std::move(options));
}

}  // namespace velmora::linux_backend

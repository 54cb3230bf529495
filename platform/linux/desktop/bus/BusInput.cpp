#include "platform/linux/desktop/bus/BusInput.h"

#include "platform/FolderChooser.h"

#include <QByteArray>
#include <QDBusVariant>
#include <QStringList>
#include <QUrl>
#include <QVariant>

#include <string>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr uint chosen = 0;  // the only response with an answer
constexpr const char* folderDialogDomain = "Velmora.FolderChooser";

}  // namespace

std::optional<std::filesystem::path> localPath(const QString& uri)
{
    const QUrl url{uri, QUrl::StrictMode};
    if (!url.isLocalFile())
        return std::nullopt;
    // A name with any bytes comes as a link.
    auto bytes = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
    // The system would drop what comes after a 0, and a relative path would count from wherever we were started.
    if (!bytes.startsWith('/') || bytes.contains('\0'))
        return std::nullopt;
    return std::filesystem::path{bytes.toStdString()};
}

tl::unexpected<Error> folderDialogError(const char* why)
{
    return fail(folderDialogDomain, 1, std::string{"The desktop's folder dialog cannot be used: "} + why);
}

Result<std::optional<std::filesystem::path>> folderAnswer(uint response, const QVariantMap& results)
{
    // Escape and the dialog's close button give a different response from its button Cancel.
    if (response != chosen)
        return std::optional<std::filesystem::path>{};
    const auto uris = results.value(QStringLiteral("uris")).toStringList();
    if (uris.size() == 1) {
        if (auto folder = localPath(uris.front()))
            return folder;
    }
    return fail(folderDialogDomain, platform::FolderChooser::unusableChoice, "What was chosen is not a folder on this computer.");
}

void DesktopMotion::take(const QString& group, const QString& key, const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusVariant>())
        return take(group, key, value.value<QDBusVariant>().variant());
    if (group == QLatin1String{interfaceGroup} && key == QLatin1String{animationsKey} && value.userType() == QMetaType::Bool) {
        hasAnimations_ = value.toBool();
    } else if (group == QLatin1String{kdeGroup} && key == QLatin1String{durationKey}) {
        // A number, or the text of one, as it stands in the configuration.
        bool isNumber = false;
        const double factor = value.toDouble(&isNumber);
        hasDuration_ = !isNumber || factor > 0;
    }
}

std::optional<platform::NotificationResponse> ShownNotifications::actionInvoked(uint id, const QString& action) const
{
    const auto found = shown_.find(id);
    if (found == shown_.end())
        return std::nullopt;
    return platform::NotificationResponse{action.toStdString(), found->second};
}

std::optional<platform::NotificationResponse> ShownNotifications::closed(uint id, uint reason)
{
    const auto found = shown_.find(id);
    if (found == shown_.end())
        return std::nullopt;
    platform::NotificationResponse response{std::string{platform::NotificationResponse::dismissActionIdentifier}, std::move(found->second)};
    shown_.erase(found);
    if (reason != closedByUser)
        return std::nullopt;
    return response;
}

}  // namespace velmora::linux_backend

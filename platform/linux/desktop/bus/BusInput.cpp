#include "platform/linux/desktop/bus/BusInput.h"

#include "platform/FolderChooser.h"

#include <QByteArray>
#include <QDBusVariant>
#include <QStringList>
#include <QUrl>
#include <QVariant>

#include <string>
#include <tuple>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr uint chosen = 0;  // the only response with an answer
constexpr uint moreContrast = 1;
constexpr double smallestText = 0.5;
constexpr double largestText = 3;
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

bool DesktopDisplay::take(const QString& group, const QString& key, const QVariant& value)
{
    if (value.userType() == qMetaTypeId<QDBusVariant>())
        return take(group, key, value.value<QDBusVariant>().variant());
    const auto wanted = [this] { return std::tuple{reducesMotion(), increasesContrast(), textScale()}; };
    const auto before = wanted();
    set(group, key, value);
    return wanted() != before;
}

void DesktopDisplay::set(const QString& group, const QString& key, const QVariant& value)
{
    const auto is = [&](const Setting& setting, int type) {
        return group == QLatin1String{setting.group} && key == QLatin1String{setting.key}
        && (type == QMetaType::UnknownType || value.userType() == type);
    };
    bool isNumber = false;
    if (is(animations, QMetaType::Bool)) {
        hasAnimations_ = value.toBool();
    } else if (is(animationDuration, QMetaType::UnknownType)) {
        // A number, or the text of one, as it stands in the configuration.
        const double factor = value.toDouble(&isNumber);
        hasDuration_ = !isNumber || factor > 0;
    } else if (is(contrast, QMetaType::UInt)) {
        contrast_ = value.toUInt() == moreContrast;
    } else if (is(highContrast, QMetaType::Bool)) {
        hasHighContrast_ = value.toBool();
    } else if (is(textScaling, QMetaType::Double)) {
        const double factor = value.toDouble();
        textScale_ = factor >= smallestText && factor <= largestText ? factor : 1;
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

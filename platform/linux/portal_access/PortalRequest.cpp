#include "platform/linux/portal_access/PortalRequest.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr const char* requestInterface = "org.freedesktop.portal.Request";
constexpr const char* errorDomain = "Velmora.PortalRequest";

}  // namespace

PortalRequest::PortalRequest(PortalConnection& portal, QObject* owner, Completion completion)
    : QObject(owner)
    , bus_(portal.bus())
    , completion_(std::move(completion))
{
    connect(&portal, &PortalConnection::ended, this, [this] { finish(fail(errorDomain, portalEnded, "The desktop's portal has ended.")); });
}

PortalRequest::~PortalRequest()
{
    if (completion_ && !handle_.isEmpty()) {
        bus_.send(QDBusMessage::createMethodCall(
            QLatin1String{portal::service}, handle_, QLatin1String{requestInterface}, QStringLiteral("Close")));
    }
}

void PortalRequest::send(PortalConnection& portal, QObject* owner, const char* interface, const char* method, const QVariantList& arguments,
    QVariantMap options, Completion completion)
{
    auto* request = new PortalRequest{portal, owner, std::move(completion)};
    const auto token = portal::makeToken();
    options.insert(QStringLiteral("handle_token"), token);
    const auto sender = portal.bus().baseService().mid(1).replace(u'.', u'_');
    // The answer may come before the call returns, so it is listened for first.
    request->listen(QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token));
    auto* asked =
        new QDBusPendingCallWatcher{portal.call(portal::methodCall(interface, method, arguments + QVariantList{options})), request};
    connect(asked, &QDBusPendingCallWatcher::finished, request, [request, asked] {
        const QDBusPendingReply<QDBusObjectPath> reply = *asked;
        asked->deleteLater();
        if (!reply.isValid())
            request->finish(fail(errorDomain, refused, "The desktop's portal refuses: " + reply.error().message().toStdString()));
        else if (reply.value().path() != request->handle_)  // portals before 0.9 make up a name of their own
            request->listen(reply.value().path());
    });
}

void PortalRequest::listen(const QString& handle)
{
    handle_ = handle;
    bus_.connect(QLatin1String{portal::service}, handle_, QLatin1String{requestInterface}, QStringLiteral("Response"), this,
        SLOT(respond(uint, QVariantMap)));
}

void PortalRequest::respond(uint response, const QVariantMap& results)
{
    finish(PortalResponse{response, results});
}

void PortalRequest::finish(Result<PortalResponse> answer)
{
    if (!completion_)
        return;
    deleteLater();
    auto completion = std::exchange(completion_, nullptr);
    completion(std::move(answer));
}

}  // namespace velmora::linux_backend

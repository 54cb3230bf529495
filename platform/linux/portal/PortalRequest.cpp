#include "platform/linux/portal/PortalRequest.h"

#include "platform/linux/portal/Errors.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <set>
#include <string>
#include <utility>

namespace velmora::linux_backend {

namespace portal {

namespace {

// As the desktop file is named.
constexpr const char* applicationID = "com.velmora.Velmora";

}  // namespace

QString makeToken()
{
    static unsigned count = 0;
    return QStringLiteral("velmora_cast_%1").arg(++count);
}

QDBusMessage propertiesCall(const char* interface)
{
    auto call = QDBusMessage::createMethodCall(
        QLatin1String{service}, QLatin1String{path}, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"));
    call.setArguments({QLatin1String{interface}});
    return call;
}

QDBusConnection bus(const std::string& address)
{
    auto connection = address.empty() ? QDBusConnection::sessionBus()
                                      : QDBusConnection::connectToBus(QString::fromStdString(address), QStringLiteral("velmora-portal"));
    static std::set<std::pair<std::string, QString>> introduced;
    if (connection.isConnected() && introduced.emplace(address, connection.baseService()).second) {
        auto call = QDBusMessage::createMethodCall(
            QLatin1String{service}, QLatin1String{path}, QLatin1String{registry}, QStringLiteral("Register"));
        call.setArguments({QLatin1String{applicationID}, QVariantMap{}});
        // Nothing hangs on the answer: calls arrive in their order.
        connection.asyncCall(call);
    }
    return connection;
}

}  // namespace portal

namespace {

constexpr const char* requestInterface = "org.freedesktop.portal.Request";
constexpr uint succeeded = 0;
constexpr uint cancelled = 1;

}  // namespace

PortalRequest::PortalRequest(QDBusConnection bus, QObject* owner, Completion completion)
    : QObject(owner)
    , bus_(std::move(bus))
    , completion_(std::move(completion))
    , watcher_(QLatin1String{portal::service}, bus_, QDBusServiceWatcher::WatchForUnregistration)
{
    connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this,
        [this] { finish(failPortal(PortalErrorCode::unavailable, "The desktop's portal has ended.")); });
}

PortalRequest::~PortalRequest()
{
    if (completion_ && !handle_.isEmpty()) {
        bus_.send(QDBusMessage::createMethodCall(
            QLatin1String{portal::service}, handle_, QLatin1String{requestInterface}, QStringLiteral("Close")));
    }
}

void PortalRequest::send(const QDBusConnection& bus, QObject* owner, const char* interface, const char* method,
    const QVariantList& arguments, QVariantMap options, Completion completion)
{
    auto* request = new PortalRequest{bus, owner, std::move(completion)};
    const auto token = portal::makeToken();
    options.insert(QStringLiteral("handle_token"), token);
    const auto sender = bus.baseService().mid(1).replace(u'.', u'_');
    // The answer may come before the call returns, so it is listened for first.
    request->listen(QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token));
    auto call = QDBusMessage::createMethodCall(
        QLatin1String{portal::service}, QLatin1String{portal::path}, QLatin1String{interface}, QLatin1String{method});
    call.setArguments(arguments + QVariantList{options});
    auto* asked = new QDBusPendingCallWatcher{request->bus_.asyncCall(call), request};
    connect(asked, &QDBusPendingCallWatcher::finished, request, [request, asked] {
        const QDBusPendingReply<QDBusObjectPath> reply = *asked;
        asked->deleteLater();
        if (!reply.isValid())
            request->finish(failPortal(PortalErrorCode::refused, "The desktop's portal refuses: " + reply.error().message().toStdString()));
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
    if (response == succeeded)
        finish(std::optional{results});
    else if (response == cancelled)
        finish(std::optional<QVariantMap>{});
    else
        finish(failPortal(PortalErrorCode::refused, "The desktop's portal gave no answer."));
}

void PortalRequest::finish(Result<std::optional<QVariantMap>> answer)
{
    if (!completion_)
        return;
    deleteLater();
    auto completion = std::exchange(completion_, nullptr);
    completion(std::move(answer));
}

}  // namespace velmora::linux_backend

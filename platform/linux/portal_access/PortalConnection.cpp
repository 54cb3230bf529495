#include "platform/linux/portal_access/PortalConnection.h"

#include <QCoreApplication>
#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QVariantMap>

namespace velmora::linux_backend {

namespace {

// The name of the desktop file.
constexpr const char* applicationID = "com.velmora.Velmora";
constexpr const char* registry = "org.freedesktop.host.portal.Registry";

QDBusConnection busAt(const std::string& address)
{
    if (address.empty())
        return QDBusConnection::sessionBus();
    const auto text = QString::fromStdString(address);
    return QDBusConnection::connectToBus(text, QStringLiteral("velmora-portal ") + text);
}

/// Whether the portal itself said this, be it a refusal. The bus says when there is none, or it was gone before it answered. Who sent a
/// reply does not tell: Qt 6.8 keeps that to itself.
bool isAnswerOfThePortal(const QDBusMessage& reply)
{
    if (reply.type() != QDBusMessage::ErrorMessage)
        return reply.type() == QDBusMessage::ReplyMessage;
    switch (QDBusError{reply}.type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::NoReply:
    case QDBusError::TimedOut:
    case QDBusError::Timeout:
    case QDBusError::Disconnected:
    case QDBusError::NoServer:
        return false;
    default:
        return reply.errorName() != QLatin1String{"org.freedesktop.DBus.Error.NameHasNoOwner"}
        && !reply.errorName().startsWith(QLatin1String{"org.freedesktop.DBus.Error.Spawn."});
    }
}

}  // namespace

namespace portal {

QDBusMessage methodCall(const char* interface, const char* method, const QVariantList& arguments)
{
    auto call =
        QDBusMessage::createMethodCall(QLatin1String{service}, QLatin1String{path}, QLatin1String{interface}, QLatin1String{method});
    call.setArguments(arguments);
    return call;
}

QDBusMessage propertiesCall(const char* interface)
{
    return methodCall("org.freedesktop.DBus.Properties", "GetAll", {QLatin1String{interface}});
}

QString makeToken()
{
    static unsigned count = 0;
    return QStringLiteral("velmora_%1").arg(++count);
}

}  // namespace portal

PortalConnection& PortalConnection::of(const std::string& address)
{
    auto* application = QCoreApplication::instance();
    const auto name = QStringLiteral("portal at ") + QString::fromStdString(address);
    if (auto* known = application->findChild<PortalConnection*>(name, Qt::FindDirectChildrenOnly))
        return *known;
    auto* made = new PortalConnection{application, address};
    made->setObjectName(name);
    return *made;
}

PortalConnection::PortalConnection(QObject* application, const std::string& address)
    : QObject(application)
    , bus_(busAt(address))
    , isPrivate_(!address.empty())
    , watcher_(QLatin1String{portal::service}, bus_, QDBusServiceWatcher::WatchForOwnerChange)
{
    connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
        [this](const QString&, const QString& before, const QString& now) { ownerChanged(before, now); });
}

PortalConnection::~PortalConnection()
{
    if (isPrivate_)
        QDBusConnection::disconnectFromBus(bus_.name());
}

QDBusPendingCall PortalConnection::call(const QDBusMessage& message, int milliseconds)
{
    // If it was sent to a portal that may not be there, whoever starts one has to send it again.
    const bool mayBeLost = introduction_ == Introduction::asked && message.autoStartService() && !introductionStartsPortal_;
    if (introduction_ == Introduction::none || mayBeLost)
        introduce(message.autoStartService());
    return bus_.asyncCall(message, milliseconds);
}

void PortalConnection::introduce(bool startsPortal)
{
    introduction_ = Introduction::asked;
    introductionStartsPortal_ = startsPortal;
    auto message = portal::methodCall(registry, "Register", {QLatin1String{applicationID}, QVariantMap{}});
    message.setAutoStartService(startsPortal);
    // Nothing waits for the answer: calls arrive in order, even at a portal that is being started.
    auto* asked = new QDBusPendingCallWatcher{bus_.asyncCall(message), this};
    connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked, number = ++introductions_] {
        asked->deleteLater();
        if (number != introductions_)
            return;
        introduction_ = isAnswerOfThePortal(asked->reply()) ? Introduction::made : Introduction::none;
    });
}

void PortalConnection::ownerChanged(const QString& before, const QString& now)
{
    // One that appears where there was none is the one that the introduction started, if it was to start one.
    const bool isAwaited = before.isEmpty() && introduction_ != Introduction::none && introductionStartsPortal_;
    if (!isAwaited) {
        ++introductions_;
        introduction_ = Introduction::none;
    }
    if (!before.isEmpty())
        emit ended();
    if (!now.isEmpty())
        emit appeared();
}

}  // namespace velmora::linux_backend

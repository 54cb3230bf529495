#include "app/menu/TrayHost.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QSystemTrayIcon>

#include <utility>

namespace velmora {

namespace {

constexpr QLatin1String watcherName{"org.kde.StatusNotifierWatcher"};
constexpr QLatin1String watcherPath{"/StatusNotifierWatcher"};

}  // namespace

TrayHost::TrayHost(QDBusConnection bus) : bus_(std::move(bus))
{
    auto* owners = new QDBusServiceWatcher{watcherName, bus_, QDBusServiceWatcher::WatchForOwnerChange, this};
    connect(owners, &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayHost::ask);
    bus_.connect(watcherName, watcherPath, watcherName, QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(ask()));
    patience_.setSingleShot(true);
    patience_.callOnTimeout(this, [this] {
        isKnown_ = true;
        callAll(whenKnown_);
    });
    patience_.start(longestSilence);
    ask();
}

void TrayHost::whenAnswered(std::function<void()> action)
{
    if (usesTheBus_)
        return action();
    whenAnswered_.push_back(std::move(action));
}

void TrayHost::whenKnown(std::function<void()> action)
{
    if (isKnown_)
        return action();
    whenKnown_.push_back(std::move(action));
}

bool TrayHost::isThere() const
{
    if (!usesTheBus_)
        return false;
    return *usesTheBus_ ? isRegistered_ : QSystemTrayIcon::isSystemTrayAvailable();
}

void TrayHost::ask()
{
    auto message =
        QDBusMessage::createMethodCall(watcherName, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message.setArguments({QString{watcherName}, QStringLiteral("IsStatusNotifierHostRegistered")});
    message.setAutoStartService(false);
    auto* call = new QDBusPendingCallWatcher{bus_.asyncCall(message), this};
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, question = ++question_] {
        call->deleteLater();
        if (question == question_)
            take(*call);
    });
}

void TrayHost::take(const QDBusPendingCallWatcher& call)
{
    const QDBusPendingReply<QDBusVariant> reply = call;
    // One that was too slow, or that ended before it answered.
    if (reply.isError() && (reply.error().type() == QDBusError::NoReply || reply.error().type() == QDBusError::Timeout))
        return ask();
    learn(reply.isValid() && reply.value().variant().toBool());
}

void TrayHost::learn(bool isRegistered)
{
    isRegistered_ = isRegistered;
    if (!usesTheBus_)
        usesTheBus_ = isRegistered;
    callAll(whenAnswered_);
    patience_.stop();
    isKnown_ = true;
    callAll(whenKnown_);
    emit answered();
}

void TrayHost::callAll(std::vector<std::function<void()>>& actions)
{
    for (const auto& action : std::exchange(actions, {}))
        action();
}

}  // namespace velmora

// The message buses that the desktop's services are reached by.
#pragma once

#include <QDBusConnection>

#include <string>

namespace velmora::linux_backend {

/// The bus at `address`, on a connection called `name`; the user's own, or the machine's, which the whole program shares, where the address
/// is empty.
[[nodiscard]] inline QDBusConnection busAt(
    const std::string& address, const QString& name, QDBusConnection::BusType usual = QDBusConnection::SessionBus)
{
    if (!address.empty())
        return QDBusConnection::connectToBus(QString::fromStdString(address), name);
    return usual == QDBusConnection::SystemBus ? QDBusConnection::systemBus() : QDBusConnection::sessionBus();
}

}  // namespace velmora::linux_backend

// One question to the desktop's portal, from the call to the answer (org.freedesktop.portal.Request). Private to this folder, because it
// is Qt through and through.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <optional>
#include <string>

namespace velmora::linux_backend {

namespace portal {

inline constexpr const char* service = "org.freedesktop.portal.Desktop";
inline constexpr const char* path = "/org/freedesktop/portal/desktop";
inline constexpr const char* screenCast = "org.freedesktop.portal.ScreenCast";
inline constexpr const char* globalShortcuts = "org.freedesktop.portal.GlobalShortcuts";
inline constexpr const char* session = "org.freedesktop.portal.Session";
inline constexpr const char* registry = "org.freedesktop.host.portal.Registry";

/// Unique within this process.
[[nodiscard]] QString makeToken();

/// All properties of an interface of the portal.
[[nodiscard]] QDBusMessage propertiesCall(const char* interface);

/// The session bus: that of the environment, or the one at `address`. Before anything else, a connection tells the portal which program
/// this is; portals before 1.19.4 do not want to know.
[[nodiscard]] QDBusConnection bus(const std::string& address);

}  // namespace portal

/// Deletes itself when it is answered; deleting it before closes the desktop's dialog. Main thread only.
class PortalRequest final : public QObject {
    Q_OBJECT

public:
    /// The results; none when the user cancelled; an error when the portal refused, vanished or gave up. Once, never before send() has
    /// returned.
    using Completion = UniqueFunction<void(Result<std::optional<QVariantMap>>)>;

    /// Calls `method` with `arguments` and then `options`, to which the request's own token is added. It belongs to `owner`.
    static void send(const QDBusConnection& bus, QObject* owner, const char* interface, const char* method, const QVariantList& arguments,
        QVariantMap options, Completion completion);

    ~PortalRequest() override;

private slots:
    void respond(uint response, const QVariantMap& results);

private:
    PortalRequest(QDBusConnection bus, QObject* owner, Completion completion);
    void listen(const QString& handle);
    void finish(Result<std::optional<QVariantMap>> answer);

    QDBusConnection bus_;
    Completion completion_;
    QDBusServiceWatcher watcher_;
    QString handle_;
};

}  // namespace velmora::linux_backend

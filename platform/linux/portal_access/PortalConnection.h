// The program's way to the desktop's portal (XDG Desktop Portal). Private to the rooms that speak to it, because it is Qt through and
// through.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

#include <string>

namespace velmora::linux_backend {

namespace portal {

inline constexpr const char* service = "org.freedesktop.portal.Desktop";
inline constexpr const char* path = "/org/freedesktop/portal/desktop";
inline constexpr const char* session = "org.freedesktop.portal.Session";

/// A call to the portal's object itself.
[[nodiscard]] QDBusMessage methodCall(const char* interface, const char* method, const QVariantList& arguments);

/// All properties of an interface of the portal.
[[nodiscard]] QDBusMessage propertiesCall(const char* interface);

/// For the handle of a request or a session: unique within this process.
[[nodiscard]] QString makeToken();

}  // namespace portal

/// One for each bus. A portal is first told which program this is (org.freedesktop.host.portal.Registry), and one that was restarted is
/// told again: portals from 1.19.4 on take it for an error when it comes after another call, those from 1.21 on give no shortcuts without
/// it; older ones do not understand it, which does no harm. Main thread only.
class PortalConnection final : public QObject {
    Q_OBJECT

public:
    /// That of the session's bus, or of the one at `address`; it lives as long as the application object, which has to exist.
    static PortalConnection& of(const std::string& address);

    ~PortalConnection() override;

    [[nodiscard]] bool isConnected() const { return bus_.isConnected(); }

    /// For signals from the portal, and for what is said to objects that it made; questions go through call().
    [[nodiscard]] QDBusConnection& bus() { return bus_; }

    /// A question that waits for `milliseconds` (-1: what Qt takes for long enough). It starts a portal that is not running, unless the
    /// message says otherwise.
    QDBusPendingCall call(const QDBusMessage& message, int milliseconds = -1);

signals:
    /// There is a portal, perhaps in another's place.
    void appeared();

    /// It is gone, with all its sessions and requests. Where another takes its place, this comes first.
    void ended();

private:
    enum class Introduction { none, asked, made };

    PortalConnection(QObject* application, const std::string& address);
    void introduce(bool startsPortal);
    void ownerChanged(const QString& before, const QString& now);

    QDBusConnection bus_;
    const bool isPrivate_;
    QDBusServiceWatcher watcher_;
    Introduction introduction_ = Introduction::none;
    bool introductionStartsPortal_ = false;
    int introductions_ = 0;  ///< so that a late answer to an earlier one counts for nothing
};

}  // namespace velmora::linux_backend

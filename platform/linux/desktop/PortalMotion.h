// Whether the desktop wants less motion, as its portal tells.
#pragma once

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QString>

#include <functional>

namespace velmora::linux_backend {

/// org.freedesktop.portal.Settings, version 1: `enable-animations` of org.gnome.desktop.interface, which other desktops answer too, and
/// `AnimationDurationFactor` of org.kde.kdeglobals.KDE, where 0 is none. Asks a portal that runs, and one that starts later; starts none.
/// Main thread only, and waits for no answer.
class PortalMotion final : public QObject {
    Q_OBJECT

public:
    /// `changed` is called after each change of `isReduced`.
    PortalMotion(QDBusConnection bus, std::function<void()> changed);

    /// False until the portal has answered, and as long as it knows neither setting. What it said last holds when it is gone.
    [[nodiscard]] bool isReduced() const { return !hasAnimations_ || !hasDuration_; }

private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void ask();
    void ask(const char* group, const char* key);
    void take(const QString& group, const QString& key, const QVariant& value);

    QDBusConnection bus_;
    const std::function<void()> changed_;
    QDBusServiceWatcher portals_;
    bool hasAnimations_ = true;
    bool hasDuration_ = true;
};

}  // namespace velmora::linux_backend

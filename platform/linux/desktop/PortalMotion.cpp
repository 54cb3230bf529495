#include "platform/linux/desktop/PortalMotion.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>

#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr const char* service = "org.freedesktop.portal.Desktop";
constexpr const char* path = "/org/freedesktop/portal/desktop";
constexpr const char* settings = "org.freedesktop.portal.Settings";

constexpr const char* interfaceGroup = "org.gnome.desktop.interface";
constexpr const char* animationsKey = "enable-animations";
constexpr const char* kdeGroup = "org.kde.kdeglobals.KDE";
constexpr const char* durationKey = "AnimationDurationFactor";

}  // namespace

class PortalMotion::Settings final : public QObject {
    Q_OBJECT

public:
    Settings(QDBusConnection bus, std::function<void()> changed);

    [[nodiscard]] bool isReduced() const { return !hasAnimations_ || !hasDuration_; }

private slots:
    void settingChanged(const QDBusMessage& signal);

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

PortalMotion::Settings::Settings(QDBusConnection bus, std::function<void()> changed)
    : bus_(std::move(bus))
    , changed_(std::move(changed))
    , portals_(QLatin1String{service}, bus_, QDBusServiceWatcher::WatchForRegistration)
{
    // Listened to before it is asked: what changes in between is heard.
    bus_.connect(QLatin1String{service}, QLatin1String{path}, QLatin1String{settings}, QStringLiteral("SettingChanged"), this,
        SLOT(settingChanged(QDBusMessage)));
    connect(&portals_, &QDBusServiceWatcher::serviceRegistered, this, [this] { ask(); });
    ask();
}

void PortalMotion::Settings::settingChanged(const QDBusMessage& signal)
{
    if (signal.signature() != QLatin1String{"ssv"})
        return;
    const auto arguments = signal.arguments();
    take(arguments[0].toString(), arguments[1].toString(), arguments[2]);
}

void PortalMotion::Settings::ask()
{
    ask(interfaceGroup, animationsKey);
    ask(kdeGroup, durationKey);
}

void PortalMotion::Settings::ask(const char* group, const char* key)
{
    // Its successor ReadOne is not known to the portals of older desktops.
    auto call =
        QDBusMessage::createMethodCall(QLatin1String{service}, QLatin1String{path}, QLatin1String{settings}, QStringLiteral("Read"));
    call.setArguments({QLatin1String{group}, QLatin1String{key}});
    call.setAutoStartService(false);
    auto* asked = new QDBusPendingCallWatcher{bus_.asyncCall(call), this};
    connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked, group, key] {
        const QDBusPendingReply<QDBusVariant> reply = *asked;
        asked->deleteLater();
        if (reply.isValid())
            take(QLatin1String{group}, QLatin1String{key}, reply.value().variant());
    });
}

void PortalMotion::Settings::take(const QString& group, const QString& key, const QVariant& value)
{
    // The signal's value is wrapped once, and that of Read twice.
    if (value.userType() == qMetaTypeId<QDBusVariant>())
        return take(group, key, value.value<QDBusVariant>().variant());
    const bool wasReduced = isReduced();
    if (group == QLatin1String{interfaceGroup} && key == QLatin1String{animationsKey} && value.userType() == QMetaType::Bool) {
        hasAnimations_ = value.toBool();
    } else if (group == QLatin1String{kdeGroup} && key == QLatin1String{durationKey}) {
        // A number, or the text of one, as it stands in the configuration.
        bool isNumber = false;
        const double factor = value.toDouble(&isNumber);
        hasDuration_ = !isNumber || factor > 0;
    }
    if (isReduced() != wasReduced)
        changed_();
}

PortalMotion::PortalMotion(const std::string& connection, std::function<void()> changed)
    : settings_(std::make_unique<Settings>(QDBusConnection{QString::fromStdString(connection)}, std::move(changed)))
{
}

PortalMotion::~PortalMotion() = default;

bool PortalMotion::isReduced() const
{
    return settings_->isReduced();
}

}  // namespace velmora::linux_backend

#include "PortalMotion.moc"

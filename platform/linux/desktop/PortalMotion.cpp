#include "platform/linux/desktop/PortalMotion.h"

#include "platform/linux/desktop/bus/BusInput.h"
#include "platform/linux/portal_access/PortalConnection.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>

#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr const char* settings = "org.freedesktop.portal.Settings";

}  // namespace

class PortalMotion::Settings final : public QObject {
    Q_OBJECT

public:
    Settings(PortalConnection& portal, std::function<void()> changed);

    [[nodiscard]] bool isReduced() const { return motion_.isReduced(); }

private slots:
    void settingChanged(const QDBusMessage& signal);

private:
    void ask();
    void ask(const char* group, const char* key);
    void take(const QString& group, const QString& key, const QVariant& value);

    PortalConnection& portal_;
    const std::function<void()> changed_;
    DesktopMotion motion_;
};

PortalMotion::Settings::Settings(PortalConnection& portal, std::function<void()> changed) : portal_(portal), changed_(std::move(changed))
{
    // We listen before we ask: what changes in between is heard.
    portal_.bus().connect(QLatin1String{portal::service}, QLatin1String{portal::path}, QLatin1String{settings},
        QStringLiteral("SettingChanged"), this, SLOT(settingChanged(QDBusMessage)));
    connect(&portal_, &PortalConnection::appeared, this, [this] { ask(); });
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
    ask(DesktopMotion::interfaceGroup, DesktopMotion::animationsKey);
    ask(DesktopMotion::kdeGroup, DesktopMotion::durationKey);
}

void PortalMotion::Settings::ask(const char* group, const char* key)
{
    // The portals of older desktops do not know its successor ReadOne.
    auto call = portal::methodCall(settings, "Read", {QLatin1String{group}, QLatin1String{key}});
    call.setAutoStartService(false);
    auto* asked = new QDBusPendingCallWatcher{portal_.call(call), this};
    connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked, group, key] {
        const QDBusPendingReply<QDBusVariant> reply = *asked;
        asked->deleteLater();
        if (reply.isValid())
            take(QLatin1String{group}, QLatin1String{key}, reply.value().variant());
    });
}

void PortalMotion::Settings::take(const QString& group, const QString& key, const QVariant& value)
{
    const bool wasReduced = isReduced();
    motion_.take(group, key, value);
    if (isReduced() != wasReduced)
        changed_();
}

PortalMotion::PortalMotion(const std::string& busAddress, std::function<void()> changed)
    : settings_(std::make_unique<Settings>(PortalConnection::of(busAddress), std::move(changed)))
{
}

PortalMotion::~PortalMotion() = default;

bool PortalMotion::isReduced() const
{
    return settings_->isReduced();
}

}  // namespace velmora::linux_backend

#include "PortalMotion.moc"

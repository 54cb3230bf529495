#include "platform/linux/desktop/PortalDisplayOptions.h"

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

class PortalDisplayOptions::Settings final : public QObject {
    Q_OBJECT

public:
    Settings(PortalConnection& portal, std::function<void()> changed);

    [[nodiscard]] const DesktopDisplay& display() const { return display_; }

private slots:
    void settingChanged(const QDBusMessage& signal);

private:
    void ask();
    void ask(const char* group, const char* key);
    void take(const QString& group, const QString& key, const QVariant& value);

    PortalConnection& portal_;
    const std::function<void()> changed_;
    DesktopDisplay display_;
};

PortalDisplayOptions::Settings::Settings(PortalConnection& portal, std::function<void()> changed)
    : portal_(portal)
    , changed_(std::move(changed))
{
    // We listen before we ask: what changes in between is heard.
    portal_.bus().connect(QLatin1String{portal::service}, QLatin1String{portal::path}, QLatin1String{settings},
        QStringLiteral("SettingChanged"), this, SLOT(settingChanged(QDBusMessage)));
    connect(&portal_, &PortalConnection::appeared, this, [this] { ask(); });
    ask();
}

void PortalDisplayOptions::Settings::settingChanged(const QDBusMessage& signal)
{
    if (signal.signature() != QLatin1String{"ssv"})
        return;
    const auto arguments = signal.arguments();
    take(arguments[0].toString(), arguments[1].toString(), arguments[2]);
}

void PortalDisplayOptions::Settings::ask()
{
    for (const auto& setting : DesktopDisplay::settings)
        ask(setting.group, setting.key);
}

void PortalDisplayOptions::Settings::ask(const char* group, const char* key)
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

void PortalDisplayOptions::Settings::take(const QString& group, const QString& key, const QVariant& value)
{
    if (display_.take(group, key, value))
        changed_();
}

PortalDisplayOptions::PortalDisplayOptions(const std::string& busAddress, std::function<void()> changed)
    : settings_(std::make_unique<Settings>(PortalConnection::of(busAddress), std::move(changed)))
{
}

PortalDisplayOptions::~PortalDisplayOptions() = default;

platform::DisplayOptions PortalDisplayOptions::options() const
{
    const auto& display = settings_->display();
    return {display.reducesMotion(), display.increasesContrast(), display.textScale()};
}

}  // namespace velmora::linux_backend

#include "PortalDisplayOptions.moc"

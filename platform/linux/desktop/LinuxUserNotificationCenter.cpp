#include "platform/linux/desktop/LinuxUserNotificationCenter.h"

#include "platform/linux/desktop/bus/BusConnection.h"
#include "platform/linux/desktop/bus/BusInput.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <algorithm>
#include <optional>
#include <utility>

namespace velmora::linux_backend {

using platform::AuthorizationStatus;
using platform::NotificationContent;
using platform::NotificationRequest;
using platform::NotificationResponse;

namespace {

constexpr const char* notifications = "org.freedesktop.Notifications";  // the service and its interface
constexpr const char* notificationsPath = "/org/freedesktop/Notifications";
constexpr uchar lowUrgency = 0;
constexpr uchar normalUrgency = 1;
constexpr int usualTimeout = -1;

constexpr const char* errorDomain = "Velmora.UserNotificationCenter";
constexpr int noBus = 1;
constexpr int noService = 2;
constexpr int notShown = 3;

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

QDBusMessage methodCall(const char* method)
{
    return QDBusMessage::createMethodCall(
        QLatin1String{notifications}, QLatin1String{notificationsPath}, QLatin1String{notifications}, QLatin1String{method});
}

class LinuxUserNotificationCenter final : public QObject, public platform::UserNotificationCenter {
    Q_OBJECT

public:
    explicit LinuxUserNotificationCenter(UserNotificationCenterOptions options)
        : options_(std::move(options))
        , bus_(busAt(options_.busAddress,
              options_.isQuiet ? QStringLiteral("velmora-quiet-notifications") : QStringLiteral("velmora-notifications")))
    {
        if (!bus_.isConnected())
            return;
        bus_.connect(QString{}, QLatin1String{notificationsPath}, QLatin1String{notifications}, QStringLiteral("ActionInvoked"), this,
            SLOT(actionInvoked(uint, QString)));
        bus_.connect(QString{}, QLatin1String{notificationsPath}, QLatin1String{notifications}, QStringLiteral("NotificationClosed"), this,
            SLOT(notificationClosed(uint, uint)));
        watcher_.setConnection(bus_);
        watcher_.addWatchedService(QLatin1String{notifications});
        connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, [this] { shown_.clear(); });
    }

    void setDelegate(std::weak_ptr<platform::UserNotificationCenterDelegate> delegate) override { delegate_ = std::move(delegate); }

    void setNotificationCategories(std::vector<platform::NotificationCategory> categories) override { categories_ = std::move(categories); }

    void getAuthorizationStatus(UniqueFunction<void(AuthorizationStatus)> completion) override
    {
        withCapabilities([completion = std::move(completion)](const QStringList& capabilities) mutable {
            completion(canShowActions(capabilities) ? AuthorizationStatus::authorized : AuthorizationStatus::denied);
        });
    }

    void requestAuthorization(unsigned, UniqueFunction<void(Result<bool>)> completion) override
    {
        if (!bus_.isConnected())
            return completion(fail(errorDomain, noBus, "There is no session bus, so there are no notifications."));
        withCapabilities(
            [completion = std::move(completion)](const QStringList& capabilities) mutable { completion(canShowActions(capabilities)); });
    }

    void add(const NotificationRequest& request, UniqueFunction<void(Result<void>)> completion) override
    {
        withCapabilities([this, content = request.content, completion = std::move(completion)](
                             const QStringList& capabilities) mutable { show(content, capabilities, std::move(completion)); });
    }

private slots:
    void actionInvoked(uint id, const QString& action) { respond(shown_.actionInvoked(id, action)); }

    void notificationClosed(uint id, uint reason) { respond(shown_.closed(id, reason)); }

private:
    static bool canShowActions(const QStringList& capabilities) { return capabilities.contains(QLatin1String("actions")); }

    /// `work` gets nothing when no service answers.
    void withCapabilities(UniqueFunction<void(const QStringList&)> work)
    {
        if (!bus_.isConnected())
            return work({});
        auto* call = new QDBusPendingCallWatcher{bus_.asyncCall(methodCall("GetCapabilities")), this};
        auto shared = std::make_shared<UniqueFunction<void(const QStringList&)>>(std::move(work));
        connect(call, &QDBusPendingCallWatcher::finished, this, [call, shared] {
            const QDBusPendingReply<QStringList> reply = *call;
            (*shared)(reply.isValid() ? reply.value() : QStringList{});
            call->deleteLater();
        });
    }

    void show(const NotificationContent& content, const QStringList& capabilities, UniqueFunction<void(Result<void>)> completion)
    {
        if (capabilities.isEmpty())
            return completion(fail(errorDomain, noService, "There is no notification service."));
        auto call = methodCall("Notify");
        const QString body = text(content.body);
        call.setArguments({QStringLiteral("Velmora"), uint{0}, QString{}, text(content.title),
            capabilities.contains(QLatin1String("body-markup")) ? body.toHtmlEscaped() : body, actions(content, capabilities),
            hints(content, capabilities), timeout(content)});
        auto* sent = new QDBusPendingCallWatcher{bus_.asyncCall(call), this};
        auto shared = std::make_shared<UniqueFunction<void(Result<void>)>>(std::move(completion));
        connect(sent, &QDBusPendingCallWatcher::finished, this, [this, sent, content, shared] {
            const QDBusPendingReply<uint> reply = *sent;
            sent->deleteLater();
            if (!reply.isValid())
                return (*shared)(fail(errorDomain, notShown, reply.error().message().toStdString()));
            shown_.add(reply.value(), content);
            (*shared)({});
        });
    }

    /// Pairs of an identifier and a label. A click on the notification itself is the action "default".
    [[nodiscard]] QStringList actions(const NotificationContent& content, const QStringList& capabilities) const
    {
        QStringList pairs;
        const auto category = std::find_if(categories_.begin(), categories_.end(),
            [&](const auto& candidate) { return candidate.identifier == content.categoryIdentifier; });
        if (category == categories_.end() || !canShowActions(capabilities))
            return pairs;
        pairs << QStringLiteral("default") << QString{};
        for (const auto& action : category->actions)
            pairs << text(action.identifier) << text(action.title);
        return pairs;
    }

    [[nodiscard]] QVariantMap hints(const NotificationContent& content, const QStringList& capabilities) const
    {
        QVariantMap hints{
            {QStringLiteral("urgency"), QVariant::fromValue(options_.isQuiet ? lowUrgency : normalUrgency)},
            {QStringLiteral("category"), options_.isQuiet ? QStringLiteral("transfer") : QStringLiteral("transfer.complete")},
            {QStringLiteral("desktop-entry"), QStringLiteral("com.velmora.Velmora")},
        };
        if (content.playsDefaultSound && capabilities.contains(QLatin1String("sound")))
            hints.insert(QStringLiteral("sound-name"), QStringLiteral("message-new-instant"));
        if (const auto& image = imageData(); image.isValid())
            hints.insert(QStringLiteral("image-data"), image);
        return hints;
    }

    /// Width, height, bytes in a row, whether there is alpha, bits in a sample, channels, samples. A picture that travels with its notification
    /// needs no file that the service can read.
    const QVariant& imageData() const
    {
        if (imageData_.isValid() || !options_.makeIcon)
            return imageData_;
        constexpr int bitsInSample = 8;
        constexpr int channels = 4;
        const auto icon = options_.makeIcon();
        QDBusArgument image;
        image.beginStructure();
        image << icon.side << icon.side << icon.side * channels << true << bitsInSample << channels
              << QByteArray{reinterpret_cast<const char*>(icon.rgba.data()), static_cast<qsizetype>(icon.rgba.size())};
        image.endStructure();
        imageData_ = QVariant::fromValue(image);
        return imageData_;
    }

    static int timeout(const NotificationContent& content)
    {
        return content.leastTimeOnScreen.count() > 0 ? static_cast<int>(content.leastTimeOnScreen.count()) : usualTimeout;
    }

    void respond(const std::optional<NotificationResponse>& response)
    {
        if (const auto delegate = delegate_.lock(); delegate && response)
            delegate->didReceive(*response, [] {});
    }

    const UserNotificationCenterOptions options_;
    QDBusConnection bus_;
    QDBusServiceWatcher watcher_;
    std::weak_ptr<platform::UserNotificationCenterDelegate> delegate_;
    std::vector<platform::NotificationCategory> categories_;
    ShownNotifications shown_;
    mutable QVariant imageData_;
};

}  // namespace

std::shared_ptr<platform::UserNotificationCenter> makeUserNotificationCenter(UserNotificationCenterOptions options)
{
    return std::make_shared<LinuxUserNotificationCenter>(std::move(options));
}

}  // namespace velmora::linux_backend

#include "LinuxUserNotificationCenter.moc"

#include "platform/linux/portal/ScreenCastSession.h"

#include "platform/linux/portal/Errors.h"
#include "platform/linux/portal/PortalAnswer.h"
#include "platform/linux/portal_access/PortalConnection.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QTimer>

#include <fcntl.h>
#include <memory>
#include <utility>

namespace velmora::linux_backend {

namespace {

constexpr const char* screenCast = "org.freedesktop.portal.ScreenCast";
constexpr uint windows = 2;
constexpr uint embeddedCursor = 2;
constexpr uint untilRevoked = 2;
constexpr uint versionWithTokens = 4;
constexpr int patience = 10'000;  // milliseconds, for answers that no user has to give

struct Abilities {
    uint version = 0;
    uint cursorModes = 0;
};

Result<Abilities> abilities(const QDBusPendingReply<QVariantMap>& reply)
{
    if (!reply.isValid())
        return failPortal(
            PortalErrorCode::unavailable, "The desktop has no portal that shares windows: " + reply.error().message().toStdString());
    const auto properties = reply.value();
    if ((properties.value(QStringLiteral("AvailableSourceTypes")).toUInt() & windows) == 0)
        return failPortal(PortalErrorCode::unavailable, "The portal of this desktop cannot share single windows.");
    return Abilities{
        properties.value(QStringLiteral("version")).toUInt(), properties.value(QStringLiteral("AvailableCursorModes")).toUInt()};
}

/// The first stream of `streams`, a(ua{sv}).
std::optional<uint> firstNode(const QVariant& streams)
{
    const auto argument = streams.value<QDBusArgument>();
    if (argument.currentType() != QDBusArgument::ArrayType)
        return std::nullopt;
    argument.beginArray();
    if (argument.atEnd())
        return std::nullopt;
    uint node = 0;
    QVariantMap properties;
    argument.beginStructure();
    argument >> node >> properties;
    argument.endStructure();
    return node;
}

}  // namespace

class ScreenCastSession::Implementation final : public QObject {
    Q_OBJECT

public:
    Implementation(PortalConnection& portal, std::string restoreToken, Opened opened, Closed closed)
        : portal_(portal)
        , bus_(portal.bus())
        , restoreToken_(std::move(restoreToken))
        , opened_(std::move(opened))
        , closed_(std::move(closed))
    {
        // Later, even when there is nobody to ask: the caller does not have this object yet.
        QMetaObject::invokeMethod(this, &Implementation::begin, Qt::QueuedConnection);
    }

    /// From now on nobody is told anything.
    void abandon()
    {
        opened_ = nullptr;
        closed_ = nullptr;
        if (!handle_.isEmpty())
            bus_.send(QDBusMessage::createMethodCall(
                QLatin1String{portal::service}, std::exchange(handle_, {}), QLatin1String{portal::session}, QStringLiteral("Close")));
        deleteLater();
    }

private slots:
    void wasClosed()
    {
        handle_.clear();
        if (opened_)
            return fail(PortalErrorCode::windowUnavailable, "The desktop ended the sharing before it began.");
        if (auto closed = std::exchange(closed_, nullptr))
            closed();
    }

private:
    void begin()
    {
        if (!opened_)
            return;
        if (!bus_.isConnected())
            return fail(PortalErrorCode::unavailable, "There is no session bus.");
        auto* asked = new QDBusPendingCallWatcher{portal_.call(portal::propertiesCall(screenCast), patience), this};
        connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked] {
            asked->deleteLater();
            auto found = abilities(*asked);
            if (!found)
                return finish(velmora::fail(std::move(found.error())));
            abilities_ = *found;
            createSession();
        });
    }

    void createSession()
    {
        ask("CreateSession", {}, {{QStringLiteral("session_handle_token"), portal::makeToken()}}, [this](const QVariantMap& results) {
            // A string, though it is a path: the interface says so.
            handle_ = results.value(QStringLiteral("session_handle")).toString();
            if (handle_.isEmpty())
                return fail(PortalErrorCode::refused, "The desktop's portal made no session.");
            bus_.connect(
                QLatin1String{portal::service}, handle_, QLatin1String{portal::session}, QStringLiteral("Closed"), this, SLOT(wasClosed()));
            selectSources();
        });
    }

    void selectSources()
    {
        QVariantMap options{{QStringLiteral("types"), windows}, {QStringLiteral("multiple"), false}};
        if ((abilities_.cursorModes & embeddedCursor) != 0)
            options.insert(QStringLiteral("cursor_mode"), embeddedCursor);
        if (abilities_.version >= versionWithTokens) {
            options.insert(QStringLiteral("persist_mode"), untilRevoked);
            if (!restoreToken_.empty())
                options.insert(QStringLiteral("restore_token"), QString::fromStdString(restoreToken_));
        }
        ask("SelectSources", {QVariant::fromValue(QDBusObjectPath{handle_})}, options, [this](const QVariantMap&) { startSharing(); });
    }

    void startSharing()
    {
        ask("Start", {QVariant::fromValue(QDBusObjectPath{handle_}), QString{}}, {}, [this](const QVariantMap& results) {
            const auto node = firstNode(results.value(QStringLiteral("streams")));
            if (!node)
                return fail(PortalErrorCode::refused, "The desktop's portal shared no window.");
            window_.nodeID = *node;
            window_.restoreToken = results.value(QStringLiteral("restore_token")).toString().toStdString();
            openRemote();
        });
    }

    void openRemote()
    {
        const auto call =
            portal::methodCall(screenCast, "OpenPipeWireRemote", {QVariant::fromValue(QDBusObjectPath{handle_}), QVariantMap{}});
        auto* asked = new QDBusPendingCallWatcher{portal_.call(call, patience), this};
        connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked] {
            const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *asked;
            asked->deleteLater();
            if (!reply.isValid())
                return fail(PortalErrorCode::refused, "The desktop's portal opens no stream: " + reply.error().message().toStdString());
            window_.remote = FileDescriptor{fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 0)};
            if (!window_.remote)
                return fail(PortalErrorCode::refused, "The desktop's portal opened no stream.");
            finish(std::optional{std::move(window_)});
        });
    }

    /// Goes on with the results; a cancelled or failed request ends it all.
    void ask(const char* method, const QVariantList& arguments, const QVariantMap& options, UniqueFunction<void(const QVariantMap&)> next)
    {
        PortalRequest::send(
            portal_, this, screenCast, method, arguments, options, [this, next = std::move(next)](Result<PortalResponse> response) mutable {
                auto answer = answerOf(std::move(response));
                if (!answer)
                    finish(velmora::fail(std::move(answer.error())));
                else if (!*answer)
                    finish(std::optional<SharedWindow>{});
                else if (opened_)
                    next(**answer);
            });
    }

    void fail(PortalErrorCode code, std::string description) { finish(failPortal(code, std::move(description))); }

    void finish(Result<std::optional<SharedWindow>> result)
    {
        if (auto opened = std::exchange(opened_, nullptr))
            opened(std::move(result));
    }

    PortalConnection& portal_;
    QDBusConnection bus_;
    const std::string restoreToken_;
    Opened opened_;
    Closed closed_;
    Abilities abilities_;
    QString handle_;
    SharedWindow window_;
};

ScreenCastSession::ScreenCastSession(const std::string& busAddress, std::string restoreToken, Opened opened, Closed closed)
    : implementation_(
        std::make_unique<Implementation>(PortalConnection::of(busAddress), std::move(restoreToken), std::move(opened), std::move(closed)))
{
}

ScreenCastSession::~ScreenCastSession()
{
    // Later, because it may be its own callback that ends it.
    implementation_.release()->abandon();
}

void askWhetherWindowsCanBeShared(const std::string& busAddress, UniqueFunction<void(Result<void>)> completion)
{
    const auto shared = std::make_shared<UniqueFunction<void(Result<void>)>>(std::move(completion));
    auto& portal = PortalConnection::of(busAddress);
    if (!portal.isConnected())
        return QTimer::singleShot(0, [shared] { (*shared)(failPortal(PortalErrorCode::unavailable, "There is no session bus.")); });
    auto* asked = new QDBusPendingCallWatcher{portal.call(portal::propertiesCall(screenCast), patience)};
    QObject::connect(asked, &QDBusPendingCallWatcher::finished, asked, [asked, shared] {
        asked->deleteLater();
        auto found = abilities(*asked);
        (*shared)(found ? Result<void>{} : Result<void>{fail(std::move(found.error()))});
    });
}

}  // namespace velmora::linux_backend

#include "ScreenCastSession.moc"

#include "tests/platform/linux/portal/TestPortal.h"

#include "tests/platform/linux/portal/TestShortcuts.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>

#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <utility>

namespace velmora::linux_backend {

/// (ua{sv}), as the results of Start name a stream.
struct CastDescription {
    uint node = 0;
    QVariantMap properties;
};

/// (suv): who made the data, in which version, and the data.
struct RestoreData {
    QString vendor;
    uint version = 0;
    QDBusVariant data;
};

QDBusArgument& operator<<(QDBusArgument& argument, const CastDescription& cast)
{
    argument.beginStructure();
    argument << cast.node << cast.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, CastDescription& cast)
{
    argument.beginStructure();
    argument >> cast.node >> cast.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const RestoreData& data)
{
    argument.beginStructure();
    argument << data.vendor << data.version << data.data;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, RestoreData& data)
{
    argument.beginStructure();
    argument >> data.vendor >> data.version >> data.data;
    argument.endStructure();
    return argument;
}

namespace {

constexpr const char* backEndName = "org.freedesktop.impl.portal.desktop.velmoratest";
constexpr const char* frontEndName = "org.freedesktop.portal.Desktop";
constexpr const char* frontEnd = "/usr/libexec/xdg-desktop-portal";
constexpr const char* vendor = "velmoratest";

class ClosableSession final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.Session")

public:
    explicit ClosableSession(std::function<void()> closed) : closed_(std::move(closed)) { }

public slots:
    void Close() { closed_(); }

signals:
    void Closed();

private:
    std::function<void()> closed_;
};

class ClosableRequest final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.Request")

public:
    explicit ClosableRequest(std::function<void()> closed) : closed_(std::move(closed)) { }

public slots:
    void Close() { closed_(); }

private:
    std::function<void()> closed_;
};

}  // namespace

TestPortal::TestPortal(const test::PrivateBus& bus, uint sourceTypes, TestShortcuts* shortcuts)
    : connection_(bus.connect("test-portal"))
    , sourceTypes_(sourceTypes)
{
    if (shortcuts)
        shortcuts->exportWith(*this, connection_);
    qDBusRegisterMetaType<CastDescription>();
    qDBusRegisterMetaType<QList<CastDescription>>();
    qDBusRegisterMetaType<RestoreData>();
    connection_.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
        QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties | QDBusConnection::ExportAdaptors);
    connection_.registerService(QLatin1String{backEndName});

    std::ofstream{directory_.path() / "velmoratest.portal"}
        << "[portal]\nDBusName=" << backEndName << "\nInterfaces=org.freedesktop.impl.portal.ScreenCast;"
        << (shortcuts ? "org.freedesktop.impl.portal.GlobalShortcuts;" : "") << "\nUseIn=velmoratest\n";
    frontEnd_ = std::make_unique<test::ChildProcess>(std::vector<std::string>{frontEnd},
        std::map<std::string, std::string>{{"DBUS_SESSION_BUS_ADDRESS", bus.address()}, {"XDG_CURRENT_DESKTOP", "velmoratest"},
            {"XDG_DESKTOP_PORTAL_DIR", directory_.path().string()}});
    EXPECT_TRUE(
        test::PrivateBus::runUntil([this] { return connection_.interface()->isServiceRegistered(QLatin1String{frontEndName}).value(); }));
}

TestPortal::~TestPortal()
{
    QDBusConnection::disconnectFromBus(connection_.name());
}

uint TestPortal::CreateSession(
    const QDBusObjectPath&, const QDBusObjectPath& session, const QString&, const QVariantMap&, QVariantMap& results)
{
    session_ = session.path();
    objects_.push_back(std::make_unique<ClosableSession>([this] { ++sessionsClosed; }));
    connection_.registerObject(session_, objects_.back().get(), QDBusConnection::ExportAllContents);
    results = {{QStringLiteral("session_id"), session_}};
    return 0;
}

uint TestPortal::SelectSources(const QDBusObjectPath&, const QDBusObjectPath&, const QString&, const QVariantMap& options, QVariantMap&)
{
    sources = options;
    return 0;
}

uint TestPortal::Start(
    const QDBusObjectPath& handle, const QDBusObjectPath&, const QString&, const QString&, const QVariantMap&, QVariantMap& results)
{
    if (sources.contains(QStringLiteral("restore_data"))) {
        ++restored;
        const auto data = qdbus_cast<RestoreData>(sources.value(QStringLiteral("restore_data")));
        EXPECT_EQ(data.vendor, QLatin1String{vendor});
        node = data.data.variant().toUInt();
        results = sharedWindow();
        return 0;
    }
    ++dialogs;
    switch (user) {
    case User::choosesAtOnce:
        results = sharedWindow();
        return 0;
    case User::cancels:
        return 1;
    case User::fails:
        return 2;
    case User::thinks:
        break;
    }
    setDelayedReply(true);
    waiting_ = message();
    objects_.push_back(std::make_unique<ClosableRequest>([this] { ++dialogsClosed; }));
    connection_.registerObject(handle.path(), objects_.back().get(), QDBusConnection::ExportAllContents);
    return 0;
}

void TestPortal::choose()
{
    if (auto question = std::exchange(waiting_, std::nullopt))
        connection_.send(question->createReply(QVariantList{0U, sharedWindow()}));
}

void TestPortal::closeSession()
{
    connection_.send(QDBusMessage::createSignal(session_, QStringLiteral("org.freedesktop.impl.portal.Session"), QStringLiteral("Closed")));
}

QVariantMap TestPortal::sharedWindow() const
{
    QVariantMap results{{QStringLiteral("streams"), QVariant::fromValue(QList<CastDescription>{{node, {}}})}};
    if (remembers) {
        results.insert(QStringLiteral("persist_mode"), 2U);
        results.insert(
            QStringLiteral("restore_data"), QVariant::fromValue(RestoreData{QLatin1String{vendor}, 1, QDBusVariant{QVariant{node}}}));
    }
    return results;
}

}  // namespace velmora::linux_backend

#include "TestPortal.moc"

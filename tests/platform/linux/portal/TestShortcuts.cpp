#include "tests/platform/linux/portal/TestShortcuts.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>

#include <functional>
#include <utility>

namespace velmora::linux_backend {

QDBusArgument& operator<<(QDBusArgument& argument, const TestShortcut& shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, TestShortcut& shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

class ShortcutsSession final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.Session")

public:
    /// What it is closed with goes to `unanswered`, where that is to be answered later.
    ShortcutsSession(int& closed, QDBusMessage* unanswered) : closed_(closed), unanswered_(unanswered) { }

public slots:
    void Close()
    {
        if (unanswered_) {
            setDelayedReply(true);
            *unanswered_ = message();
        }
        ++closed_;
    }

signals:
    void Closed();

private:
    int& closed_;
    QDBusMessage* const unanswered_;
};

class ShortcutsAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.GlobalShortcuts")
    Q_PROPERTY(uint version READ version CONSTANT)

public:
    ShortcutsAdaptor(QObject* portal, TestShortcuts& shortcuts) : QDBusAbstractAdaptor(portal), shortcuts_(shortcuts) { }

    [[nodiscard]] uint version() const { return 1; }

public slots:
    uint CreateSession(const QDBusObjectPath&, const QDBusObjectPath& session, const QString&, const QVariantMap&, QVariantMap& results)
    {
        shortcuts_.session_ = session.path();
        shortcuts_.sessionObject_ = std::make_unique<ShortcutsSession>(
            shortcuts_.sessionsClosed, shortcuts_.takesItsTimeToLetGo ? &shortcuts_.unanswered_ : nullptr);
        shortcuts_.connection_->registerObject(session.path(), shortcuts_.sessionObject_.get(), QDBusConnection::ExportAllContents);
        results = {};
        return 0;
    }

    uint BindShortcuts(const QDBusObjectPath&, const QDBusObjectPath&, const QList<velmora::linux_backend::TestShortcut>& shortcuts,
        const QString&, const QVariantMap&, QVariantMap& results)
    {
        ++shortcuts_.questions;
        shortcuts_.asked = shortcuts.value(0);
        if (!shortcuts_.isAllowed)
            return 1;
        results = shortcuts_.bound();
        return shortcuts_.answer;
    }

private:
    TestShortcuts& shortcuts_;
};

namespace {

constexpr const char* path = "/org/freedesktop/portal/desktop";
constexpr const char* interface = "org.freedesktop.impl.portal.GlobalShortcuts";

}  // namespace

TestShortcuts::TestShortcuts()
{
    qDBusRegisterMetaType<TestShortcut>();
    qDBusRegisterMetaType<QList<TestShortcut>>();
}

TestShortcuts::~TestShortcuts() = default;

void TestShortcuts::exportWith(QObject& portal, const QDBusConnection& connection)
{
    connection_ = std::make_unique<QDBusConnection>(connection);
    new ShortcutsAdaptor{&portal, *this};
}

QVariantMap TestShortcuts::bound() const
{
    auto shortcut = asked;
    shortcut.properties.remove(QStringLiteral("preferred_trigger"));
    shortcut.properties.insert(QStringLiteral("trigger_description"), keys);
    return {{QStringLiteral("shortcuts"), QVariant::fromValue(QList<TestShortcut>{shortcut})}};
}

void TestShortcuts::press()
{
    auto signal = QDBusMessage::createSignal(QLatin1String{path}, QLatin1String{interface}, QStringLiteral("Activated"));
    signal.setArguments({QVariant::fromValue(QDBusObjectPath{session_}), asked.id, qulonglong{1}, QVariantMap{}});
    connection_->send(signal);
}

void TestShortcuts::change(const QString& newKeys)
{
    keys = newKeys;
    auto signal = QDBusMessage::createSignal(QLatin1String{path}, QLatin1String{interface}, QStringLiteral("ShortcutsChanged"));
    signal.setArguments({QVariant::fromValue(QDBusObjectPath{session_}), bound().value(QStringLiteral("shortcuts"))});
    connection_->send(signal);
}

void TestShortcuts::closeSession()
{
    connection_->send(
        QDBusMessage::createSignal(session_, QStringLiteral("org.freedesktop.impl.portal.Session"), QStringLiteral("Closed")));
}

void TestShortcuts::letGo()
{
    connection_->send(unanswered_.createReply());
}

}  // namespace velmora::linux_backend

#include "TestShortcuts.moc"

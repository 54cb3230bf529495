// The desktop's shortcuts, played by a test behind the real portal.
#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QList>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <memory>

namespace velmora::linux_backend {

/// (sa{sv}), as a program asks for a shortcut and is told of it.
struct TestShortcut {
    QString id;
    QVariantMap properties;
};

/// Implements org.freedesktop.impl.portal.GlobalShortcuts for one session at a time. It must outlive the portal.
class TestShortcuts final {
public:
    TestShortcuts();
    ~TestShortcuts();
    TestShortcuts(const TestShortcuts&) = delete;
    TestShortcuts& operator=(const TestShortcuts&) = delete;

    void exportWith(QObject& portal, const QDBusConnection& connection);

    /// The user's answer to the next question: the keys' name; empty: no keys.
    QString keys = QStringLiteral("Alt+Super+K");
    bool isAllowed = true;
    uint answer = 0;  ///< to the question of a user who allows it
    bool takesItsTimeToLetGo = false;  ///< of sessions that are made from now on

    /// The user presses the keys.
    void press();
    /// The user has bound other keys.
    void change(const QString& newKeys);
    /// The desktop ends the shortcuts.
    void closeSession();
    /// The desktop has let go of the session that the program closed, where it takes its time.
    void letGo();

    int questions = 0;
    int sessionsClosed = 0;  ///< by the program
    TestShortcut asked;  ///< the last one

private:
    friend class ShortcutsAdaptor;

    [[nodiscard]] QVariantMap bound() const;

    std::unique_ptr<QDBusConnection> connection_;
    QString session_;
    QDBusMessage unanswered_;
    std::unique_ptr<QObject> sessionObject_;
};

}  // namespace velmora::linux_backend

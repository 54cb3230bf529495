// The desktop's side of a portal, played by a test behind the real portal that programs speak to.
#pragma once

#include "tests/platform/linux/desktop/PrivateBus.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/sound/ChildProcess.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QObject>
#include <QVariantMap>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora::linux_backend {

/// Implements org.freedesktop.impl.portal.ScreenCast, .Session and .Request as far as a chooser of windows needs.
class TestPortal final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.ScreenCast")
    Q_PROPERTY(uint version READ version CONSTANT)
    Q_PROPERTY(uint AvailableSourceTypes READ sourceTypes CONSTANT)
    Q_PROPERTY(uint AvailableCursorModes READ cursorModes CONSTANT)

public:
    /// On the bus, with the real portal in front; `sourceTypes`: 1 monitors, 2 windows. With shortcuts, where a test has some.
    explicit TestPortal(const test::PrivateBus& bus, uint sourceTypes = 3, class TestShortcuts* shortcuts = nullptr);
    ~TestPortal() override;

    [[nodiscard]] uint version() const { return 4; }
    [[nodiscard]] uint sourceTypes() const { return sourceTypes_; }
    [[nodiscard]] uint cursorModes() const { return 7; }

    /// The user's side. `node` is shared when the dialog is answered, and again for its token.
    enum class User { choosesAtOnce, cancels, fails, thinks };
    User user = User::choosesAtOnce;
    std::uint32_t node = 0;
    /// Whether tokens are given out.
    bool remembers = true;

    /// The user who thinks has chosen.
    void choose();
    /// The desktop ends the sharing.
    void closeSession();

    int dialogs = 0;  ///< that were opened
    int restored = 0;  ///< sessions that needed none
    int dialogsClosed = 0;  ///< by the program
    int sessionsClosed = 0;  ///< by the program
    QVariantMap sources;  ///< as the last session asked for them

public slots:
    uint CreateSession(const QDBusObjectPath& handle, const QDBusObjectPath& session, const QString& application,
        const QVariantMap& options, QVariantMap& results);
    uint SelectSources(const QDBusObjectPath& handle, const QDBusObjectPath& session, const QString& application,
        const QVariantMap& options, QVariantMap& results);
    uint Start(const QDBusObjectPath& handle, const QDBusObjectPath& session, const QString& application, const QString& parent,
        const QVariantMap& options, QVariantMap& results);

private:
    [[nodiscard]] QVariantMap sharedWindow() const;

    QDBusConnection connection_;
    const uint sourceTypes_;
    QString session_;
    std::optional<QDBusMessage> waiting_;
    std::vector<std::unique_ptr<QObject>> objects_;
    test::TemporaryDirectory directory_;
    std::unique_ptr<test::ChildProcess> frontEnd_;
};

}  // namespace velmora::linux_backend

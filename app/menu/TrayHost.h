// Whether the desktop has a place for an item.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

class QDBusPendingCallWatcher;

namespace velmora {

/// Asks for the desktop's host of items, on the bus, without waiting: Qt waits for the answer, so nothing of Qt's tray may be touched before
/// one has come, and a panel that hangs would take this program with it. Main thread only.
class TrayHost final : public QObject {
    Q_OBJECT

public:
    /// A host that has not answered by then is none, for as long as it says nothing.
    static constexpr std::chrono::seconds longestSilence{2};

    explicit TrayHost(QDBusConnection bus = QDBusConnection::sessionBus());

    /// Calls it once there has been an answer, at once if there has; without a bus or a host that is soon. Never while a host hangs.
    void whenAnswered(std::function<void()> action);

    /// The same, but also when a host has said nothing for that long.
    void whenKnown(std::function<void()> action);

    /// Whether the first answer was that a host of StatusNotifierItem is there, which draws menus itself from what the bus says. Qt asks the
    /// same, once, and decides by it between the bus and XEmbed for good.
    [[nodiscard]] bool drawsTheMenu() const { return usesTheBus_.value_or(false); }

    /// Whether an item would be seen now; false before the first answer.
    [[nodiscard]] bool isThere() const;

signals:
    /// There was an answer, which may be another one than before.
    void answered();

private slots:
    void ask();

private:
    void take(const QDBusPendingCallWatcher& call);
    void learn(bool isRegistered);
    static void callAll(std::vector<std::function<void()>>& actions);

    QDBusConnection bus_;
    std::optional<bool> usesTheBus_;
    bool isRegistered_ = false;
    bool isKnown_ = false;
    unsigned question_ = 0;  // the last one
    QTimer patience_;
    std::vector<std::function<void()>> whenAnswered_;
    std::vector<std::function<void()>> whenKnown_;
};

}  // namespace velmora

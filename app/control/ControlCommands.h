// The commands that speak to the program that is already running.
#pragma once

#include "app/CommandLine.h"

#include <QDBusConnection>
#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <filesystem>
#include <tl/expected.hpp>

namespace velmora {

/// Sends the command to the running instance, waits for its answer however long that takes, and prints it. Returns the exit status:
/// failed, with a message on standard error, if no instance is running.
int runControlCommand(const command_line::Control& command, const QDBusConnection& connection = QDBusConnection::sessionBus());

/// Has the running instance put the file onto the clipboard, which it keeps; fails where none runs, or none answers within seconds.
tl::expected<void, QString> copyByRunningInstance(
    const std::filesystem::path& file, const QDBusConnection& connection = QDBusConnection::sessionBus());

/// What the running instance says of itself, or why it cannot.
tl::expected<QJsonObject, QString> runningInstanceStatus(const QDBusConnection& connection = QDBusConnection::sessionBus());

/// The process of the running instance; our own where none runs.
std::int32_t runningInstanceProcess(const QDBusConnection& connection = QDBusConnection::sessionBus());

/// Asks the running instance to show itself: what a second start does.
int activateRunningInstance(const QDBusConnection& connection = QDBusConnection::sessionBus());

}  // namespace velmora

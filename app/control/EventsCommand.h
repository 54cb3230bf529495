// `velmora events`: what happens in the running program, line by line.
#pragma once

#include "app/CommandLine.h"

#include <QDBusConnection>

namespace velmora {

/// Prints until the program ends, a signal asks for the end, or nobody reads any more; the exit status. Failed, with a message on standard
/// error, if no instance is running.
int runEventsCommand(const command_line::Events& command, QDBusConnection connection = QDBusConnection::sessionBus());

}  // namespace velmora

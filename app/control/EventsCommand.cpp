#include "app/control/EventsCommand.h"

#include "app/TerminationSignals.h"
#include "app/control/ControlCommands.h"
#include "app/control/EventPrinter.h"
#include "app/control/InstanceBus.h"

#include <QDBusServiceWatcher>
#include <QEventLoop>

#include <cstdio>

namespace velmora {

int runEventsCommand(const command_line::Events& command, QDBusConnection connection)
{
    QEventLoop loop;
    const auto end = [&loop] { QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection); };
    EventPrinter printer{command.json};
    QObject::connect(&printer, &EventPrinter::failed, &loop, end);
    const TerminationSignals endRequests;
    QObject::connect(&endRequests, &TerminationSignals::received, &loop, end);
    const QDBusServiceWatcher watcher{QLatin1String{instance_bus::serviceName}, connection, QDBusServiceWatcher::WatchForUnregistration};
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, &loop, end);

    printer.listen(connection);
    const auto status = runningInstanceStatus(connection);
    if (!status) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(status.error()));
        return command_line::failed;
    }
    printer.stateChanged(status->value(QLatin1String("state")).toString());
    loop.exec();
    return printer.couldPrint() ? command_line::succeeded : command_line::failed;
}

}  // namespace velmora

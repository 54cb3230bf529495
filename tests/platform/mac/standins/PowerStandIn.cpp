#include "tests/platform/mac/standins/PowerStandIn.h"

#include "tests/platform/mac/standins/StandInObject.h"

#include <IOKit/IOMessage.h>
#include <IOKit/pwr_mgt/IOPMLib.h>
#include <set>

struct IONotificationPort {
    int unused;
};

namespace velmora::standin {

namespace {

constexpr io_connect_t root = 7;
constexpr io_object_t registration = 8;
constexpr std::uint32_t willPowerOnMessage = 0xE0000320U;

IONotificationPort port;
IOServiceInterestCallback called = nullptr;
void* calledValue = nullptr;
std::set<std::intptr_t> unanswered;

void send(std::uint32_t message, std::intptr_t change)
{
    if (called)
        called(calledValue, root, message, reinterpret_cast<void*>(change));
}

}  // namespace

Power& power()
{
    static Power all;
    return all;
}

void askWhetherToSleep(std::intptr_t change)
{
    unanswered.insert(change);
    send(kIOMessageCanSystemSleep, change);
}

void willSleep(std::intptr_t change)
{
    unanswered.insert(change);
    send(kIOMessageSystemWillSleep, change);
}

void willPowerOn()
{
    send(willPowerOnMessage, 0);
}

void hasPoweredOn()
{
    send(kIOMessageSystemHasPoweredOn, 0);
}

}  // namespace velmora::standin

using namespace velmora::standin;

extern "C" {

io_connect_t IORegisterForSystemPower(
    void* value, IONotificationPortRef* madePort, IOServiceInterestCallback callback, io_object_t* notifier)
{
    if (!power().isThere)
        return 0;
    called = callback;
    calledValue = value;
    *madePort = &port;
    *notifier = registration;
    ++power().registrations;
    ++power().ports;
    ++power().connections;
    return root;
}

IOReturn IODeregisterForSystemPower(io_object_t* notifier)
{
    if (*notifier != registration || --power().registrations < 0)
        refuse("a registration for sleep was given back that is not there");
    called = nullptr;
    return 0;
}

IOReturn IOAllowPowerChange(io_connect_t connection, intptr_t change)
{
    if (connection != root || power().connections < 1)
        refuse("a change of power was answered over no connection");
    if (unanswered.erase(change) != 1)
        refuse("a change of power was answered that nobody asked for");
    power().allowed.push_back(change);
    return 0;
}

IOReturn IOServiceClose(io_connect_t connection)
{
    if (connection != root || --power().connections < 0)
        refuse("a connection was closed that is not there");
    return 0;
}

CFRunLoopSourceRef IONotificationPortGetRunLoopSource(IONotificationPortRef of)
{
    if (of != &port || power().ports < 1)
        refuse("no such port");
    return reinterpret_cast<CFRunLoopSourceRef>(of);
}

void IONotificationPortDestroy(IONotificationPortRef of)
{
    if (of != &port || --power().ports < 0)
        refuse("a port was destroyed that is not there");
}

}  // extern "C"

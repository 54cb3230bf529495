#include "platform/mac/SleepWatch.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOMessage.h>
#include <IOKit/pwr_mgt/IOPMLib.h>
#include <utility>

namespace velmora::mac_backend {

namespace {

/// Answers go over it, also late ones.
class PowerConnection {
public:
    PowerConnection(IOServiceInterestCallback called, void* value)
    {
        root_ = IORegisterForSystemPower(value, &port_, called, &notifier_);
        if (isThere())
            CFRunLoopAddSource(CFRunLoopGetMain(), IONotificationPortGetRunLoopSource(port_), kCFRunLoopCommonModes);
    }
    PowerConnection(const PowerConnection&) = delete;
    PowerConnection& operator=(const PowerConnection&) = delete;
    ~PowerConnection()
    {
        if (!isThere())
            return;
        end();
        IOServiceClose(root_);
        IONotificationPortDestroy(port_);
    }

    [[nodiscard]] bool isThere() const { return root_ != 0; }

    /// Nothing is called from now on.
    void end()
    {
        if (std::exchange(hasEnded_, true))
            return;
        CFRunLoopRemoveSource(CFRunLoopGetMain(), IONotificationPortGetRunLoopSource(port_), kCFRunLoopCommonModes);
        IODeregisterForSystemPower(&notifier_);
    }

    void allow(std::intptr_t change) const { IOAllowPowerChange(root_, change); }

private:
    io_connect_t root_ = 0;
    IONotificationPortRef port_ = nullptr;
    io_object_t notifier_ = 0;
    bool hasEnded_ = false;
};

/// The answer to one message, given when the last who holds it lets go.
class Permission {
public:
    Permission(std::shared_ptr<const PowerConnection> connection, std::intptr_t change)
        : connection_(std::move(connection))
        , change_(change)
    {
    }
    Permission(const Permission&) = delete;
    Permission& operator=(const Permission&) = delete;
    ~Permission() { connection_->allow(change_); }

private:
    const std::shared_ptr<const PowerConnection> connection_;
    const std::intptr_t change_;
};

class MacSleepWatch final : public SleepWatch {
public:
    explicit MacSleepWatch(SleepObserver observer)
        : observer_(std::move(observer))
        , connection_(std::make_shared<PowerConnection>(hasMessage, this))
    {
    }
    MacSleepWatch(const MacSleepWatch&) = delete;
    MacSleepWatch& operator=(const MacSleepWatch&) = delete;
    ~MacSleepWatch() override
    {
        if (isThere())
            connection_->end();
    }

    [[nodiscard]] bool isThere() const { return connection_->isThere(); }

private:
    static void hasMessage(void* value, io_service_t, std::uint32_t message, void* argument)
    {
        auto& self = *static_cast<MacSleepWatch*>(value);
        // Only these two may be answered, and have to be.
        if (message == kIOMessageCanSystemSleep)
            self.connection_->allow(reinterpret_cast<std::intptr_t>(argument));
        else if (message == kIOMessageSystemWillSleep)
            self.willSleep(reinterpret_cast<std::intptr_t>(argument));
        else if (message == kIOMessageSystemHasPoweredOn)
            self.observer_.didWake();
    }

    void willSleep(std::intptr_t change)
    {
        const auto permission = std::make_shared<Permission>(connection_, change);
        observer_.willSleep([&permission]() -> UniqueFunction<void()> { return [held = permission]() mutable { held.reset(); }; });
    }

    const SleepObserver observer_;
    const std::shared_ptr<PowerConnection> connection_;
};

}  // namespace

std::unique_ptr<SleepWatch> watchSleep(SleepObserver observer)
{
    auto watch = std::make_unique<MacSleepWatch>(std::move(observer));
    if (!watch->isThere())
        return nullptr;
    return watch;
}

}  // namespace velmora::mac_backend

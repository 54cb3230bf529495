// Wakes a thread that sleeps in poll.
#pragma once

#include "platform/linux/kernel/FileDescriptor.h"

#include <sys/eventfd.h>

namespace velmora::linux_backend {

/// signal() is safe on any thread; the rest belongs to the thread that sleeps.
class WakeUp {
public:
    [[nodiscard]] bool isValid() const { return static_cast<bool>(descriptor_); }

    /// Readable from a signal() until the next clear().
    [[nodiscard]] int descriptor() const { return descriptor_.get(); }

    void signal() { eventfd_write(descriptor_.get(), 1); }

    void clear()
    {
        eventfd_t count = 0;
        eventfd_read(descriptor_.get(), &count);
    }

private:
    FileDescriptor descriptor_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
};

}  // namespace velmora::linux_backend
